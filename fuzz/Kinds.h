// Every file kind of the library's table and the string form, each with the
// public entry that loads and stores it and what must be released after a
// load. The kinds and the classes their files hold come from the library's
// own table; a target is built for each (see CMakeLists.txt).
#pragma once

#include <fluxgrid/fluxgrid.h>
#include <fluxgrid/io/Files.h>

namespace fluxgrid::fuzz {

/// A kind of the library's table, the final class that its files hold and
/// the library's entry for it.
template <FileKind Kind>
struct TableKind {
    static constexpr FileKind kind = Kind;
    using Object = typename FileObjectOf<Kind>::type;
    static int serialize(Object& object, CArchive& ar) { return serializeFile(object, ar); }
    static bool storable(const Object&) { return true; }
    static void release(Object&) {}
};

/// The head localization releases what its lists hold, as its host must
/// before it lets the object go.
template <>
struct TableKind<FileKind::headloc> {
    static constexpr FileKind kind = FileKind::headloc;
    using Object = CHeadLocalizationqv;
    static int serialize(Object& object, CArchive& ar) { return serializeFile(object, ar); }
    /// The first section is counted by `fiducialPtRaw` and filled from
    /// `fiducialPA`, so a file whose first list is the longer one loads, but
    /// its store raises the invalid-argument exception.
    static bool storable(const Object& object) {
        return object.fiducialPtRaw.GetSize() <= object.fiducialPA.GetSize();
    }
    static void release(Object& object) {
        object.cleanFiducialPA();
        object.cleanFiducialPARaw();
        object.cleanFiducialPt();
    }
};

/// The string form alone: a CString read by the archive's extraction.
struct StringKind {
    struct Object {
        CString text;
    };
    static int serialize(Object& object, CArchive& ar) {
        if (ar.IsStoring()) {
            ar << object.text;
        } else {
            ar >> object.text;
        }
        return 1;
    }
    static bool storable(const Object&) { return true; }
    static void release(Object&) {}
};

}  // namespace fluxgrid::fuzz

// The six file kinds and the string form, each with the public entry that
// loads and stores it and what must be released after a load.
#pragma once

#include <fluxgrid/fluxgrid.h>

namespace fluxgrid::fuzz {

struct CoilKind {
    using Object = CMagCoilqv;
    static int serialize(Object& object, CArchive& ar) { return object.serializeqv(ar); }
    static bool storable(const Object&) { return true; }
    static void release(Object&) {}
};

struct VaporKind {
    using Object = CMagVaporqv;
    static int serialize(Object& object, CArchive& ar) { return object.serializeqv(ar); }
    static bool storable(const Object&) { return true; }
    static void release(Object&) {}
};

struct SquidKind {
    using Object = CMegSquidqv;
    static int serialize(Object& object, CArchive& ar) { return object.serialize(ar); }
    static bool storable(const Object&) { return true; }
    static void release(Object&) {}
};

struct OpmKind {
    using Object = CMegOpmqv;
    static int serialize(Object& object, CArchive& ar) { return object.serialize(ar); }
    static bool storable(const Object&) { return true; }
    static void release(Object&) {}
};

struct SensorKind {
    using Object = CMEGSensorqv;
    static int serialize(Object& object, CArchive& ar) { return object.serializeqv(ar); }
    static bool storable(const Object&) { return true; }
    static void release(Object&) {}
};

/// The host releases the entries of the head localization lists through the
/// clean operations before it lets the object go; so does the fuzz target.
struct HeadLocKind {
    using Object = CHeadLocalizationqv;
    static int serialize(Object& object, CArchive& ar) { return object.serializeqv(ar); }
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

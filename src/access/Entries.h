// The public entry of each final class: the one function that loads and
// stores a whole file of its kind.
#pragma once

#include <fluxgrid/access/Files.h>

namespace fluxgrid::access {

inline int runEntry(CMagCoilqv& object, CArchive& ar) {
    return object.serializeqv(ar);
}
inline int runEntry(CMagVaporqv& object, CArchive& ar) {
    return object.serializeqv(ar);
}
inline int runEntry(CMegSquidqv& object, CArchive& ar) {
    return object.serialize(ar);
}
inline int runEntry(CMegOpmqv& object, CArchive& ar) {
    return object.serialize(ar);
}
inline int runEntry(CMEGSensorqv& object, CArchive& ar) {
    return object.serializeqv(ar);
}
inline int runEntry(CHeadLocalizationqv& object, CArchive& ar) {
    return object.serializeqv(ar);
}

/// The answer that changes nothing: OK, or No to a Yes/No question.
inline int harmlessAnswer(UINT type) {
    return (type & 0x0F) == MB_YESNO ? IDNO : IDOK;
}

}  // namespace fluxgrid::access

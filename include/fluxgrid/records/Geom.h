/// \file Geom.h
/// The geometry base record that every sensor stands on. This library gives
/// a meaning to `geomFlag` alone (a new sensor sets it to 1 and the newest
/// sensor file keeps it); the other words and texts only travel with the
/// member-wise copies.
#pragma once

#include <fluxgrid/platform/CString.h>

class CGeomqv {
  public:
    /// Every word 0 and every text empty.
    CGeomqv();
    /// Every field, member by member.
    CGeomqv(const CGeomqv&) = default;
    /// Every field, member by member.
    CGeomqv& operator=(const CGeomqv&) = default;
    ~CGeomqv();

    int geomWordA;
    int geomWordB;
    int geomWordC;
    int geomFlag;
    CString geomTextA;
    CString geomTextB;
    CString geomTextC;
    CString geomTextD;
    int geomTailA;
    int geomTailB;
    int geomTailC;
};

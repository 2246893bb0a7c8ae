/// \file FiduciaryPt.h
/// One fiducial point: a marker on the head whose position elements 4, 5
/// and 6 of `ptValues` hold, with numbers and a name that travel with it.
///
/// Record "FIDUCIARYPTQV", version 20261122. After the frame (the magic in
/// the wide string form, the int32 version: 34 bytes) the body holds, with
/// no gap:
///
///   ptValues     16 doubles      128 bytes
///   ptExtra1     double            8
///   ptExtra2     double            8
///   ptVector     4 doubles        32
///   ptState1     int32             4
///   ptState2     int32             4
///   ptState3     int32             4
///   ptExtra3     double            8
///   ptState4     int32             4
///   ptName       string        4 + 2n below 255 units
///
/// so that a point with an empty name takes 238 bytes in all. Doubles
/// travel bit for bit.
#pragma once

#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/CString.h>

class CFiduciaryPt {
  public:
    /// Every number 0, the name empty.
    CFiduciaryPt() = default;
    CFiduciaryPt(const CFiduciaryPt&) = default;
    /// Member by member, every field.
    CFiduciaryPt& operator=(const CFiduciaryPt&) = default;
    virtual ~CFiduciaryPt();

    /// Stores x, y, z as elements 4, 5 and 6 of `ptValues`. Always 1.
    int setFidPtPosition(double x, double y, double z);

    double ptValues[16] = {};
    double ptExtra1 = 0.0;
    double ptExtra2 = 0.0;
    double ptVector[4] = {};
    int ptState1 = 0;
    int ptState2 = 0;
    int ptState3 = 0;
    double ptExtra3 = 0.0;
    int ptState4 = 0;
    CString ptName;
};

class CFiduciaryPt02Prcs : public CFiduciaryPt {
  public:
    CFiduciaryPt02Prcs() = default;
    CFiduciaryPt02Prcs(const CFiduciaryPt02Prcs&) = default;
    CFiduciaryPt02Prcs& operator=(const CFiduciaryPt02Prcs&) = default;
    ~CFiduciaryPt02Prcs() override;
};

class CFiduciaryPt9File : public CFiduciaryPt02Prcs {
  public:
    CFiduciaryPt9File() = default;
    CFiduciaryPt9File(const CFiduciaryPt9File&) = default;
    CFiduciaryPt9File& operator=(const CFiduciaryPt9File&) = default;
    ~CFiduciaryPt9File() override;

    /// Writes the whole record, or reads it back, as the archive's direction
    /// says. 1 when done; 0, with no message, for a record of another magic
    /// or version, which is then left unread behind what differed.
    int serialize(CArchive& ar);

  private:
    int serialize20261122(CArchive& ar);
};

class CFiduciaryPtqv : public CFiduciaryPt9File {
  public:
    CFiduciaryPtqv() = default;
    CFiduciaryPtqv(const CFiduciaryPtqv&) = default;
    /// Every field, member by member.
    CFiduciaryPtqv& operator=(const CFiduciaryPtqv& other);
    ~CFiduciaryPtqv() override;
};

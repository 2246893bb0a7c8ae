/// \file Fiducial.h
/// A fiducial set: six fiducial points and the numbers that travel with
/// them. Points 0, 1 and 2 are the fiducials proper: 0 the lone point, 1
/// and 2 the pair whose midpoint is the head's location. Points 3, 4 and 5
/// are carried along.
///
/// Record "FIDUCIALQV", version 20261122. After the frame (the magic in the
/// wide string form, the int32 version: 28 bytes) the body holds, with no
/// gap:
///
///   fidPts       6 complete fiducial point records, in index order
///   fidState     4 int32          16 bytes
///   fidExtra1    double            8
///   fidState5    int32             4
///   fidExtra2    double            8
///
/// so that a set whose points have empty names takes 28 + 6 * 238 + 36 =
/// 1492 bytes.
#pragma once

#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/records/FiduciaryPt.h>

class CFiducial {
  public:
    /// Six zeroed points with empty names; every number 0.
    CFiducial() = default;
    /// Each point through the point's own copy, then the other fields.
    CFiducial(const CFiducial&) = default;
    /// The six points in index order through `CFiduciaryPtqv::operator=`,
    /// then `fidState`, `fidExtra1`, `fidState5` and `fidExtra2`.
    CFiducial& operator=(const CFiducial&) = default;
    virtual ~CFiducial();

    /// Brings all six points back to their defaults: every number 0 and the
    /// name empty. The set's own numbers stay. Always 1.
    int resetAllFiducialPt();

    CFiduciaryPtqv fidPts[6];
    int fidState[4] = {};
    double fidExtra1 = 0.0;
    int fidState5 = 0;
    double fidExtra2 = 0.0;
};

class CFiducial02Prcs : public CFiducial {
  public:
    CFiducial02Prcs() = default;
    CFiducial02Prcs(const CFiducial02Prcs&) = default;
    CFiducial02Prcs& operator=(const CFiducial02Prcs&) = default;
    ~CFiducial02Prcs() override;
};

class CFiducial03Operator : public CFiducial02Prcs {
  public:
    CFiducial03Operator() = default;
    CFiducial03Operator(const CFiducial03Operator&) = default;
    CFiducial03Operator& operator=(const CFiducial03Operator&) = default;
    ~CFiducial03Operator() override;
};

class CFiducial9File : public CFiducial03Operator {
  public:
    CFiducial9File() = default;
    CFiducial9File(const CFiducial9File&) = default;
    CFiducial9File& operator=(const CFiducial9File&) = default;
    ~CFiducial9File() override;

    /// Writes the whole set, or reads it back, as the archive's direction
    /// says. 1 when done. 0, with no message, for a set of another magic or
    /// version, or as soon as one of its points is refused; the stream then
    /// stays just behind what differed, and what was read before stays.
    int serialize(CArchive& ar);

  private:
    int serialize20261122(CArchive& ar);
};

class CFiducialqv : public CFiducial9File {
  public:
    CFiducialqv() = default;
    CFiducialqv(const CFiducialqv&) = default;
    /// Every field, as the assignment of `CFiducial`.
    CFiducialqv& operator=(const CFiducialqv& other);
    ~CFiducialqv() override;
};

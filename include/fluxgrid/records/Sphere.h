/// \file Sphere.h
/// A sphere record: four values, two numbers and a name. Head localization
/// keeps a location or three rotation angles in the first three values.
///
/// Record "SPHEREQV", version 20261122. After the frame (the magic in the
/// wide string form, the int32 version: 24 bytes) the body holds, with no
/// gap:
///
///   sphereValues   4 doubles      32 bytes
///   sphereState1   int32           4
///   sphereState2   int32           4
///   sphereName     string      4 + 2n below 255 units
///
/// so that a sphere with an empty name takes 68 bytes in all.
#pragma once

#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/CString.h>

class CSphere {
  public:
    /// Every number 0, the name empty.
    CSphere() = default;
    CSphere(const CSphere&) = default;
    /// Member by member, every field.
    CSphere& operator=(const CSphere&) = default;
    virtual ~CSphere();

    /// Sets all four `sphereValues` to 0.0; the numbers and the name stay.
    /// Always 1.
    int zeroSphere();

    double sphereValues[4] = {};
    int sphereState1 = 0;
    int sphereState2 = 0;
    CString sphereName;
};

class CSphere9File : public CSphere {
  public:
    CSphere9File() = default;
    CSphere9File(const CSphere9File&) = default;
    CSphere9File& operator=(const CSphere9File&) = default;
    ~CSphere9File() override;

    /// Writes the whole record, or reads it back, as the archive's direction
    /// says. 1 when done; 0, with no message, for a record of another magic
    /// or version, which is then left unread behind what differed.
    int serialize(CArchive& ar);

  private:
    int serialize20261122(CArchive& ar);
};

class CSphereqv : public CSphere9File {
  public:
    CSphereqv() = default;
    CSphereqv(const CSphereqv&) = default;
    /// Every field, member by member.
    CSphereqv& operator=(const CSphereqv& other);
    ~CSphereqv() override;
};

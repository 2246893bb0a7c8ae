/// \file BscMagSns.h
/// One magnetic sensing element seen in one coordinate frame: its name,
/// position, orientation, the direction fields derived from the orientation,
/// and the numbers of a pick-up loop. Coils and vapor cells are built on it.
/// The frame is not a field: the record that holds the object decides it.
///
/// The coil and vapor cell records file the four-element arrays in four
/// groups: group i (0 to 3) holds element i of each column, in column order:
///   narrow (5):  posP4, oriP4, nmlDirXYZW, vctXYRD, auxRows[0]
///   middle (8):  posP4, oriP4, nmlDirXYZW, vctXYRD, auxRows[0..3]
///   wide (9):    posP4, oriP4, nmlDirXYZW, axisRotate, vctXYRD, auxRows[0..3]
/// and a pair table in the pair block: for g 0 to 11 and j 0 to 2,
/// table[g][1][j] and then table[g][0][j], the second vector's element first.
#pragma once

#include <fluxgrid/platform/CString.h>

class CBscMagSns {
  public:
    /// Name "None", `unitScale` 1.0, every other number 0.
    CBscMagSns() : CBscMagSns(u"None") {}
    CBscMagSns(const CBscMagSns&) = default;
    CBscMagSns& operator=(const CBscMagSns&) = default;
    ~CBscMagSns() = default;

    int setCoilPosition(double x, double y, double z);
    int getCoilPositionD(double& x, double& y, double& z) const;
    int getCoilPositionF(float& x, float& y, float& z) const;
    double* getPosP4() { return posP4; }
    double* getOriP4() { return oriP4; }
    int getNmlDirXYZ(double& x, double& y, double& z) const;
    /// The same as `getNmlDirXYZ`; its arguments are doubles in spite of the name.
    int getNmlDirXYZf(double& x, double& y, double& z) const;
    int getCoilAxisRotateRr(double& x, double& y, double& z, double& r) const;
    /// Caches `coilTurns` times `coilArea` in `magApha` and returns it.
    double getMagApha();
    /// Derives `nmlDirXYZW`, `axisRotate`, `rotateRad` and `rotateDeg` from
    /// `oriP4`: the rotation that carries +Y onto the orientation. Returns 0
    /// for a zero orientation.
    int orient2DirXYZW_VctXYRD();
    /// Maps a point from MATLAB axes: (a, b, c) becomes (b, c, -a). Returns 0,
    /// which is not a failure.
    int matlab2qvCoordinate(double& a, double& b, double& c) const;

    static double dotProduct(const double* a, const double* b);
    /// c = a x b; c must not alias a or b.
    static void crossProduct(const double* a, const double* b, double* c);
    static double vectorMagnitude(double x, double y, double z);
    /// b is the polar angle from +Y, a the azimuth from +Z towards +X.
    static int spherical2Cartesian(double r, double a, double b, double& x, double& y, double& z,
                                   bool normalize);
    /// a is the polar angle from +Y, b the azimuth.
    static int spherical2CartesianVSM(double r, double a, double b, double& x, double& y, double& z,
                                      bool normalize);
    /// Azimuthal equidistant flattening about +Z; 108 degrees from +Z lands
    /// on the unit circle.
    static int flatten3Dto2D(double x, double y, double z, double& u, double& v);
    /// Perspective division towards a viewpoint at distance |d|; 0 for d = 0.
    static int project3Dto2D(double x, double y, double z, double d, double& u, double& v);

    double vctXYRD[4];
    CString coilName;
    double posP4[4];
    double oriP4[4];
    double nmlDirXYZW[4];
    double axisRotate[4];
    double rotateRad;
    double rotateDeg;
    double auxRows[4][4];
    int coilAuxNo;
    double pairTable[12][2][3];
    int coilAuxNo2;
    int coilTurns;
    double coilAuxValue;
    double coilArea;
    double magApha;
    double unitScale;
    int coilShape;
    double coilAuxValue2;
    double coilAuxValue3;

  protected:
    /// The defaults under another name: those of a reset coil or vapor cell.
    explicit CBscMagSns(const char16_t* name);

  private:
    // The earlier orientation routine, with +Z as its reference; kept for
    // the record and called by nothing in the library.
    int orient2DirXYZW_VctXYRD_bk();
    int getCoilVctXYRr_bk(double& x, double& y, double& r) const;
};

/// The final class of the sensing element; adds nothing.
class CBscMagSnsqv : public CBscMagSns {
  public:
    CBscMagSnsqv() = default;

  protected:
    explicit CBscMagSnsqv(const char16_t* name) : CBscMagSns(name) {}
};

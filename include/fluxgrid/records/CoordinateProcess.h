/// \file CoordinateProcess.h
/// Conversions between the coordinate frames that head localization meets.
#pragma once

class CCoordinateProcess {
  public:
    /// Converts a point from the CTF head frame to the in-house frame, in
    /// place: the new x is the old y, the new y the old z, and the new z the
    /// old x negated (so an old x of +0.0 becomes -0.0). Always 1.
    static int cvtCtf_D3Dqv(double& x, double& y, double& z);
};

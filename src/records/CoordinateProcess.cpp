#include <fluxgrid/records/CoordinateProcess.h>

int CCoordinateProcess::cvtCtf_D3Dqv(double& x, double& y, double& z) {
    const double oldX = x;
    x = y;
    y = z;
    z = -oldX;
    return 1;
}

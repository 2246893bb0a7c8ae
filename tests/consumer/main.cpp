// A host outside the source tree, built against the installed headers and
// library: a coil and a sensor go through memory and come back, and a
// layout table is read.
#include <fluxgrid/fluxgrid.h>

#include <cstdio>
#include <iterator>

namespace {

bool coilRoundTrip() {
    CMagCoilqv coil;
    coil.setCoilPosition(1.0, 2.0, 3.0);
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        coil.serializeqv(ar);
    }
    file.SeekToBegin();
    CMagCoilqv back;
    CArchive ar(&file, CArchive::load);
    const int result = back.serializeqv(ar);
    double x = 0, y = 0, z = 0;
    back.getCoilPositionD(x, y, z);
    return result == 1 && x == 1.0 && y == 2.0 && z == 3.0 && back.coilName == "Coil";
}

bool sensorRoundTrip() {
    CMEGSensorqv sensor;
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        if (sensor.serializeqv(ar) != 1) {
            return false;
        }
    }
    file.SeekToBegin();
    CMEGSensorqv back;
    CArchive ar(&file, CArchive::load);
    return back.serializeqv(ar) == 1 && back.getSensorName() == sensor.getSensorName();
}

}  // namespace

int main() {
    if (!coilRoundTrip() || !sensorRoundTrip() || std::size(megLayout32) != 32) {
        std::fprintf(stderr, "round trip through the installed library failed\n");
        return 1;
    }
    std::printf("fluxgrid consumer: coil and sensor round trips ok\n");
    return 0;
}

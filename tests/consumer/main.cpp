// A host outside the source tree: stores a coil to memory and loads it back
// through the installed headers and library.
#include <fluxgrid/fluxgrid.h>

#include <cstdio>

int main() {
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
    if (result != 1 || x != 1.0 || y != 2.0 || z != 3.0 || !(back.coilName == "Coil")) {
        std::fprintf(stderr, "round trip through the installed library failed\n");
        return 1;
    }
    std::printf("fluxgrid consumer: coil round trip ok\n");
    return 0;
}

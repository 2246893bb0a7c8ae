#include "ElementBlocks.h"

#include <algorithm>

namespace fluxgrid::element {

void resetGeometry(CBscMagSns& e) {
    std::fill(std::begin(e.vctXYRD), std::end(e.vctXYRD), 0.0);
    std::fill(std::begin(e.posP4), std::end(e.posP4), 0.0);
    std::fill(std::begin(e.oriP4), std::end(e.oriP4), 0.0);
    std::fill(std::begin(e.nmlDirXYZW), std::end(e.nmlDirXYZW), 0.0);
    std::fill(std::begin(e.axisRotate), std::end(e.axisRotate), 0.0);
    e.rotateRad = 0.0;
    e.rotateDeg = 0.0;
    std::fill(std::begin(e.auxRows[0]), std::end(e.auxRows[0]), 0.0);
}

void clearFirstPairs(PairTable& table) {
    for (int g = 0; g < 4; ++g) {
        for (auto& vector : table[g]) {
            std::fill(std::begin(vector), std::end(vector), 0.0);
        }
    }
}

void clearDoubles(double* first, std::size_t count) {
    std::fill_n(first, count, 0.0);
}

}  // namespace fluxgrid::element

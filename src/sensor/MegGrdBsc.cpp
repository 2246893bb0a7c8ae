#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/sensor/MegGrdBsc.h>

#include "GradBlock.h"

#include <algorithm>

CMegGrdBsc::CMegGrdBsc()
    : hardwareNo(0),
      neuromagFactor(0.0),
      gainOffset(0.0),
      scaleConstant(0.0),
      properGain(0.0),
      secondGain(0.0),
      thirdGain(0.0),
      totalGain(0.0),
      gradOrderNo(0),
      gradAuxNo(0),
      realIdealCoefMode(false),
      adaptiveBalance(false),
      auxValue1(0.0),
      auxValue2(0.0),
      auxVectorA{},
      auxVectorB{},
      auxFlags{} {}

namespace fluxgrid::sensor {

void resetBlock(CMegGrdBsc& block, GradAux gradAux) {
    block.hardwareNo = 0;
    block.neuromagFactor = 1.0;
    block.gainOffset = 0.0;
    block.scaleConstant = 1e17;
    block.properGain = 1.0;
    block.secondGain = 1.0;
    block.thirdGain = 1.0;
    block.totalGain = 1.0;
    block.gradOrderNo = 0;
    if (gradAux == GradAux::carried) {
        block.gradAuxNo = 0;
    }
    block.realIdealCoefMode = false;
    block.adaptiveBalance = false;
    block.auxValue1 = 0.0;
    block.auxValue2 = 0.0;
    std::fill(std::begin(block.auxVectorA), std::end(block.auxVectorA), 0.0);
    std::fill(std::begin(block.auxVectorB), std::end(block.auxVectorB), 0.0);
    std::fill(std::begin(block.auxFlags), std::end(block.auxFlags), 0);
}

int initBlockInfo(CMegGrdBsc& block, int hardwareNo, int gradOrderNo, double properGain,
                  double secondGain, double thirdGain, double gainOffset) {
    block.hardwareNo = hardwareNo;
    block.gradOrderNo = gradOrderNo;
    block.properGain = properGain;
    block.secondGain = secondGain;
    block.thirdGain = thirdGain;
    block.gainOffset = gainOffset;
    block.totalGain = properGain * secondGain * thirdGain;
    return 1;
}

void assignBlockKeepingIdentity(CMegGrdBsc& target, const CMegGrdBsc& source, GradAux gradAux) {
    target.hardwareNo = source.hardwareNo;
    target.gainOffset = source.gainOffset;
    target.scaleConstant = source.scaleConstant;
    target.properGain = source.properGain;
    target.secondGain = source.secondGain;
    target.thirdGain = source.thirdGain;
    target.totalGain = source.totalGain;
    target.gradOrderNo = source.gradOrderNo;
    if (gradAux == GradAux::carried) {
        target.gradAuxNo = source.gradAuxNo;
    }
    target.realIdealCoefMode = source.realIdealCoefMode;
    target.adaptiveBalance = source.adaptiveBalance;
    target.auxValue1 = source.auxValue1;
    target.auxValue2 = source.auxValue2;
    std::copy(std::begin(source.auxVectorA), std::end(source.auxVectorA), target.auxVectorA);
    std::copy(std::begin(source.auxVectorB), std::end(source.auxVectorB), target.auxVectorB);
    std::copy(std::begin(source.auxFlags), std::end(source.auxFlags), target.auxFlags);
}

void storeGainChain(CArchive& ar, const CMegGrdBsc& block, GradAux gradAux) {
    ar << block.hardwareNo;
    ar << block.neuromagFactor;
    ar << block.gainOffset;
    ar << block.scaleConstant;
    ar << block.properGain;
    ar << block.secondGain;
    ar << block.thirdGain;
    ar << block.totalGain;
    ar << block.gradOrderNo;
    if (gradAux == GradAux::carried) {
        ar << block.gradAuxNo;
    }
    ar << block.realIdealCoefMode;
    ar << block.adaptiveBalance;
    ar << block.auxValue1;
    ar << block.auxValue2;
}

void loadGainChain(CArchive& ar, CMegGrdBsc& block, GradAux gradAux) {
    ar >> block.hardwareNo;
    ar >> block.neuromagFactor;
    ar >> block.gainOffset;
    ar >> block.scaleConstant;
    ar >> block.properGain;
    ar >> block.secondGain;
    ar >> block.thirdGain;
    ar >> block.totalGain;
    ar >> block.gradOrderNo;
    if (gradAux == GradAux::carried) {
        ar >> block.gradAuxNo;
    }
    ar >> block.realIdealCoefMode;
    ar >> block.adaptiveBalance;
    ar >> block.auxValue1;
    ar >> block.auxValue2;
}

void storeAuxRows(CArchive& ar, const CMegGrdBsc& block) {
    for (int i = 0; i < 4; ++i) {
        ar << block.auxVectorA[i];
        ar << block.auxVectorB[i];
        ar << block.auxFlags[i];
    }
}

void loadAuxRows(CArchive& ar, CMegGrdBsc& block) {
    for (int i = 0; i < 4; ++i) {
        ar >> block.auxVectorA[i];
        ar >> block.auxVectorB[i];
        ar >> block.auxFlags[i];
    }
}

void storeBlock(CArchive& ar, const CMegGrdBsc& block, GradAux gradAux) {
    storeGainChain(ar, block, gradAux);
    storeAuxRows(ar, block);
}

void loadBlock(CArchive& ar, CMegGrdBsc& block, GradAux gradAux) {
    loadGainChain(ar, block, gradAux);
    loadAuxRows(ar, block);
}

}  // namespace fluxgrid::sensor

namespace fluxgrid::sensor {

bool serializeRecordFrame(CArchive& ar, FileKind kind) {
    // Both records have the one version they write, and one body for it.
    static_assert(fileKindInfo(FileKind::squid).accepted.size() == 1 &&
                  fileKindInfo(FileKind::squid).accepts(fileKindInfo(FileKind::squid).written));
    static_assert(fileKindInfo(FileKind::opm).accepted.size() == 1 &&
                  fileKindInfo(FileKind::opm).accepts(fileKindInfo(FileKind::opm).written));
    // The OPM record shows the SQUID record's words for a wrong version.
    constexpr const char* kWrongRecordFormat = "Wrong MSQUID file format!!?";
    const FileKindInfo& info = fileKindInfo(kind);
    if (ar.IsStoring()) {
        frame::storeHeader(ar, info.magic, info.written);
        return true;
    }
    if (!frame::loadMagic(ar, info.magic, frame::kNotMegFile)) {
        return false;
    }
    if (frame::loadVersion(ar) != info.written) {
        frame::reportBadVersion(kWrongRecordFormat);
        return false;
    }
    return true;
}

}  // namespace fluxgrid::sensor

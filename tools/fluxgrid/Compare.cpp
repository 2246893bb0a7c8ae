#include "Compare.h"

#include <bit>
#include <cstdint>
#include <string>

namespace fluxgrid::tool {

namespace {

// Collects the names of the fields that differ.
class Differ {
  public:
    explicit Differ(std::vector<std::string>& out) : m_out(out) {}

    void operator()(const std::string& name, double a, double b) {
        if (std::bit_cast<std::uint64_t>(a) != std::bit_cast<std::uint64_t>(b)) {
            m_out.push_back(m_prefix + name);
        }
    }
    void operator()(const std::string& name, int a, int b) {
        if (a != b) {
            m_out.push_back(m_prefix + name);
        }
    }
    void operator()(const std::string& name, bool a, bool b) {
        if (a != b) {
            m_out.push_back(m_prefix + name);
        }
    }
    void operator()(const std::string& name, const CString& a, const CString& b) {
        if (a != b) {
            m_out.push_back(m_prefix + name);
        }
    }
    template <std::size_t N, class T>
    void operator()(const std::string& name, const T (&a)[N], const T (&b)[N]) {
        for (std::size_t i = 0; i < N; ++i) {
            (*this)(name + "[" + std::to_string(i) + "]", a[i], b[i]);
        }
    }
    void fail(const std::string& name) { m_out.push_back(m_prefix + name); }

    // Runs `body` with `prefix` in front of every name it reports.
    template <class Body>
    void within(const std::string& prefix, Body body) {
        const std::string saved = m_prefix;
        m_prefix += prefix + ".";
        body();
        m_prefix = saved;
    }

  private:
    std::vector<std::string>& m_out;
    std::string m_prefix;
};

void element(Differ& d, const CBscMagSns& a, const CBscMagSns& b) {
    d("coilName", a.coilName, b.coilName);
    d("vctXYRD", a.vctXYRD, b.vctXYRD);
    d("posP4", a.posP4, b.posP4);
    d("oriP4", a.oriP4, b.oriP4);
    d("nmlDirXYZW", a.nmlDirXYZW, b.nmlDirXYZW);
    d("axisRotate", a.axisRotate, b.axisRotate);
    d("rotateRad", a.rotateRad, b.rotateRad);
    d("rotateDeg", a.rotateDeg, b.rotateDeg);
    for (int r = 0; r < 4; ++r) {
        d("auxRows[" + std::to_string(r) + "]", a.auxRows[r], b.auxRows[r]);
    }
}

void coil(Differ& d, const CBscMagSns& a, const CBscMagSns& b) {
    element(d, a, b);
    d("coilAuxNo", a.coilAuxNo, b.coilAuxNo);
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            d("pairTable[" + std::to_string(g) + "][" + std::to_string(k) + "]", a.pairTable[g][k],
              b.pairTable[g][k]);
        }
    }
    d("coilAuxNo2", a.coilAuxNo2, b.coilAuxNo2);
    d("coilTurns", a.coilTurns, b.coilTurns);
    d("coilAuxValue", a.coilAuxValue, b.coilAuxValue);
    d("coilArea", a.coilArea, b.coilArea);
    d("magApha", a.magApha, b.magApha);
    d("unitScale", a.unitScale, b.unitScale);
    d("coilShape", a.coilShape, b.coilShape);
    d("coilAuxValue2", a.coilAuxValue2, b.coilAuxValue2);
    d("coilAuxValue3", a.coilAuxValue3, b.coilAuxValue3);
}

void vapor(Differ& d, const CMagVapor& a, const CMagVapor& b) {
    element(d, a, b);
    d("vaporShape", a.vaporShape, b.vaporShape);
    d("vaporAuxNo2", a.vaporAuxNo2, b.vaporAuxNo2);
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            d("vaporPairTable[" + std::to_string(g) + "][" + std::to_string(k) + "]",
              a.vaporPairTable[g][k], b.vaporPairTable[g][k]);
        }
    }
}

void block(Differ& d, const CMegGrdBsc& a, const CMegGrdBsc& b, bool withGradAuxNo) {
    d("hardwareNo", a.hardwareNo, b.hardwareNo);
    d("neuromagFactor", a.neuromagFactor, b.neuromagFactor);
    d("gainOffset", a.gainOffset, b.gainOffset);
    d("scaleConstant", a.scaleConstant, b.scaleConstant);
    d("properGain", a.properGain, b.properGain);
    d("secondGain", a.secondGain, b.secondGain);
    d("thirdGain", a.thirdGain, b.thirdGain);
    d("totalGain", a.totalGain, b.totalGain);
    d("gradOrderNo", a.gradOrderNo, b.gradOrderNo);
    if (withGradAuxNo) {
        d("gradAuxNo", a.gradAuxNo, b.gradAuxNo);
    }
    d("realIdealCoefMode", a.realIdealCoefMode, b.realIdealCoefMode);
    d("adaptiveBalance", a.adaptiveBalance, b.adaptiveBalance);
    d("auxValue1", a.auxValue1, b.auxValue1);
    d("auxValue2", a.auxValue2, b.auxValue2);
    d("auxVectorA", a.auxVectorA, b.auxVectorA);
    d("auxVectorB", a.auxVectorB, b.auxVectorB);
    d("auxFlags", a.auxFlags, b.auxFlags);
}

template <class Element, class Each>
void frames(Differ& d, const char* name, const Element (&a)[8], const Element (&b)[8], Each each) {
    for (int i = 0; i < 8; ++i) {
        d.within(std::string(name) + "[" + std::to_string(i) + "]", [&] { each(d, a[i], b[i]); });
    }
}

void fiducial(Differ& d, const CFiducial& a, const CFiducial& b) {
    for (int p = 0; p < 6; ++p) {
        d.within("fidPts[" + std::to_string(p) + "]", [&] {
            const CFiduciaryPt& x = a.fidPts[p];
            const CFiduciaryPt& y = b.fidPts[p];
            d("ptValues", x.ptValues, y.ptValues);
            d("ptExtra1", x.ptExtra1, y.ptExtra1);
            d("ptExtra2", x.ptExtra2, y.ptExtra2);
            d("ptVector", x.ptVector, y.ptVector);
            d("ptState1", x.ptState1, y.ptState1);
            d("ptState2", x.ptState2, y.ptState2);
            d("ptState3", x.ptState3, y.ptState3);
            d("ptExtra3", x.ptExtra3, y.ptExtra3);
            d("ptState4", x.ptState4, y.ptState4);
            d("ptName", x.ptName, y.ptName);
        });
    }
    d("fidState", a.fidState, b.fidState);
    d("fidExtra1", a.fidExtra1, b.fidExtra1);
    d("fidState5", a.fidState5, b.fidState5);
    d("fidExtra2", a.fidExtra2, b.fidExtra2);
}

void sphere(Differ& d, const CSphere& a, const CSphere& b) {
    d("sphereValues", a.sphereValues, b.sphereValues);
    d("sphereState1", a.sphereState1, b.sphereState1);
    d("sphereState2", a.sphereState2, b.sphereState2);
    d("sphereName", a.sphereName, b.sphereName);
}

void entries(Differ& d, const char* name, const CFiducialPtrArray& a, const CFiducialPtrArray& b) {
    d(std::string(name) + ".size", static_cast<int>(a.GetSize()), static_cast<int>(b.GetSize()));
    for (INT_PTR i = 0; i < std::min(a.GetSize(), b.GetSize()); ++i) {
        d.within(std::string(name) + "[" + std::to_string(i) + "]", [&] {
            const CFiducialqv* x = a.GetFiducialAt(i);
            const CFiducialqv* y = b.GetFiducialAt(i);
            if ((x == nullptr) != (y == nullptr)) {
                d.fail("presence");
                return;
            }
            if (x != nullptr) {
                fiducial(d, *x, *y);
            }
            const HEAD_LOCATION_TRIAL* r = a.GetRecordAt(i);
            const HEAD_LOCATION_TRIAL* s = b.GetRecordAt(i);
            if (r != nullptr && s != nullptr) {
                d("trialValue1", r->trialValue1, s->trialValue1);
                d("trialValue2", r->trialValue2, s->trialValue2);
                d("trialValue3", r->trialValue3, s->trialValue3);
                d("trialTag", r->trialTag, s->trialTag);
            }
        });
    }
}

}  // namespace

std::vector<std::string> compareSensors(const CMEGSensor& a, const CMEGSensor& b) {
    std::vector<std::string> out;
    Differ d(out);
    d("geomFlag", a.geomFlag, b.geomFlag);
    d("backupNo", a.backupNo, b.backupNo);
    d("snsRawName", a.snsRawName, b.snsRawName);
    d("snsShowName", a.snsShowName, b.snsShowName);
    d("snsAuxName", a.snsAuxName, b.snsAuxName);
    d("snsFileNo", a.snsFileNo, b.snsFileNo);
    d("sensorType", a.sensorType, b.sensorType);
    d("snsAuxNo", a.snsAuxNo, b.snsAuxNo);
    d("snsPos4", a.snsPos4, b.snsPos4);
    d("snsOri4", a.snsOri4, b.snsOri4);
    d("locSph", a.locSph, b.locSph);
    d("w12Evaluate", a.w12Evaluate, b.w12Evaluate);
    d("w12AuxNo", a.w12AuxNo, b.w12AuxNo);
    d("coefAuxNo", a.coefAuxNo, b.coefAuxNo);
    d("w12Values", a.w12Values, b.w12Values);
    d("hardwareType", a.hardwareType, b.hardwareType);
    const CMegGrdBscqv* ra = a.getBscSns();
    const CMegGrdBscqv* rb = b.getBscSns();
    if ((ra == nullptr) != (rb == nullptr)) {
        d.fail("hardware");
        return out;
    }
    if (ra == nullptr || a.hardwareType != b.hardwareType) {
        return out;
    }
    d.within("hardware", [&] {
        if (a.hardwareType == 0) {
            const auto& x = static_cast<const CMegSquidqv&>(*ra);
            const auto& y = static_cast<const CMegSquidqv&>(*rb);
            block(d, x, y, true);
            d("squidAuxNo", x.squidAuxNo, y.squidAuxNo);
            d("totalCoils", x.totalCoils, y.totalCoils);
            d("currentCoilID", x.currentCoilID, y.currentCoilID);
            frames(d, "coilDewar", x.coilDewar, y.coilDewar, coil);
            frames(d, "coilHead", x.coilHead, y.coilHead, coil);
            frames(d, "coilWork", x.coilWork, y.coilWork, coil);
        } else {
            const auto& x = static_cast<const CMegOpmqv&>(*ra);
            const auto& y = static_cast<const CMegOpmqv&>(*rb);
            block(d, x, y, false);
            d("totalVapors", x.totalVapors, y.totalVapors);
            d("currentVaporID", x.currentVaporID, y.currentVaporID);
            frames(d, "vaporDewar", x.vaporDewar, y.vaporDewar, vapor);
            frames(d, "vaporHead", x.vaporHead, y.vaporHead, vapor);
            frames(d, "vaporWork", x.vaporWork, y.vaporWork, vapor);
        }
    });
    return out;
}

std::vector<std::string> compareHeadLocalizations(const CHeadLocalization& a,
                                                  const CHeadLocalization& b) {
    std::vector<std::string> out;
    Differ d(out);
    d("headLocalType", a.headLocalType, b.headLocalType);
    d("headLocalParam", a.headLocalParam, b.headLocalParam);
    d("fidWorkMode", a.fidWorkMode, b.fidWorkMode);
    d("headLocalizeTime", a.headLocalizeTime, b.headLocalizeTime);
    d("fiducialAveraged", a.fiducialAveraged, b.fiducialAveraged);
    d("headLocalValue", a.headLocalValue, b.headLocalValue);
    d("headLocalText", a.headLocalText, b.headLocalText);
    entries(d, "fiducialPARaw", a.fiducialPARaw, b.fiducialPARaw);
    entries(d, "fiducialPt", a.fiducialPt, b.fiducialPt);
    entries(d, "fiducialPA", a.fiducialPA, b.fiducialPA);
    d("headLocalLabels.size", static_cast<int>(a.headLocalLabels.GetSize()),
      static_cast<int>(b.headLocalLabels.GetSize()));
    for (INT_PTR i = 0; i < std::min(a.headLocalLabels.GetSize(), b.headLocalLabels.GetSize());
         ++i) {
        d("headLocalLabels[" + std::to_string(i) + "]", a.headLocalLabels[i], b.headLocalLabels[i]);
    }
    d.within("sensorLocation", [&] { sphere(d, a.sensorLocation, b.sensorLocation); });
    d.within("sensorRotation", [&] { sphere(d, a.sensorRotation, b.sensorRotation); });
    d.within("fiducialFirst", [&] { fiducial(d, a.fiducialFirst, b.fiducialFirst); });
    d.within("fiducialSecond", [&] { fiducial(d, a.fiducialSecond, b.fiducialSecond); });
    d.within("fiducialThird", [&] { fiducial(d, a.fiducialThird, b.fiducialThird); });
    d.within("fiducialCurrent", [&] { fiducial(d, a.fiducialCurrent, b.fiducialCurrent); });
    return out;
}

}  // namespace fluxgrid::tool

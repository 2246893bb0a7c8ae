#include "Json.h"

#include <cmath>

namespace fluxgrid::tool {

using nlohmann::json;

json jsonOf(double value) {
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value > 0 ? "Infinity" : "-Infinity";
    }
    return value;
}

json jsonOf(const CString& text) {
    return text.ToUtf8();
}

namespace {

template <std::size_t N>
json doubles(const double (&values)[N]) {
    json array = json::array();
    for (double value : values) {
        array.push_back(jsonOf(value));
    }
    return array;
}

template <std::size_t N>
json ints(const int (&values)[N]) {
    json array = json::array();
    for (int value : values) {
        array.push_back(value);
    }
    return array;
}

template <std::size_t Rows, std::size_t Cols>
json doubles(const double (&values)[Rows][Cols]) {
    json array = json::array();
    for (const auto& row : values) {
        array.push_back(doubles(row));
    }
    return array;
}

// A pair table: twelve pairs of two three-vectors.
json pairs(const double (&table)[12][2][3]) {
    json array = json::array();
    for (const auto& pair : table) {
        array.push_back(doubles(pair));
    }
    return array;
}

template <class Element>
json frame(const Element (&elements)[8]) {
    json array = json::array();
    for (const Element& element : elements) {
        array.push_back(toJson(element));
    }
    return array;
}

// One element of a head localization list, whatever its kind.
json listEntry(const CFiducialPtrArray& list, INT_PTR index) {
    if (const HEAD_LOCATION_TRIAL* record = list.GetRecordAt(index)) {
        return {{"kind", "record"},
                {"trialValue1", jsonOf(record->trialValue1)},
                {"trialValue2", jsonOf(record->trialValue2)},
                {"trialValue3", jsonOf(record->trialValue3)},
                {"trialTag", record->trialTag},
                {"trialFiducial", toJson(record->trialFiducial)}};
    }
    if (const CFiducialqv* object = list.GetFiducialAt(index)) {
        return {{"kind", "object"}, {"fiducial", toJson(*object)}};
    }
    return nullptr;
}

json list(const CFiducialPtrArray& entries) {
    json array = json::array();
    for (INT_PTR i = 0; i < entries.GetSize(); ++i) {
        array.push_back(listEntry(entries, i));
    }
    return array;
}

template <std::size_t N>
json spheres(const CSphereqv (&values)[N]) {
    json array = json::array();
    for (const CSphereqv& sphere : values) {
        array.push_back(toJson(sphere));
    }
    return array;
}

}  // namespace

json toJson(const CBscMagSns& e) {
    return {
        {"vctXYRD", doubles(e.vctXYRD)},
        {"coilName", jsonOf(e.coilName)},
        {"posP4", doubles(e.posP4)},
        {"oriP4", doubles(e.oriP4)},
        {"nmlDirXYZW", doubles(e.nmlDirXYZW)},
        {"axisRotate", doubles(e.axisRotate)},
        {"rotateRad", jsonOf(e.rotateRad)},
        {"rotateDeg", jsonOf(e.rotateDeg)},
        {"auxRows", doubles(e.auxRows)},
        {"coilAuxNo", e.coilAuxNo},
        {"pairTable", pairs(e.pairTable)},
        {"coilAuxNo2", e.coilAuxNo2},
        {"coilTurns", e.coilTurns},
        {"coilAuxValue", jsonOf(e.coilAuxValue)},
        {"coilArea", jsonOf(e.coilArea)},
        {"magApha", jsonOf(e.magApha)},
        {"unitScale", jsonOf(e.unitScale)},
        {"coilShape", e.coilShape},
        {"coilAuxValue2", jsonOf(e.coilAuxValue2)},
        {"coilAuxValue3", jsonOf(e.coilAuxValue3)},
    };
}

json toJson(const CMagVapor& cell) {
    json j = toJson(static_cast<const CBscMagSns&>(cell));
    j["vaporAuxNo"] = cell.vaporAuxNo;
    j["vaporShape"] = cell.vaporShape;
    j["vaporPairTable"] = pairs(cell.vaporPairTable);
    j["vaporAuxNo2"] = cell.vaporAuxNo2;
    return j;
}

json toJson(const CMegGrdBsc& b) {
    return {
        {"hardwareName", jsonOf(b.hardwareName)},
        {"hardwareNo", b.hardwareNo},
        {"neuromagFactor", jsonOf(b.neuromagFactor)},
        {"gainOffset", jsonOf(b.gainOffset)},
        {"scaleConstant", jsonOf(b.scaleConstant)},
        {"properGain", jsonOf(b.properGain)},
        {"secondGain", jsonOf(b.secondGain)},
        {"thirdGain", jsonOf(b.thirdGain)},
        {"totalGain", jsonOf(b.totalGain)},
        {"gradOrderNo", b.gradOrderNo},
        {"gradAuxNo", b.gradAuxNo},
        {"realIdealCoefMode", b.realIdealCoefMode},
        {"adaptiveBalance", b.adaptiveBalance},
        {"auxValue1", jsonOf(b.auxValue1)},
        {"auxValue2", jsonOf(b.auxValue2)},
        {"auxVectorA", doubles(b.auxVectorA)},
        {"auxVectorB", doubles(b.auxVectorB)},
        {"auxFlags", ints(b.auxFlags)},
    };
}

json toJson(const CMegSquid& r) {
    json j = toJson(static_cast<const CMegGrdBsc&>(r));
    j["squidAuxNo"] = r.squidAuxNo;
    j["totalCoils"] = r.totalCoils;
    j["currentCoilID"] = r.currentCoilID;
    j["coilDewar"] = frame(r.coilDewar);
    j["coilHead"] = frame(r.coilHead);
    j["coilWork"] = frame(r.coilWork);
    return j;
}

json toJson(const CMegOpm& r) {
    json j = toJson(static_cast<const CMegGrdBsc&>(r));
    j["totalVapors"] = r.totalVapors;
    j["currentVaporID"] = r.currentVaporID;
    j["vaporDewar"] = frame(r.vaporDewar);
    j["vaporHead"] = frame(r.vaporHead);
    j["vaporWork"] = frame(r.vaporWork);
    return j;
}

json toJson(const CMEGSensor& s) {
    json geom = {
        {"geomWordA", s.geomWordA},         {"geomWordB", s.geomWordB},
        {"geomWordC", s.geomWordC},         {"geomFlag", s.geomFlag},
        {"geomTextA", jsonOf(s.geomTextA)}, {"geomTextB", jsonOf(s.geomTextB)},
        {"geomTextC", jsonOf(s.geomTextC)}, {"geomTextD", jsonOf(s.geomTextD)},
        {"geomTailA", s.geomTailA},         {"geomTailB", s.geomTailB},
        {"geomTailC", s.geomTailC},
    };
    json hardware = nullptr;
    if (s.hardware) {
        // The record is of the kind it was made as, whatever the type says.
        const int kind = fluxgrid::sensor::hardwareRecordKind(s.hardware);
        const int asKind = kind >= 0 ? kind : s.hardwareType;
        if (asKind == 0) {
            hardware =
                toJson(static_cast<const CMegSquid&>(*static_cast<CMegSquidqv*>(s.hardware.get())));
            hardware["recordKind"] = "squid";
        } else if (asKind == 1) {
            hardware =
                toJson(static_cast<const CMegOpm&>(*static_cast<CMegOpmqv*>(s.hardware.get())));
            hardware["recordKind"] = "opm";
        } else {
            hardware = toJson(static_cast<const CMegGrdBsc&>(*s.hardware));
            hardware["recordKind"] = "unknown";
        }
    }
    return {
        {"geom", geom},
        {"backupNo", s.backupNo},
        {"snsRawName", jsonOf(s.snsRawName)},
        {"snsShowName", jsonOf(s.snsShowName)},
        {"snsAuxName", jsonOf(s.snsAuxName)},
        {"snsAuxNo", s.snsAuxNo},
        {"snsFileNo", s.snsFileNo},
        {"sensorType", s.sensorType},
        {"hardwareType", s.hardwareType},
        {"hardware", hardware},
        {"snsPos4", doubles(s.snsPos4)},
        {"snsOri4", doubles(s.snsOri4)},
        {"locSph", doubles(s.locSph)},
        {"w12Evaluate", s.w12Evaluate},
        {"w12AuxNo", s.w12AuxNo},
        {"coefAuxNo", s.coefAuxNo},
        {"w12Values", doubles(s.w12Values)},
    };
}

json toJson(const CFiduciaryPt& p) {
    return {
        {"ptValues", doubles(p.ptValues)}, {"ptExtra1", jsonOf(p.ptExtra1)},
        {"ptExtra2", jsonOf(p.ptExtra2)},  {"ptVector", doubles(p.ptVector)},
        {"ptState1", p.ptState1},          {"ptState2", p.ptState2},
        {"ptState3", p.ptState3},          {"ptExtra3", jsonOf(p.ptExtra3)},
        {"ptState4", p.ptState4},          {"ptName", jsonOf(p.ptName)},
    };
}

json toJson(const CFiducial& set) {
    json points = json::array();
    for (const CFiduciaryPtqv& point : set.fidPts) {
        points.push_back(toJson(point));
    }
    return {
        {"fidPts", points},
        {"fidState", ints(set.fidState)},
        {"fidExtra1", jsonOf(set.fidExtra1)},
        {"fidState5", set.fidState5},
        {"fidExtra2", jsonOf(set.fidExtra2)},
    };
}

json toJson(const CSphere& sphere) {
    return {
        {"sphereValues", doubles(sphere.sphereValues)},
        {"sphereState1", sphere.sphereState1},
        {"sphereState2", sphere.sphereState2},
        {"sphereName", jsonOf(sphere.sphereName)},
    };
}

json toJson(const CHeadLocalization& h) {
    json labels = json::array();
    for (const CString& label : h.headLocalLabels) {
        labels.push_back(jsonOf(label));
    }
    return {
        {"headLocalType", h.headLocalType},
        {"headLocalParam", h.headLocalParam},
        {"fidWorkMode", h.fidWorkMode},
        {"fiducialFirst", toJson(h.fiducialFirst)},
        {"fiducialSecond", toJson(h.fiducialSecond)},
        {"fiducialThird", toJson(h.fiducialThird)},
        {"fiducialPtRaw", list(h.fiducialPtRaw)},
        {"fiducialPARaw", list(h.fiducialPARaw)},
        {"fiducialPt", list(h.fiducialPt)},
        {"fiducialPA", list(h.fiducialPA)},
        {"headLocalizeTime", h.headLocalizeTime},
        {"fiducialAveraged", h.fiducialAveraged},
        {"fiducialCurrent", toJson(h.fiducialCurrent)},
        {"sensorLocation", toJson(h.sensorLocation)},
        {"sensorRotation", toJson(h.sensorRotation)},
        {"headLocalSlot", jsonOf(h.headLocalSlot)},
        {"sphereA", toJson(h.sphereA)},
        {"spheresA", spheres(h.spheresA)},
        {"sphereB", toJson(h.sphereB)},
        {"spheresB", spheres(h.spheresB)},
        {"headLocalValue", jsonOf(h.headLocalValue)},
        {"headLocalText", jsonOf(h.headLocalText)},
        {"headLocalLabels", labels},
    };
}

json toJson(const LoadedFile& loaded) {
    const KindInfo& info = kindInfo(loaded.kind);
    json object;
    switch (loaded.kind) {
        case FileKind::coil:
            object = toJson(static_cast<const CBscMagSns&>(*loaded.coil));
            break;
        case FileKind::vapor:
            object = toJson(static_cast<const CMagVapor&>(*loaded.vapor));
            break;
        case FileKind::squid:
            object = toJson(static_cast<const CMegSquid&>(*loaded.squid));
            break;
        case FileKind::opm:
            object = toJson(static_cast<const CMegOpm&>(*loaded.opm));
            break;
        case FileKind::sensor:
            object = toJson(static_cast<const CMEGSensor&>(*loaded.sensor));
            break;
        case FileKind::headloc:
            object = toJson(static_cast<const CHeadLocalization&>(*loaded.headloc));
            break;
    }
    return {
        {"file", loaded.path},       {"kind", info.word},   {"magic", CString(info.magic).ToUtf8()},
        {"version", loaded.version}, {"size", loaded.size}, {"consumed", loaded.consumed},
        {"object", object},
    };
}

}  // namespace fluxgrid::tool

// The sensor file: the frame "MEGSENSORQV" and the bodies of its versions.
// The layouts are described in MEGSensor.h; each body below lists its
// fields in file order, store and load side by side.
#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/frame/FileKinds.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include "GradBlock.h"

namespace {

constexpr const fluxgrid::FileKindInfo& kKind = fluxgrid::fileKindInfo(fluxgrid::FileKind::sensor);
constexpr const char* kNotSensorFile = "The opened file is not MEG sensor file or corrupted!";

// The four rows of the newer bodies: position, orientation, locSph.
void storeRows(CArchive& ar, const CMEGSensor& s) {
    for (int i = 0; i < 4; ++i) {
        ar << s.snsPos4[i];
        ar << s.snsOri4[i];
        ar << s.locSph[i];
    }
}

void loadRows(CArchive& ar, CMEGSensor& s) {
    for (int i = 0; i < 4; ++i) {
        ar >> s.snsPos4[i];
        ar >> s.snsOri4[i];
        ar >> s.locSph[i];
    }
}

// The four rows of the old bodies, which carry the record's vectors too.
void storeWideRows(CArchive& ar, const CMEGSensor& s, const CMegSquidqv& r) {
    for (int i = 0; i < 4; ++i) {
        ar << s.snsPos4[i];
        ar << s.snsOri4[i];
        ar << s.locSph[i];
        ar << r.auxVectorA[i];
        ar << r.auxVectorB[i];
        ar << r.auxFlags[i];
    }
}

void loadWideRows(CArchive& ar, CMEGSensor& s, CMegSquidqv& r) {
    for (int i = 0; i < 4; ++i) {
        ar >> s.snsPos4[i];
        ar >> s.snsOri4[i];
        ar >> s.locSph[i];
        ar >> r.auxVectorA[i];
        ar >> r.auxVectorB[i];
        ar >> r.auxFlags[i];
    }
}

void storeW12Values(CArchive& ar, const CMEGSensor& s) {
    for (double value : s.w12Values) {
        ar << value;
    }
}

void loadW12Values(CArchive& ar, CMEGSensor& s) {
    for (double& value : s.w12Values) {
        ar >> value;
    }
}

}  // namespace

using namespace fluxgrid;

int CMEGSensor09File::serializeqv(CArchive& ar) {
    if (ar.IsStoring()) {
        frame::storeHeader(ar, kKind.magic, kKind.written);
        return serialize20200210(ar) != 0 ? 1 : 0;
    }
    if (!frame::loadMagic(ar, kKind.magic, kNotSensorFile)) {
        return 0;
    }
    // 20190201 has a body and a reader, yet a file of that version is
    // refused like any unknown one.
    switch (frame::loadVersion(ar)) {
        case 20080101:
            return serialize20080101(ar);
        case 20091117:
            return serialize20091117(ar);
        case 20140513:
            return serialize20140513(ar);
        case 20200210:
            return serialize20200210(ar);
        default:
            frame::reportBadVersion(frame::kWrongFileFormat);
            return 0;
    }
}

int CMEGSensor09File::serialize20200210(CArchive& ar) {
    return serializeWithRecord(ar, true);
}

int CMEGSensor09File::serialize20190201(CArchive& ar) {
    return serializeWithRecord(ar, false);
}

int CMEGSensor09File::serializeWithRecord(CArchive& ar, bool withGeomFlag) {
    if (ar.IsStoring()) {
        if (withGeomFlag) {
            ar << geomFlag;
        }
        ar << backupNo;
        ar << snsRawName;
        ar << snsShowName;
        ar << snsAuxName;
        ar << snsFileNo;
        ar << sensorType;
        ar << snsAuxNo;
        storeRows(ar, *this);
        ar << w12Evaluate;
        ar << w12AuxNo;
        ar << coefAuxNo;
        storeW12Values(ar, *this);
        ar << hardwareType;
        if (CMegSquidqv* squid = squidRecord()) {
            ar << 1;
            return squid->serialize(ar) != 0 ? 1 : 0;
        }
        if (CMegOpmqv* opm = opmRecord()) {
            ar << 1;
            return opm->serialize(ar) != 0 ? 1 : 0;
        }
        ar << 0;
        return 1;
    }

    // The old record goes before the first byte of the body is read.
    cleanHardwareType();
    if (withGeomFlag) {
        ar >> geomFlag;
    }
    ar >> backupNo;
    ar >> snsRawName;
    ar >> snsShowName;
    ar >> snsAuxName;
    ar >> snsFileNo;
    ar >> sensorType;
    ar >> snsAuxNo;
    loadRows(ar, *this);
    ar >> w12Evaluate;
    ar >> w12AuxNo;
    ar >> coefAuxNo;
    loadW12Values(ar, *this);
    ar >> hardwareType;
    int recordFlag = 0;
    ar >> recordFlag;
    // A type of neither kind ends the body, whatever the flag says.
    if (hardwareType != 0 && hardwareType != 1) {
        return 1;
    }
    if (recordFlag == 0) {
        return 1;
    }
    hardware = sensor::allocateHardwareRecord(hardwareType);
    if (CMegSquidqv* squid = squidRecord()) {
        return squid->serialize(ar) != 0 ? 1 : 0;
    }
    if (CMegOpmqv* opm = opmRecord()) {
        return opm->serialize(ar) != 0 ? 1 : 0;
    }
    return 0;
}

CMegSquidqv* CMEGSensor09File::inlineRecord() {
    // The old files describe SQUID channels only. A record already held is
    // read over, not replaced.
    hardwareType = 0;
    if (!hardware) {
        hardware = sensor::allocateHardwareRecord(0);
    }
    return squidRecord();
}

void CMEGSensor09File::serializeInlineCoils(CArchive& ar, CMegSquidqv& record) {
    sensor::serializeElementRecords(ar, record.coilDewar, record.coilHead, record.coilWork);
}

int CMEGSensor09File::serialize20140513(CArchive& ar) {
    CMegSquidqv* const record = inlineRecord();
    if (record == nullptr) {
        return 0;
    }
    CMegSquidqv& r = *record;
    if (ar.IsStoring()) {
        ar << backupNo;
        ar << snsRawName;
        ar << snsShowName;
        ar << snsAuxName;
        ar << snsFileNo;
        ar << sensorType;
        sensor::storeGainChain(ar, r, sensor::GradAux::carried);
        ar << snsAuxNo;
        storeWideRows(ar, *this, r);
        ar << w12Evaluate;
        ar << w12AuxNo;
        ar << coefAuxNo;
        storeW12Values(ar, *this);
        ar << r.totalCoils;
        ar << r.currentCoilID;
    } else {
        ar >> backupNo;
        ar >> snsRawName;
        ar >> snsShowName;
        ar >> snsAuxName;
        ar >> snsFileNo;
        ar >> sensorType;
        sensor::loadGainChain(ar, r, sensor::GradAux::carried);
        ar >> snsAuxNo;
        loadWideRows(ar, *this, r);
        ar >> w12Evaluate;
        ar >> w12AuxNo;
        ar >> coefAuxNo;
        loadW12Values(ar, *this);
        ar >> r.totalCoils;
        ar >> r.currentCoilID;
    }
    serializeInlineCoils(ar, r);
    return 1;
}

void CMEGSensor09File::serializeInline2008(CArchive& ar, CMegSquidqv& r) {
    if (ar.IsStoring()) {
        ar << snsRawName;
        ar << snsShowName;
        ar << snsAuxName;
        ar << backupNo;
        ar << sensorType;
        ar << r.hardwareNo;
        ar << r.properGain;
        ar << r.secondGain;
        ar << r.thirdGain;
        ar << r.gainOffset;
        ar << r.totalCoils;
        ar << r.currentCoilID;
        ar << r.gradOrderNo;
        ar << r.gradAuxNo;
        ar << r.scaleConstant;
        ar << r.totalGain;
        ar << r.realIdealCoefMode;
        ar << r.adaptiveBalance;
        ar << sensorType;
        ar << 0.0;  // reserved
        ar << r.auxValue1;
        ar << r.auxValue2;
        ar << snsAuxNo;
        storeWideRows(ar, *this, r);
    } else {
        ar >> snsRawName;
        ar >> snsShowName;
        ar >> snsAuxName;
        ar >> backupNo;
        ar >> sensorType;
        ar >> r.hardwareNo;
        ar >> r.properGain;
        ar >> r.secondGain;
        ar >> r.thirdGain;
        ar >> r.gainOffset;
        ar >> r.totalCoils;
        ar >> r.currentCoilID;
        ar >> r.gradOrderNo;
        ar >> r.gradAuxNo;
        ar >> r.scaleConstant;
        ar >> r.totalGain;
        ar >> r.realIdealCoefMode;
        ar >> r.adaptiveBalance;
        ar >> sensorType;  // the second occurrence is the one that counts
        double reserved = 0.0;
        ar >> reserved;  // skipped, whatever it holds
        ar >> r.auxValue1;
        ar >> r.auxValue2;
        ar >> snsAuxNo;
        loadWideRows(ar, *this, r);
    }
    serializeInlineCoils(ar, r);
}

int CMEGSensor09File::serialize20080101(CArchive& ar) {
    CMegSquidqv* const record = inlineRecord();
    if (record == nullptr) {
        return 0;
    }
    serializeInline2008(ar, *record);
    return 1;
}

int CMEGSensor09File::serialize20091117(CArchive& ar) {
    CMegSquidqv* const record = inlineRecord();
    if (record == nullptr) {
        return 0;
    }
    serializeInline2008(ar, *record);
    if (ar.IsStoring()) {
        ar << coefAuxNo;
        storeW12Values(ar, *this);
    } else {
        ar >> coefAuxNo;
        loadW12Values(ar, *this);
    }
    return 1;
}

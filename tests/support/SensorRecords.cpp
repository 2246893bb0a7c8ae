#include "support/SensorRecords.h"

#include "support/ElementRecordBuilders.h"

namespace fluxgrid::test {

void appendSensorFrame(ByteBuilder& out, int version) {
    out.wide(u"MEGSENSORQV");  // 0: FF FE FF 0B and 22 bytes of text
    out.i32(version);          // 26
}

void appendSensorNames(ByteBuilder& out, const CMEGSensor& s) {
    out.wide(s.snsRawName.str());
    out.wide(s.snsShowName.str());
    out.wide(s.snsAuxName.str());
}

void appendSixColumnRows(ByteBuilder& out, const CMEGSensor& s, const CMegGrdBsc& r) {
    for (int i = 0; i < 4; ++i) {  // rows of 44 bytes
        out.f64(s.snsPos4[i]);
        out.f64(s.snsOri4[i]);
        out.f64(s.locSph[i]);
        out.f64(r.auxVectorA[i]);
        out.f64(r.auxVectorB[i]);
        out.i32(r.auxFlags[i]);
    }
}

void appendInlineCoils(ByteBuilder& out, const CMegSquid& r, int coilVersion) {
    for (int i = 0; i < 8; ++i) {
        out.raw(coilRecord(coilVersion, valuesOf(r.coilDewar[i])).bytes());
        out.raw(coilRecord(coilVersion, valuesOf(r.coilHead[i])).bytes());
        out.raw(coilRecord(coilVersion, valuesOf(r.coilWork[i])).bytes());
    }
}

// Offsets as in 20200210; 20190201 lacks the first four bytes.
void appendRecordBodyHead(ByteBuilder& out, const CMEGSensor& s, bool withGeomFlag,
                          int hardwareType) {
    if (withGeomFlag) {
        out.i32(s.geomFlag);  // 0
    }
    out.i32(s.backupNo);           // 4
    appendSensorNames(out, s);     // 8
    out.i32(s.snsFileNo);          // B+0
    out.i32(s.sensorType);         // B+4
    out.i32(s.snsAuxNo);           // B+8
    for (int i = 0; i < 4; ++i) {  // B+12: rows of 24 bytes
        out.f64(s.snsPos4[i]);
        out.f64(s.snsOri4[i]);
        out.f64(s.locSph[i]);
    }
    out.i32(s.w12Evaluate);         // B+108
    out.i32(s.w12AuxNo);            // B+112
    out.i32(s.coefAuxNo);           // B+116
    for (double v : s.w12Values) {  // B+120: 96 bytes
        out.f64(v);
    }
    out.i32(hardwareType);  // B+216
}

std::vector<BYTE> sensorBody20200210(const CMEGSensor& s, int hardwareType, int flag,
                                     const std::vector<BYTE>& nested) {
    ByteBuilder out;
    appendRecordBodyHead(out, s, true, hardwareType);
    out.i32(flag);    // B+220
    out.raw(nested);  // B+224
    return out.bytes();
}

std::vector<BYTE> sensorBody20190201(const CMEGSensor& s, int hardwareType, int flag,
                                     const std::vector<BYTE>& nested) {
    ByteBuilder out;
    appendRecordBodyHead(out, s, false, hardwareType);
    out.i32(flag);
    out.raw(nested);
    return out.bytes();
}

std::vector<BYTE> sensorBody20140513(const CMEGSensor& s, const CMegSquid& r, int coilVersion) {
    ByteBuilder out;
    out.i32(s.backupNo);               // 0
    appendSensorNames(out, s);         // 4
    out.i32(s.snsFileNo);              // B+0
    out.i32(s.sensorType);             // B+4
    out.i32(r.hardwareNo);             // B+8
    out.f64(r.neuromagFactor);         // B+12
    out.f64(r.gainOffset);             // B+20
    out.f64(r.scaleConstant);          // B+28
    out.f64(r.properGain);             // B+36
    out.f64(r.secondGain);             // B+44
    out.f64(r.thirdGain);              // B+52
    out.f64(r.totalGain);              // B+60
    out.i32(r.gradOrderNo);            // B+68
    out.i32(r.gradAuxNo);              // B+72
    out.boolean(r.realIdealCoefMode);  // B+76
    out.boolean(r.adaptiveBalance);    // B+77
    out.f64(r.auxValue1);              // B+78
    out.f64(r.auxValue2);              // B+86
    out.i32(s.snsAuxNo);               // B+94
    appendSixColumnRows(out, s, r);    // B+98: 176 bytes
    out.i32(s.w12Evaluate);            // B+274
    out.i32(s.w12AuxNo);               // B+278
    out.i32(s.coefAuxNo);              // B+282
    for (double v : s.w12Values) {     // B+286: 96 bytes
        out.f64(v);
    }
    out.i32(r.totalCoils);                   // B+382
    out.i32(r.currentCoilID);                // B+386
    appendInlineCoils(out, r, coilVersion);  // B+390
    return out.bytes();
}

std::vector<BYTE> sensorBody2008(int version, const CMEGSensor& s, const CMegSquid& r,
                                 int coilVersion, int firstSensorType, std::uint64_t reservedBits) {
    ByteBuilder out;
    appendSensorNames(out, s);               // 0
    out.i32(s.backupNo);                     // B+0
    out.i32(firstSensorType);                // B+4
    out.i32(r.hardwareNo);                   // B+8
    out.f64(r.properGain);                   // B+12
    out.f64(r.secondGain);                   // B+20
    out.f64(r.thirdGain);                    // B+28
    out.f64(r.gainOffset);                   // B+36
    out.i32(r.totalCoils);                   // B+44
    out.i32(r.currentCoilID);                // B+48
    out.i32(r.gradOrderNo);                  // B+52
    out.i32(r.gradAuxNo);                    // B+56
    out.f64(r.scaleConstant);                // B+60
    out.f64(r.totalGain);                    // B+68
    out.boolean(r.realIdealCoefMode);        // B+76
    out.boolean(r.adaptiveBalance);          // B+77
    out.i32(s.sensorType);                   // B+78: the second sensorType
    out.u64(reservedBits);                   // B+82: reserved double
    out.f64(r.auxValue1);                    // B+90
    out.f64(r.auxValue2);                    // B+98
    out.i32(s.snsAuxNo);                     // B+106
    appendSixColumnRows(out, s, r);          // B+110: 176 bytes
    appendInlineCoils(out, r, coilVersion);  // B+286
    if (version == 20091117) {
        out.i32(s.coefAuxNo);
        for (double v : s.w12Values) {
            out.f64(v);
        }
    }
    return out.bytes();
}

std::vector<BYTE> sensorFile(int version, const std::vector<BYTE>& body) {
    ByteBuilder out;
    appendSensorFrame(out, version);
    out.raw(body);
    return out.bytes();
}

std::vector<BYTE> sensorFile20200210(const CMEGSensor& s, int hardwareType, int flag,
                                     const std::vector<BYTE>& nested) {
    return sensorFile(20200210, sensorBody20200210(s, hardwareType, flag, nested));
}

std::vector<BYTE> sensorFile20190201(const CMEGSensor& s, int hardwareType, int flag,
                                     const std::vector<BYTE>& nested) {
    return sensorFile(20190201, sensorBody20190201(s, hardwareType, flag, nested));
}

}  // namespace fluxgrid::test

// Writes the sample files of examples/data: one file in every accepted
// version of every kind, a sensor file of the refused version 20190201, a
// truncated sensor file and a file of a kind that the tool does not read.
//
// Files of the newest versions are stored by the library itself. Files of
// the older versions are put down byte by byte from their layouts with the
// ByteBuilder, the library's objects only supplying the values, so that the
// samples stand for files that old acquisition systems wrote.
//
//   make_sample_data OUT_DIR [--compare COMMITTED_DIR]
//
// With --compare, every file written must be identical to the file of the
// same name in COMMITTED_DIR, and that folder must hold no other file.
#include <fluxgrid/fluxgrid.h>

#include "support/ByteBuilder.h"
#include "support/ElementRecordBuilders.h"
#include "support/HardwareRecords.h"
#include "support/RecordBuilders.h"
#include "support/SensorRecords.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

using fluxgrid::test::ByteBuilder;
using fluxgrid::test::valuesOf;
namespace fs = std::filesystem;

using Files = std::map<std::string, std::vector<BYTE>>;

constexpr double kPi = 3.141592653589793;

// ---------------------------------------------------------------------------
// The objects that supply the values.

// An axial SQUID gradiometer at row 7 (MLC3) of megLayout21: pick-up coil at
// the row's position, compensation coil 5 cm out along the unit axis.
void buildSquidSensor(CMEGSensorqv& s) {
    const MEG_OPM_NAME_POS_TYPE& row = megLayout21[7];
    s.initSensorInfo(0, row.sensorType, 0, 0, 1.0, 1.0, 1.0, 0.0);
    s.resetSensors();
    s.initSensorInfo(0, row.sensorType, 2007, 1, 1.2, 10.0, 1.0, 0.5);
    MEG_OPM_NAME_POS_TYPE pickup = row;
    const double length =
        std::sqrt(row.ornX * row.ornX + row.ornY * row.ornY + row.ornZ * row.ornZ);
    pickup.ornX /= length;
    pickup.ornY /= length;
    pickup.ornZ /= length;
    MEG_OPM_NAME_POS_TYPE compensation = pickup;
    compensation.posX += 50.0 * pickup.ornX;
    compensation.posY += 50.0 * pickup.ornY;
    compensation.posZ += 50.0 * pickup.ornZ;
    s.setAcqSnsParam(0, 1, &compensation, 1, 1, 0, 0);
    s.setAcqSnsParam(0, 0, &pickup, 1, 1, 0, 1);
    auto* squid = static_cast<CMegSquidqv*>(s.getBscSns());
    squid->totalCoils = 2;
    squid->currentCoilID = 0;
    squid->squidAuxNo = 0;
    for (CMagCoilqv* coils : {squid->coilDewar, squid->coilHead}) {
        for (int k = 0; k < 2; ++k) {
            coils[k].coilName = row.name + CString(k == 0 ? ".pickup" : ".compensation");
            coils[k].coilShape = 1;
            coils[k].coilTurns = k == 0 ? 1 : -1;
            coils[k].coilArea = kPi * 9.0 * 9.0;
        }
    }
    s.snsAuxName = "megLayout21";
    s.snsFileNo = 7;
    s.backupNo = 2;
    s.coefAuxNo = 3;
    for (int i = 0; i < 12; ++i) {
        s.w12Values[i] = 0.125 * i;
    }
    s.setCoilsDewar2work();
}

// An OPM at row 0 (MLFP1) of megLayout32 with one vapor cell. The table
// gives the orientation to three decimals; a sensor takes it of unit length.
void buildOpmSensor(CMEGSensorqv& s) {
    MEG_OPM_NAME_POS_TYPE row = megLayout32[0];
    const double length =
        std::sqrt(row.ornX * row.ornX + row.ornY * row.ornY + row.ornZ * row.ornZ);
    row.ornX /= length;
    row.ornY /= length;
    row.ornZ /= length;
    s.initSensorInfo(1, row.sensorType, 1000, 0, 2.7, 1.0, 1.0, 0.0);
    s.setAcqSnsParam(1, 0, &row, 1, 1, 1, 1);
    auto* opm = static_cast<CMegOpmqv*>(s.getBscSns());
    opm->checkInitVapors(1);
    for (CMagVaporqv* cell : {&opm->vaporDewar[0], &opm->vaporHead[0], &opm->vaporWork[0]}) {
        cell->vaporShape = 2;
        cell->coilName = row.name;
    }
    s.snsAuxName = "megLayout32";
    s.setCoilsDewar2work();
}

// ---------------------------------------------------------------------------
// Files stored by the library.

template <class Store>
std::vector<BYTE> stored(Store store) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        store(ar);
        ar.Close();
    }
    return file.Data();
}

// ---------------------------------------------------------------------------
// Old sensor files, from their layouts.

// The coil version of the era of an old sensor version: the nested coil
// records are those that the system of the time wrote.
int coilVersionOfEra(int sensorVersion) {
    switch (sensorVersion) {
        case 20080101:
            return 20080102;
        case 20091117:
            return 20091117;
        default:
            return 20140513;
    }
}

std::vector<BYTE> sensorFile2008(int version, const CMEGSensor& s, const CMegSquid& r) {
    // Both occurrences of sensorType are the sensor's, the reserved double 0.0.
    return fluxgrid::test::sensorFile(
        version,
        fluxgrid::test::sensorBody2008(version, s, r, coilVersionOfEra(version), s.sensorType, 0));
}

std::vector<BYTE> sensorFile20140513(const CMEGSensor& s, const CMegSquid& r) {
    return fluxgrid::test::sensorFile(
        20140513, fluxgrid::test::sensorBody20140513(s, r, coilVersionOfEra(20140513)));
}

// Version 20190201: the body of 20200210 without geomFlag, here with a
// nested OPM record (hardwareType 1, record flag 1). Sensors refuse this
// version.
std::vector<BYTE> sensorFile20190201(const CMEGSensor& s, const CMegOpm& r) {
    return fluxgrid::test::sensorFile20190201(s, 1, 1, fluxgrid::test::opmRecord20190201(r));
}

// ---------------------------------------------------------------------------
// Head localization.

// The default fiducials over three time steps of a drifting head, as
// records with their values and tags, averaged and registered.
void buildHeadLocalization(CHeadLocalizationqv& h) {
    h.initDefaultHeadLocalParams();
    static const char16_t* const names[6] = {u"nasion", u"left",   u"right",
                                             u"inion",  u"vertex", u"centre"};
    for (int p = 0; p < 6; ++p) {
        h.fiducialFirst.fidPts[p].ptName = CString(names[p]);
    }
    h.fiducialThird = h.fiducialFirst;
    for (int t = 0; t < 3; ++t) {
        auto* record = new HEAD_LOCATION_TRIAL;
        record->trialValue1 = 0.5 * t;
        record->trialValue2 = 0.98 - 0.01 * t;
        record->trialValue3 = 0.25;
        record->trialTag = t + 1;
        record->trialFiducial = h.fiducialFirst;
        for (CFiduciaryPtqv& point : record->trialFiducial.fidPts) {
            point.setFidPtPosition(point.ptValues[4] + 12.8 + 0.05 * t,
                                   point.ptValues[5] + 12.8 - 0.02 * t,
                                   point.ptValues[6] + 12.8 + 0.03 * t);
        }
        h.fiducialPA.Add(record);
        h.headLocalLabels.Add(CString("step ") + CString(std::to_string(t)));
    }
    h.headLocalText = "sample head localization";
    h.headLocalType = 2;
    h.registerMEGFiducial2MRIFiducialPts(h.getAverageFiducialPts(), true, nullptr, 256, 256, 256,
                                         0.1, 0.1, 0.1);
    h.headLocalizeTime = 2;
}

void appendEntry(ByteBuilder& out, const HEAD_LOCATION_TRIAL& record) {
    out.i32(1);  // presence tag
    out.f64(record.trialValue1);
    out.f64(record.trialValue2);
    out.f64(record.trialValue3);
    out.i32(record.trialTag);
    fluxgrid::test::appendSet(out, valuesOf(record.trialFiducial));
}

// Versions 20090606 and 20110217 share the layout of the newest.
std::vector<BYTE> headLocalizationFile(int version, const CHeadLocalization& h) {
    ByteBuilder out;
    out.wide(u"HEADLOCATIONTRIAL");   // 0
    out.i32(version);                 // 38
    out.i32(h.headLocalType);         // 42
    out.i32(h.headLocalParam);        // 46
    out.i32(h.fidWorkMode);           // 50
    out.i32(h.headLocalizeTime);      // 54
    out.i32(h.fiducialAveraged);      // 58
    out.f64(h.headLocalValue);        // 62
    out.wide(h.headLocalText.str());  // 70
    out.i64(0);                       // section 1
    out.i64(0);                       // section 2
    out.i64(0);                       // section 3
    out.i64(h.fiducialPA.GetSize());  // section 4
    for (INT_PTR i = 0; i < h.fiducialPA.GetSize(); ++i) {
        appendEntry(out, *h.fiducialPA.GetRecordAt(i));
    }
    out.i64(h.headLocalLabels.GetSize());
    for (const CString& label : h.headLocalLabels) {
        out.wide(label.str());
    }
    fluxgrid::test::appendSphere(out, valuesOf(h.sensorLocation));
    fluxgrid::test::appendSphere(out, valuesOf(h.sensorRotation));
    fluxgrid::test::appendSet(out, valuesOf(h.fiducialFirst));
    fluxgrid::test::appendSet(out, valuesOf(h.fiducialSecond));
    fluxgrid::test::appendSet(out, valuesOf(h.fiducialThird));
    fluxgrid::test::appendSet(out, valuesOf(h.fiducialCurrent));
    return out.bytes();
}

// ---------------------------------------------------------------------------

Files sampleFiles() {
    Files files;

    CMEGSensorqv squidSensor;
    buildSquidSensor(squidSensor);
    const auto& squid = static_cast<const CMegSquidqv&>(*squidSensor.getBscSns());
    CMEGSensorqv opmSensor;
    buildOpmSensor(opmSensor);
    const auto& opm = static_cast<const CMegOpmqv&>(*opmSensor.getBscSns());

    // Coil records: the pick-up coil of the SQUID sensor, work frame, in all four versions.
    const CMagCoilqv& coil = squid.coilWork[0];
    for (int version : {20080102, 20091117, 20140513}) {
        files["coil-" + std::to_string(version) + ".coil"] =
            fluxgrid::test::coilRecord(version, valuesOf(coil)).bytes();
    }
    CMagCoilqv coilCopy = coil;
    files["coil-20211230.coil"] = stored([&](CArchive& ar) { coilCopy.serializeqv(ar); });

    // Vapor cell records: the OPM's cell, work frame, in both versions.
    const CMagVaporqv& cell = opm.vaporWork[0];
    files["vapor-20190121.vapor"] = fluxgrid::test::vaporRecord(20190121, valuesOf(cell)).bytes();
    CMagVaporqv cellCopy(cell);
    files["vapor-20211230.vapor"] = stored([&](CArchive& ar) { cellCopy.serializeqv(ar); });

    // The two hardware records.
    CMegSquidqv squidCopy(squid);
    files["squid-20190201.squid"] = stored([&](CArchive& ar) { squidCopy.serialize(ar); });
    CMegOpmqv opmCopy(opm);
    files["opm-20190201.opm"] = stored([&](CArchive& ar) { opmCopy.serialize(ar); });

    // Sensor files: SQUID in every accepted version, OPM in the newest.
    files["sensor-squid-20080101.sensor"] = sensorFile2008(20080101, squidSensor, squid);
    files["sensor-squid-20091117.sensor"] = sensorFile2008(20091117, squidSensor, squid);
    files["sensor-squid-20140513.sensor"] = sensorFile20140513(squidSensor, squid);
    files["sensor-squid-20200210.sensor"] =
        stored([&](CArchive& ar) { squidSensor.serializeqv(ar); });
    files["sensor-opm-20200210.sensor"] = stored([&](CArchive& ar) { opmSensor.serializeqv(ar); });
    files["sensor-opm-20190201-refused.sensor"] = sensorFile20190201(opmSensor, opm);

    // Head localization in all three versions.
    CHeadLocalizationqv h;
    buildHeadLocalization(h);
    files["headloc-20090606.headloc"] = headLocalizationFile(20090606, h);
    files["headloc-20110217.headloc"] = headLocalizationFile(20110217, h);
    files["headloc-20160320.headloc"] = stored([&](CArchive& ar) { h.serializeqv(ar); });

    // For the error paths: a sensor file that ends inside its coil records,
    // and a fiducial set record, which is no file kind of its own.
    std::vector<BYTE> truncated = files["sensor-squid-20140513.sensor"];
    truncated.resize(1000);
    files["truncated-sensor-20140513.sensor"] = truncated;
    ByteBuilder fiducial;
    fluxgrid::test::appendSet(fiducial, valuesOf(h.fiducialFirst));
    files["wrong-kind-fiducial-set.bin"] = fiducial.bytes();
    return files;
}

std::vector<BYTE> readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<BYTE>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && !(argc == 4 && std::string(argv[2]) == "--compare")) {
        std::fprintf(stderr, "usage: make_sample_data OUT_DIR [--compare COMMITTED_DIR]\n");
        return 2;
    }
    // The library's message boxes would only mean a wrong sample.
    int boxes = 0;
    AfxSetMessageBoxHandler([&boxes](const CString& text, UINT, UINT) {
        std::fprintf(stderr, "message box: %s\n", text.ToUtf8().c_str());
        ++boxes;
        return IDOK;
    });
    const Files files = sampleFiles();
    const fs::path out(argv[1]);
    fs::create_directories(out);
    for (const auto& [name, bytes] : files) {
        std::ofstream file(out / name, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        if (!file) {
            std::fprintf(stderr, "cannot write %s\n", (out / name).c_str());
            return 1;
        }
    }
    std::printf("wrote %zu sample files to %s\n", files.size(), out.c_str());
    if (boxes > 0) {
        return 1;
    }
    if (argc == 4) {
        const fs::path committed(argv[3]);
        int differences = 0;
        for (const auto& [name, bytes] : files) {
            if (readFile(committed / name) != bytes) {
                std::fprintf(stderr, "differs from the generated file: %s\n",
                             (committed / name).c_str());
                ++differences;
            }
        }
        for (const auto& entry : fs::directory_iterator(committed)) {
            if (files.count(entry.path().filename().string()) == 0) {
                std::fprintf(stderr, "not a generated file: %s\n", entry.path().c_str());
                ++differences;
            }
        }
        if (differences > 0) {
            return 1;
        }
        std::printf("the %zu files in %s are the generated ones, byte for byte\n", files.size(),
                    committed.c_str());
    }
    return 0;
}

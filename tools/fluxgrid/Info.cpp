#include "Info.h"

#include "FileKinds.h"
#include "Json.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace fluxgrid::tool {

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

namespace {

// Both are appended piece by piece: GCC 12 warns falsely (-Wrestrict) about
// a literal in front of a temporary string.
std::string quoted(const CString& text) {
    std::string out(1, '"');
    out += text.ToUtf8();
    out += '"';
    return out;
}

std::string triple(const double* values) {
    std::string out(1, '(');
    out += number(values[0]);
    out += ", ";
    out += number(values[1]);
    out += ", ";
    out += number(values[2]);
    out += ')';
    return out;
}

std::string shapeName(int code) {
    return code == 1 ? "Circle" : code == 2 ? "Square" : "Unknown";
}

void printLine(const char* label, const std::string& text) {
    std::printf("  %-14s %s\n", label, text.c_str());
}

void printBlock(const CMegGrdBsc& b) {
    printLine("gains:", "proper " + number(b.properGain) + ", second " + number(b.secondGain) +
                            ", third " + number(b.thirdGain) + ", total " + number(b.totalGain) +
                            " (as stored), offset " + number(b.gainOffset));
    printLine("gradiometer:", "order " + std::to_string(b.gradOrderNo) + ", hardware no " +
                                  std::to_string(b.hardwareNo) + ", neuromag factor " +
                                  number(b.neuromagFactor) + ", scale constant " +
                                  number(b.scaleConstant));
}

// The elements of one frame that are in use, one per line.
template <class Element>
void printElements(const char* title, const Element (&elements)[8], int inUse, int current) {
    const int count = std::clamp(inUse, 0, 8);
    std::printf("  %s, %d in use%s:\n", title, count, inUse > 8 ? " (count above 8)" : "");
    for (int i = 0; i < count; ++i) {
        const CBscMagSns& e = elements[i];
        std::printf("    %c%d %-12s pos %-36s orn %s\n", i == current ? '*' : ' ', i,
                    quoted(e.coilName).c_str(), triple(e.posP4).c_str(), triple(e.oriP4).c_str());
    }
}

void printSensor(CMEGSensorqv& s) {
    printLine("names:", "raw " + quoted(s.snsRawName) + ", show " + quoted(s.snsShowName) +
                            ", aux " + quoted(s.snsAuxName));
    printLine("type:", std::to_string(s.sensorType) + " " + s.getSensorTypeName().ToUtf8());
    const char* kind = s.hardwareType == 0 ? "SQUID" : s.hardwareType == 1 ? "OPM" : "none";
    printLine("hardware:", std::string(kind) + " (hardwareType " + std::to_string(s.hardwareType) +
                               ")" + (s.hardware ? "" : ", no record"));
    printLine("position:", triple(s.snsPos4) + ", orientation " + triple(s.snsOri4));
    if (const CMegGrdBsc* block = s.getBscSns()) {
        printLine("elements:", std::to_string(s.getTotalCoils()) + " in use, current " +
                                   std::to_string(s.getCurrentCoilID()) + ", shape " +
                                   s.getSensorCoilTypeName().ToUtf8());
        printBlock(*block);
        if (s.hardwareType == 0) {
            const auto* r = static_cast<const CMegSquidqv*>(block);
            printLine("axial:", std::string(s.isAxialGrad() ? "yes" : "no") + ", baseline " +
                                    number(s.getCoilBaseLine()));
            printElements("work frame", r->coilWork, r->totalCoils, r->currentCoilID);
        } else {
            const auto* r = static_cast<const CMegOpmqv*>(block);
            printElements("work frame", r->vaporWork, r->totalVapors, r->currentVaporID);
        }
    }
}

void printHeadLocalization(const CHeadLocalizationqv& h) {
    printLine("type:", std::to_string(h.headLocalType) + ", parameter " +
                           std::to_string(h.headLocalParam) + ", work mode " +
                           std::to_string(h.fidWorkMode));
    printLine("time steps:", std::to_string(h.getHeadLocalizeTime()) + ", current " +
                                 std::to_string(h.headLocalizeTime) + ", averaged " +
                                 std::to_string(h.fiducialAveraged));
    printLine("lists:", "fiducialPtRaw " + std::to_string(h.fiducialPtRaw.GetSize()) +
                            ", fiducialPARaw " + std::to_string(h.fiducialPARaw.GetSize()) +
                            ", fiducialPt " + std::to_string(h.fiducialPt.GetSize()) +
                            ", fiducialPA " + std::to_string(h.fiducialPA.GetSize()) + ", labels " +
                            std::to_string(h.headLocalLabels.GetSize()));
    double x = 0, y = 0, z = 0;
    h.getSensorLocation(x, y, z);
    const double location[3] = {x, y, z};
    printLine("location:", triple(location));
    h.getSensorRotation(x, y, z);
    const double rotation[3] = {x, y, z};
    printLine("rotation:", triple(rotation) + " degrees");
    printLine("value, text:", number(h.headLocalValue) + ", " + quoted(h.headLocalText));
    for (int p = 0; p < 3; ++p) {
        const std::string label = "fiducial " + std::to_string(p) + ":";
        printLine(label.c_str(),
                  triple(h.fiducialCurrent.fidPts[p].ptValues + 4) + " (current set)");
    }
}

void printSummary(LoadedFile& loaded) {
    const KindInfo& info = kindInfo(loaded.kind);
    std::printf("%s\n", loaded.path.c_str());
    std::string version = std::to_string(loaded.version);
    version += loaded.version == info.written ? " (newest)"
                                              : " (newest is " + std::to_string(info.written) + ")";
    printLine("kind:", std::string(info.title) + " " + CString(info.magic).ToUtf8());
    printLine("version:", version);
    printLine("size:", std::to_string(loaded.size) + " bytes");
    switch (loaded.kind) {
        case FileKind::coil: {
            CMagCoilqv& c = *loaded.coil;
            printLine("name:", quoted(c.coilName));
            printLine("loop:", "shape " + shapeName(c.coilShape) + ", turns " +
                                   std::to_string(c.coilTurns) + ", area " + number(c.coilArea) +
                                   ", magApha " + number(c.magApha) + ", unit scale " +
                                   number(c.unitScale));
            printLine("position:", triple(c.posP4));
            printLine("orientation:", triple(c.oriP4));
            printLine("normal:", triple(c.nmlDirXYZW));
            break;
        }
        case FileKind::vapor: {
            CMagVaporqv& v = *loaded.vapor;
            printLine("name:", quoted(v.coilName));
            printLine("shape:",
                      shapeName(v.vaporShape) + " (" + std::to_string(v.vaporShape) + ")");
            printLine("position:", triple(v.posP4));
            printLine("orientation:", triple(v.oriP4));
            printLine("normal:", triple(v.nmlDirXYZW));
            break;
        }
        case FileKind::squid: {
            CMegSquidqv& r = *loaded.squid;
            printLine("coils:", std::to_string(r.totalCoils) + " in use, current " +
                                    std::to_string(r.currentCoilID));
            printBlock(r);
            printElements("dewar frame", r.coilDewar, r.totalCoils, r.currentCoilID);
            break;
        }
        case FileKind::opm: {
            CMegOpmqv& r = *loaded.opm;
            printLine("cells:", std::to_string(r.totalVapors) + " in use, current " +
                                    std::to_string(r.currentVaporID));
            printBlock(r);
            printElements("dewar frame", r.vaporDewar, r.totalVapors, r.currentVaporID);
            break;
        }
        case FileKind::sensor:
            printSensor(*loaded.sensor);
            break;
        case FileKind::headloc:
            printHeadLocalization(*loaded.headloc);
            break;
    }
    if (loaded.consumed < loaded.size) {
        printLine("note:", std::to_string(loaded.size - loaded.consumed) +
                               " bytes behind the body were not read");
    }
}

}  // namespace

int runInfo(const std::vector<std::string>& files, bool json) {
    int failed = 0;
    nlohmann::json documents = nlohmann::json::array();
    for (const std::string& path : files) {
        try {
            LoadedFile loaded = loadFile(path);
            if (json) {
                documents.push_back(toJson(loaded));
            } else {
                printSummary(loaded);
            }
        } catch (const ToolError& e) {
            ++failed;
            std::cerr << "fluxgrid: " << path << ": " << e.what() << '\n';
            if (json) {
                documents.push_back({{"file", path}, {"error", e.what()}});
            }
        }
    }
    if (json) {
        std::cout << documents.dump(2) << '\n';
    }
    std::cout.flush();
    return failed == 0 ? 0 : 1;
}

}  // namespace fluxgrid::tool

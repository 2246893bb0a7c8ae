#include "Info.h"

#include "CommandLine.h"
#include "Commands.h"
#include "Format.h"
#include "Inputs.h"
#include "JsonWriter.h"
#include "ObjectJson.h"
#include "Output.h"

#include <fluxgrid/channels/ChannelTypes.h>
#include <fluxgrid/io/Files.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>

namespace fluxgrid::tool {

namespace {

std::string shapeName(int code) {
    return code == 1 ? "Circle" : code == 2 ? "Square" : "Unknown";
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

void printElement(const CBscMagSns& e) {
    printLine("position:", triple(e.posP4));
    printLine("orientation:", triple(e.oriP4));
    printLine("normal:", triple(e.nmlDirXYZW));
}

// The summary of each kind of object, one overload per kind: `printFile`
// picks the one of the object loaded.
void printSummary(const CMagCoilqv& c) {
    printLine("name:", quoted(c.coilName));
    printLine("loop:", "shape " + shapeName(c.coilShape) + ", turns " +
                           std::to_string(c.coilTurns) + ", area " + number(c.coilArea) +
                           ", magApha " + number(c.magApha) + ", unit scale " +
                           number(c.unitScale));
    printElement(c);
}

void printSummary(const CMagVaporqv& v) {
    printLine("name:", quoted(v.coilName));
    printLine("shape:", shapeName(v.vaporShape) + " (" + std::to_string(v.vaporShape) + ")");
    printElement(v);
}

void printSummary(const CMegSquidqv& r) {
    printLine("coils:",
              std::to_string(r.totalCoils) + " in use, current " + std::to_string(r.currentCoilID));
    printBlock(r);
    printElements("dewar frame", r.coilDewar, r.totalCoils, r.currentCoilID);
}

void printSummary(const CMegOpmqv& r) {
    printLine("cells:", std::to_string(r.totalVapors) + " in use, current " +
                            std::to_string(r.currentVaporID));
    printBlock(r);
    printElements("dewar frame", r.vaporDewar, r.totalVapors, r.currentVaporID);
}

void printSummary(CMEGSensorqv& s) {
    printLine("names:", "raw " + quoted(s.snsRawName) + ", show " + quoted(s.snsShowName) +
                            ", aux " + quoted(s.snsAuxName));
    printLine("type:", std::to_string(s.sensorType) + " " + std::string(channelTypeOf(s).name));
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

void printSummary(const CHeadLocalizationqv& h) {
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
        printLine(label, triple(h.fiducialCurrent.fidPts[p].ptValues + 4) + " (current set)");
    }
}

void printFile(const LoadedFile& loaded) {
    const FileKindInfo& info = fileKindInfo(loaded.kind);
    std::printf("%s\n", loaded.file.c_str());
    std::string version = std::to_string(loaded.version);
    version += loaded.version == info.written ? " (newest)"
                                              : " (newest is " + std::to_string(info.written) + ")";
    printLine("kind:",
              std::string(info.title) + " " + CString(std::u16string(info.magic)).ToUtf8());
    printLine("version:", version);
    printLine("size:", std::to_string(loaded.size) + " bytes");
    std::visit([](const auto& object) { printSummary(*object); }, loaded.object);
    if (loaded.consumed < loaded.size) {
        printLine("note:", std::to_string(loaded.size - loaded.consumed) +
                               " bytes behind the body were not read");
    }
}

}  // namespace

int runInfo(const std::vector<std::string>& files, bool json, std::uintmax_t maxBytes) {
    int failed = 0;
    JsonWriter out(std::cout);
    if (json) {
        out.beginArray();
    }
    LoadOptions options;
    options.maxBytes = maxBytes;
    for (const std::string& path : files) {
        // One file at a time: its object is gone before the next is loaded.
        const FileResult<LoadedFile> loaded = loadInput(path, options);
        if (!loaded) {
            ++failed;
            printFailure(loaded.error());
            if (json) {
                writeFailureJson(out, loaded.error());
            }
        } else if (json) {
            writeFileJson(out, *loaded);
        } else {
            printFile(*loaded);
        }
        // Nowhere to put the rest once standard output refuses it.
        if (!flushStandardOutput()) {
            return 1;
        }
    }
    if (json) {
        out.endArray();
        std::cout << '\n';
    }
    return failed == 0 ? 0 : 1;
}

namespace {

// A byte count in decimal with an optional suffix, handed on as its plain
// decimal value: CLI11's own reading would take a leading zero for octal
// and accept hex.
CLI::Validator byteCount() {
    return CLI::Validator(
        [](std::string& text) {
            const std::optional<std::uint64_t> count = parseByteCount(text);
            if (!count) {
                return std::string("expects a number of bytes, such as 800, 64K or 2G");
            }
            text = std::to_string(*count);
            return std::string();
        },
        "");
}

struct InfoValues {
    std::vector<std::string> files;
    bool json = false;
    std::uint64_t maxSize = kDefaultMaxFileBytes;
};

}  // namespace

Command addInfoCommand(CLI::App& app) {
    auto values = std::make_shared<InfoValues>();
    CLI::App* info = app.add_subcommand(
        "info",
        "Kind, version and a summary of each file (coil, vapor cell, SQUID record, OPM "
        "record, sensor, head localization)");
    info->add_option("FILE", values->files, "Files to look into; - reads standard input")
        ->required();
    info->add_flag("--json", values->json,
                   "Print every field of every object as one JSON array; a file that fails is "
                   "an entry with \"file\", \"code\" (missing, not-regular-file, too-large, "
                   "read-error, bad-magic, refused-version, truncated, refused, corrupt), "
                   "\"error\", \"boxes\", and \"kind\", \"magic\" and \"version\" where known; "
                   "a name that is not UTF-8 is also given whole in \"file_bytes\" as hex");
    info->add_option("--max-size", values->maxSize,
                     "Refuse files and standard input larger than this, in decimal (suffixes "
                     "K, M, G, T in either case: powers of 1024)")
        ->transform(byteCount())
        ->type_name("BYTES")
        ->default_str("1G");
    info->footer(helpFooter({"fluxgrid info --json examples/data/sensor-opm-20200210.sensor",
                             "fluxgrid info - < recording.sensor"}));
    return {info, [values] { return runInfo(values->files, values->json, values->maxSize); }, {}};
}

}  // namespace fluxgrid::tool

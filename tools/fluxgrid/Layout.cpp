#include "Layout.h"

#include "ChannelExport.h"
#include "CommandLine.h"
#include "Commands.h"
#include "Format.h"
#include "JsonWriter.h"
#include "LayoutSvg.h"
#include "Output.h"
#include "PlotImage.h"
#include "Suggest.h"

#include <fluxgrid/channels/ChannelTypes.h>
#include <fluxgrid/tables/Layouts.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

namespace fluxgrid::tool {

namespace {

constexpr const char* kNative = "native";
constexpr const char* kRas = "ras";

// The names of all tables, in the library's order.
std::vector<std::string> layoutNames() {
    std::vector<std::string> names;
    for (const LayoutTableInfo& table : layoutTables()) {
        names.emplace_back(table.name);
    }
    return names;
}

// The names that `--frame` takes.
std::vector<std::string> layoutFrameNames() {
    return {kNative, kRas};
}

std::string kindWord(const LayoutTableInfo& table) {
    return table.isMeg() ? "MEG" : "EEG";
}

// The table called `name`, or null after saying which one was meant.
const LayoutTableInfo* requireLayout(const std::string& name) {
    const LayoutTableInfo* table = findLayoutTable(name);
    if (table == nullptr) {
        std::cerr << "fluxgrid: no layout table called \"" << name << "\"; did you mean \""
                  << nearestName(name, layoutNames())
                  << "\"? (`fluxgrid layout list` names them all)\n";
    }
    return table;
}

// The members that describe a table, in byte order of their keys up to
// "rows", which the caller writes or not.
void tableHeadJson(JsonWriter& out, const LayoutTableInfo& table) {
    const LayoutFrameInfo& frame = layoutFrameInfo(table.frame);
    out.key("axes");
    out.string(frame.description);
    out.key("axesCode");
    out.string(frame.axes);
    out.key("frame");
    out.string(frame.name);
    out.key("kind");
    out.string(kindWord(table));
    out.key("name");
    out.string(table.name);
}

void triple(JsonWriter& out, const std::array<double, 3>& v) {
    out.beginArray();
    for (double value : v) {
        out.real(value);
    }
    out.endArray();
}

void rowJson(JsonWriter& out, const LayoutRow& row) {
    out.beginObject();
    out.key("name");
    out.string(row.name);
    out.key("orn");
    if (row.orn) {
        triple(out, *row.orn);
    } else {
        out.null();
    }
    out.key("pos");
    triple(out, row.pos);
    out.key("sensorType");
    out.integer(row.sensorType);
    out.key("typeName");
    out.string(channelType(row.sensorType).name);
    out.endObject();
}

std::string listJson() {
    std::ostringstream text;
    JsonWriter out(text);
    out.beginArray();
    for (const LayoutTableInfo& table : layoutTables()) {
        out.beginObject();
        tableHeadJson(out, table);
        out.key("rows");
        out.unsignedInteger(table.size());
        out.key("unit");
        out.string(layoutFrameInfo(table.frame).unit);
        out.endObject();
    }
    out.endArray();
    text << '\n';
    return text.str();
}

std::string listText() {
    std::ostringstream text;
    char line[160];
    std::snprintf(line, sizeof line, "%-15s %-4s %5s  %-7s %s\n", "name", "kind", "rows", "frame",
                  "axes");
    text << line;
    for (const LayoutTableInfo& table : layoutTables()) {
        const LayoutFrameInfo& frame = layoutFrameInfo(table.frame);
        std::snprintf(line, sizeof line, "%-15s %-4s %5zu  %-7s %s\n",
                      std::string(table.name).c_str(), kindWord(table).c_str(), table.size(),
                      std::string(frame.name).c_str(), std::string(frame.description).c_str());
        text << line;
    }
    return text.str();
}

std::string showJson(const LayoutTableInfo& table) {
    std::ostringstream text;
    JsonWriter out(text);
    out.beginObject();
    tableHeadJson(out, table);
    out.key("rows");
    out.beginArray();
    for (const LayoutRow& row : layoutRows(table)) {
        rowJson(out, row);
    }
    out.endArray();
    out.key("unit");
    out.string(layoutFrameInfo(table.frame).unit);
    out.endObject();
    text << '\n';
    return text.str();
}

std::string showText(const LayoutTableInfo& table) {
    const LayoutFrameInfo& frame = layoutFrameInfo(table.frame);
    std::ostringstream text;
    char line[240];
    std::snprintf(line, sizeof line, "%s: %zu rows, %s frame (%s)\n",
                  std::string(table.name).c_str(), table.size(), std::string(frame.name).c_str(),
                  std::string(frame.description).c_str());
    text << line;
    std::snprintf(line, sizeof line, "%4s %-8s %12s %12s %12s", "row", "name", "x", "y", "z");
    text << line;
    if (table.isMeg()) {
        std::snprintf(line, sizeof line, " %10s %10s %10s", "ornX", "ornY", "ornZ");
        text << line;
    }
    text << "  type\n";
    const std::vector<LayoutRow> rows = layoutRows(table);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const LayoutRow& row = rows[i];
        std::snprintf(line, sizeof line, "%4zu %-8s %12s %12s %12s", i, row.name.c_str(),
                      number(row.pos[0]).c_str(), number(row.pos[1]).c_str(),
                      number(row.pos[2]).c_str());
        text << line;
        if (row.orn) {
            std::snprintf(line, sizeof line, " %10.6g %10.6g %10.6g", (*row.orn)[0], (*row.orn)[1],
                          (*row.orn)[2]);
            text << line;
        }
        text << "  " << row.sensorType << ' ' << channelType(row.sensorType).name << '\n';
    }
    return text.str();
}

}  // namespace

int runLayoutList(bool json) {
    return writeText(json ? listJson() : listText(), "-");
}

int runLayoutShow(const std::string& name, bool json) {
    const LayoutTableInfo* table = requireLayout(name);
    if (table == nullptr) {
        return kUsage;
    }
    return writeText(json ? showJson(*table) : showText(*table), "-");
}

int runLayoutExport(const std::string& name, const std::string& format, const std::string& frame,
                    const std::string& out) {
    const LayoutTableInfo* table = requireLayout(name);
    if (table == nullptr) {
        return kUsage;
    }
    const std::optional<ExportFormat> exportFormat = exportFormatNamed(format);
    if (!exportFormat) {
        std::cerr << "fluxgrid: unknown export format \"" << format << "\"\n";
        return kUsage;
    }
    if (frame != kNative && frame != kRas) {
        std::cerr << "fluxgrid: unknown frame \"" << frame << "\"; give native or ras\n";
        return kUsage;
    }
    if (frame == kRas) {
        const ExportFrame ras{std::string(table->name), "RAS",
                              "x to the subject's right, y to the nose, z to the top; metres", "m"};
        return writeText(exportRows(layoutRowsInRas(*table), *exportFormat, ras), out);
    }
    const LayoutFrameInfo& info = layoutFrameInfo(table->frame);
    const ExportFrame native{std::string(table->name), std::string(info.name),
                             std::string(info.description), std::string(info.unit)};
    return writeText(exportRows(layoutRows(*table), *exportFormat, native), out);
}

int runLayoutPlot(const std::string& name, const std::string& out) {
    const std::optional<PlotFormat> format = plotFormatFor(out);
    if (!format) {
        std::cerr << "fluxgrid: " << out << ": the plot is written as " << plotExtensions()
                  << "; give the output one of these extensions\n";
        return kUsage;
    }
    const LayoutTableInfo* table = requireLayout(name);
    if (table == nullptr) {
        return kUsage;
    }
    const int status = writeText(renderPlot(layoutSvg(*table), *format), out);
    if (status == 0 && !out.empty() && out != "-") {
        std::printf("wrote %s\n", out.c_str());
    }
    return status;
}

namespace {

// The values of the commands of `layout`, which share them.
struct LayoutValues {
    std::string table;
    std::string format;
    std::string frame = kNative;
    std::string out;
    bool json = false;
};

}  // namespace

Command addLayoutCommand(CLI::App& app) {
    auto values = std::make_shared<LayoutValues>();
    CLI::App* layout = app.add_subcommand("layout", "The thirteen channel layout tables");
    layout->require_subcommand(1);
    layout->footer(helpFooter({"fluxgrid layout list", "fluxgrid layout show megLayout32 --json"}));

    CLI::App* list =
        layout->add_subcommand("list", "Name, kind, row count and frame of each table");
    list->add_flag("--json", values->json, "Print the tables as one JSON array");
    list->footer(helpFooter({"fluxgrid layout list --json"}));

    CLI::App* show = layout->add_subcommand("show", "Every row of one table");
    show->add_option("NAME", values->table, "Table name, as `layout list` gives it")
        ->required()
        ->type_name("TABLE");
    show->add_flag("--json", values->json, "Print the table and its rows as one JSON object");
    show->footer(helpFooter({"fluxgrid layout show eegLayout32"}));

    CLI::App* exportTable = layout->add_subcommand(
        "export", "One table as CSV, TSV, BESA/EEGLAB .sfp or ASA .elc text");
    exportTable->add_option("NAME", values->table, "Table name")->required()->type_name("TABLE");
    exportTable->add_option("--format", values->format, "csv, tsv, sfp or elc")
        ->required()
        ->type_name("FORMAT")
        ->check(CLI::IsMember(exportFormatNames()));
    exportTable
        ->add_option("--frame", values->frame,
                     "native: the table's own frame and unit; ras: x to the subject's right, y "
                     "to the nose, z up, in metres")
        ->type_name("FRAME")
        ->check(CLI::IsMember(layoutFrameNames()))
        ->capture_default_str();
    exportTable
        ->add_option("-o,--output", values->out, "Output file (standard output if not given)")
        ->type_name("FILE");
    exportTable->footer(
        helpFooter({"fluxgrid layout export eegLayout32 --format sfp --frame ras -o eeg32.sfp"}));

    CLI::App* plot = layout->add_subcommand(
        "plot",
        "One table drawn as a labelled top view, coloured by channel type, in SVG, PNG or PDF "
        "as the output's extension says");
    plot->add_option("NAME", values->table, "Table name")->required()->type_name("TABLE");
    plot->add_option("-o,--output", values->out,
                     "Output file: .svg, .png or .pdf (SVG without extension)")
        ->required()
        ->type_name("FILE");
    plot->footer(helpFooter({"fluxgrid layout plot megLayout32 -o megLayout32.png"}));

    const auto run = [values, list, show, exportTable] {
        const LayoutValues& v = *values;
        if (list->parsed()) {
            return runLayoutList(v.json);
        }
        if (show->parsed()) {
            return runLayoutShow(v.table, v.json);
        }
        if (exportTable->parsed()) {
            return runLayoutExport(v.table, v.format, v.frame, v.out);
        }
        return runLayoutPlot(v.table, v.out);
    };
    const ValueWords words = {
        {"TABLE", layoutNames()}, {"FORMAT", exportFormatNames()}, {"FRAME", layoutFrameNames()}};
    return {layout, run, words};
}

}  // namespace fluxgrid::tool

#include "Layout.h"

#include "ChannelExport.h"
#include "CommandLine.h"
#include "Format.h"
#include "JsonWriter.h"
#include "LayoutSvg.h"
#include "LayoutTables.h"
#include "Output.h"
#include "PlotImage.h"
#include "Suggest.h"

#include <cstdio>
#include <iostream>
#include <optional>
#include <sstream>

namespace fluxgrid::tool {

namespace {

constexpr const char* kNative = "native";
constexpr const char* kRas = "ras";

}  // namespace

LayoutCommand::LayoutCommand(CLI::App& app) {
    CLI::App* layout = app.add_subcommand("layout", "The thirteen channel layout tables");
    layout->require_subcommand(1);
    layout->footer(helpFooter({"fluxgrid layout list", "fluxgrid layout show megLayout32 --json"}));

    m_list = layout->add_subcommand("list", "Name, kind, row count and frame of each table");
    m_list->add_flag("--json", m_json, "Print the tables as one JSON array");
    m_list->footer(helpFooter({"fluxgrid layout list --json"}));

    m_show = layout->add_subcommand("show", "Every row of one table");
    m_show->add_option("NAME", m_table, "Table name, as `layout list` gives it")
        ->required()
        ->type_name("TABLE");
    m_show->add_flag("--json", m_json, "Print the table and its rows as one JSON object");
    m_show->footer(helpFooter({"fluxgrid layout show eegLayout32"}));

    m_export = layout->add_subcommand("export",
                                      "One table as CSV, TSV, BESA/EEGLAB .sfp or ASA .elc text");
    m_export->add_option("NAME", m_table, "Table name")->required()->type_name("TABLE");
    m_export->add_option("--format", m_format, "csv, tsv, sfp or elc")
        ->required()
        ->type_name("FORMAT")
        ->check(CLI::IsMember(exportFormatNames()));
    m_export
        ->add_option("--frame", m_frame,
                     "native: the table's own frame and unit; ras: x to the subject's right, y "
                     "to the nose, z up, in metres")
        ->type_name("FRAME")
        ->check(CLI::IsMember(layoutFrameNames()))
        ->capture_default_str();
    m_export->add_option("-o,--output", m_out, "Output file (standard output if not given)")
        ->type_name("FILE");
    m_export->footer(
        helpFooter({"fluxgrid layout export eegLayout32 --format sfp --frame ras -o eeg32.sfp"}));

    m_plot = layout->add_subcommand(
        "plot",
        "One table drawn as a labelled top view, coloured by channel type, in SVG, PNG or PDF "
        "as the output's extension says");
    m_plot->add_option("NAME", m_table, "Table name")->required()->type_name("TABLE");
    m_plot
        ->add_option("-o,--output", m_out,
                     "Output file: .svg, .png or .pdf (SVG without extension)")
        ->required()
        ->type_name("FILE");
    m_plot->footer(helpFooter({"fluxgrid layout plot megLayout32 -o megLayout32.png"}));
}

bool LayoutCommand::parsed() const {
    return m_list->parsed() || m_show->parsed() || m_export->parsed() || m_plot->parsed();
}

int LayoutCommand::run() const {
    if (m_list->parsed()) {
        return runLayoutList(m_json);
    }
    if (m_show->parsed()) {
        return runLayoutShow(m_table, m_json);
    }
    if (m_export->parsed()) {
        return runLayoutExport(m_table, m_format, m_frame, m_out);
    }
    return runLayoutPlot(m_table, m_out);
}

std::vector<std::string> layoutNames() {
    std::vector<std::string> names;
    for (const LayoutTable& table : layoutTables()) {
        names.push_back(table.name);
    }
    return names;
}

std::vector<std::string> layoutFrameNames() {
    return {kNative, kRas};
}

namespace {

// The table called `name`, or null after saying which one was meant.
const LayoutTable* requireLayout(const std::string& name) {
    const LayoutTable* table = findLayout(name);
    if (table == nullptr) {
        std::cerr << "fluxgrid: no layout table called \"" << name << "\"; did you mean \""
                  << nearestName(name, layoutNames())
                  << "\"? (`fluxgrid layout list` names them all)\n";
    }
    return table;
}

// The members that describe a table, in byte order of their keys up to
// "rows", which the caller writes or not.
void tableHeadJson(JsonWriter& out, const LayoutTable& table) {
    out.key("axes");
    out.string(frameAxes(table.frame));
    out.key("axesCode");
    out.string(frameAxesCode(table.frame));
    out.key("frame");
    out.string(frameName(table.frame));
    out.key("kind");
    out.string(table.meg ? "MEG" : "EEG");
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

void rowJson(JsonWriter& out, const ChannelRow& row) {
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
    out.string(typeName(row.sensorType));
    out.endObject();
}

std::string listJson() {
    std::ostringstream text;
    JsonWriter out(text);
    out.beginArray();
    for (const LayoutTable& table : layoutTables()) {
        out.beginObject();
        tableHeadJson(out, table);
        out.key("rows");
        out.unsignedInteger(table.rows.size());
        out.key("unit");
        out.string(frameUnit(table.frame));
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
    for (const LayoutTable& table : layoutTables()) {
        std::snprintf(line, sizeof line, "%-15s %-4s %5zu  %-7s %s\n", table.name.c_str(),
                      table.meg ? "MEG" : "EEG", table.rows.size(), frameName(table.frame),
                      frameAxes(table.frame));
        text << line;
    }
    return text.str();
}

std::string showJson(const LayoutTable& table) {
    std::ostringstream text;
    JsonWriter out(text);
    out.beginObject();
    tableHeadJson(out, table);
    out.key("rows");
    out.beginArray();
    for (const ChannelRow& row : table.rows) {
        rowJson(out, row);
    }
    out.endArray();
    out.key("unit");
    out.string(frameUnit(table.frame));
    out.endObject();
    text << '\n';
    return text.str();
}

std::string showText(const LayoutTable& table) {
    std::ostringstream text;
    char line[240];
    std::snprintf(line, sizeof line, "%s: %zu rows, %s frame (%s)\n", table.name.c_str(),
                  table.rows.size(), frameName(table.frame), frameAxes(table.frame));
    text << line;
    std::snprintf(line, sizeof line, "%4s %-8s %12s %12s %12s", "row", "name", "x", "y", "z");
    text << line;
    if (table.meg) {
        std::snprintf(line, sizeof line, " %10s %10s %10s", "ornX", "ornY", "ornZ");
        text << line;
    }
    text << "  type\n";
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        const ChannelRow& row = table.rows[i];
        std::snprintf(line, sizeof line, "%4zu %-8s %12s %12s %12s", i, row.name.c_str(),
                      number(row.pos[0]).c_str(), number(row.pos[1]).c_str(),
                      number(row.pos[2]).c_str());
        text << line;
        if (row.orn) {
            std::snprintf(line, sizeof line, " %10.6g %10.6g %10.6g", (*row.orn)[0], (*row.orn)[1],
                          (*row.orn)[2]);
            text << line;
        }
        text << "  " << row.sensorType << ' ' << typeName(row.sensorType) << '\n';
    }
    return text.str();
}

}  // namespace

int runLayoutList(bool json) {
    return writeText(json ? listJson() : listText(), "-");
}

int runLayoutShow(const std::string& name, bool json) {
    const LayoutTable* table = requireLayout(name);
    if (table == nullptr) {
        return kUsage;
    }
    return writeText(json ? showJson(*table) : showText(*table), "-");
}

int runLayoutExport(const std::string& name, const std::string& format, const std::string& frame,
                    const std::string& out) {
    const LayoutTable* table = requireLayout(name);
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
        std::vector<ChannelRow> rows;
        for (const ChannelRow& row : table->rows) {
            rows.push_back(toRasMetres(table->frame, row));
        }
        const ExportFrame ras{table->name, "RAS",
                              "x to the subject's right, y to the nose, z to the top; metres", "m"};
        return writeText(exportRows(rows, *exportFormat, ras), out);
    }
    const ExportFrame native{table->name, frameName(table->frame), frameAxes(table->frame),
                             frameUnit(table->frame)};
    return writeText(exportRows(table->rows, *exportFormat, native), out);
}

int runLayoutPlot(const std::string& name, const std::string& out) {
    const std::optional<PlotFormat> format = plotFormatFor(out);
    if (!format) {
        std::cerr << "fluxgrid: " << out << ": the plot is written as " << plotExtensions()
                  << "; give the output one of these extensions\n";
        return kUsage;
    }
    const LayoutTable* table = requireLayout(name);
    if (table == nullptr) {
        return kUsage;
    }
    const int status = writeText(renderPlot(layoutSvg(*table), *format), out);
    if (status == 0 && !out.empty() && out != "-") {
        std::printf("wrote %s\n", out.c_str());
    }
    return status;
}

}  // namespace fluxgrid::tool

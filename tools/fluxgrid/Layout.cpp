#include "Layout.h"

#include "ChannelExport.h"
#include "Format.h"
#include "LayoutSvg.h"
#include "LayoutTables.h"
#include "Output.h"
#include "PlotImage.h"

#include <cstdio>
#include <iostream>
#include <optional>

namespace fluxgrid::tool {

namespace {

const LayoutTable* requireLayout(const std::string& name) {
    const LayoutTable* table = findLayout(name);
    if (table == nullptr) {
        std::cerr << "fluxgrid: no layout table called \"" << name
                  << "\"; `fluxgrid layout list` names them all\n";
    }
    return table;
}

}  // namespace

int runLayoutList() {
    std::printf("%-15s %-4s %5s  %-7s %s\n", "name", "kind", "rows", "frame", "axes");
    for (const LayoutTable& table : layoutTables()) {
        std::printf("%-15s %-4s %5zu  %-7s %s\n", table.name.c_str(), table.meg ? "MEG" : "EEG",
                    table.rows.size(), frameName(table.frame), frameAxes(table.frame));
    }
    return 0;
}

int runLayoutShow(const std::string& name) {
    const LayoutTable* table = requireLayout(name);
    if (table == nullptr) {
        return 1;
    }
    std::printf("%s: %zu rows, %s frame (%s)\n", table->name.c_str(), table->rows.size(),
                frameName(table->frame), frameAxes(table->frame));
    std::printf("%4s %-8s %12s %12s %12s", "row", "name", "x", "y", "z");
    if (table->meg) {
        std::printf(" %10s %10s %10s", "ornX", "ornY", "ornZ");
    }
    std::printf("  type\n");
    for (std::size_t i = 0; i < table->rows.size(); ++i) {
        const ChannelRow& row = table->rows[i];
        std::printf("%4zu %-8s %12s %12s %12s", i, row.name.c_str(), number(row.pos[0]).c_str(),
                    number(row.pos[1]).c_str(), number(row.pos[2]).c_str());
        if (row.orn) {
            std::printf(" %10.6g %10.6g %10.6g", (*row.orn)[0], (*row.orn)[1], (*row.orn)[2]);
        }
        std::printf("  %d %s\n", row.sensorType, typeName(row.sensorType).c_str());
    }
    return 0;
}

int runLayoutExport(const std::string& name, const std::string& format, const std::string& out) {
    const LayoutTable* table = requireLayout(name);
    if (table == nullptr) {
        return 1;
    }
    const std::optional<ExportFormat> exportFormat = exportFormatNamed(format);
    if (!exportFormat) {
        std::cerr << "fluxgrid: unknown export format \"" << format << "\"\n";
        return 1;
    }
    const ExportFrame frame{table->name, frameName(table->frame), frameAxes(table->frame),
                            frameUnit(table->frame)};
    return writeText(exportRows(table->rows, *exportFormat, frame), out);
}

int runLayoutPlot(const std::string& name, const std::string& out) {
    const std::optional<PlotFormat> format = plotFormatFor(out);
    if (!format) {
        std::cerr << "fluxgrid: " << out << ": the plot is written as " << plotExtensions()
                  << "; give the output one of these extensions\n";
        return 2;
    }
    const LayoutTable* table = requireLayout(name);
    if (table == nullptr) {
        return 1;
    }
    const int status = writeText(renderPlot(layoutSvg(*table), *format), out);
    if (status == 0 && !out.empty() && out != "-") {
        std::printf("wrote %s\n", out.c_str());
    }
    return status;
}

}  // namespace fluxgrid::tool

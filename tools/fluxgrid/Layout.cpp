#include "Layout.h"

#include "AtomicFile.h"
#include "FileKinds.h"
#include "Info.h"
#include "Svg.h"

#include <cstdio>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>

namespace fluxgrid::tool {

namespace {

template <std::size_t N>
LayoutTable eegTable(const char* name, LayoutFrame frame, const EEG_NAME_POS_TYPE (&rows)[N]) {
    LayoutTable table{name, false, frame, {}};
    for (const EEG_NAME_POS_TYPE& row : rows) {
        table.rows.push_back(
            {row.name.ToUtf8(), {row.posX, row.posY, row.posZ}, std::nullopt, row.sensorType});
    }
    return table;
}

template <std::size_t N>
LayoutTable megTable(const char* name, const MEG_OPM_NAME_POS_TYPE (&rows)[N]) {
    LayoutTable table{name, true, LayoutFrame::head, {}};
    for (const MEG_OPM_NAME_POS_TYPE& row : rows) {
        table.rows.push_back({row.name.ToUtf8(),
                              {row.posX, row.posY, row.posZ},
                              std::array<double, 3>{row.ornX, row.ornY, row.ornZ},
                              row.sensorType});
    }
    return table;
}

}  // namespace

const std::vector<LayoutTable>& layoutTables() {
    static const std::vector<LayoutTable> tables = {
        eegTable("eegLayout10", LayoutFrame::head, eegLayout10),
        eegTable("eegLayout18", LayoutFrame::head, eegLayout18),
        eegTable("eegLayout21", LayoutFrame::head, eegLayout21),
        eegTable("eegLayout21Row", LayoutFrame::head, eegLayout21Row),
        eegTable("eegSphere25", LayoutFrame::sphere, eegSphere25),
        eegTable("eegLayout32", LayoutFrame::head, eegLayout32),
        eegTable("eegSphere33", LayoutFrame::sphere, eegSphere33),
        eegTable("eegSphere47", LayoutFrame::sphere, eegSphere47),
        eegTable("eegNet67", LayoutFrame::net, eegNet67),
        eegTable("eegNet260", LayoutFrame::net, eegNet260),
        megTable("megLayout21", megLayout21),
        megTable("megLayout32", megLayout32),
        megTable("megTriaxial33", megTriaxial33),
    };
    return tables;
}

const LayoutTable* findLayout(const std::string& name) {
    for (const LayoutTable& table : layoutTables()) {
        if (table.name == name) {
            return &table;
        }
    }
    return nullptr;
}

const char* frameName(LayoutFrame frame) {
    switch (frame) {
        case LayoutFrame::head:
            return "head";
        case LayoutFrame::sphere:
            return "sphere";
        case LayoutFrame::net:
            return "net";
    }
    return "";
}

const char* frameAxes(LayoutFrame frame) {
    switch (frame) {
        case LayoutFrame::head:
            return "x to the subject's left, y to the top of the head, z to the back; millimetres";
        case LayoutFrame::sphere:
            return "x to the nose, y to the subject's left, z to the vertex; sphere of radius 100";
        case LayoutFrame::net:
            return "x to the subject's right, y to the nose, z to the vertex; centimetres";
    }
    return "";
}

const char* frameUnit(LayoutFrame frame) {
    switch (frame) {
        case LayoutFrame::head:
            return "mm";
        case LayoutFrame::sphere:
            return "";
        case LayoutFrame::net:
            return "cm";
    }
    return "";
}

std::string typeName(int sensorType) {
    static std::map<int, std::string> names;
    auto found = names.find(sensorType);
    if (found == names.end()) {
        // The library's own table of names, asked through a sensor.
        CMEGSensorqv sensor;
        sensor.sensorType = sensorType;
        found = names.emplace(sensorType, sensor.getSensorTypeName().ToUtf8()).first;
    }
    return found->second;
}

std::array<double, 3> toVertexUp(LayoutFrame frame, const double* p) {
    switch (frame) {
        case LayoutFrame::head:
            // Left, top, back: a quarter turn about x brings the top to +Z and
            // the nose (-z) to +Y. The frame is left-handed, so the subject's
            // left lands on +X; the mirror is undone when drawing.
            return {p[0], -p[2], p[1]};
        case LayoutFrame::sphere:
            // Nose, left, vertex: a quarter turn about z brings the nose to +Y
            // and the subject's right (-y) to +X.
            return {-p[1], p[0], p[2]};
        case LayoutFrame::net:
            return {p[0], p[1], p[2]};
    }
    return {p[0], p[1], p[2]};
}

int runLayoutList() {
    std::printf("%-15s %-4s %5s  %-7s %s\n", "name", "kind", "rows", "frame", "axes");
    for (const LayoutTable& table : layoutTables()) {
        std::printf("%-15s %-4s %5zu  %-7s %s\n", table.name.c_str(), table.meg ? "MEG" : "EEG",
                    table.rows.size(), frameName(table.frame), frameAxes(table.frame));
    }
    return 0;
}

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
        const LayoutRow& row = table->rows[i];
        std::printf("%4zu %-8s %12s %12s %12s", i, row.name.c_str(), number(row.pos[0]).c_str(),
                    number(row.pos[1]).c_str(), number(row.pos[2]).c_str());
        if (row.orn) {
            std::printf(" %10.6g %10.6g %10.6g", (*row.orn)[0], (*row.orn)[1], (*row.orn)[2]);
        }
        std::printf("  %d %s\n", row.sensorType, typeName(row.sensorType).c_str());
    }
    return 0;
}

std::string exportLayout(const LayoutTable& table, const std::string& format) {
    std::ostringstream out;
    auto exact = [](double value) {
        char text[40];
        std::snprintf(text, sizeof text, "%.17g", value);
        return std::string(text);
    };
    if (format == "csv") {
        out << "name,x,y,z";
        if (table.meg) {
            out << ",ornX,ornY,ornZ";
        }
        out << ",sensorType,typeName\n";
        for (const LayoutRow& row : table.rows) {
            out << row.name << ',' << exact(row.pos[0]) << ',' << exact(row.pos[1]) << ','
                << exact(row.pos[2]);
            if (row.orn) {
                out << ',' << exact((*row.orn)[0]) << ',' << exact((*row.orn)[1]) << ','
                    << exact((*row.orn)[2]);
            }
            out << ',' << row.sensorType << ',' << typeName(row.sensorType) << '\n';
        }
    } else if (format == "sfp") {
        // BESA/EEGLAB: one "label x y z" line per channel.
        for (const LayoutRow& row : table.rows) {
            out << row.name << '\t' << exact(row.pos[0]) << '\t' << exact(row.pos[1]) << '\t'
                << exact(row.pos[2]) << '\n';
        }
    } else if (format == "elc") {
        // ASA electrode file: positions, then labels in the same order.
        const std::string unit = frameUnit(table.frame);
        out << "# ASA electrode file\n";
        out << "# " << table.name << ", " << frameName(table.frame)
            << " frame: " << frameAxes(table.frame) << '\n';
        out << "ReferenceLabel\tavg\n";
        out << "UnitPosition\t" << (unit.empty() ? "mm" : unit) << '\n';
        out << "NumberPositions=\t" << table.rows.size() << '\n';
        out << "Positions\n";
        for (const LayoutRow& row : table.rows) {
            out << exact(row.pos[0]) << ' ' << exact(row.pos[1]) << ' ' << exact(row.pos[2])
                << '\n';
        }
        out << "Labels\n";
        for (const LayoutRow& row : table.rows) {
            out << row.name << '\n';
        }
    } else {
        throw ToolError("unknown export format \"" + format + "\"");
    }
    return out.str();
}

namespace {

int writeText(const std::string& text, const std::string& out) {
    if (out.empty() || out == "-") {
        std::cout << text;
        std::cout.flush();
        return std::cout ? 0 : 1;
    }
    try {
        writeAtomically(out, std::vector<BYTE>(text.begin(), text.end()));
    } catch (const ToolError& e) {
        std::cerr << "fluxgrid: " << out << ": " << e.what() << '\n';
        return 1;
    }
    return 0;
}

}  // namespace

int runLayoutExport(const std::string& name, const std::string& format, const std::string& out) {
    const LayoutTable* table = requireLayout(name);
    if (table == nullptr) {
        return 1;
    }
    return writeText(exportLayout(*table, format), out);
}

int runLayoutPlot(const std::string& name, const std::string& out) {
    const LayoutTable* table = requireLayout(name);
    if (table == nullptr) {
        return 1;
    }
    const int status = writeText(layoutSvg(*table), out);
    if (status == 0 && !out.empty() && out != "-") {
        std::printf("wrote %s\n", out.c_str());
    }
    return status;
}

}  // namespace fluxgrid::tool

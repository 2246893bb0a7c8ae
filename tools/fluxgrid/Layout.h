/// \file Layout.h
/// `fluxgrid layout`: the thirteen constant channel layout tables, listed,
/// printed, exported and drawn.
#pragma once

#include <fluxgrid/fluxgrid.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace fluxgrid::tool {

/// The frame a table stands in, with its axes and unit.
enum class LayoutFrame { head, sphere, net };

/// One row of either kind of table, seen alike.
struct LayoutRow {
    std::string name;
    double pos[3];
    /// Only the MEG tables give an orientation.
    std::optional<std::array<double, 3>> orn;
    int sensorType;
};

struct LayoutTable {
    std::string name;
    bool meg;
    LayoutFrame frame;
    std::vector<LayoutRow> rows;
};

/// All thirteen tables, EEG first, in the library's order.
const std::vector<LayoutTable>& layoutTables();
/// The table called `name` (exactly), or null.
const LayoutTable* findLayout(const std::string& name);

const char* frameName(LayoutFrame frame);
/// The frame's axes and unit in words.
const char* frameAxes(LayoutFrame frame);
/// The unit of positions: "mm", "cm" or "" for the unitless sphere.
const char* frameUnit(LayoutFrame frame);

/// The library's name of a channel type code.
std::string typeName(int sensorType);

/// A position turned so that the table's vertex points along +Z, its nose
/// along +Y, and the subject's right along +X.
std::array<double, 3> toVertexUp(LayoutFrame frame, const double* pos);

/// The commands. Each returns the exit status.
int runLayoutList();
int runLayoutShow(const std::string& name);
/// `format` is csv, sfp or elc; the text goes to `out`, or to standard
/// output when `out` is empty.
int runLayoutExport(const std::string& name, const std::string& format, const std::string& out);
int runLayoutPlot(const std::string& name, const std::string& out);

/// The table's export as text, for `runLayoutExport` and the tests.
std::string exportLayout(const LayoutTable& table, const std::string& format);

}  // namespace fluxgrid::tool

/// \file Layouts.h
/// The thirteen constant channel layout tables as one catalogue: each
/// table's name, its rows and the frame its positions stand in, with that
/// frame's axes and unit, and the one conversion of its coordinates into
/// the right-handed frame of the analysis packages (x to the subject's
/// right, y to the nose, z to the vertex; metres).
#pragma once

#include <fluxgrid/sensor/MegOpmNamePosType.h>
#include <fluxgrid/tables/EegNamePosType.h>

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid {

/// The frames of the tables, in the order of `layoutFrameInfo`.
enum class LayoutFrame { head, sphere, net };

/// A signed permutation of the axes: coordinate i of the converted point is
/// `sign[i] * p[source[i]]`.
struct AxesMap {
    std::array<int, 3> source;
    std::array<int, 3> sign;

    /// Adding zero makes a mirrored zero a plain one.
    std::array<double, 3> operator()(const std::array<double, 3>& p) const {
        return {sign[0] * p[source[0]] + 0.0, sign[1] * p[source[1]] + 0.0,
                sign[2] * p[source[2]] + 0.0};
    }
};

/// The map from a frame given by its three-letter orientation code to RAS.
/// Each letter names where its axis grows toward: R or L, A or P, S or I,
/// each pair used once, in either case ("LSP", "als"). Empty for any other
/// text. A code with an odd number of L, P and I letters is left-handed and
/// its map a reflection.
std::optional<AxesMap> axesToRas(std::string_view code);

struct LayoutFrameInfo {
    LayoutFrame frame;
    /// "head", "sphere" or "net".
    std::string_view name;
    /// The orientation code: "LSP" (head: x to the subject's left, y to the
    /// top, z to the back; a left-handed frame), "ALS" (sphere: x to the
    /// nose, y to the left, z to the vertex) or "RAS" (net).
    std::string_view axes;
    /// The axes in words, with the unit.
    std::string_view description;
    /// "mm", "cm", or empty for the unitless sphere of radius 100.
    std::string_view unit;
    /// Units of the frame in a metre: the sphere is taken as a head of
    /// radius 0.095 m, MNE-Python's default.
    double unitsPerMetre;
};

const LayoutFrameInfo& layoutFrameInfo(LayoutFrame frame);

/// A position of a frame in RAS metres, divided rather than multiplied by
/// the inverse, so that millimetres and centimetres come out as the nearest
/// double to the exact metres.
std::array<double, 3> positionToRas(LayoutFrame frame, const std::array<double, 3>& position);
/// A direction of a frame in RAS: the same axes map, without the scale.
std::array<double, 3> directionToRas(LayoutFrame frame, const std::array<double, 3>& direction);

/// One table: an EEG table has `eeg` rows and no `meg` rows, an MEG table
/// the other way round.
struct LayoutTableInfo {
    std::string_view name;
    LayoutFrame frame;
    std::span<const EEG_NAME_POS_TYPE> eeg;
    std::span<const MEG_OPM_NAME_POS_TYPE> meg;

    bool isMeg() const { return !meg.empty(); }
    std::size_t size() const { return isMeg() ? meg.size() : eeg.size(); }
};

/// One row of a table as a host reads it, whichever kind of table holds
/// it: the label in UTF-8, the position, the orientation of an MEG row, and
/// the channel type code.
struct LayoutRow {
    std::string name;
    std::array<double, 3> pos{};
    /// None for the rows of an EEG table.
    std::optional<std::array<double, 3>> orn;
    int sensorType = 0;
};

/// The rows of `table`, in order, in its own frame and unit.
std::vector<LayoutRow> layoutRows(const LayoutTableInfo& table);
/// A row of a table of `frame` in RAS: its position in metres as
/// `positionToRas` gives it, its orientation turned as `directionToRas`.
LayoutRow rowToRas(LayoutFrame frame, const LayoutRow& row);
/// The rows of `table`, in order, in RAS metres.
std::vector<LayoutRow> layoutRowsInRas(const LayoutTableInfo& table);

/// All thirteen tables, EEG first, in the library's order.
std::span<const LayoutTableInfo> layoutTables();
/// The table called `name` (exactly), or null.
const LayoutTableInfo* findLayoutTable(std::string_view name);

}  // namespace fluxgrid

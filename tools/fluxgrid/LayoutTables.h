/// \file LayoutTables.h
/// The thirteen constant channel layout tables of the library as rows of
/// channels, each with the frame it stands in: that frame's axes and unit.
#pragma once

#include "Channels.h"

#include <fluxgrid/tables/Layouts.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid::tool {

using fluxgrid::LayoutFrame;

struct LayoutTable {
    std::string name;
    bool meg = false;
    LayoutFrame frame = LayoutFrame::head;
    std::vector<ChannelRow> rows;
};

/// All thirteen tables, EEG first, in the library's order.
const std::vector<LayoutTable>& layoutTables();
/// The table called `name` (exactly), or null.
const LayoutTable* findLayout(std::string_view name);

const char* frameName(LayoutFrame frame);
/// The frame's axes and unit in words.
const char* frameAxes(LayoutFrame frame);
/// The unit of positions: "mm", "cm" or "" for the unitless sphere.
const char* frameUnit(LayoutFrame frame);
/// The frame's axes in three letters, each naming the direction in which
/// its axis grows: R or L, A (nose) or P, S (top) or I. "LSP" for the head
/// frame, "ALS" for the sphere, "RAS" for the nets.
const char* frameAxesCode(LayoutFrame frame);
/// Units of the frame's positions in a metre; the unitless sphere of
/// radius 100 is taken as a head of radius 0.095 m.
double frameUnitsPerMetre(LayoutFrame frame);

/// A row turned into RAS: its position in metres, its orientation along
/// the same axes.
ChannelRow toRasMetres(LayoutFrame frame, const ChannelRow& row);

/// A position turned so that the table's vertex points along +Z, its nose
/// along +Y, and the subject's right along +X (for the head frame, its left:
/// the frame is left-handed, and whoever draws it undoes the mirror).
std::array<double, 3> toVertexUp(LayoutFrame frame, const std::array<double, 3>& pos);

}  // namespace fluxgrid::tool

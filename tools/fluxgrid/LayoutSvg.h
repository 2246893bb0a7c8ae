/// \file LayoutSvg.h
/// A layout table drawn as a labelled top view in SVG.
#pragma once

#include "LayoutPlot.h"

#include <fluxgrid/tables/Layouts.h>

#include <string>

namespace fluxgrid::tool {

/// The drawing that `layoutPlot` lays out: markers coloured by channel type,
/// labels with their leader lines, a legend of the types and their counts,
/// and the scale bar.
std::string layoutSvg(const LayoutTableInfo& table);

}  // namespace fluxgrid::tool

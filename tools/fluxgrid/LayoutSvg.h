/// \file LayoutSvg.h
/// A layout table drawn as a labelled top view in SVG.
#pragma once

#include "LayoutTables.h"

#include <string>

namespace fluxgrid::tool {

/// The table seen from above, nose up, the subject's right on the right:
/// each position turned so that the table's vertex points along +Z, then
/// flattened by `CBscMagSns::flatten3Dto2D`, on which 90 degrees from the
/// vertex (the head's outline) lies at 5/6 of the unit circle. Markers are
/// coloured by channel type, with a legend of the types and their counts.
std::string layoutSvg(const LayoutTable& table);

}  // namespace fluxgrid::tool

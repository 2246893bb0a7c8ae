/// \file Channels.h
/// A channel as the layout tables and the sensors both give it: a name, a
/// position, an orientation where there is one, and a type code. The
/// exporters take rows of this shape, so that a table and a set of sensors
/// are written alike.
#pragma once

#include <fluxgrid/sensor/MEGSensor.h>
#include <fluxgrid/tables/Layouts.h>

namespace fluxgrid::tool {

/// The row of a layout table, which a sensor's row shares.
using ChannelRow = LayoutRow;

/// The row of a sensor: its shown name, the first three of `snsPos4` and
/// `snsOri4`, and its type code.
ChannelRow channelRowOf(const CMEGSensor& sensor);

}  // namespace fluxgrid::tool

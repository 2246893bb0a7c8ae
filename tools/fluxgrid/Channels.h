/// \file Channels.h
/// A channel as the layout tables and the sensors both give it: a name, a
/// position, an orientation where there is one, and a type code. The
/// exporters and the plot take rows of this shape, so that a table and a
/// set of sensors are written alike.
#pragma once

#include <fluxgrid/sensor/MEGSensor.h>

#include <array>
#include <optional>
#include <string>

namespace fluxgrid::tool {

struct ChannelRow {
    std::string name;
    std::array<double, 3> pos{};
    /// The EEG tables give none.
    std::optional<std::array<double, 3>> orn;
    int sensorType = 0;
};

/// The row of a sensor: its shown name, the first three of `snsPos4` and
/// `snsOri4`, and its type code.
ChannelRow channelRowOf(const CMEGSensor& sensor);

/// The library's name of a channel type code ("MEG_SNSR", "Unknown", ...).
std::string typeName(int sensorType);

}  // namespace fluxgrid::tool

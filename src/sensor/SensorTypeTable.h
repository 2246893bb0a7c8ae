// The table of channel type codes and their names: the one list that
// `CMEGSensor::getSensorTypeName` answers from and that the library's
// channel types (<fluxgrid/channels/ChannelTypes.h>) read. Internal to the
// library: no installed header includes it.
#pragma once

#include <span>

namespace fluxgrid::sensor {

struct SensorTypeName {
    int code;
    const char* name;
};

/// Every named code. The spelling of every name is what hosts and files
/// expect, "STIM_ANALYOG" included.
std::span<const SensorTypeName> sensorTypeNames();

/// The name of `code`, or "Unknown" for a code of no entry.
const char* sensorTypeName(int code);

}  // namespace fluxgrid::sensor

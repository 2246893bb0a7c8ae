#include "Channels.h"

#include <fluxgrid/sensor/MEGSensor.h>

#include <map>

namespace fluxgrid::tool {

ChannelRow channelRowOf(const CMEGSensor& sensor) {
    return {sensor.getSensorName().ToUtf8(),
            {sensor.snsPos4[0], sensor.snsPos4[1], sensor.snsPos4[2]},
            std::array<double, 3>{sensor.snsOri4[0], sensor.snsOri4[1], sensor.snsOri4[2]},
            sensor.sensorType};
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

}  // namespace fluxgrid::tool

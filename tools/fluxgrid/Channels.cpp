#include "Channels.h"

namespace fluxgrid::tool {

ChannelRow channelRowOf(const CMEGSensor& sensor) {
    return {sensor.getSensorName().ToUtf8(),
            {sensor.snsPos4[0], sensor.snsPos4[1], sensor.snsPos4[2]},
            std::array<double, 3>{sensor.snsOri4[0], sensor.snsOri4[1], sensor.snsOri4[2]},
            sensor.sensorType};
}

}  // namespace fluxgrid::tool

// The meaning of a channel type code: the name from the sensor's own table,
// the kind from the ranges of that table and the OPM setup dialog's rule.
#include <fluxgrid/channels/ChannelTypes.h>

#include "sensor/SensorTypeTable.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace fluxgrid {

namespace {

// The codes that the OPM setup dialog stores for "OPM Sensor" and "OPM
// Reference".
constexpr int kOpmSensorCode = 700;
constexpr int kOpmReferenceCode = 800;

ChannelKind kindOfCode(int code, bool opmRecord) {
    if (opmRecord && code == kOpmSensorCode) {
        return ChannelKind::meg;
    }
    if (opmRecord && code == kOpmReferenceCode) {
        return ChannelKind::reference;
    }
    if (code >= 100 && code <= 103) {
        return ChannelKind::meg;
    }
    if (code >= 10 && code <= 13) {
        return ChannelKind::reference;
    }
    if (code == 300 || code == 302 || code == 303) {
        return ChannelKind::eeg;
    }
    if (code >= 600 && code <= 602) {
        return ChannelKind::stimulus;
    }
    return ChannelKind::misc;
}

// The codes of the table, gathered once.
constexpr std::size_t kMaxNamedCodes = 64;

struct NamedCodes {
    std::array<int, kMaxNamedCodes> codes{};
    std::size_t count = 0;
};

NamedCodes gatherNamedCodes() {
    NamedCodes named;
    for (const sensor::SensorTypeName& entry : sensor::sensorTypeNames()) {
        named.codes.at(named.count++) = entry.code;
    }
    return named;
}

}  // namespace

std::string_view channelKindWord(ChannelKind kind) {
    switch (kind) {
        case ChannelKind::meg:
            return "meg";
        case ChannelKind::reference:
            return "ref";
        case ChannelKind::eeg:
            return "eeg";
        case ChannelKind::stimulus:
            return "stim";
        case ChannelKind::misc:
            return "misc";
    }
    return "misc";
}

ChannelType channelType(int code, bool opmRecord) {
    ChannelType type;
    type.code = code;
    type.name = sensor::sensorTypeName(code);
    type.known = std::ranges::any_of(sensor::sensorTypeNames(),
                                     [code](const auto& entry) { return entry.code == code; });
    type.kind = kindOfCode(code, opmRecord);
    return type;
}

ChannelType channelTypeOf(const CMEGSensor& sensor) {
    // The record held, whatever `hardwareType` says now: a record made as an
    // OPM record, or one of unknown making under hardware type 1.
    const int made = sensor::hardwareRecordKind(sensor.hardware);
    const bool opm = sensor.hardware && (made == 1 || (made < 0 && sensor.hardwareType == 1));
    return channelType(sensor.sensorType, opm);
}

std::span<const int> namedChannelTypeCodes() {
    static const NamedCodes named = gatherNamedCodes();
    return {named.codes.data(), named.count};
}

}  // namespace fluxgrid

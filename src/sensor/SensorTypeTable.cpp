// The table of channel type codes and their names.
#include "SensorTypeTable.h"

namespace fluxgrid::sensor {

namespace {

// The channel type codes. The spelling of every name is what hosts and
// files expect, "STIM_ANALYOG" included.
constexpr SensorTypeName kSensorTypeNames[] = {
    {-1, "INVALID"},
    {10, "MEG_REF"},
    {11, "MEG_REF1"},
    {12, "MEG_REF2"},
    {13, "MEG_REF3"},
    {100, "MEG_SNSR"},
    {101, "MEG_SNSR1"},
    {102, "MEG_SNSR2"},
    {103, "MEG_SNSR3"},
    {200, "MEG_RESET"},
    {300, "EEG_REF"},
    {302, "EEG_SNSR"},
    {303, "EEG_BIPOLAR"},
    {354, "EEG_OVER_RANGE_FLAG"},
    {400, "ADC"},
    {401, "DAC"},
    {402, "ADC_VOLT"},
    {600, "STIM"},
    {601, "STIM_ANALYOG"},
    {602, "STIM_DIGITAL"},
    {700, "TIME"},
    {701, "TIME_SYSTEM"},
    {800, "POSITION"},
    {900, "SAM_SNSR"},
    {901, "SAM_SNSR_NORMAL"},
    {903, "VIRTUAL_SNSR"},
    {1000, "HEADLOCATION_ANGLE"},
    {1001, "HEADLOCATION_EXTRACT"},
    {1002, "HEADLOCATION_FITERROR"},
    {4000, "OTHER"},
    {5001, "DIPOLE_SOURCE"},
};

}  // namespace

std::span<const SensorTypeName> sensorTypeNames() {
    return kSensorTypeNames;
}

const char* sensorTypeName(int code) {
    for (const SensorTypeName& entry : kSensorTypeNames) {
        if (entry.code == code) {
            return entry.name;
        }
    }
    return "Unknown";
}

}  // namespace fluxgrid::sensor

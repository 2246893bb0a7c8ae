#include "support/FieldFill.h"

#include <utility>

namespace fluxgrid::test {

double sampleDouble(int seed, int field) {
    // Odd sign pattern and a binary fraction, so that neither a zero nor a
    // swapped neighbour can pass for the right value.
    const double magnitude = seed * 1000.0 + field + 0.375;
    return (field % 3 == 1) ? -magnitude : magnitude;
}

int sampleInt(int seed, int field) {
    const int magnitude = seed * 1000 + field + 7;
    return (field % 4 == 2) ? -magnitude : magnitude;
}

void fillSensorFields(CMEGSensor& sensor, int seed) {
    const int hardwareType = sensor.hardwareType;
    fluxgrid::sensor::HardwareRecord record = std::move(sensor.hardware);
    sensor.hardware = nullptr;
    fillFields(sensor, seed);
    sensor.hardwareType = hardwareType;
    sensor.hardware = std::move(record);
}

}  // namespace fluxgrid::test

// Helpers of the head localization tests: a fiducial set that counts how
// many of its kind are alive, so that tests see an element being released,
// and builders of list elements with marked values.
#pragma once

#include <fluxgrid/headloc/HeadLocationTrial.h>
#include <fluxgrid/records/Fiducial.h>

#include "support/RecordBuilders.h"

namespace fluxgrid::test {

/// A fiducial set of the object kind that counts the living instances.
class CountedFiducial : public CFiducialqv {
  public:
    CountedFiducial() { ++s_alive; }
    CountedFiducial(const CountedFiducial& other) : CFiducialqv(other) { ++s_alive; }
    CountedFiducial& operator=(const CountedFiducial&) = default;
    ~CountedFiducial() override { --s_alive; }

    static int alive() { return s_alive; }

  private:
    static inline int s_alive = 0;
};

/// A counted set whose fields hold `markedSet(seed)`.
inline CountedFiducial* markedObject(int seed) {
    auto* object = new CountedFiducial();
    fillSet(*object, markedSet(seed));
    return object;
}

/// A counted set whose point 1 has the x position `x`.
inline CountedFiducial* objectWithPoint1X(double x) {
    auto* object = new CountedFiducial();
    object->fidPts[1].ptValues[4] = x;
    return object;
}

/// A record with distinct numbers and a set holding `markedSet(seed)`.
inline HEAD_LOCATION_TRIAL* markedRecord(int seed) {
    auto* record = new HEAD_LOCATION_TRIAL();
    record->trialValue1 = 1.5 + seed;
    record->trialValue2 = -2.5 - seed;
    record->trialValue3 = 0.125 * seed;
    record->trialTag = 40 + seed;
    fillSet(record->trialFiducial, markedSet(seed));
    return record;
}

}  // namespace fluxgrid::test

// Helpers of the head localization tests: a fiducial set that counts how
// many of its kind are alive, so that tests see an element being released,
// builders of list elements with marked values, and of golden files field by
// field from the layout.
#pragma once

#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/headloc/HeadLocationTrial.h>
#include <fluxgrid/records/Fiducial.h>

#include "support/ByteBuilder.h"
#include "support/Harness.h"
#include "support/RecordBuilders.h"

#include <string>
#include <vector>

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

// ---------------------------------------------------------------------------
// Golden files, built field by field from the layout.

inline constexpr int kWritten = 20160320;

struct Fields {
    int type = 1;
    int param = 3;
    int mode = 2;
    int time = 0;
    int averaged = 0;
    double value = 10.0;
    std::u16string text;
};

inline void appendFrameAndFields(ByteBuilder& b, int version, const Fields& f) {
    b.wide(u"HEADLOCATIONTRIAL");  // offset 0
    b.i32(version);                // 38
    b.i32(f.type);                 // 42
    b.i32(f.param);                // 46
    b.i32(f.mode);                 // 50
    b.i32(f.time);                 // 54
    b.i32(f.averaged);             // 58
    b.f64(f.value);                // 62
    b.wide(f.text);                // 70
}

/// The entry of `markedRecord(seed)`, with presence tag `tag`.
inline void appendRecordEntry(ByteBuilder& b, int seed, int tag = 1) {
    b.i32(tag);
    b.f64(1.5 + seed);
    b.f64(-2.5 - seed);
    b.f64(0.125 * seed);
    b.i32(40 + seed);
    appendSet(b, markedSet(seed));
}

inline void appendAbsentEntry(ByteBuilder& b) {
    b.i32(0);
}

/// The six records behind the labels, with marked values.
inline void appendMarkedTail(ByteBuilder& b) {
    appendSphere(b, markedSphere(1));
    appendSphere(b, markedSphere(2));
    appendSet(b, markedSet(11));
    appendSet(b, markedSet(12));
    appendSet(b, markedSet(13));
    appendSet(b, markedSet(14));
}

/// Expects entry `index` of `list` to be a record holding `markedRecord(seed)`.
inline void expectRecord(const CFiducialPtrArray& list, INT_PTR index, int seed) {
    SCOPED_TRACE("entry " + std::to_string(index));
    const HEAD_LOCATION_TRIAL* record = list.GetRecordAt(index);
    ASSERT_NE(nullptr, record);
    EXPECT_BITS_EQ(1.5 + seed, record->trialValue1);
    EXPECT_BITS_EQ(-2.5 - seed, record->trialValue2);
    EXPECT_BITS_EQ(0.125 * seed, record->trialValue3);
    EXPECT_EQ(40 + seed, record->trialTag);
    expectSet(markedSet(seed), record->trialFiducial);
}

/// Loads `bytes` into `hl` from a memory file and gives the result; `taken`
/// receives how many bytes the load took.
inline int load(CHeadLocalizationqv& hl, const std::vector<BYTE>& bytes,
                std::size_t* taken = nullptr) {
    int result = -1;
    const std::size_t used =
        loadFromBytes(bytes, [&](CArchive& ar) { result = hl.serializeqv(ar); });
    if (taken != nullptr) {
        *taken = used;
    }
    return result;
}

}  // namespace fluxgrid::test

// Fiducial point, fiducial set and sphere records built by hand from their
// layouts, for golden-byte tests, and helpers that fill and check the
// records field by field. Nothing here calls the library's encoders.
#pragma once

#include <fluxgrid/records/Fiducial.h>
#include <fluxgrid/records/FiduciaryPt.h>
#include <fluxgrid/records/Sphere.h>

#include "support/ByteBuilder.h"
#include "support/Harness.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <string>

namespace fluxgrid::test {

inline constexpr int kRecordVersion = 20261122;
/// A point record with an empty name: 34 bytes of frame, 204 of body.
inline constexpr std::size_t kEmptyPointBytes = 238;
/// A set record whose points have empty names: 28 + 6 * 238 + 36.
inline constexpr std::size_t kEmptySetBytes = 1492;
/// A sphere record with an empty name: 24 bytes of frame, 44 of body.
inline constexpr std::size_t kEmptySphereBytes = 68;

/// A quiet NaN with a payload, so that a value that is not moved bit for
/// bit cannot pass.
inline double nanWithPayload(std::uint64_t payload) {
    return std::bit_cast<double>(0x7FF8000000000000ull | payload);
}

/// Every field of a fiducial point.
struct PointValues {
    double values[16] = {};
    double extra1 = 0.0;
    double extra2 = 0.0;
    double vector[4] = {};
    int state1 = 0;
    int state2 = 0;
    int state3 = 0;
    double extra3 = 0.0;
    int state4 = 0;
    std::u16string name;
};

/// Distinct values for every field, different for each `seed`, with a
/// negative zero, a NaN with a payload and an infinity among them.
inline PointValues markedPoint(int seed) {
    PointValues v;
    for (int i = 0; i < 16; ++i) {
        v.values[i] = 1000.0 * seed + i + 0.25;
    }
    v.extra1 = -0.0;
    v.extra2 = nanWithPayload(static_cast<std::uint64_t>(seed) + 1);
    for (int i = 0; i < 4; ++i) {
        v.vector[i] = -(100.0 * seed + i) - 0.5;
    }
    v.state1 = 10 * seed + 1;
    v.state2 = -(10 * seed + 2);
    v.state3 = 10 * seed + 3;
    v.extra3 = seed % 2 == 0 ? std::numeric_limits<double>::infinity() : 1.0 / 3.0;
    v.state4 = 10 * seed + 4;
    v.name = u"Pt" + std::u16string(1, static_cast<char16_t>(u'A' + seed % 26));
    return v;
}

inline ByteBuilder& appendPoint(ByteBuilder& b, const PointValues& v) {
    b.wide(u"FIDUCIARYPTQV").i32(kRecordVersion);
    for (double value : v.values) {
        b.f64(value);
    }
    b.f64(v.extra1);
    b.f64(v.extra2);
    for (double value : v.vector) {
        b.f64(value);
    }
    b.i32(v.state1);
    b.i32(v.state2);
    b.i32(v.state3);
    b.f64(v.extra3);
    b.i32(v.state4);
    b.wide(v.name);
    return b;
}

inline void fillPoint(CFiduciaryPt& point, const PointValues& v) {
    for (int i = 0; i < 16; ++i) {
        point.ptValues[i] = v.values[i];
    }
    point.ptExtra1 = v.extra1;
    point.ptExtra2 = v.extra2;
    for (int i = 0; i < 4; ++i) {
        point.ptVector[i] = v.vector[i];
    }
    point.ptState1 = v.state1;
    point.ptState2 = v.state2;
    point.ptState3 = v.state3;
    point.ptExtra3 = v.extra3;
    point.ptState4 = v.state4;
    point.ptName = CString(v.name);
}

inline void expectPoint(const PointValues& v, const CFiduciaryPt& point) {
    for (int i = 0; i < 16; ++i) {
        EXPECT_BITS_EQ(v.values[i], point.ptValues[i]) << "ptValues[" << i << "]";
    }
    EXPECT_BITS_EQ(v.extra1, point.ptExtra1);
    EXPECT_BITS_EQ(v.extra2, point.ptExtra2);
    for (int i = 0; i < 4; ++i) {
        EXPECT_BITS_EQ(v.vector[i], point.ptVector[i]) << "ptVector[" << i << "]";
    }
    EXPECT_EQ(v.state1, point.ptState1);
    EXPECT_EQ(v.state2, point.ptState2);
    EXPECT_EQ(v.state3, point.ptState3);
    EXPECT_BITS_EQ(v.extra3, point.ptExtra3);
    EXPECT_EQ(v.state4, point.ptState4);
    EXPECT_EQ(CString(v.name), point.ptName);
}

/// Every field of a fiducial set.
struct SetValues {
    PointValues points[6];
    int state[4] = {};
    double extra1 = 0.0;
    int state5 = 0;
    double extra2 = 0.0;
};

/// Distinct values for every field of the set and of its six points.
inline SetValues markedSet(int seed) {
    SetValues v;
    for (int p = 0; p < 6; ++p) {
        v.points[p] = markedPoint(10 * seed + p);
    }
    for (int i = 0; i < 4; ++i) {
        v.state[i] = 100 * seed + 50 + i;
    }
    v.extra1 = 0.5 + seed;
    v.state5 = -(100 * seed + 55);
    v.extra2 = -0.75 - seed;
    return v;
}

inline ByteBuilder& appendSet(ByteBuilder& b, const SetValues& v) {
    b.wide(u"FIDUCIALQV").i32(kRecordVersion);
    for (const PointValues& point : v.points) {
        appendPoint(b, point);
    }
    for (int state : v.state) {
        b.i32(state);
    }
    b.f64(v.extra1);
    b.i32(v.state5);
    b.f64(v.extra2);
    return b;
}

inline void fillSet(CFiducial& set, const SetValues& v) {
    for (int p = 0; p < 6; ++p) {
        fillPoint(set.fidPts[p], v.points[p]);
    }
    for (int i = 0; i < 4; ++i) {
        set.fidState[i] = v.state[i];
    }
    set.fidExtra1 = v.extra1;
    set.fidState5 = v.state5;
    set.fidExtra2 = v.extra2;
}

inline void expectSet(const SetValues& v, const CFiducial& set) {
    for (int p = 0; p < 6; ++p) {
        SCOPED_TRACE("point " + std::to_string(p));
        expectPoint(v.points[p], set.fidPts[p]);
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(v.state[i], set.fidState[i]) << "fidState[" << i << "]";
    }
    EXPECT_BITS_EQ(v.extra1, set.fidExtra1);
    EXPECT_EQ(v.state5, set.fidState5);
    EXPECT_BITS_EQ(v.extra2, set.fidExtra2);
}

/// Every field of a sphere.
struct SphereValues {
    double values[4] = {};
    int state1 = 0;
    int state2 = 0;
    std::u16string name;
};

inline SphereValues markedSphere(int seed) {
    SphereValues v;
    for (int i = 0; i < 4; ++i) {
        v.values[i] = 10.0 * seed + i + 0.125;
    }
    v.values[3] = nanWithPayload(static_cast<std::uint64_t>(seed) + 7);
    v.state1 = 7 * seed + 1;
    v.state2 = -(7 * seed + 2);
    v.name = u"Sphere" + std::u16string(1, static_cast<char16_t>(u'0' + seed % 10));
    return v;
}

inline ByteBuilder& appendSphere(ByteBuilder& b, const SphereValues& v) {
    b.wide(u"SPHEREQV").i32(kRecordVersion);
    for (double value : v.values) {
        b.f64(value);
    }
    b.i32(v.state1);
    b.i32(v.state2);
    b.wide(v.name);
    return b;
}

inline void fillSphere(CSphere& sphere, const SphereValues& v) {
    for (int i = 0; i < 4; ++i) {
        sphere.sphereValues[i] = v.values[i];
    }
    sphere.sphereState1 = v.state1;
    sphere.sphereState2 = v.state2;
    sphere.sphereName = CString(v.name);
}

inline void expectSphere(const SphereValues& v, const CSphere& sphere) {
    for (int i = 0; i < 4; ++i) {
        EXPECT_BITS_EQ(v.values[i], sphere.sphereValues[i]) << "sphereValues[" << i << "]";
    }
    EXPECT_EQ(v.state1, sphere.sphereState1);
    EXPECT_EQ(v.state2, sphere.sphereState2);
    EXPECT_EQ(CString(v.name), sphere.sphereName);
}

// The values of a fiducial point, set or sphere object, for the builders above.
inline PointValues valuesOf(const CFiduciaryPt& p) {
    PointValues v;
    std::copy_n(p.ptValues, 16, v.values);
    v.extra1 = p.ptExtra1;
    v.extra2 = p.ptExtra2;
    std::copy_n(p.ptVector, 4, v.vector);
    v.state1 = p.ptState1;
    v.state2 = p.ptState2;
    v.state3 = p.ptState3;
    v.extra3 = p.ptExtra3;
    v.state4 = p.ptState4;
    v.name = p.ptName.str();
    return v;
}

inline SetValues valuesOf(const CFiducial& set) {
    SetValues v;
    for (int p = 0; p < 6; ++p) {
        v.points[p] = valuesOf(set.fidPts[p]);
    }
    std::copy_n(set.fidState, 4, v.state);
    v.extra1 = set.fidExtra1;
    v.state5 = set.fidState5;
    v.extra2 = set.fidExtra2;
    return v;
}

inline SphereValues valuesOf(const CSphere& sphere) {
    SphereValues v;
    std::copy_n(sphere.sphereValues, 4, v.values);
    v.state1 = sphere.sphereState1;
    v.state2 = sphere.sphereState2;
    v.name = sphere.sphereName.str();
    return v;
}

}  // namespace fluxgrid::test

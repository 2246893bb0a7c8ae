// The rules of a head localization: the nasion and ear points of its
// current fiducial set, the location and rotation that registration stored,
// and the fiducials against the helmet's sphere.
//
// The rotation that registration stores is three angles in degrees, not a
// matrix: any finite triple of angles makes a proper rotation, orthonormal
// and right-handed, so finiteness is all there is to judge. A head
// localization that was never registered holds the zeros of its
// construction, which are the identity and pass.
#include "geometry/CheckContext.h"
#include "geometry/Vectors.h"
#include "geometry/Wording.h"

#include <string>

namespace fluxgrid::geometry {

namespace {

// Ear points of a head lie this far apart.
constexpr double kEarsTooCloseMm = 50.0;

// The nasion stands in front of the line through the ear points.
constexpr double kNasionOffLineMm = 10.0;

constexpr const char* kPointWords[3] = {"nasion (point 0)", "ear point 1", "ear point 2"};

std::vector<FindingValue> pointValues(const Point3& p, std::string_view unit) {
    const std::string u(unit);
    return {{"x", p[0], u}, {"y", p[1], u}, {"z", p[2], u}};
}

// The distance between the ear points, when there are points to measure.
std::optional<double> earDistance(const HeadView& head) {
    if (head.empty || !finite(head.fiducials[1]) || !finite(head.fiducials[2])) {
        return std::nullopt;
    }
    return distance(head.fiducials[1], head.fiducials[2]);
}

// Another unit in which the ear points lie as far apart as a head's.
std::optional<LengthUnit> unitOfEars(const HeadView& head) {
    const std::optional<double> ears = earDistance(head);
    if (!ears) {
        return std::nullopt;
    }
    return unitThatFits(*ears, head.unit, kNearestEarsMm, kFarthestEarsMm);
}

// The ear distance for the rules that judge it in the unit given: none
// when there is none, or when another unit explains it.
std::optional<double> judgedEarDistance(const HeadView& head) {
    return unitOfEars(head) ? std::nullopt : earDistance(head);
}

std::string earWords(double ears, const HeadView& head) {
    return "the ear points lie " + length(ears, head.unitWord()) + " apart";
}

void fiducialsEmpty(const HeadView& head, const CheckContext&, Emitter& out) {
    if (head.empty) {
        out.head(
            "points 0, 1 and 2 of the current fiducial set are all (0, 0, 0): no fiducial was "
            "stored, and the fiducial rules are not judged");
    }
}

void fiducialNotFinite(const HeadView& head, const CheckContext&, Emitter& out) {
    for (int i = 0; i < 3; ++i) {
        const Point3& p = head.fiducials[i];
        if (!finite(p)) {
            out.head(std::string(kPointWords[i]) + " " + triple(p) + " is not finite",
                     pointValues(p, head.unitWord()));
        }
    }
}

void locationNotFinite(const HeadView& head, const CheckContext&, Emitter& out) {
    if (!finite(head.location)) {
        out.head("the stored sensor location " + triple(head.location) + " is not finite",
                 pointValues(head.location, head.unitWord()));
    }
}

void rotationNotFinite(const HeadView& head, const CheckContext&, Emitter& out) {
    if (!finite(head.rotation)) {
        out.head("the stored sensor rotation " + triple(head.rotation) +
                     " degrees is not finite (registration stores one where a ratio of its "
                     "fiducials divides by 0)",
                 pointValues(head.rotation, "deg"));
    }
}

void headUnitMismatch(const HeadView& head, const CheckContext&, Emitter& out) {
    if (const std::optional<LengthUnit> fits = unitOfEars(head)) {
        const double ears = *earDistance(head);
        out.head(earWords(ears, head) + ": the fiducials look like " +
                     std::string(unitName(*fits)) + ", not " + std::string(unitName(head.unit)),
                 {{"distance", ears, std::string(head.unitWord())}});
    }
}

void earsTooClose(const HeadView& head, const CheckContext&, Emitter& out) {
    const std::optional<double> ears = judgedEarDistance(head);
    const double limit = head.lengthOf(kEarsTooCloseMm);
    if (ears && *ears < limit) {
        out.head(earWords(*ears, head) + " (limit " + length(limit, head.unitWord()) + ")",
                 {{"distance", *ears, std::string(head.unitWord())}});
    }
}

void earDistanceUnusual(const HeadView& head, const CheckContext&, Emitter& out) {
    const std::optional<double> ears = judgedEarDistance(head);
    if (ears && *ears >= head.lengthOf(kEarsTooCloseMm) &&
        !withinMillimetres(*ears, head.unit, kNearestEarsMm, kFarthestEarsMm)) {
        out.head(earWords(*ears, head) + ", outside the " + number(kNearestEarsMm) + " to " +
                     number(kFarthestEarsMm) + " mm of a head",
                 {{"distance", *ears, std::string(head.unitWord())}});
    }
}

void nasionOnEarLine(const HeadView& head, const CheckContext&, Emitter& out) {
    const std::optional<double> ears = judgedEarDistance(head);
    const Point3& nasion = head.fiducials[0];
    if (!ears || *ears == 0.0 || !finite(nasion)) {
        return;
    }
    const Point3 along = (1.0 / *ears) * (head.fiducials[2] - head.fiducials[1]);
    const double off = distanceFromLine(nasion, head.fiducials[1], along);
    const double limit = head.lengthOf(kNasionOffLineMm);
    if (off < limit) {
        out.head("the nasion lies " + length(off, head.unitWord()) +
                     " from the line through the ear points (limit " +
                     length(limit, head.unitWord()) + ")",
                 {{"distance", off, std::string(head.unitWord())}});
    }
}

void fiducialOutsideHelmet(const HeadView& head, const CheckContext& context, Emitter& out) {
    if (head.empty || !context.sphere.fitted) {
        return;
    }
    // Into the sensors' unit, in which the sphere stands.
    const double scale = millimetresPer(head.unit) / millimetresPer(context.options.unit);
    const std::string unit(context.unitWord());
    for (int i = 0; i < 3; ++i) {
        const Point3& p = head.fiducials[i];
        if (!finite(p)) {
            continue;
        }
        const double from = distance(scale * p, context.sphere.centre);
        if (from > context.sphere.radius) {
            out.head(std::string(kPointWords[i]) + " " + triple(p) + " " +
                         std::string(head.unitWord()) + " lies " + length(from, unit) +
                         " from the centre of the helmet's sphere, outside its radius " +
                         length(context.sphere.radius, unit) + ": the head sticks out",
                     {{"point", static_cast<double>(i), ""},
                      {"distance", from, unit},
                      {"radius", context.sphere.radius, unit}});
        }
    }
}

constexpr Rule<HeadCheck> kRules[] = {
    {"fiducials-empty", Severity::note,
     "The current fiducial set holds no points: all three are (0, 0, 0).", fiducialsEmpty},
    {"fiducial-not-finite", Severity::error, "A fiducial point is not finite.", fiducialNotFinite},
    {"location-not-finite", Severity::error, "The stored sensor location is not finite.",
     locationNotFinite},
    {"rotation-not-finite", Severity::error, "The stored sensor rotation is not finite.",
     rotationNotFinite},
    {"head-unit-mismatch", Severity::error,
     "The ear points lie as far apart as a head's only in another unit: the fiducials are not "
     "in the unit given.",
     headUnitMismatch},
    {"ears-too-close", Severity::error, "The ear points lie closer than 50 mm.", earsTooClose},
    {"ear-distance-unusual", Severity::warning,
     "The ear points lie closer than 100 mm or farther apart than 200 mm.", earDistanceUnusual},
    {"nasion-on-ear-line", Severity::error,
     "The nasion lies within 10 mm of the line through the ear points.", nasionOnEarLine},
    {"fiducial-outside-helmet", Severity::error,
     "A fiducial lies outside the sphere fitted to the MEG channels.", fiducialOutsideHelmet},
};

}  // namespace

std::span<const Rule<HeadCheck>> headRules() {
    return kRules;
}

}  // namespace fluxgrid::geometry

// The rules of the set: names against each other, the sphere of the MEG
// channels and the channels judged against it, and channels that share a
// position.
#include "geometry/CheckContext.h"
#include "geometry/Vectors.h"
#include "geometry/Wording.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

namespace fluxgrid::geometry {

namespace {

// An orientation more than 120 degrees from outward points into the head.
// The tangential axes of a multi-axis OPM sensor lie near 90 degrees and
// pass.
constexpr double kInwardComponent = -0.5;

// Two channels at one position whose orientations are this close to
// orthogonal are the axes of one multi-axis sensor.
constexpr double kOrthogonalDegrees = 5.0;

std::string channelWords(const ChannelView& channel) {
    std::string words = "#" + std::to_string(channel.index);
    if (!channel.name.empty()) {
        words += " " + channel.name;
    }
    if (!channel.file->empty()) {
        words += " (" + *channel.file + ")";
    }
    return words;
}

bool isMultiAxis(const ClosePair& pair) {
    return pair.degrees && std::abs(*pair.degrees - 90.0) <= kOrthogonalDegrees;
}

// The MEG channels whose first element the sphere's rules can judge: with
// a fit, a position and a direction, and not at the centre itself.
template <class Judge>
void forEachOnSphere(const CheckContext& context, Judge&& judge) {
    if (!context.sphere.fitted) {
        return;
    }
    for (const ChannelView& channel : context.channels) {
        const std::optional<Point3> at = channel.anchor();
        if (!channel.isMeg() || !at) {
            continue;
        }
        const Point3 radius = *at - context.sphere.centre;
        const double r = norm(radius);
        if (r > 0.0) {
            judge(channel, (1.0 / r) * radius, r);
        }
    }
}

void nameDuplicate(const CheckContext& context, Emitter& out) {
    std::map<std::u16string, int> first;
    for (const ChannelView& channel : context.channels) {
        const std::u16string& name = channel.sensor->snsRawName.str();
        if (name.empty()) {
            continue;
        }
        const auto [seen, inserted] = first.emplace(name, channel.index);
        if (!inserted) {
            const ChannelView& earlier = context.channels[seen->second];
            out.channel(channel,
                        "name " + quoted(channel.name) + " is also that of channel " +
                            channelWords(earlier),
                        {{"channel", static_cast<double>(earlier.index), ""}});
        }
    }
}

void sphereNotFitted(const CheckContext& context, Emitter& out) {
    // A set without MEG channels has nothing that needs the sphere.
    const bool meg = std::ranges::any_of(context.channels, &ChannelView::isMeg);
    if (context.sphere.fitted || !meg) {
        return;
    }
    out.set("no sphere fitted to the first elements of " + std::to_string(context.sphereChannels) +
                " MEG channels in the " + std::string(context.frameWord()) +
                " frame: " + context.sphere.reason +
                " (4 not in one plane are needed); orientation-inward, gradiometer-inward and "
                "fiducial-outside-helmet are not judged",
            {{"points", static_cast<double>(context.sphereChannels), ""}});
}

std::vector<FindingValue> radiusValues(const CheckContext& context) {
    const std::string unit(context.unitWord());
    const Point3& c = context.sphere.centre;
    return {{"radius", context.sphere.radius, unit},
            {"x", c[0], unit},
            {"y", c[1], unit},
            {"z", c[2], unit}};
}

std::string radiusWords(const CheckContext& context) {
    // The centre's rounding noise, far below the radius, reads as 0.
    Point3 centre = context.sphere.centre;
    for (double& c : centre) {
        c = std::abs(c) < 1e-9 * context.sphere.radius ? 0.0 : c;
    }
    return "the sphere fitted to " + std::to_string(context.sphereChannels) +
           " MEG channels has radius " + length(context.sphere.radius, context.unitWord()) +
           " about " + triple(centre);
}

void sphereRadius(const CheckContext& context, Emitter& out) {
    if (context.sphere.fitted && !context.unitSuspect &&
        !withinMillimetres(context.sphere.radius, context.options.unit, kSmallestHelmetMm,
                           kLargestHelmetMm)) {
        out.set(radiusWords(context) + ", outside the " + number(kSmallestHelmetMm) + " to " +
                    number(kLargestHelmetMm) + " mm of a helmet",
                radiusValues(context));
    }
}

void unitMismatch(const CheckContext& context, Emitter& out) {
    if (context.unitSuspect) {
        out.set(radiusWords(context) + ": the positions look like " +
                    std::string(unitName(*context.unitSuspect)) + ", not " +
                    std::string(unitName(context.options.unit)) +
                    "; gradiometer-off-axis, multi-axis and channels-overlap are not judged",
                radiusValues(context));
    }
}

void orientationInward(const CheckContext& context, Emitter& out) {
    forEachOnSphere(context, [&](const ChannelView& channel, const Point3& outward, double) {
        const std::optional<Point3> direction = channel.direction();
        if (!direction) {
            return;
        }
        const double radial = dot(*direction, outward);
        if (radial < kInwardComponent) {
            const double degrees = degreesBetween(*direction, outward);
            out.channel(channel,
                        "orientation " + triple(channel.orientation(0)) + " points " +
                            number(degrees, 4) + " degrees from outward (radial component " +
                            number(radial, 4) + ", limit " + number(kInwardComponent) + ")",
                        {{"radial", radial, ""}, {"angle", degrees, "deg"}});
        }
    });
}

void gradiometerInward(const CheckContext& context, Emitter& out) {
    forEachOnSphere(context, [&](const ChannelView& channel, const Point3&, double first) {
        if (channel.record != RecordKind::squid || channel.used != 2) {
            return;
        }
        const Point3 p = channel.position(1);
        if (!finite(p)) {
            return;
        }
        const double second = distance(p, context.sphere.centre);
        if (second <= first) {
            const std::string unit(context.unitWord());
            out.channel(channel,
                        "the second coil lies " + length(second, unit) +
                            " from the sphere's centre, not farther out than the first coil at " +
                            length(first, unit),
                        {{"first", first, unit}, {"second", second, unit}});
        }
    });
}

std::vector<FindingValue> pairValues(const ClosePair& pair, const CheckContext& context) {
    std::vector<FindingValue> values{{"channel", static_cast<double>(pair.first), ""},
                                     {"distance", pair.distance, std::string(context.unitWord())}};
    if (pair.degrees) {
        values.push_back({"angle", *pair.degrees, "deg"});
    }
    return values;
}

std::string pairWords(const ClosePair& pair, const CheckContext& context) {
    return length(pair.distance, context.unitWord()) + " from channel " +
           channelWords(context.channels[pair.first]);
}

void multiAxis(const CheckContext& context, Emitter& out) {
    for (const ClosePair& pair : context.closePairs) {
        if (isMultiAxis(pair)) {
            out.channel(context.channels[pair.second],
                        pairWords(pair, context) + ", orientations " + number(*pair.degrees, 4) +
                            " degrees apart: two axes of one multi-axis sensor",
                        pairValues(pair, context));
        }
    }
}

void channelsOverlap(const CheckContext& context, Emitter& out) {
    for (const ClosePair& pair : context.closePairs) {
        if (!isMultiAxis(pair)) {
            const std::string how = pair.degrees ? "orientations " + number(*pair.degrees, 4) +
                                                       " degrees apart, not orthogonal within " +
                                                       number(kOrthogonalDegrees) + " degrees"
                                                 : "an orientation without direction";
            out.channel(context.channels[pair.second],
                        pairWords(pair, context) + " (limit " +
                            length(context.closeLimit, context.unitWord()) + "), " + how,
                        pairValues(pair, context));
        }
    }
}

constexpr Rule<SetCheck> kRules[] = {
    {"name-duplicate", Severity::error, "Two channels of the set share one name.", nameDuplicate},
    {"sphere-not-fitted", Severity::note,
     "The set has MEG channels, but fewer than 4 of their positions not in one plane: no sphere "
     "can be fitted.",
     sphereNotFitted},
    {"sphere-radius", Severity::warning,
     "The sphere fitted to the MEG channels has a radius outside 50 to 150 mm.", sphereRadius},
    {"unit-mismatch", Severity::error,
     "The fitted radius fits a helmet only in another unit: the positions are not in the unit "
     "given.",
     unitMismatch},
    {"orientation-inward", Severity::error,
     "An MEG channel's orientation points more than 120 degrees from outward.", orientationInward},
    {"gradiometer-inward", Severity::error,
     "The second coil of a two-coil SQUID MEG channel is not farther from the sphere's centre "
     "than the first.",
     gradiometerInward},
    {"multi-axis", Severity::note,
     "Two channels closer than 1 mm with orthogonal orientations: one multi-axis sensor.",
     multiAxis},
    {"channels-overlap", Severity::error,
     "Two channels closer than 1 mm whose orientations are not orthogonal.", channelsOverlap},
};

}  // namespace

std::span<const Rule<SetCheck>> setRules() {
    return kRules;
}

}  // namespace fluxgrid::geometry

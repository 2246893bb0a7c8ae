// The rules of one channel: its name, type code, record, elements in use
// and gain, each judged on its own.
#include "geometry/CheckContext.h"
#include "geometry/Vectors.h"
#include "geometry/Wording.h"

#include <cmath>
#include <string>

namespace fluxgrid::geometry {

namespace {

// FIF keeps a channel's name in 16 bytes with the terminating zero, and
// MNE cuts longer names to fit.
constexpr std::size_t kLongestName = 15;

// Tables give orientations to three decimals, so an orientation taken from
// one without normalising is off unit length by about a thousandth: that
// is a warning, anything beyond a hundredth an error.
constexpr double kUnitLengthError = 1e-2;
constexpr double kUnitLengthWarning = 1e-6;

// The second coil of an axial gradiometer lies on the first coil's normal.
constexpr double kOffAxisMm = 1.0;

std::string_view recordWord(RecordKind kind) {
    switch (kind) {
        case RecordKind::squid:
            return "SQUID";
        case RecordKind::opm:
            return "OPM";
        case RecordKind::other:
            return "hardware";
        case RecordKind::none:
            break;
    }
    return "no";
}

std::string_view countField(RecordKind kind) {
    return kind == RecordKind::opm ? "totalVapors" : "totalCoils";
}

bool isAscii(const CString& text) {
    for (char16_t unit : text.str()) {
        if (unit > 0x7F) {
            return false;
        }
    }
    return true;
}

// "element 1", with the frame for a reader who compares frames.
std::string elementWords(const CheckContext& context, int element) {
    return "element " + std::to_string(element) + " (" + std::string(context.frameWord()) +
           " frame)";
}

// Calls `check` for each element in use whose orientation is finite, with
// its length.
template <class Check>
void forEachOrientation(const ChannelView& channel, Check&& check) {
    for (int i = 0; i < channel.used; ++i) {
        const Point3 o = channel.orientation(i);
        if (finite(o)) {
            check(i, o, norm(o));
        }
    }
}

void nameEmpty(const ChannelView& channel, const CheckContext&, Emitter& out) {
    if (channel.name.empty()) {
        out.channel(channel, "the channel has no name: snsRawName is empty");
    }
}

void nameTooLong(const ChannelView& channel, const CheckContext&, Emitter& out) {
    const std::size_t bytes = channel.name.size();
    if (bytes > kLongestName) {
        const bool ascii = isAscii(channel.sensor->snsRawName);
        out.channel(channel,
                    "name " + quoted(channel.name) + " is " + std::to_string(bytes) +
                        (ascii ? " characters" : " bytes in UTF-8") +
                        " long; FIF and MNE keep the first " + std::to_string(kLongestName),
                    {{"length", static_cast<double>(bytes), ""}});
    }
}

void nameNotAscii(const ChannelView& channel, const CheckContext&, Emitter& out) {
    if (!isAscii(channel.sensor->snsRawName)) {
        out.channel(channel, "name " + quoted(channel.name) +
                                 " holds characters outside ASCII, which FIF and MNE may not keep");
    }
}

void typeUnknown(const ChannelView& channel, const CheckContext&, Emitter& out) {
    if (!channel.type.known) {
        out.channel(channel,
                    "sensor type code " + std::to_string(channel.type.code) +
                        " has no name (\"Unknown\"); the channel is taken as misc",
                    {{"sensorType", static_cast<double>(channel.type.code), ""}});
    }
}

void recordMissing(const ChannelView& channel, const CheckContext&, Emitter& out) {
    const int type = channel.sensor->hardwareType;
    if ((type == 0 || type == 1) && channel.record == RecordKind::none) {
        out.channel(channel,
                    "hardwareType " + std::to_string(type) + (type == 0 ? " (SQUID)" : " (OPM)") +
                        " but the sensor holds no record: no element, no gain",
                    {{"hardwareType", static_cast<double>(type), ""}});
    }
}

void recordUnreachable(const ChannelView& channel, const CheckContext&, Emitter& out) {
    if (channel.record != RecordKind::none && !channel.recordReachable) {
        const int type = channel.sensor->hardwareType;
        out.channel(channel,
                    "the sensor holds a " + std::string(recordWord(channel.record)) +
                        " record under hardwareType " + std::to_string(type) +
                        ": its accessors do not reach it, and storing the sensor loses it",
                    {{"hardwareType", static_cast<double>(type), ""}});
    }
}

void elementCount(const ChannelView& channel, const CheckContext&, Emitter& out) {
    const bool elements = channel.record == RecordKind::squid || channel.record == RecordKind::opm;
    if (elements && channel.declaredCount != channel.used) {
        out.channel(channel,
                    std::string(countField(channel.record)) + " is " +
                        std::to_string(channel.declaredCount) + ", outside 0 to 8; " +
                        std::to_string(channel.used) + " elements are read",
                    {{"count", static_cast<double>(channel.declaredCount), ""}});
    }
}

void noElements(const ChannelView& channel, const CheckContext& context, Emitter& out) {
    if ((channel.isMeg() || channel.isReference()) && channel.used == 0) {
        const std::string kind(channelKindWord(channel.type.kind));
        const std::string why =
            channel.record == RecordKind::squid || channel.record == RecordKind::opm
                ? std::string(countField(channel.record)) + " is " +
                      std::to_string(channel.declaredCount)
                : "the sensor holds no " + std::string(channel.record == RecordKind::none
                                                           ? "record"
                                                           : "SQUID or OPM record");
        out.channel(channel, "a channel of kind " + kind + " with no element in use in the " +
                                 std::string(context.frameWord()) + " frame: " + why);
    }
}

// Reports each element in use whose `vector` (its position or its
// orientation) is not finite.
void reportNotFinite(const ChannelView& channel, const CheckContext& context, Emitter& out,
                     Point3 (ChannelView::*vector)(int) const, std::string_view what) {
    for (int i = 0; i < channel.used; ++i) {
        const Point3 v = (channel.*vector)(i);
        if (!finite(v)) {
            out.channel(channel,
                        elementWords(context, i) + " " + std::string(what) + " " + triple(v) +
                            " is not finite",
                        {{"element", static_cast<double>(i), ""}});
        }
    }
}

void positionNotFinite(const ChannelView& channel, const CheckContext& context, Emitter& out) {
    reportNotFinite(channel, context, out, &ChannelView::position, "position");
}

void orientationNotFinite(const ChannelView& channel, const CheckContext& context, Emitter& out) {
    reportNotFinite(channel, context, out, &ChannelView::orientation, "orientation");
}

void orientationZero(const ChannelView& channel, const CheckContext& context, Emitter& out) {
    forEachOrientation(channel, [&](int i, const Point3&, double length) {
        if (length == 0.0) {
            out.channel(channel,
                        elementWords(context, i) +
                            " orientation is (0, 0, 0): the element has no direction",
                        {{"element", static_cast<double>(i), ""}});
        }
    });
}

// The length of an orientation, how far it is off 1, and the limit passed.
void reportLength(const ChannelView& channel, const CheckContext& context, Emitter& out, int i,
                  const Point3& o, double length, double limit, std::string_view advice) {
    out.channel(channel,
                elementWords(context, i) + " orientation " + triple(o) + " has length " +
                    number(length) + ", off 1 by " + number(std::abs(length - 1.0), 3) +
                    " (limit " + number(limit) + ")" + std::string(advice),
                {{"element", static_cast<double>(i), ""},
                 {"length", length, ""},
                 {"deviation", std::abs(length - 1.0), ""}});
}

void orientationNotUnit(const ChannelView& channel, const CheckContext& context, Emitter& out) {
    forEachOrientation(channel, [&](int i, const Point3& o, double length) {
        if (length != 0.0 && std::abs(length - 1.0) > kUnitLengthError) {
            reportLength(channel, context, out, i, o, length, kUnitLengthError, "");
        }
    });
}

void orientationNotNormalised(const ChannelView& channel, const CheckContext& context,
                              Emitter& out) {
    forEachOrientation(channel, [&](int i, const Point3& o, double length) {
        const double off = std::abs(length - 1.0);
        if (off > kUnitLengthWarning && off <= kUnitLengthError) {
            reportLength(channel, context, out, i, o, length, kUnitLengthWarning,
                         ": normalise it (tables give orientations to three decimals)");
        }
    });
}

void gainNotFinite(const ChannelView& channel, const CheckContext&, Emitter& out) {
    if (channel.totalGain && !std::isfinite(*channel.totalGain)) {
        out.channel(channel, "totalGain is " + number(*channel.totalGain) + ", not a finite number",
                    {{"totalGain", *channel.totalGain, ""}});
    }
}

void gainZero(const ChannelView& channel, const CheckContext&, Emitter& out) {
    if (channel.totalGain && *channel.totalGain == 0.0) {
        out.channel(channel, "totalGain is 0: the channel's signal is lost",
                    {{"totalGain", 0.0, ""}});
    }
}

void gainNegative(const ChannelView& channel, const CheckContext&, Emitter& out) {
    if (channel.totalGain && *channel.totalGain < 0.0) {
        out.channel(channel,
                    "totalGain is " + number(*channel.totalGain) +
                        ", below 0: the channel's signal is reversed",
                    {{"totalGain", *channel.totalGain, ""}});
    }
}

void gradiometerOffAxis(const ChannelView& channel, const CheckContext& context, Emitter& out) {
    if (channel.record != RecordKind::squid || channel.used != 2 ||
        !(channel.isMeg() || channel.isReference()) || context.unitSuspect) {
        return;
    }
    const std::optional<Point3> first = channel.anchor();
    const std::optional<Point3> normal = channel.direction();
    const Point3 second = channel.position(1);
    if (!first || !normal || !finite(second)) {
        return;
    }
    const double off = distanceFromLine(second, *first, *normal);
    const double limit = context.lengthOf(kOffAxisMm);
    if (off > limit) {
        const std::string_view unit = context.unitWord();
        out.channel(channel,
                    "the second coil lies " + length(off, unit) +
                        " off the first coil's normal line (limit " + length(limit, unit) + ")",
                    {{"offset", off, std::string(unit)}});
    }
}

constexpr Rule<ChannelCheck> kRules[] = {
    {"name-empty", Severity::error, "The channel's snsRawName is empty.", nameEmpty},
    {"name-too-long", Severity::warning,
     "The name is longer than the 15 characters that FIF and MNE keep.", nameTooLong},
    {"name-not-ascii", Severity::warning, "The name holds characters outside ASCII.", nameNotAscii},
    {"type-unknown", Severity::warning, "The sensor type code has no name in the type table.",
     typeUnknown},
    {"record-missing", Severity::warning, "hardwareType is 0 or 1 but the sensor holds no record.",
     recordMissing},
    {"record-unreachable", Severity::error,
     "The sensor holds a record under a hardwareType that does not reach it, so storing the "
     "sensor loses the record.",
     recordUnreachable},
    {"element-count-out-of-range", Severity::warning,
     "totalCoils or totalVapors lies outside 0 to 8.", elementCount},
    {"no-elements", Severity::error, "An MEG or reference channel has no element in use.",
     noElements},
    {"position-not-finite", Severity::error, "An element's position is not finite.",
     positionNotFinite},
    {"orientation-not-finite", Severity::error, "An element's orientation is not finite.",
     orientationNotFinite},
    {"orientation-zero", Severity::error, "An element's orientation is (0, 0, 0).",
     orientationZero},
    {"orientation-not-unit", Severity::error,
     "An element's orientation is off unit length by more than 1e-2.", orientationNotUnit},
    {"orientation-not-normalised", Severity::warning,
     "An element's orientation is off unit length by more than 1e-6 and at most 1e-2.",
     orientationNotNormalised},
    {"gain-not-finite", Severity::error, "The stored totalGain is not finite.", gainNotFinite},
    {"gain-zero", Severity::error, "The stored totalGain is 0.", gainZero},
    {"gain-negative", Severity::warning, "The stored totalGain is below 0.", gainNegative},
    {"gradiometer-off-axis", Severity::error,
     "The second coil of a two-coil SQUID channel lies more than 1 mm off the first coil's "
     "normal line.",
     gradiometerOffAxis},
};

}  // namespace

std::span<const Rule<ChannelCheck>> channelRules() {
    return kRules;
}

}  // namespace fluxgrid::geometry

// Reading the sensors and the head localization once for all the rules.
#include "geometry/CheckContext.h"

#include <fluxgrid/fields/FieldTable.h>

#include "geometry/Vectors.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace fluxgrid::geometry {

namespace {

// Channels whose first elements lie closer than this share a position.
constexpr double kClosePairMm = 1.0;

constexpr int kSlots = 8;

template <class Element>
void takeElements(ChannelView& view, const Element (&dewar)[kSlots], const Element (&head)[kSlots],
                  const Element (&work)[kSlots], int count, SensorFrame frame) {
    const Element(&array)[kSlots] =
        frame == SensorFrame::dewar ? dewar : (frame == SensorFrame::head ? head : work);
    view.declaredCount = count;
    view.used = std::clamp(count, 0, kSlots);
    for (int i = 0; i < view.used; ++i) {
        view.elements[i] = &array[i];
    }
}

// The record's kind, count, elements of the frame and gain, without
// touching the sensor: the record is opened as it was made.
void readRecord(ChannelView& view, const CMEGSensor& sensor, SensorFrame frame) {
    fields::withHardwareRecord(sensor, [&view, frame](const auto& record) {
        using Record = std::remove_cvref_t<decltype(record)>;
        view.totalGain = record.totalGain;
        if constexpr (std::is_same_v<Record, CMegSquid>) {
            view.record = RecordKind::squid;
            takeElements(view, record.coilDewar, record.coilHead, record.coilWork,
                         record.totalCoils, frame);
        } else if constexpr (std::is_same_v<Record, CMegOpm>) {
            view.record = RecordKind::opm;
            takeElements(view, record.vaporDewar, record.vaporHead, record.vaporWork,
                         record.totalVapors, frame);
        } else {
            view.record = RecordKind::other;
        }
    });
    // The sensor's accessors and its file reach a record only under the
    // hardware type it was made for (one of unknown making under 0 or 1).
    const int made = fluxgrid::sensor::hardwareRecordKind(sensor.hardware);
    view.recordReachable = sensor.hardware &&
                           (sensor.hardwareType == 0 || sensor.hardwareType == 1) &&
                           (made < 0 || made == sensor.hardwareType);
}

ChannelView makeView(int index, const CheckedSensor& checked, SensorFrame frame) {
    const CMEGSensor& sensor = checked.sensor.get();
    ChannelView view;
    view.index = index;
    view.sensor = &sensor;
    view.file = &checked.file;
    view.name = sensor.snsRawName.ToUtf8();
    view.type = channelTypeOf(sensor);
    readRecord(view, sensor, frame);
    return view;
}

// Sweeps the channels in order of x, so that only neighbours within the
// limit along x are measured.
std::vector<ClosePair> findClosePairs(const std::vector<ChannelView>& channels, double limit) {
    struct Anchored {
        int index;
        Point3 at;
        std::optional<Point3> direction;
    };
    std::vector<Anchored> anchored;
    for (const ChannelView& channel : channels) {
        if (channel.isMeg() || channel.isReference()) {
            if (const std::optional<Point3> at = channel.anchor()) {
                anchored.push_back({channel.index, *at, channel.direction()});
            }
        }
    }
    std::ranges::sort(anchored, {}, [](const Anchored& a) { return a.at[0]; });
    std::vector<ClosePair> pairs;
    for (std::size_t i = 0; i < anchored.size(); ++i) {
        for (std::size_t j = i + 1; j < anchored.size(); ++j) {
            if (anchored[j].at[0] - anchored[i].at[0] >= limit) {
                break;
            }
            const double apart = distance(anchored[i].at, anchored[j].at);
            if (apart >= limit) {
                continue;
            }
            const Anchored& a = anchored[i].index < anchored[j].index ? anchored[i] : anchored[j];
            const Anchored& b = anchored[i].index < anchored[j].index ? anchored[j] : anchored[i];
            ClosePair pair{a.index, b.index, apart, std::nullopt};
            if (a.direction && b.direction) {
                pair.degrees = degreesBetween(*a.direction, *b.direction);
            }
            pairs.push_back(pair);
        }
    }
    std::ranges::sort(pairs, {}, [](const ClosePair& p) { return std::pair(p.second, p.first); });
    return pairs;
}

// The unit given, or the one in which the ear points lie as far apart as a
// head's, or the sensors'.
LengthUnit headUnitOf(const CheckedHead& checked, const std::array<Point3, 3>& fiducials,
                      LengthUnit sensorUnit) {
    if (checked.unit) {
        return *checked.unit;
    }
    const double ears = distance(fiducials[1], fiducials[2]);
    for (LengthUnit unit : {LengthUnit::mm, LengthUnit::cm, LengthUnit::m}) {
        if (std::isfinite(ears) && withinMillimetres(ears, unit, kNearestEarsMm, kFarthestEarsMm)) {
            return unit;
        }
    }
    return sensorUnit;
}

HeadView makeHeadView(const CheckedHead& checked, LengthUnit sensorUnit) {
    const CHeadLocalization& head = checked.head.get();
    HeadView view;
    view.head = &head;
    view.file = &checked.file;
    view.fiducials = fiducialPoints(head);
    view.unit = headUnitOf(checked, view.fiducials, sensorUnit);
    view.location = pointOf(head.sensorLocation.sphereValues);
    view.rotation = pointOf(head.sensorRotation.sphereValues);
    view.empty = std::ranges::all_of(
        view.fiducials, [](const Point3& p) { return p[0] == 0.0 && p[1] == 0.0 && p[2] == 0.0; });
    return view;
}

}  // namespace

Point3 ChannelView::position(int element) const {
    return pointOf(elements[element]->posP4);
}

Point3 ChannelView::orientation(int element) const {
    return pointOf(elements[element]->oriP4);
}

std::optional<Point3> ChannelView::anchor() const {
    if (used == 0 || !finite(position(0))) {
        return std::nullopt;
    }
    return position(0);
}

std::optional<Point3> ChannelView::direction() const {
    if (used == 0) {
        return std::nullopt;
    }
    const Point3 o = orientation(0);
    const double length = norm(o);
    if (!std::isfinite(length) || length == 0.0) {
        return std::nullopt;
    }
    return (1.0 / length) * o;
}

CheckContext makeContext(std::span<const CheckedSensor> sensors, const CheckedHead* head,
                         const CheckOptions& options) {
    CheckContext context;
    context.options = options;
    context.channels.reserve(sensors.size());
    for (std::size_t i = 0; i < sensors.size(); ++i) {
        context.channels.push_back(makeView(static_cast<int>(i), sensors[i], options.frame));
    }
    std::vector<Point3> anchors;
    for (const ChannelView& channel : context.channels) {
        if (channel.isMeg()) {
            if (const std::optional<Point3> at = channel.anchor()) {
                anchors.push_back(*at);
            }
        }
    }
    context.sphere = fitSphere(anchors);
    context.sphereChannels = static_cast<int>(anchors.size());
    if (context.sphere.fitted) {
        context.unitSuspect =
            unitThatFits(context.sphere.radius, options.unit, kSmallestHelmetMm, kLargestHelmetMm);
    }
    context.closeLimit = context.lengthOf(kClosePairMm);
    if (!context.unitSuspect) {
        context.closePairs = findClosePairs(context.channels, context.closeLimit);
    }
    if (head != nullptr) {
        context.head = makeHeadView(*head, options.unit);
    }
    return context;
}

bool withinMillimetres(double length, LengthUnit unit, double lowMm, double highMm) {
    const double mm = length * millimetresPer(unit);
    return mm >= lowMm && mm <= highMm;
}

std::optional<LengthUnit> unitThatFits(double length, LengthUnit unit, double lowMm,
                                       double highMm) {
    if (withinMillimetres(length, unit, lowMm, highMm)) {
        return std::nullopt;
    }
    for (LengthUnit other : {LengthUnit::m, LengthUnit::cm, LengthUnit::mm}) {
        if (other != unit && withinMillimetres(length, other, lowMm, highMm)) {
            return other;
        }
    }
    return std::nullopt;
}

void Emitter::channel(const ChannelView& channel, std::string message,
                      std::vector<FindingValue> values) {
    Finding finding;
    finding.channel = channel.index;
    finding.name = channel.name;
    finding.file = *channel.file;
    finding.message = std::move(message);
    finding.values = std::move(values);
    add(channel.index, std::move(finding));
}

void Emitter::set(std::string message, std::vector<FindingValue> values) {
    Finding finding;
    finding.message = std::move(message);
    finding.values = std::move(values);
    add(static_cast<int>(m_context.channels.size()), std::move(finding));
}

void Emitter::head(std::string message, std::vector<FindingValue> values) {
    Finding finding;
    finding.file = *m_context.head->file;
    finding.message = std::move(message);
    finding.values = std::move(values);
    add(static_cast<int>(m_context.channels.size()) + 1, std::move(finding));
}

void Emitter::add(int place, Finding finding) {
    finding.severity = m_severity;
    finding.code = std::string(m_code);
    m_out.push_back({place, m_rule, std::move(finding)});
}

}  // namespace fluxgrid::geometry

namespace fluxgrid {

std::vector<const CBscMagSns*> elementsInUse(const CMEGSensor& sensor, SensorFrame frame) {
    geometry::ChannelView view;
    geometry::readRecord(view, sensor, frame);
    return {view.elements.begin(), view.elements.begin() + view.used};
}

std::array<Point3, 3> fiducialPoints(const CHeadLocalization& head) {
    std::array<Point3, 3> points{};
    // A point's position is elements 4 to 6 of its values.
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i] = geometry::pointOf(head.fiducialCurrent.fidPts[i].ptValues + 4);
    }
    return points;
}

}  // namespace fluxgrid

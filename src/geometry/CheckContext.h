// What the geometry rules see: each channel read once into a view (its
// name, type, record and elements in use in the frame judged), the sphere
// and the close pairs computed once for the set, the head localization's
// points; and the tables of rules, one per scope, each in its own file.
//
// A rule is a function with its code, severity and summary beside it in
// its table; it reports through an `Emitter` bound to that code. Adding a
// rule is adding a function and a row to one table.
#pragma once

#include <fluxgrid/channels/ChannelTypes.h>
#include <fluxgrid/geometry/Check.h>

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid::geometry {

/// The distance of a head's ear points.
inline constexpr double kNearestEarsMm = 100.0;
inline constexpr double kFarthestEarsMm = 200.0;

/// The radius of a helmet's sphere through its sensors.
inline constexpr double kSmallestHelmetMm = 50.0;
inline constexpr double kLargestHelmetMm = 150.0;

/// The record a sensor holds, as it was made.
enum class RecordKind { none, squid, opm, other };

/// One channel of the set, as the rules read it.
struct ChannelView {
    int index = 0;
    const CMEGSensor* sensor = nullptr;
    const std::string* file = nullptr;
    /// `snsRawName` in UTF-8.
    std::string name;
    ChannelType type;
    RecordKind record = RecordKind::none;
    /// Whether the sensor's own accessors and its file reach the record.
    bool recordReachable = false;
    /// `totalCoils` or `totalVapors` as stored; 0 without elements.
    int declaredCount = 0;
    /// The elements in use of the frame: the count clamped to 0..8.
    int used = 0;
    std::array<const CBscMagSns*, 8> elements{};
    /// The record's stored `totalGain`; none without a record.
    std::optional<double> totalGain;

    bool isMeg() const { return type.kind == ChannelKind::meg; }
    bool isReference() const { return type.kind == ChannelKind::reference; }
    Point3 position(int element) const;
    Point3 orientation(int element) const;
    /// The position of the first element in use, when it is finite.
    std::optional<Point3> anchor() const;
    /// The first element's orientation as a unit vector, when it has one.
    std::optional<Point3> direction() const;
};

/// Two MEG or reference channels whose first elements lie closer than the
/// limit; `first` comes before `second` in the set.
struct ClosePair {
    int first = 0;
    int second = 0;
    double distance = 0.0;
    /// The angle between their orientations in degrees; none when either
    /// has no direction.
    std::optional<double> degrees;
};

/// The fiducial points of a head localization's current set, and what
/// registration stored.
struct HeadView {
    const CHeadLocalization* head = nullptr;
    const std::string* file = nullptr;
    LengthUnit unit = LengthUnit::mm;
    /// Point 0 the nasion, points 1 and 2 the ear points.
    std::array<Point3, 3> fiducials{};
    Point3 location{};
    /// Three angles in degrees.
    Point3 rotation{};
    /// All three fiducial points are exactly zero: nothing was stored.
    bool empty = false;

    /// A length of `mm` millimetres in the head localization's unit.
    double lengthOf(double mm) const { return mm / millimetresPer(unit); }
    std::string_view unitWord() const { return lengthUnitWord(unit); }
};

/// Everything the rules are given.
struct CheckContext {
    CheckOptions options;
    std::vector<ChannelView> channels;
    /// Fitted to the anchors of the MEG channels.
    SphereFit sphere;
    /// The MEG channels whose anchors the sphere was fitted to.
    int sphereChannels = 0;
    /// The unit in which the fitted sphere would have a helmet's radius,
    /// when it has none in the unit given. Limits in millimetres mean
    /// nothing then, and the rules that apply them to the positions stand
    /// aside.
    std::optional<LengthUnit> unitSuspect;
    /// Channels closer than this share a position; in the sensors' unit.
    double closeLimit = 0.0;
    std::vector<ClosePair> closePairs;
    std::optional<HeadView> head;

    /// A length of `mm` millimetres in the sensors' unit.
    double lengthOf(double mm) const { return mm / millimetresPer(options.unit); }
    std::string_view unitWord() const { return lengthUnitWord(options.unit); }
    std::string_view frameWord() const { return sensorFrameWord(options.frame); }
};

/// Reads the sensors and the head localization and computes what the set
/// rules share.
CheckContext makeContext(std::span<const CheckedSensor> sensors, const CheckedHead* head,
                         const CheckOptions& options);

/// A length measured in `unit` that should lie within `lowMm` to `highMm`
/// millimetres: none when it does, else the other unit in which it would,
/// if one does.
std::optional<LengthUnit> unitThatFits(double length, LengthUnit unit, double lowMm, double highMm);
/// Whether the length lies within the range in its own unit.
bool withinMillimetres(double length, LengthUnit unit, double lowMm, double highMm);

/// A finding with its place in the report's order.
struct PlacedFinding {
    /// The channel's index; the number of channels for the set, one more
    /// for the head localization.
    int place = 0;
    int rule = 0;
    Finding finding;
};

/// Reports the findings of one rule.
class Emitter {
  public:
    Emitter(std::vector<PlacedFinding>& out, const CheckContext& context, std::string_view code,
            Severity severity, int rule)
        : m_out(out), m_context(context), m_code(code), m_severity(severity), m_rule(rule) {}

    void channel(const ChannelView& channel, std::string message,
                 std::vector<FindingValue> values = {});
    void set(std::string message, std::vector<FindingValue> values = {});
    void head(std::string message, std::vector<FindingValue> values = {});

  private:
    void add(int place, Finding finding);

    std::vector<PlacedFinding>& m_out;
    const CheckContext& m_context;
    std::string_view m_code;
    Severity m_severity;
    int m_rule;
};

using ChannelCheck = void (*)(const ChannelView&, const CheckContext&, Emitter&);
using SetCheck = void (*)(const CheckContext&, Emitter&);
using HeadCheck = void (*)(const HeadView&, const CheckContext&, Emitter&);

template <class Check>
struct Rule {
    std::string_view code;
    Severity severity;
    std::string_view summary;
    Check check;
};

/// Run for each channel, in the set's order (ChannelRules.cpp).
std::span<const Rule<ChannelCheck>> channelRules();
/// Run once for the set (SetRules.cpp).
std::span<const Rule<SetCheck>> setRules();
/// Run once for a head localization (HeadRules.cpp).
std::span<const Rule<HeadCheck>> headRules();

}  // namespace fluxgrid::geometry

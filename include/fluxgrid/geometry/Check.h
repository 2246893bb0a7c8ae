/// \file Check.h
/// The geometry rules of a sensor array: what makes a set of channels,
/// and the head localization beside it, unfit to be drawn, exported or
/// solved with. The sensors and the head localization are only read.
///
/// ```cpp
/// std::vector<fluxgrid::CheckedSensor> set;
/// for (const auto& [path, sensor] : loaded) {
///     set.push_back({*sensor, path});
/// }
/// const fluxgrid::GeometryReport report =
///     fluxgrid::checkGeometry(set, {.frame = fluxgrid::SensorFrame::dewar});
/// for (const fluxgrid::Finding& finding : report.findings) {
///     std::cout << fluxgrid::formatFinding(finding) << '\n';
///     // error orientation-inward MLF7 (MLF7.sensor): orientation points 150 degrees ...
/// }
/// ```
///
/// What is judged:
/// - each channel: its name, type code, hardware record, elements in use
///   (position, orientation of unit length) and gain;
/// - the set: duplicate names; a sphere fitted to the first elements of the
///   MEG channels (not the references), and against it the orientations and
///   the coils of axial gradiometers; channels that share a position;
/// - a head localization: the nasion and ear points of its current
///   fiducial set, the location and rotation that registration stored, and
///   with sensors, whether the fiducials lie within the helmet's sphere.
///
/// Lengths are read in the unit given for the sensors (millimetres by
/// default) and, separately, for the head localization. Limits are set in
/// millimetres and scale with the unit; messages give values in the unit
/// of the data they speak of, and say which.
#pragma once

#include <fluxgrid/geometry/SphereFit.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <array>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fluxgrid {

enum class Severity { error, warning, note };

/// "error", "warning" or "note".
std::string_view severityWord(Severity severity);

/// The element arrays of a hardware record: `coilDewar`/`vaporDewar`,
/// `coilHead`/`vaporHead` or `coilWork`/`vaporWork`.
enum class SensorFrame { dewar, head, work };

/// "dewar", "head" or "work".
std::string_view sensorFrameWord(SensorFrame frame);
/// The frame of a word of `sensorFrameWord`; none for any other text.
std::optional<SensorFrame> sensorFrameFromWord(std::string_view word);

/// The unit in which lengths are read.
enum class LengthUnit { mm, cm, m };

/// "mm", "cm" or "m".
std::string_view lengthUnitWord(LengthUnit unit);
/// The unit of a word of `lengthUnitWord`; none for any other text.
std::optional<LengthUnit> lengthUnitFromWord(std::string_view word);
/// 1, 10 or 1000.
double millimetresPer(LengthUnit unit);

/// One sensor of the set, and the file it came from (empty for none).
struct CheckedSensor {
    std::reference_wrapper<const CMEGSensor> sensor;
    std::string file;
};

/// A head localization, the file it came from (empty for none) and the
/// unit of its fiducial points and location.
struct CheckedHead {
    std::reference_wrapper<const CHeadLocalization> head;
    std::string file;
    /// None: the head localization's own unit, told by its ear points (the
    /// unit in which they lie as far apart as a head's, 100 to 200 mm), or
    /// the sensors' unit when no unit makes them so.
    std::optional<LengthUnit> unit = std::nullopt;
};

struct CheckOptions {
    /// The frame whose elements are judged.
    SensorFrame frame = SensorFrame::work;
    /// The unit of the sensors' positions.
    LengthUnit unit = LengthUnit::mm;
};

/// One number behind a finding: "length" 0.99696, "distance" 0.4 "mm".
struct FindingValue {
    std::string name;
    double value = 0.0;
    /// "mm", "cm", "m", "deg", or empty for a plain number.
    std::string unit;
};

struct Finding {
    Severity severity = Severity::error;
    /// The rule, in words: "orientation-inward", "name-duplicate", ...
    std::string code;
    /// The channel's index in the set given; -1 for a finding about the set
    /// as a whole or about the head localization.
    int channel = -1;
    /// The channel's `snsRawName` in UTF-8; empty without a channel.
    std::string name;
    /// The file of the channel or of the head localization; empty for none.
    std::string file;
    /// What was found, with the values and their units.
    std::string message;
    std::vector<FindingValue> values;
};

/// One line: severity, code, the channel's name (or "#3" for a channel
/// without one), the file in parentheses, then the message:
/// "error orientation-inward MLF7 (MLF7.sensor): orientation points ...".
/// Parts that a finding lacks are left out: "note sphere-not-fitted: ...".
std::string formatFinding(const Finding& finding);

/// What the rules found, with what they computed on the way.
struct GeometryReport {
    SensorFrame frame = SensorFrame::work;
    LengthUnit unit = LengthUnit::mm;
    /// Channels given, and of them MEG and reference channels.
    int channels = 0;
    int megChannels = 0;
    int referenceChannels = 0;
    /// The unit in which the head localization was judged; none without one.
    std::optional<LengthUnit> headUnit;
    /// The sphere fitted to the first elements of the MEG channels, in the
    /// sensors' frame and unit.
    SphereFit sphere;
    /// In the order of the channels, then of the rules; findings about the
    /// set as a whole follow those of the channels, and findings about the
    /// head localization come last.
    std::vector<Finding> findings;
    int errors = 0;
    int warnings = 0;
    int notes = 0;

    /// The number of findings of a severity.
    int count(Severity severity) const;
};

/// Judges a set of sensors.
GeometryReport checkGeometry(std::span<const CheckedSensor> sensors,
                             const CheckOptions& options = {});
/// Judges a set of sensors and a head localization (the set may be empty).
/// The fiducials are taken to lie in the sensors' frame.
GeometryReport checkGeometry(std::span<const CheckedSensor> sensors, const CheckedHead& head,
                             const CheckOptions& options = {});

/// The elements in use of one frame of a sensor's record (the count
/// clamped to 0..8), the record opened as it was made; none without a
/// record. What the rules judge, and what a viewer draws.
std::vector<const CBscMagSns*> elementsInUse(const CMEGSensor& sensor, SensorFrame frame);

/// The nasion (point 0) and the two ear points (1 and 2) of a head
/// localization's current fiducial set.
std::array<Point3, 3> fiducialPoints(const CHeadLocalization& head);

/// What a rule is about.
enum class RuleScope { channel, set, head };

/// "channel", "set" or "head".
std::string_view ruleScopeWord(RuleScope scope);

/// One rule of the check.
struct GeometryRule {
    std::string_view code;
    Severity severity = Severity::error;
    RuleScope scope = RuleScope::channel;
    /// One sentence: what the rule finds.
    std::string_view summary;
};

/// Every rule, in the order in which they run.
std::vector<GeometryRule> geometryRules();

}  // namespace fluxgrid

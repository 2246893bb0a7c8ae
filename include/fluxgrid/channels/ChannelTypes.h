/// \file ChannelTypes.h
/// What a channel type code means: its name, as `getSensorTypeName` gives
/// it, and the kind of channel it stands for, as the analysis packages sort
/// channels. The one place that answers both; the tool, the Python module
/// and the bridges to MNE-Python and FieldTrip ask it.
///
/// ```cpp
/// const fluxgrid::ChannelType type = fluxgrid::channelTypeOf(sensor);
/// if (type.kind == fluxgrid::ChannelKind::meg) { ... }   // "MEG_SNSR", or an OPM sensor
/// ```
#pragma once

#include <fluxgrid/sensor/MEGSensor.h>

#include <span>
#include <string_view>

namespace fluxgrid {

/// The kinds of channel, in the analysis packages' terms.
enum class ChannelKind { meg, reference, eeg, stimulus, misc };

/// "meg", "ref", "eeg", "stim" or "misc".
std::string_view channelKindWord(ChannelKind kind);

struct ChannelType {
    int code = 0;
    /// The library's name of the code: "MEG_SNSR", "STIM_ANALYOG", ...,
    /// "Unknown" for a code of no entry.
    std::string_view name;
    ChannelKind kind = ChannelKind::misc;
    /// Whether the code has a name of its own (-1, "INVALID", has one).
    bool known = false;
};

/// The type of a code in a sensor without an OPM record: MEG for 100 to 103,
/// reference for 10 to 13, EEG for 300, 302 and 303, stimulus for 600 to
/// 602, misc for every other code.
///
/// With `opmRecord`, the codes that the OPM setup dialog stores take the
/// meaning it shows them with: 700 ("OPM Sensor") is an MEG channel and 800
/// ("OPM Reference") a reference, though their names stay "TIME" and
/// "POSITION".
ChannelType channelType(int code, bool opmRecord = false);

/// The type of a sensor's code, judged by the record it holds (an OPM record
/// made as one, or one of unknown making under hardware type 1), whatever
/// `hardwareType` says now.
ChannelType channelTypeOf(const CMEGSensor& sensor);

/// Every code with a name, in the order of the library's table.
std::span<const int> namedChannelTypeCodes();

}  // namespace fluxgrid

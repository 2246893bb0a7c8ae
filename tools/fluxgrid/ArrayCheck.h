/// \file ArrayCheck.h
/// A sensor array as the commands `check` and `view` take it: the sensor
/// files named on the command line or found in the folders named there,
/// an optional head localization, and what the library's geometry rules
/// make of them. A file that does not load is a finding of its own, so that
/// the rest is still judged.
#pragma once

#include "CommandLineDocs.h"

#include <fluxgrid/geometry/Check.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/sensor/MEGSensor.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fluxgrid::tool {

struct ArrayInputs {
    /// Files and folders; a folder stands for the regular files in it and
    /// below it, in the order of their names.
    std::vector<std::string> paths;
    /// The head localization file; without it, one found among the inputs.
    std::optional<std::string> headloc;
    SensorFrame frame = SensorFrame::dewar;
    LengthUnit unit = LengthUnit::mm;
};

/// Releases a head localization's entries before it goes, as its host must.
struct HeadLocalizationRelease {
    void operator()(CHeadLocalizationqv* head) const;
};
using HeadLocalizationPtr = std::unique_ptr<CHeadLocalizationqv, HeadLocalizationRelease>;

struct CheckedArray {
    /// Files looked at, whatever they held.
    int files = 0;
    std::vector<std::unique_ptr<CMEGSensorqv>> sensors;
    /// The file of each sensor.
    std::vector<std::string> sensorFiles;
    HeadLocalizationPtr head;
    std::string headFile;
    /// What the rules found, behind the findings about the files: those that
    /// did not load, and the lack of any sensor.
    GeometryReport report;
};

/// The inputs as options of `command`: the paths, `--headloc` and
/// `--frame`. Returns the words that `--frame` takes, for the completion.
ValueWords addArrayOptions(CLI::App& command, ArrayInputs& inputs);

/// Loads the inputs and judges them.
CheckedArray checkArray(const ArrayInputs& inputs);

/// The regular files of `paths`: each file as it is named, each folder's
/// files below it sorted by name. A name that is neither is kept, so that
/// its load says why.
std::vector<std::string> expandInputs(const std::vector<std::string>& paths);

}  // namespace fluxgrid::tool

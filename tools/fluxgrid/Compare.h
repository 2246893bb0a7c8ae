/// \file Compare.h
/// Field-by-field comparison of what a file holds, doubles bit for bit, so
/// that a file written and read back can be checked before it is trusted.
#pragma once

#include <fluxgrid/fluxgrid.h>

#include <string>
#include <vector>

namespace fluxgrid::tool {

/// The filed fields of two sensors that differ, by name; empty when they
/// agree. Compared are the fields that the newest sensor file holds: the
/// sensor's own, the hardware type, and the record with all its elements.
/// `hardwareName`, which no file holds, is left out.
std::vector<std::string> compareSensors(const CMEGSensor& expected, const CMEGSensor& actual);

/// The filed fields of two head localizations that differ, by name. The
/// entries of the lists are compared by the fiducial set they stand for and,
/// for records, their values and tag.
std::vector<std::string> compareHeadLocalizations(const CHeadLocalization& expected,
                                                  const CHeadLocalization& actual);

}  // namespace fluxgrid::tool

// Whole sensor arrays for the geometry tests: SQUID gradiometers and OPM
// cells spread over a helmet's sphere, each element the same in the dewar,
// head and work frames, and head localizations with given fiducials.
#pragma once

#include <fluxgrid/geometry/Check.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace fluxgrid::test {

/// `count` points spread evenly (on a golden-angle spiral) over the part of
/// a sphere above 0.3 of its radius below the centre: where a helmet's
/// sensors lie.
std::vector<Point3> helmetPositions(int count, double radius, const Point3& centre = {});

/// `v` scaled to unit length.
Point3 unit(const Point3& v);

/// Element `element` of every frame of the sensor's record.
void setElement(CMEGSensorqv& sensor, int element, const Point3& position,
                const Point3& orientation);

/// A SQUID channel of type `sensorType`, named `name`, with gains of 1: its
/// first coil at `first` oriented along `normal`, and with a `baseline`
/// other than 0 a second coil that far along `normal`, as an axial
/// gradiometer's.
void setUpSquid(CMEGSensorqv& sensor, const std::string& name, const Point3& first,
                const Point3& normal, double baseline, int sensorType = 100);
/// An OPM channel of type `sensorType` (700 is an OPM sensor) with one cell.
void setUpOpm(CMEGSensorqv& sensor, const std::string& name, const Point3& position,
              const Point3& orientation, int sensorType = 700);

/// The sensor's record, of the kind it holds.
CMegSquidqv& squidOf(CMEGSensorqv& sensor);
CMegOpmqv& opmOf(CMEGSensorqv& sensor);

/// `count` axial gradiometers "MEG001"... over a helmet, oriented outward,
/// the second coil `baseline` farther out.
std::vector<CMEGSensorqv> squidHelmet(int count, double radius, double baseline,
                                      const Point3& centre = {});
/// `count` OPM cells "OPM001"... over a helmet, oriented outward; with
/// `triaxial` three channels at each position, "OPM001R", "OPM001A" and
/// "OPM001B", along the outward radius and two tangents.
std::vector<CMEGSensorqv> opmHelmet(int count, double radius, bool triaxial = false);

/// The set as the check takes it, each sensor from the file "NAME.sensor".
std::vector<CheckedSensor> checkedSet(const std::vector<CMEGSensorqv>& sensors);

/// Points 0 (the nasion), 1 and 2 (the ear points) of the head
/// localization's current set.
void setFiducials(CHeadLocalization& head, const Point3& nasion, const Point3& ear1,
                  const Point3& ear2);
/// A head within a helmet of radius 100 about the origin, in millimetres:
/// nasion (0, 80, -10), ear points (-70, 0, -20) and (70, 0, -20).
void setHeadInHelmet(CHeadLocalization& head);

/// The codes of a report's findings, in order.
std::vector<std::string> codesOf(const GeometryReport& report);

/// The report's one finding, which must be of `code`; with anything else
/// the test fails and an empty finding comes back.
Finding onlyFinding(const GeometryReport& report, const std::string& code);

/// Success when `text` holds `part`; a failure shows both.
::testing::AssertionResult holds(const std::string& text, const std::string& part);

}  // namespace fluxgrid::test

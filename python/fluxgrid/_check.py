"""The geometry check of a sensor array: the library's rules over sensors
given as objects, files or folders, and a head localization beside them."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Iterable, List, Optional, Set, Tuple, Union

from . import _fluxgrid
from ._errors import GeometryError
from ._fluxgrid import Finding, HeadLocalization, Sensor, SphereFit

PathLike = Union[str, "os.PathLike[str]"]
CheckItem = Union[Sensor, HeadLocalization, PathLike]

#: The severities of the findings, most severe first.
SEVERITIES: Tuple[str, ...] = ("error", "warning", "note")


@dataclass(frozen=True)
class CheckReport:
    """What the geometry check found, with what it computed on the way.

    Attributes:
        findings: every `Finding`: those about the inputs (files that did
            not load, files that hold no sensor, no sensor at all) first,
            then those of the channels in their order, of the set as a
            whole, and of the head localization.
        frame: the frame of the elements judged ("dewar", "head", "work").
        unit: the unit of the sensors' lengths ("mm", "cm", "m").
        head_unit: the unit in which the head localization was judged;
            None without one.
        files: the files looked at, whatever they held.
        channels: the sensors judged; of them `meg_channels` MEG channels
            and `reference_channels` references.
        sphere: the sphere fitted to the first elements of the MEG
            channels, in the sensors' frame and unit.
        errors, warnings, notes: the findings of each severity.
        sensors: the sensors judged, in order: the objects given and those
            loaded from the files.
        sensor_files: the file of each sensor; empty for an object given.
        headloc: the head localization judged, or None.
        headloc_file: its file; empty for an object given or for none.
    """

    findings: Tuple[Finding, ...]
    frame: str
    unit: str
    head_unit: Optional[str]
    files: int
    channels: int
    meg_channels: int
    reference_channels: int
    sphere: SphereFit
    errors: int
    warnings: int
    notes: int
    sensors: Tuple[Sensor, ...]
    sensor_files: Tuple[str, ...]
    headloc: Optional[HeadLocalization]
    headloc_file: str

    @property
    def ok(self) -> bool:
        """True when no finding is an error."""
        return self.errors == 0

    def of(self, *severities: str) -> Tuple[Finding, ...]:
        """The findings of the given severities, in order."""
        return tuple(f for f in self.findings if f.severity in severities)

    def flagged_channels(self, *severities: str) -> Set[int]:
        """The indices of the channels with a finding of the given
        severities (by default errors and warnings)."""
        wanted = severities or ("error", "warning")
        return {f.index for f in self.of(*wanted) if f.index is not None}

    def raise_for_errors(self) -> None:
        """Raise GeometryError with the error findings, if there are any."""
        if self.errors:
            raise GeometryError(self.of("error"))

    def __str__(self) -> str:
        lines = [str(finding) for finding in self.findings]
        lines.append(
            f"{self.channels} channels in {self.files} files, frame {self.frame}, {self.unit}: "
            f"{self.errors} errors, {self.warnings} warnings, {self.notes} notes"
        )
        return "\n".join(lines)


def _items(sensors_or_paths: Union[CheckItem, Iterable[CheckItem]]) -> List[CheckItem]:
    if isinstance(sensors_or_paths, (str, os.PathLike, Sensor, HeadLocalization)):
        sensors_or_paths = [sensors_or_paths]
    return list(sensors_or_paths)


def check(
    sensors_or_paths: Union[CheckItem, Iterable[CheckItem]],
    *,
    headloc: Optional[Union[HeadLocalization, PathLike]] = None,
    frame: str = "dewar",
    unit: str = "mm",
    headloc_unit: Optional[str] = None,
) -> CheckReport:
    """Judge a set of sensors, and a head localization, by the library's
    geometry rules; the codes and words are those of `fluxgrid check`.

    `sensors_or_paths` holds Sensor objects, paths of sensor files, and
    folders, which stand for the regular files in them and below them,
    sorted by name; or one of these alone. A file that does not load is an
    error finding "load-<failure>" in the loader's words; a file of another
    kind is a note "not-a-sensor"; no sensor at all is an error
    "no-sensors". A head localization among them is judged when `headloc`
    gives none; a second one is a warning "headloc-extra".

    `headloc` is a HeadLocalization or the path of one; its fiducials are
    taken to lie in the sensors' frame. `frame` picks the elements judged
    ("dewar", "head" or "work"), `unit` is the unit of the sensors'
    lengths ("mm", "cm" or "m"), and `headloc_unit` that of the head
    localization (None: the unit its ear points tell).

        >>> report = fg.check("fluxgrid-demo/sensors/opm32")
        >>> for finding in report.findings:
        ...     print(finding)        # one line as the library words it
        >>> report.raise_for_errors()  # GeometryError when errors were found
    """
    return CheckReport(
        **_fluxgrid._check(_items(sensors_or_paths), headloc, frame, unit, headloc_unit)
    )


def check_for_export(
    sensors_or_paths: Iterable[CheckItem],
    *,
    frame: str,
    axes: str,
    unit: str,
    fiducials: object = None,
    fiducial_axes: Optional[str] = None,
    fiducial_unit: Optional[str] = None,
    rename_duplicates: bool = False,
) -> CheckReport:
    """Check sensors, or their files, as the bridges and the export take
    them, and raise GeometryError when errors are found. Fiducials of a
    HeadLocalization, or of the path of one, are judged with them when they
    lie along the sensors' axes, in their given unit (the sensors' by
    default); fiducials of another kind are not judged. With
    `rename_duplicates`, shared channel names are no error: the export
    renames them."""
    judged = isinstance(fiducials, (HeadLocalization, str, os.PathLike))
    same_axes = fiducial_axes is None or fiducial_axes == axes
    report = check(list(sensors_or_paths), headloc=fiducials if judged and same_axes else None,
                   frame=frame, unit=unit, headloc_unit=fiducial_unit or unit)
    errors = [f for f in report.of("error")
              if not (rename_duplicates and f.code == "name-duplicate")]
    if errors:
        raise GeometryError(errors)
    return report

"""The geometry that the analysis packages take from the system's files:
coordinates turned from a frame of given axes and unit into RAS metres,
each channel's kind, position, orientation and coils, and the nasion and ear
points of a fiducial set.

Sensor and head localization files carry no frame of their own, so the
axes and the unit are always explicit arguments; the system's MEG tables,
and everything built from them, use the head frame "LSP" in millimetres.
"""

from __future__ import annotations

import string
from collections import Counter
from dataclasses import dataclass, field
from typing import List, Optional, Sequence, Tuple, Union

import numpy as np

from ._errors import ExportError
from ._fluxgrid import FiducialSet, HeadLocalization, Sensor, axes_to_ras

#: Units of the sensor files' lengths in a metre.
UNITS_PER_METRE = {"m": 1.0, "cm": 100.0, "mm": 1000.0}

FiducialsLike = Union[HeadLocalization, FiducialSet, np.ndarray, Sequence[Sequence[float]]]


@dataclass(frozen=True)
class Frame:
    """A frame given by its orientation code and unit."""

    axes: str = "LSP"
    unit: str = "mm"

    def __post_init__(self) -> None:
        axes_to_ras(self.axes)  # refuses a code that is none
        if self.unit not in UNITS_PER_METRE:
            raise ValueError(f"unit must be one of {', '.join(UNITS_PER_METRE)}, not {self.unit!r}")

    @property
    def matrix(self) -> np.ndarray:
        return axes_to_ras(self.axes)

    def positions(self, points: np.ndarray) -> np.ndarray:
        """Points of this frame in RAS metres. A left-handed frame comes out
        mirrored, as it must: the map is a reflection, never a rotation."""
        points = np.asarray(points, dtype=float).reshape(-1, 3)
        return points @ self.matrix.T / UNITS_PER_METRE[self.unit]

    def directions(self, vectors: np.ndarray) -> np.ndarray:
        """Directions of this frame along RAS, unit length."""
        vectors = np.asarray(vectors, dtype=float).reshape(-1, 3) @ self.matrix.T
        norms = np.linalg.norm(vectors, axis=1, keepdims=True)
        if np.any(norms == 0) or not np.all(np.isfinite(norms)):
            raise ValueError("an orientation of zero length or not finite has no direction")
        return vectors / norms


def plane_vectors(ez: np.ndarray) -> Tuple[np.ndarray, np.ndarray]:
    """ex and ey completing `ez` to a right-handed orthonormal set."""
    helper = np.array([1.0, 0.0, 0.0]) if abs(ez[0]) < 0.9 else np.array([0.0, 1.0, 0.0])
    ex = helper - np.dot(helper, ez) * ez
    ex /= np.linalg.norm(ex)
    ey = np.cross(ez, ex)
    return ex, ey


@dataclass
class Coil:
    """One coil of a channel: position (RAS metres), normal and weight."""

    pos: np.ndarray
    ori: np.ndarray
    weight: float


@dataclass
class Channel:
    """What the analysis packages need of one sensor."""

    name: str
    kind: str
    hardware: Optional[str]
    r0: Optional[np.ndarray]
    ez: Optional[np.ndarray]
    coils: List[Coil] = field(default_factory=list)
    #: For an axial gradiometer: the second coil's offset along ez and the
    #: loop's diameter, both in metres.
    baseline: float = 0.0
    size: float = 0.0

    @property
    def is_axial_gradiometer(self) -> bool:
        return len(self.coils) == 2

    @property
    def loc(self) -> np.ndarray:
        """The 12 numbers of MNE's `loc`: r0, ex, ey, ez."""
        loc = np.zeros(12)
        if self.r0 is not None:
            loc[:3] = self.r0
        if self.ez is not None:
            ex, ey = plane_vectors(self.ez)
            loc[3:6], loc[6:9], loc[9:12] = ex, ey, self.ez
        return loc


def channel(sensor: Sensor, frame: str, axes: Frame) -> Channel:
    """The channel of a sensor, from the first element in use of `frame`;
    with two coils of a SQUID record, an axial gradiometer of both. The
    kind is the library's meaning of the sensor type code."""
    kind, hardware = sensor.channel_kind, sensor.hardware_kind
    elements = sensor.element_geometry(frame)
    if len(elements.positions) == 0:
        return Channel(sensor.snsRawName, kind, hardware, None, None)
    r = axes.positions(elements.positions)
    magnetic = kind in ("meg", "ref")
    n = axes.directions(elements.orientations[:1])[0] if magnetic else None
    result = Channel(sensor.snsRawName, kind, hardware, r[0], n)
    if magnetic and hardware == "squid" and len(r) >= 2:
        # The second coil lies along the normal, on the side its position
        # says, at the baseline the sensor gives.
        side = 1.0 if np.dot(r[1] - r[0], n) >= 0 else -1.0
        baseline = side * sensor.getCoilBaseLine() / UNITS_PER_METRE[axes.unit]
        # The second coil is wound against the first, whatever sign the
        # records give its turns; their ratio weighs it.
        turns = int(elements.turns[0])
        weight = -abs(int(elements.turns[1]) / turns) if turns else -1.0
        area = float(elements.areas[0])
        result.baseline = baseline
        result.size = (
            2.0 * np.sqrt(area / np.pi) / UNITS_PER_METRE[axes.unit]
            if np.isfinite(area) and area > 0 else 0.0
        )
        n2 = axes.directions(elements.orientations[1:2])[0]
        result.coils = [Coil(r[0], n, 1.0), Coil(r[0] + baseline * n, n2, weight)]
    return result


def _exported(sensor: Sensor, index: int, frame: str, axes: Frame) -> Channel:
    # A channel that would reach a file without a place, or with one that is
    # not a number, is refused here whether or not the set was checked.
    words = f"channel {index} {sensor.snsRawName!r}"
    try:
        result = channel(sensor, frame, axes)
    except ValueError as error:
        raise ExportError(f"{words}: {error}") from None
    if result.r0 is None:
        if result.kind in ("meg", "ref"):
            raise ExportError(f"{words}: a channel of kind {result.kind} with no element in use "
                              f"in the {frame} frame has no place")
        return result
    points = np.array([result.r0] + [c.pos for c in result.coils])
    if not np.all(np.isfinite(points)):
        given = sensor.element_geometry(frame).positions[: len(points)].tolist()
        raise ExportError(f"{words}: a position of its elements in the {frame} frame, "
                          f"{given}, is not finite")
    return result


def unique_names(names: Sequence[str]) -> List[str]:
    """The names with each duplicate renamed as MNE renames them: every
    channel of a shared name gets "-0", "-1"... in order (a letter where
    the number is taken)."""
    names = list(names)
    counts = Counter(names)
    for stem in sorted(name for name, count in counts.items() if count > 1):
        taken = set(names)
        for number, i in enumerate(i for i, name in enumerate(names) if name == stem):
            for suffix in (str(number),) + tuple(string.ascii_lowercase):
                candidate = f"{stem}-{suffix}"
                if candidate not in taken:
                    break
            else:
                raise ExportError(f"channel name {stem!r}: no free name to rename it to")
            names[i] = candidate
            taken.add(candidate)
    return names


def export_channels(
    sensors: Sequence[Sensor], frame: str, axes: Frame, rename_duplicates: bool = False
) -> List[Channel]:
    """The channels of `sensors` as the exports write them. Raises
    ExportError, naming the channel, for no sensor at all, for an MEG or
    reference channel with no element in use in `frame`, for a position
    or an orientation that is not finite, and for channel names shared by
    several channels, unless `rename_duplicates` renames them as MNE does
    (`unique_names`)."""
    if len(sensors) == 0:
        raise ExportError("no sensor to export")
    channels = [_exported(s, i, frame, axes) for i, s in enumerate(sensors)]
    names = [ch.name for ch in channels]
    shared = sorted(name for name, count in Counter(names).items() if count > 1)
    if shared and not rename_duplicates:
        words = ", ".join(
            f"{name!r} (channels {', '.join(str(i) for i, n in enumerate(names) if n == name)})"
            for name in shared
        )
        raise ExportError(f"duplicate channel names: {words}")
    for ch, name in zip(channels, unique_names(names)):
        ch.name = name
    return channels


_POINT_WORDS = ("nasion (point 0)", "ear point 1", "ear point 2")

#: Below this share of the ear points' distance, the nasion counts as on
#: their line: the head frame's axes would be noise, or not numbers.
_ON_LINE = 1e-6


def _head_frame_points(points: np.ndarray) -> np.ndarray:
    """The three points, when they make a head frame; ExportError naming
    the point when they do not."""
    for words, point in zip(_POINT_WORDS, points):
        if not np.all(np.isfinite(point)):
            raise ExportError(f"fiducial {words} {point.tolist()} is not finite")
    nasion, first, second = points
    ears = np.linalg.norm(second - first)
    if ears == 0.0:
        raise ExportError(f"fiducials: ear points 1 and 2 lie at one point {first.tolist()}: "
                          "they give no head frame")
    off = np.linalg.norm(np.cross(nasion - first, (second - first) / ears))
    if off <= _ON_LINE * ears:
        raise ExportError(f"fiducials: the nasion (point 0) {nasion.tolist()} lies on the line "
                          "through the ear points: they give no head frame")
    return points


def fiducial_points(
    fiducials: FiducialsLike, axes: Frame, above: Optional[np.ndarray] = None
) -> Tuple[np.ndarray, np.ndarray, np.ndarray]:
    """Nasion, left and right ear point in RAS metres, from point 0 (the
    nasion) and points 1 and 2 (the ear points) of a head localization's
    current set, of a fiducial set, or of the rows of a (3, 3) array. The
    left ear point is found from the geometry: seen with the nose ahead and
    `up` above (the sensors lie above the head), it is the one on the left;
    without `up`, +z of RAS is taken as up."""
    if isinstance(fiducials, HeadLocalization):
        fiducials = fiducials.fiducialCurrent
    if isinstance(fiducials, FiducialSet):
        points = np.array([fiducials.fidPts[i].ptValues[4:7] for i in range(3)])
    else:
        points = np.asarray(fiducials, dtype=float)
        if points.shape != (3, 3):
            raise ValueError(f"fiducials as an array take the shape (3, 3), not {points.shape}")
    nasion, first, second = axes.positions(_head_frame_points(points))
    middle = (first + second) / 2.0
    up = np.array([0.0, 0.0, 1.0]) if above is None else np.asarray(above, dtype=float) - middle
    left_of_first = np.dot(np.cross(nasion - middle, first - middle), up) > 0
    lpa, rpa = (first, second) if left_of_first else (second, first)
    return nasion, lpa, rpa


def head_frame(
    channels: Sequence[Channel],
    fiducials: FiducialsLike,
    sensor_frame: Frame,
    fiducial_axes: Optional[str] = None,
    fiducial_unit: Optional[str] = None,
) -> Tuple[np.ndarray, np.ndarray]:
    """MNE's device-to-head transform (4 x 4) from fiducials, built as MNE's
    own readers build it, and the nasion and the left and right ear points
    (3 x 3, RAS metres, device frame). The fiducials stand in the sensors'
    frame unless `fiducial_axes`/`fiducial_unit` say otherwise."""
    import mne

    fid_frame = Frame(fiducial_axes or sensor_frame.axes, fiducial_unit or sensor_frame.unit)
    meg = [ch.r0 for ch in channels if ch.kind in ("meg", "ref") and ch.r0 is not None]
    above = np.mean(meg, axis=0) if meg else None
    points = np.array(fiducial_points(fiducials, fid_frame, above))
    transform = mne.transforms.get_ras_to_neuromag_trans(*points)
    if not np.all(np.isfinite(transform)):
        raise ExportError("fiducials: the nasion and the ear points give no head frame")
    return transform, points

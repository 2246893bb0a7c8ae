"""Sensors from an MNE measurement info: the way back from `to_info`, for
recordings of any system whose coils MNE defines.

Each MEG and MEG-reference channel becomes one sensor. Its coils come from
MNE's definition of its coil type, read at the accurate level: the
integration points of each sign make one loop, whose centre lies on the
channel's axis. One loop is a magnetometer (an OPM record for MNE's OPM
types, a SQUID record of one coil otherwise), two are an axial
gradiometer. MNE's coil type is kept in the record (`auxFlags[0]`, whose
meaning belongs to the hosts), so that `to_info` gives it back while the
geometry still agrees with it.
"""

from __future__ import annotations

import warnings
from dataclasses import dataclass, field
from typing import Dict, List, NamedTuple, Optional, Sequence, Tuple

import numpy as np

from . import _geometry as geometry
from ._errors import Error
from ._fluxgrid import HeadLocalization, Sensor

#: MNE's coil types of optically pumped magnetometers.
OPM_COIL_TYPES = (8001, 8002, 8101, 8201)

#: MNE's channel kinds of MEG and of MEG-reference channels.
MEG_CH, REF_MEG_CH = 1, 301

#: Hardware types of the records: SQUID, OPM.
SQUID, OPM = 0, 1

#: Sensor type codes: MEG and reference, for a SQUID and an OPM record.
TYPE_CODES = {(MEG_CH, SQUID): 100, (REF_MEG_CH, SQUID): 10,
              (MEG_CH, OPM): 700, (REF_MEG_CH, OPM): 800}

#: Where a record keeps MNE's coil type.
KEPT_COIL_TYPE = 0


class UnsupportedCoil(Error):
    """A channel's coil type is one the records cannot hold."""


#: The records' shape codes of a loop.
CIRCLE, SQUARE = 1, 2


@dataclass
class Loop:
    """One loop of a coil definition: its offset along the axis (metres),
    its weight, its size (a circle's diameter or a square's side) and its
    shape code."""

    offset: float
    weight: float
    size: float
    shape: int = CIRCLE

    @property
    def area(self) -> float:
        """The loop's area in square metres."""
        if self.shape == SQUARE:
            return self.size**2
        return float(np.pi * (self.size / 2.0) ** 2)


def _loop_shape(points: np.ndarray) -> int:
    """SQUARE when a loop's integration points (in its plane) are a full
    grid of at least 3 x 3, as MNE lays out a square loop; CIRCLE otherwise,
    four points or a circle's quadrature saying no more than that."""
    xs, ys = (np.unique(np.round(points[:, i], 9)) for i in (0, 1))
    cells = {(round(x, 9), round(y, 9)) for x, y in points[:, :2]}
    if len(xs) == len(ys) >= 3 and len(points) == len(cells) == len(xs) * len(ys):
        return SQUARE
    return CIRCLE


@dataclass
class CoilShape:
    """What the records hold of one MNE coil type."""

    coil_type: int
    loops: List[Loop] = field(default_factory=list)

    @property
    def is_opm(self) -> bool:
        return self.coil_type in OPM_COIL_TYPES


class Imported(NamedTuple):
    """What `from_info` gives: the sensors in the info's order, the head
    localization (None without a transform or cardinal points), the
    compensation grade of the MEG channels' coil types, and the names of
    the channels skipped."""

    sensors: List[Sensor]
    headloc: Optional[HeadLocalization]
    comp_grade: int
    skipped: List[str]


def split_coil_type(coil_type: int) -> Tuple[int, int]:
    """The base type and the compensation grade that software gradient
    compensation keeps in the upper 16 bits."""
    return int(coil_type) & 0xFFFF, int(coil_type) >> 16


def _definitions() -> Dict[int, dict]:
    """MNE's definitions at their best accuracy, by type (those in force
    through `mne.use_coil_def` first, as MNE takes them)."""
    from mne.forward._make_forward import _read_coil_defs

    best: Dict[int, dict] = {}
    for coil in _read_coil_defs(verbose="error"):
        coil_type = int(coil["coil_type"])
        if coil_type not in best or coil["accuracy"] > best[coil_type]["accuracy"]:
            best[coil_type] = coil
    return best


def coil_shape(coil_type: int, definition: Optional[dict]) -> Optional[CoilShape]:
    """The loops of a definition, or None when it is not one or two loops
    on the coil's axis, all normal to it (a planar or off-diagonal
    gradiometer)."""
    if definition is None:
        return None
    rmag, cosmag, w = definition["rmag"], definition["cosmag"], definition["w"]
    if not np.allclose(cosmag, [0.0, 0.0, 1.0], atol=1e-6):
        return None
    shape = CoilShape(coil_type)
    for sign in (1.0, -1.0):
        mine = np.sign(w) == sign
        if not mine.any():
            continue
        weights = np.abs(w[mine])
        centre = weights @ rmag[mine] / weights.sum()
        if np.hypot(centre[0], centre[1]) > 1e-6:
            return None
        shape.loops.append(Loop(float(centre[2]), float(w[mine].sum()), float(definition["size"]),
                                _loop_shape(rmag[mine])))
    if len(shape.loops) == 2 and shape.loops[0].offset > shape.loops[1].offset:
        shape.loops.reverse()
    return shape if len(shape.loops) in (1, 2) else None


def _sensor(ch: dict, shape: CoilShape, axes: geometry.Frame) -> Sensor:
    """The sensor of one channel: elements in every frame at the loops'
    centres, gains from cal and range."""
    hw = OPM if shape.is_opm else SQUID
    code = TYPE_CODES[(ch["kind"], hw)]
    s = Sensor()
    s.initSensorInfo(hw, code, 1, 0, float(ch["cal"]), float(ch["range"]), 1.0, 0.0)
    s.sensorGain()
    loc = np.asarray(ch["loc"], dtype=float)
    ez = loc[9:12] / np.linalg.norm(loc[9:12])
    units = geometry.UNITS_PER_METRE[axes.unit]
    to_frame = axes.matrix.T  # RAS to the frame: the inverse of a signed permutation
    # The first loop at the channel's own point, as the channel's position
    # means it; a definition's small offset of it (0.3 mm in some) stays
    # with the coil type kept.
    for i, loop in enumerate(shape.loops):
        pos = to_frame @ (loc[:3] + (loop.offset - shape.loops[0].offset) * ez) * units
        s.setAcqSnsParam(hw, i, ch["ch_name"], tuple(pos), tuple(to_frame @ ez), code, 1, 1, 1, 1)
    record = s.hardware
    first = shape.loops[0].weight
    if hw == OPM:
        record.totalVapors = len(shape.loops)
    else:
        record.totalCoils = len(shape.loops)
        for frame in (record.coilDewar, record.coilHead, record.coilWork):
            for coil, loop in zip(frame, shape.loops):
                coil.coilTurns = int(round(loop.weight / first))
                coil.coilArea = loop.area * units**2
                coil.coilShape = loop.shape
    flags = record.auxFlags
    flags[KEPT_COIL_TYPE] = shape.coil_type
    record.auxFlags = flags
    return s


#: Where `from_info` puts the nasion and the ear points of a head that the
#: info places by its transform alone, in MNE's head frame (metres): the
#: nasion 90 mm ahead, the ear points 75 mm to either side, so that the
#: head frame built from them is the head frame itself.
NOMINAL_FIDUCIALS = np.array([[0.0, 0.09, 0.0], [-0.075, 0.0, 0.0], [0.075, 0.0, 0.0]])

#: A transform is taken as rigid, and as the identity, within this.
_RIGID = 1e-6


def _cardinal_points(info) -> Optional[np.ndarray]:
    """Nasion, left and right ear point of the info's digitisation in the
    device frame (RAS metres), or None without all three."""
    from mne.io.constants import FIFF
    from mne.transforms import apply_trans, invert_transform

    cardinal = {d["ident"]: d for d in (info["dig"] or [])
                if d["kind"] == FIFF.FIFFV_POINT_CARDINAL}
    idents = (FIFF.FIFFV_POINT_NASION, FIFF.FIFFV_POINT_LPA, FIFF.FIFFV_POINT_RPA)
    if any(i not in cardinal for i in idents):
        return None
    head_dev = invert_transform(info["dev_head_t"]) if info["dev_head_t"] is not None else None
    points = []
    for ident in idents:
        point = np.asarray(cardinal[ident]["r"], dtype=float)
        if cardinal[ident]["coord_frame"] == FIFF.FIFFV_COORD_HEAD:
            if head_dev is None:
                return None
            point = apply_trans(head_dev, point)
        points.append(point)
    return np.array(points)


def _nominal_points(info) -> Optional[np.ndarray]:
    """`NOMINAL_FIDUCIALS` taken into the device frame by the inverse of the
    info's device-to-head transform, so that the head frame built from them
    (as `to_info` builds it, MNE's way) is that transform again. None for
    no transform, for the identity, which MNE gives every new info and so
    places no head, and, with a warning, for a transform that is not a
    rotation and a shift."""
    if info["dev_head_t"] is None:
        return None
    trans = np.asarray(info["dev_head_t"]["trans"], dtype=float)
    rotation, shift = trans[:3, :3], trans[:3, 3]
    if np.allclose(trans, np.eye(4), rtol=0, atol=_RIGID):
        return None
    if (not np.allclose(rotation.T @ rotation, np.eye(3), rtol=0, atol=_RIGID)
            or np.linalg.det(rotation) < 0 or not np.allclose(trans[3], [0, 0, 0, 1])):
        warnings.warn("dev_head_t is not a rotation and a shift: no head localization is made "
                      "of it", stacklevel=3)
        return None
    return (NOMINAL_FIDUCIALS - shift) @ rotation


def _headloc(info, axes: geometry.Frame) -> Optional[HeadLocalization]:
    """The nasion and the ear points of the info's digitisation or, without
    them, of a head that its transform places, in the device frame along
    `axes`, as a head localization's current set."""
    points = _cardinal_points(info)
    if points is None:
        points = _nominal_points(info)
    if points is None:
        return None
    hl = HeadLocalization()
    for index, point in enumerate(points):
        p = axes.matrix.T @ point * geometry.UNITS_PER_METRE[axes.unit]
        hl.fiducialCurrent.fidPts[index].setFidPtPosition(*p)
    return hl


def from_info(info, *, axes: str = "LSP", unit: str = "mm",
              on_unsupported: str = "raise") -> Imported:
    """Sensors of the MEG and MEG-reference channels of `info` (an
    `mne.Info`), in order, along `axes` in `unit`, and a head localization
    in the device frame: of the info's cardinal points when it has them;
    otherwise of `NOMINAL_FIDUCIALS` placed by its `dev_head_t`, which
    `to_info(sensors, fiducials=headloc)` gives back. An identity
    transform without cardinal points (what MNE gives every new info)
    places no head: then, and without a transform, the head localization
    is None.

    A coil type whose definition is not one or two loops on the channel's
    axis (a planar or an off-diagonal gradiometer), or that MNE does not
    define, raises `fluxgrid.Error` naming the channel and the type, or
    with `on_unsupported="skip"` is left out with a warning that lists the
    channels.
    """
    if on_unsupported not in ("raise", "skip"):
        raise ValueError(f"on_unsupported must be 'raise' or 'skip', not {on_unsupported!r}")
    frame = geometry.Frame(axes, unit)
    definitions = _definitions()
    sensors: List[Sensor] = []
    skipped: List[str] = []
    grades = set()
    for ch in info["chs"]:
        if ch["kind"] not in (MEG_CH, REF_MEG_CH):
            continue
        base, grade = split_coil_type(ch["coil_type"])
        shape = coil_shape(base, definitions.get(base))
        if shape is None:
            if on_unsupported == "raise":
                raise UnsupportedCoil(
                    f"channel {ch['ch_name']}: coil type {base} is not one or two loops on "
                    "its axis, which the records cannot hold")
            skipped.append(f"{ch['ch_name']} ({base})")
            continue
        if ch["kind"] == MEG_CH:
            grades.add(grade)
        sensors.append(_sensor(ch, shape, frame))
    if skipped:
        warnings.warn("channels left out, their coil types cannot be held: " + ", ".join(skipped),
                      stacklevel=2)
    return Imported(sensors, _headloc(info, frame), max(grades, default=0), skipped)


def kept_coil_types(sensors: Sequence[Sensor], channels: Sequence[geometry.Channel]
                    ) -> List[Optional[int]]:
    """For each sensor, the MNE coil type kept in its record while the
    channel's geometry still agrees with MNE's definition of it (one loop,
    or two at its baseline, of its size); otherwise None."""
    definitions = _definitions()
    return [_kept(s, ch, definitions) for s, ch in zip(sensors, channels)]


def _kept(sensor: Sensor, channel: geometry.Channel, definitions: Dict[int, dict]) -> Optional[int]:
    record = sensor.hardware
    if record is None or channel.kind not in ("meg", "ref"):
        return None
    coil_type = int(record.auxFlags[KEPT_COIL_TYPE])
    if coil_type <= 0:
        return None
    shape = coil_shape(coil_type, definitions.get(coil_type))
    if shape is None or shape.is_opm != (channel.hardware == "opm"):
        return None
    loops = 2 if channel.is_axial_gradiometer else 1
    if len(shape.loops) != loops:
        return None
    if loops == 2:
        baseline = shape.loops[1].offset - shape.loops[0].offset
        if (abs(abs(channel.baseline) - baseline) > 1e-6
                or abs(channel.size - shape.loops[0].size) > 1e-6):
            return None
    return coil_type

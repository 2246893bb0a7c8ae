"""Coil definitions that this package gives MNE for the coils MNE does not
define itself, and the numbers that name them.

A coil type number names one geometry for good: it is a hash of the
geometry, rounded to a micrometre, into a range of its own, clear of MNE's
types (up to 9999) and below the compensation grade that recordings keep in
the upper 16 bits. So a definition file written for one set of sensors can
never give another set's channels another geometry under the same number,
and `check_in_force` finds a file in force that says otherwise.
"""

from __future__ import annotations

import hashlib
import itertools
from dataclasses import dataclass
from typing import Dict, Iterable, List, Optional, Sequence, Tuple

import numpy as np

from ._errors import Error

#: The coil type numbers this package gives its own definitions.
COIL_TYPE_RANGE = range(20000, 60000)

#: MNE's three accuracies: point, normal, accurate.
ACCURACIES = (0, 1, 2)

#: One integration point: weight, position (x, y, z) and normal (x, y, z),
#: in the coil's own frame, metres.
Point = Tuple[float, float, float, float, float, float, float]


def micrometres(metres: float) -> int:
    """A length rounded to whole micrometres, the grain of a geometry's key."""
    return int(round(metres * 1e6))


def _loop_points(size: float, accuracy: int) -> List[Tuple[float, float, float]]:
    """Integration points of a loop of diameter `size` in its own plane,
    with their share of the loop: one point, four, or the seven of a
    circle's quadrature."""
    if accuracy == 0 or size <= 0:
        return [(1.0, 0.0, 0.0)]
    if accuracy == 1:
        d = size / 4.0
        return [(0.25, x, y) for x, y in ((d, d), (-d, d), (-d, -d), (d, -d))]
    r = size / 2.0 * np.sqrt(2.0 / 3.0)
    ring = [(0.125, r * np.cos(a), r * np.sin(a)) for a in np.arange(6) * np.pi / 3.0]
    return [(0.25, 0.0, 0.0)] + ring


def _grid(size: float, per_side: int, dimensions: int) -> List[Tuple[float, ...]]:
    """The midpoints of a square (2) or a cube (3) of side `size` cut into
    `per_side` parts along each axis, with their equal shares."""
    steps = (np.arange(per_side) + 0.5) / per_side * size - size / 2.0
    share = 1.0 / per_side**dimensions
    return [(share,) + tuple(float(c) for c in point)
            for point in itertools.product(steps, repeat=dimensions)]


#: Parts along each side of a square loop and of a cube, by accuracy: a
#: point, then MNE's 2 x 2 and 4 x 4 grids of a square magnetometer; a
#: point, then 2 x 2 x 2 and 3 x 3 x 3 for a cell.
_SQUARE_PARTS = (1, 2, 4)
_CUBE_PARTS = (1, 2, 3)

#: The shape codes of the records: a loop or a cell is a circle or a square.
CIRCLE, SQUARE = 1, 2


def element_size(area: float, shape: int) -> Optional[float]:
    """The size of a loop or a cell of `area` (square metres): a square's
    side (`shape` 2) or a circle's diameter (any other code, the loops of
    the records being circles unless told). None when the area is not a
    positive number, as for an element that never had one."""
    if not np.isfinite(area) or area <= 0.0:
        return None
    size = float(np.sqrt(area)) if shape == SQUARE else float(2.0 * np.sqrt(area / np.pi))
    return size if micrometres(size) > 0 else None


@dataclass(frozen=True)
class CoilDef:
    """A geometry that MNE does not define: its kind and its parameters in
    whole micrometres (and millionths, for a weight), from which its
    number, its description and its integration points follow."""

    kind: str
    params: Tuple[int, ...]

    @property
    def coil_type(self) -> int:
        text = self.kind + ":" + ",".join(str(p) for p in self.params)
        digest = hashlib.sha256(text.encode("ascii")).digest()
        return COIL_TYPE_RANGE.start + int.from_bytes(digest[:8], "big") % len(COIL_TYPE_RANGE)

    def header(self, accuracy: int, npoints: int) -> str:
        raise NotImplementedError

    def points(self, accuracy: int) -> List[Point]:
        raise NotImplementedError

    def text(self) -> List[str]:
        """The lines of this definition in a coil_def.dat, every accuracy."""
        lines = []
        for accuracy in ACCURACIES:
            points = self.points(accuracy)
            lines.append(self.header(accuracy, len(points)))
            lines.extend(f"{w:.6f} {x:.6e} {y:.6e} {z:.6e} {nx:.6f} {ny:.6f} {nz:.6f}"
                         for w, x, y, z, nx, ny, nz in points)
        return lines


@dataclass(frozen=True)
class AxialGradiometer(CoilDef):
    """Two loops along the normal, the second at `baseline` and weighted
    against the first: params are baseline and loop diameter in
    micrometres and the second loop's weight in millionths."""

    @classmethod
    def of(cls, baseline: float, size: float, weight: float) -> "AxialGradiometer":
        return cls("axial", (micrometres(baseline), micrometres(size), int(round(weight * 1e6))))

    @property
    def baseline(self) -> float:
        return self.params[0] * 1e-6

    @property
    def size(self) -> float:
        return self.params[1] * 1e-6

    @property
    def weight(self) -> float:
        return self.params[2] * 1e-6

    def header(self, accuracy: int, npoints: int) -> str:
        desc = (f"fluxgrid axial gradiometer size = {self.size * 1e3:.3f} mm"
                f" base = {self.baseline * 1e3:.3f} mm")
        return (f"2 {self.coil_type} {accuracy} {npoints} {self.size:.6e}"
                f" {abs(self.baseline):.6e} \"{desc}\"")

    def points(self, accuracy: int) -> List[Point]:
        loop = _loop_points(self.size, accuracy)
        return [(share * w, x, y, z, 0.0, 0.0, 1.0)
                for z, w in ((0.0, 1.0), (self.baseline, self.weight)) for share, x, y in loop]


@dataclass(frozen=True)
class LoopMagnetometer(CoilDef):
    """One loop: params are its size (a square's side or a circle's
    diameter) in micrometres and its shape code. Its points share the
    weight 1, as in MNE's magnetometers: the turns only scale the gain,
    which the calibration holds."""

    @classmethod
    def of(cls, size: float, shape: int) -> "LoopMagnetometer":
        return cls("loop", (micrometres(size), SQUARE if shape == SQUARE else CIRCLE))

    @property
    def size(self) -> float:
        return self.params[0] * 1e-6

    @property
    def is_square(self) -> bool:
        return self.params[1] == SQUARE

    def header(self, accuracy: int, npoints: int) -> str:
        desc = (f"fluxgrid {'square' if self.is_square else 'circular'} magnetometer"
                f" size = {self.size * 1e3:.3f} mm")
        return f"1 {self.coil_type} {accuracy} {npoints} {self.size:.6e} 0.000000e+00 \"{desc}\""

    def points(self, accuracy: int) -> List[Point]:
        loop = (_grid(self.size, _SQUARE_PARTS[accuracy], 2) if self.is_square
                else _loop_points(self.size, accuracy))
        return [(share, x, y, 0.0, 0.0, 0.0, 1.0) for share, x, y in loop]


@dataclass(frozen=True)
class VaporCube(CoilDef):
    """An OPM cell as a cube of integration points, as MNE defines its OPM
    types: params are the cube's side in micrometres, the cell's size."""

    @classmethod
    def of(cls, size: float) -> "VaporCube":
        return cls("cube", (micrometres(size),))

    @property
    def size(self) -> float:
        return self.params[0] * 1e-6

    def header(self, accuracy: int, npoints: int) -> str:
        desc = f"fluxgrid OPM cell size = {self.size * 1e3:.3f} mm"
        return f"1 {self.coil_type} {accuracy} {npoints} {self.size:.6e} 0.000000e+00 \"{desc}\""

    def points(self, accuracy: int) -> List[Point]:
        return [(share, x, y, z, 0.0, 0.0, 1.0)
                for share, x, y, z in _grid(self.size, _CUBE_PARTS[accuracy], 3)]


#: MNE's OPM coil types and the size of their cells (metres), from MNE's
#: coil_def.dat: QuSpin's first and second generation, FieldLine's first
#: (cells 3 mm long, 0.7 or 2 mm across) and Kernel's first (a 2 mm cube).
OPM_CELL_SIZES = {8001: 0.7e-3, 8002: 0.7e-3, 8101: 2e-3, 8201: 2e-3}

#: The OPM type of a cell whose size the record does not hold: the smallest
#: of MNE's cells, the nearest to a point, in its latest generation.
DEFAULT_OPM_COIL_TYPE = 8002


def nearest_opm_coil_type(size: Optional[float], shape: int) -> int:
    """MNE's OPM coil type whose cell is nearest in size to a cell of `size`
    (metres; None when the record holds none, giving
    `DEFAULT_OPM_COIL_TYPE`). Between cells of one size the later
    generation wins, and a square cell (`shape` 2) takes Kernel's cube over
    FieldLine's longer cell."""
    if size is None:
        return DEFAULT_OPM_COIL_TYPE
    order = (8002, 8001, 8201, 8101) if shape == SQUARE else (8002, 8001, 8101, 8201)
    return min(order, key=lambda coil_type: abs(OPM_CELL_SIZES[coil_type] - size))


def definition_text(definitions: Iterable[CoilDef]) -> str:
    """The text of a coil_def.dat that holds `definitions`, each once, in
    the order of their numbers (two geometries of one number refused, as
    `numbered` refuses them)."""
    by_type = {t: d for d, t in numbered(definitions).items()}
    lines = ["# fluxgrid coil definitions: class id accuracy points size baseline description"]
    for coil_type in sorted(by_type):
        lines.extend(by_type[coil_type].text())
    return "\n".join(lines) + "\n"


def numbered(definitions: Iterable[CoilDef]) -> Dict[CoilDef, int]:
    """The number of each definition; two geometries that hash to one
    number are refused, so that a number never stands for both."""
    by_type: Dict[int, CoilDef] = {}
    for d in definitions:
        other = by_type.setdefault(d.coil_type, d)
        if other != d:
            raise Error(f"coil type {d.coil_type} would name two geometries, {other} and {d}")
    return {d: t for t, d in by_type.items()}


def _loaded_definitions(coil_type: int) -> List[dict]:
    """MNE's definitions of `coil_type` from the extra file in force (what
    `mne.use_coil_def` sets), if any."""
    from mne.forward import _make_forward

    fname = _make_forward._extra_coil_def_fname
    if fname is None:
        return []
    return [c for c in _make_forward._read_coil_def_file(fname, use_registry=False)
            if int(c["coil_type"]) == coil_type]


def _agrees(definition: CoilDef, loaded: dict) -> bool:
    accuracy = int(loaded["accuracy"])
    if accuracy not in ACCURACIES:
        return True
    ours = np.array(definition.points(accuracy), dtype=float).reshape(-1, 7)
    if len(ours) != len(loaded["w"]):
        return False
    normals = ours[:, 4:] / np.linalg.norm(ours[:, 4:], axis=1, keepdims=True)
    return bool(np.allclose(ours[:, 0], loaded["w"], atol=1e-5)
                and np.allclose(ours[:, 1:4], loaded["rmag"], atol=1e-8)
                and np.allclose(normals, loaded["cosmag"], atol=1e-5))


def check_in_force(definitions: Sequence[CoilDef],
                   channel_names: Dict[CoilDef, Sequence[str]]) -> None:
    """Refuses, with a `fluxgrid.Error` naming a channel and the number,
    when the coil definitions MNE has in force define one of our numbers
    with another geometry than the channels'."""
    for d in definitions:
        for loaded in _loaded_definitions(d.coil_type):
            if not _agrees(d, loaded):
                names = list(channel_names.get(d, ()))
                raise Error(
                    f"the coil definitions in force give coil type {d.coil_type} another "
                    f"geometry than channel {names[0] if names else '?'} has "
                    f"({loaded['desc'].strip(chr(34))!s}); use fluxgrid.mne.use_coil_defs "
                    "with these sensors")

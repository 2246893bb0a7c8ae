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
from dataclasses import dataclass
from typing import Dict, Iterable, List, Sequence, Tuple

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


def definition_text(definitions: Iterable[CoilDef]) -> str:
    """The text of a coil_def.dat that holds `definitions`, each once, in
    the order of their numbers."""
    unique = {d.coil_type: d for d in definitions}
    lines = ["# fluxgrid coil definitions: class id accuracy points size baseline description"]
    for coil_type in sorted(unique):
        lines.extend(unique[coil_type].text())
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

"""The thirteen constant channel layout tables."""

from __future__ import annotations

from dataclasses import dataclass
from typing import List, Optional

import numpy as np

from . import _fluxgrid


@dataclass(frozen=True)
class Layout:
    """One layout table. `pos`, `ori`, `types` and `kinds` are read-only
    views of the library's own rows.

    Attributes:
        name: the table's name.
        names: the channel names.
        pos: (n, 3) float64 positions, in the table's frame.
        ori: (n, 3) float64 orientations for MEG tables; None for EEG.
        types: (n,) int32 sensor type codes.
        kinds: (n,) int32 electrode kinds for EEG tables; None for MEG.
        frame: "head", "sphere" or "net".
        axes: the frame's orientation code, each letter where its axis
            grows toward: "LSP" for the head frame (x to the subject's
            left, y to the top, z to the back; a left-handed frame), "ALS"
            for the sphere frame, "RAS" for the net frame.
        unit: "mm", "cm", or None for the unitless sphere of radius 100.
        units_per_metre: units of the frame in a metre (the sphere taken as
            a head of radius 0.095 m).
    """

    name: str
    names: List[str]
    pos: np.ndarray
    ori: Optional[np.ndarray]
    types: np.ndarray
    kinds: Optional[np.ndarray]
    frame: str
    axes: str
    unit: Optional[str]
    units_per_metre: float

    def __len__(self) -> int:
        return len(self.names)

    @property
    def is_meg(self) -> bool:
        """True for the MEG tables, which carry orientations."""
        return self.ori is not None

    def pos_ras(self) -> np.ndarray:
        """The positions in RAS (x right, y nose, z up), metres: a new array."""
        return self.pos @ _fluxgrid.axes_to_ras(self.axes).T / self.units_per_metre

    def ori_ras(self) -> Optional[np.ndarray]:
        """The orientations turned into RAS, or None for EEG tables."""
        if self.ori is None:
            return None
        return self.ori @ _fluxgrid.axes_to_ras(self.axes).T


def layout(name: str) -> Layout:
    """The layout table called `name`; KeyError, with the names, for
    another."""
    try:
        fields = _fluxgrid._layout(name)
    except KeyError:
        raise KeyError(
            f"no layout table is called {name!r}; the tables: "
            + ", ".join(_fluxgrid.layout_names())
        ) from None
    return Layout(**fields)

"""What the tests of the bridges share: the demo's two sensor sets, built
from megLayout32 (OPM) and megLayout21 (axial gradiometers), fiducials in
their frame, and the imports of MNE and scipy, skipped with a reason where
they are missing."""

from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest

import fluxgrid as fg

#: Nasion, left and right ear point in the sensors' frame, the system's head
#: frame LSP in millimetres (x to the subject's left, y up, z to the back):
#: the ear points are A1 and A2 of the EEG tables, the nasion lies 40 mm
#: below FP1 and FP2.
FIDUCIALS_LSP = np.array(
    [[0.0, 31.0, -105.0], [90.92224, 0.8736, -33.5347], [-90.92224, 0.8736, -33.5347]]
)


def headloc_of(points: np.ndarray) -> fg.HeadLocalization:
    """A head localization whose current set holds the nasion and the two
    ear points `points`."""
    hl = fg.HeadLocalization()
    for i, p in enumerate(points):
        hl.fiducialCurrent.fidPts[i].setFidPtPosition(*p)
    return hl


def fiducial_array(headloc: fg.HeadLocalization) -> np.ndarray:
    """The nasion and the two ear points of a head localization's current
    set, a row each."""
    return np.array([headloc.fiducialCurrent.fidPts[i].ptValues[4:7] for i in range(3)])


def mne():
    return pytest.importorskip("mne", reason="MNE-Python is not installed (python3-mne)")


def scipy_io():
    return pytest.importorskip("scipy.io", reason="scipy is not installed (python3-scipy)")


def sensor_sets(demo_dir: Path):
    return {
        "opm32": fg.read_sensors(demo_dir / "sensors" / "opm32"),
        "squid21": fg.read_sensors(demo_dir / "sensors" / "squid21"),
    }


def inward_copy(sensors, index: int):
    """Copies of `sensors` in which channel `index` has the orientations of
    its elements in the dewar frame turned to point into the helmet."""
    copies = [s.copy() for s in sensors]
    record = copies[index].hardware
    elements = record.coilDewar if copies[index].hardware_kind == "squid" else record.vaporDewar
    for element in elements[: len(copies[index].positions("dewar"))]:
        element.oriP4[:3] *= -1.0
    return copies

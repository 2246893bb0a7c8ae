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


#: Four dipoles 5 to 7 cm below a helmet 10 to 11 cm about the origin.
DIPOLES = np.array([[0.0, 0.0, 0.05], [0.03, 0.01, 0.04], [-0.03, 0.02, 0.03],
                    [0.0, -0.04, 0.02]])


def sphere_forward(info, sensors=None, rr: np.ndarray = DIPOLES, **coil_def_options):
    """MNE's forward solution (the gain matrix) of the MEG channels of
    `info` on a sphere model about the device origin, for dipoles at `rr`
    (RAS metres, device frame); with `sensors`, under their coil
    definitions (`fluxgrid.mne.use_coil_defs(sensors, **coil_def_options)`)."""
    m = mne()
    import fluxgrid.mne as fm

    sphere = m.make_sphere_model(r0=(0.0, 0.0, 0.0), head_radius=None, verbose="error")
    src = m.setup_volume_source_space(pos=dict(rr=rr, nn=np.tile([0.0, 0.0, 1.0], (len(rr), 1))),
                                      verbose="error")
    # The references only serve compensation, which MNE cannot compute for
    # every system; the comparison is of the MEG channels.
    options = dict(eeg=False, ignore_ref=True, verbose="error")
    if sensors is None:
        fwd = m.make_forward_solution(info, None, src, sphere, **options)
    else:
        with fm.use_coil_defs(sensors, **coil_def_options):
            fwd = m.make_forward_solution(info, None, src, sphere, **options)
    return fwd["sol"]["data"]


def relative_difference(ours: np.ndarray, theirs: np.ndarray) -> float:
    """The relative Frobenius norm of the difference of two gain matrices."""
    assert ours.shape == theirs.shape
    return float(np.linalg.norm(ours - theirs) / np.linalg.norm(theirs))

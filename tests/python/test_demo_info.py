"""The demo's measurement info of its OPM set, written through the Python
module with the OPM set's head localization."""

from __future__ import annotations

from pathlib import Path

import numpy as np

import fluxgrid as fg
from bridge_support import mne


def test_demo_writes_the_opm_sets_info_with_its_head_frame(demo_dir: Path):
    m = mne()
    info = m.io.read_info(str(demo_dir / "info.fif"), verbose="error")
    sensors = fg.read_sensors(demo_dir / "sensors" / "opm32")
    assert info["ch_names"] == [s.snsRawName for s in sensors]
    trans = info["dev_head_t"]["trans"]
    assert not np.allclose(trans, np.eye(4))
    hl = fg.read_headloc(demo_dir / "headloc" / "opm32.headloc")
    nasion = fg.axes_to_ras("LSP") @ hl.fiducialCurrent.fidPts[0].ptValues[4:7] / 1000.0
    assert (trans[:3, :3] @ nasion + trans[:3, 3])[1] > 0.05
    assert sorted(d["ident"] for d in info["dig"]) == [1, 2, 3]

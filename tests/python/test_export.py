"""`python3 -m fluxgrid export`: the measurement info as FIF that MNE reads
back as it was made, and the grad as .mat."""

from __future__ import annotations

import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import fluxgrid as fg
import fluxgrid.mne as fm
from bridge_support import inward_copy, mne, scipy_io


def export(*args: str) -> subprocess.CompletedProcess:
    return subprocess.run([sys.executable, "-m", "fluxgrid", "export", *args],
                          capture_output=True, text=True, check=False)


@pytest.fixture(scope="module")
def headloc(demo_dir: Path) -> Path:
    """The demo's head localization, whose points lie within both helmets."""
    return demo_dir / "headloc" / "opm32.headloc"


@pytest.mark.parametrize("set_name", ["opm32", "squid21"])
def test_fif_reads_back_with_the_same_loc_coil_types_and_transform(
        demo_dir: Path, headloc: Path, tmp_path: Path, set_name: str):
    m = mne()
    folder = demo_dir / "sensors" / set_name
    out = tmp_path / "info.fif"
    done = export("fif", str(folder), "--headloc", str(headloc), "--axes", "LSP", "--unit", "mm",
                  "-o", str(out))
    assert done.returncode == 0, done.stderr
    back = m.io.read_info(str(out), verbose="error")
    made = fm.to_info(fg.read_sensors(folder), fiducials=fg.read_headloc(headloc))
    assert back["ch_names"] == made["ch_names"]
    for a, b in zip(back["chs"], made["chs"]):
        np.testing.assert_allclose(a["loc"], b["loc"], rtol=1e-6, atol=1e-9)
        assert (a["coil_type"], a["kind"]) == (b["coil_type"], b["kind"])
    np.testing.assert_allclose(back["dev_head_t"]["trans"], made["dev_head_t"]["trans"],
                               atol=1e-6)
    assert len(back["dig"]) == 3


def test_mat_export_loads_with_scipy(demo_dir: Path, tmp_path: Path):
    io = scipy_io()
    out = tmp_path / "grad.mat"
    done = export("mat", str(demo_dir / "sensors" / "squid21"), "-o", str(out))
    assert done.returncode == 0, done.stderr
    grad = io.loadmat(str(out))["grad"]
    assert grad["tra"][0, 0].shape[1] == 2 * grad["tra"][0, 0].shape[0]


def test_bad_usage_and_bad_files_give_their_exit_statuses(demo_dir: Path, tmp_path: Path):
    folder = str(demo_dir / "sensors" / "opm32")
    assert export("fif", folder, "--axes", "XYZ", "-o", str(tmp_path / "x.fif")).returncode == 2
    assert export("png", folder, "-o", str(tmp_path / "x")).returncode == 2
    missing = export("mat", str(tmp_path / "none.sensor"), "-o", str(tmp_path / "x.mat"))
    assert missing.returncode == 1 and "none.sensor" in missing.stderr


@pytest.mark.parametrize("kind", ["fif", "mat"])
def test_a_set_with_an_inward_channel_is_refused_unless_told(
        demo_dir: Path, tmp_path: Path, kind: str):
    folder = tmp_path / "inward"
    folder.mkdir()
    sensors = inward_copy(fg.read_sensors(demo_dir / "sensors" / "squid21"), 2)
    for i, s in enumerate(sensors):
        fg.write(s, folder / f"{i:02d}-{s.snsRawName}.sensor")
    (mne if kind == "fif" else scipy_io)()
    out = tmp_path / f"out.{kind}"
    refused = export(kind, str(folder), "-o", str(out))
    assert refused.returncode == 1 and not out.exists()
    finding = str(fg.check(folder).of("error")[0])
    assert "orientation-inward" in finding and finding in refused.stderr
    done = export(kind, str(folder), "--no-check", "-o", str(out))
    assert done.returncode == 0, done.stderr
    assert out.exists()

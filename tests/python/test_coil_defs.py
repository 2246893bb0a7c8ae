"""The coil types the MNE bridge defines: one number for one geometry, for
good, and a refusal when the definitions in force say otherwise."""

from __future__ import annotations

import hashlib
from pathlib import Path

import numpy as np
import pytest

import fluxgrid as fg
from bridge_support import FIDUCIALS_LSP, mne

fm = pytest.importorskip("fluxgrid.mne")


def squids(demo_dir: Path, area_factor: float = 1.0):
    """The demo's axial gradiometers, read afresh, their loops' area scaled."""
    sensors = fg.read_sensors(demo_dir / "sensors" / "squid21")
    for s in sensors:
        for coil in s.hardware.coilDewar[:2]:
            coil.coilArea *= area_factor
    return sensors


def gradiometer_types(info) -> set:
    return {ch["coil_type"] for ch in info["chs"] if ch["kind"] == 1}


def expected_type(baseline_um: int, size_um: int, weight_e6: int) -> int:
    # The rule written out: a SHA-256 of the rounded geometry, its first
    # eight bytes taken big-endian, into 20000 to 59999.
    digest = hashlib.sha256(f"axial:{baseline_um},{size_um},{weight_e6}".encode()).digest()
    return 20000 + int.from_bytes(digest[:8], "big") % 40000


@pytest.fixture(scope="module")
def two_geometries(demo_dir: Path):
    mne()
    return squids(demo_dir), squids(demo_dir, area_factor=4.0)


def defined_types(text: str) -> set:
    return {int(line.split()[1]) for line in text.splitlines() if line.startswith("2 ")}


def test_the_number_is_the_geometrys_whatever_else_is_in_the_list(two_geometries):
    small, large = two_geometries
    alone = gradiometer_types(fm.to_info(small))
    other = gradiometer_types(fm.to_info(large))
    assert len(alone) == 1 and len(other) == 1 and alone != other
    # Defined together, each geometry keeps its own number, in either order.
    assert defined_types(fm.coil_def_text(small + large)) == alone | other
    assert defined_types(fm.coil_def_text(large + small)) == alone | other
    assert defined_types(fm.coil_def_text(large)) == other


def test_the_number_follows_the_rounded_geometry_into_its_own_range(two_geometries):
    small, _ = two_geometries
    s = small[0]
    baseline_um = round(s.getCoilBaseLine() * 1000.0)
    size_um = round(2 * np.sqrt(s.hardware.coilDewar[0].coilArea / np.pi) * 1000.0)
    turns = s.hardware.coilDewar[0].coilTurns, s.hardware.coilDewar[1].coilTurns
    weight_e6 = round(-abs(turns[1] / turns[0]) * 1e6)
    (coil_type,) = gradiometer_types(fm.to_info(small))
    assert coil_type in fm.COIL_TYPE_RANGE
    assert coil_type == expected_type(baseline_um, size_um, weight_e6)
    header = [line for line in fm.coil_def_text(small).splitlines() if line.startswith("2 ")]
    assert [int(line.split()[1]) for line in header] == [coil_type] * 3


def test_another_sets_definitions_never_stand_in_for_these(two_geometries):
    small, large = two_geometries
    m = mne()
    info = fm.to_info(large, fiducials=FIDUCIALS_LSP)
    sphere = m.make_sphere_model(r0=(0, 0, 0.04), head_radius=None, verbose="error")
    src = m.setup_volume_source_space(sphere=(0, 0, 0.04, 0.07), pos=30.0, verbose="error")
    with fm.use_coil_defs(large):
        own = m.make_forward_solution(info, None, src, sphere, eeg=False, verbose="error")
    # Under the other set's definitions the large loops have no definition:
    # MNE says so instead of computing with the small loops.
    with fm.use_coil_defs(small), pytest.raises(RuntimeError, match="coil definition not found"):
        m.make_forward_solution(info, None, src, sphere, eeg=False, verbose="error")
    with fm.use_coil_defs(small + large):
        both = m.make_forward_solution(info, None, src, sphere, eeg=False, verbose="error")
    np.testing.assert_allclose(both["sol"]["data"], own["sol"]["data"], rtol=1e-12)


def test_definitions_in_force_that_give_our_number_another_geometry_are_refused(
        two_geometries, tmp_path: Path):
    small, large = two_geometries
    m = mne()
    (ours,) = gradiometer_types(fm.to_info(small))
    (theirs,) = gradiometer_types(fm.to_info(large))
    forged = tmp_path / "forged_coil_def.dat"
    forged.write_text(fm.coil_def_text(large).replace(f" {theirs} ", f" {ours} "))
    with m.use_coil_def(str(forged)):
        with pytest.raises(fg.Error, match=f"coil type {ours}.*{small[0].snsRawName}"):
            fm.to_info(small)
        fm.to_info(large)  # its own number is not defined there: nothing to refuse
    with fm.use_coil_defs(small):
        assert gradiometer_types(fm.to_info(small)) == {ours}

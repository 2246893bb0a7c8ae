"""Multi-axis OPM arrays in MNE: the axes of each sensor, picking one, the
homogeneous field correction, and topomaps of each axis."""

from __future__ import annotations

import os

import numpy as np
import pytest

import info_builders as builders
from bridge_support import mne

fm = pytest.importorskip("fluxgrid.mne")

os.environ.setdefault("MPLBACKEND", "Agg")


@pytest.fixture(scope="module")
def triaxial():
    mne()
    return builders.triaxial_opm()


def test_each_triaxial_sensor_has_its_three_axes(triaxial):
    found = fm.sensor_axes(triaxial)
    assert len(found) == 90
    sensors = {}
    for name, (sensor, axis) in found.items():
        sensors.setdefault(sensor, {})[axis] = name
    assert len(sensors) == 30
    for axes in sensors.values():
        assert set(axes) == {"radial", "tangential-1", "tangential-2"}
        # The builder names the radial channel Z, the tangential X and Y.
        assert axes["radial"].endswith("Z")
        assert {axes["tangential-1"][-1], axes["tangential-2"][-1]} == {"X", "Y"}
        assert len({name[:-1] for name in axes.values()}) == 1


def test_channels_apart_or_parallel_are_sensors_of_their_own(triaxial):
    m = mne()
    info = builders.build_info(["A", "B", "C"], [1, 1, 1], [8101] * 3,
                               np.array([[0, 0, 0.1], [0, 0, 0.1], [0.0, 0.002, 0.1]]),
                               np.array([[0, 0, 1.0], [0, 0, 1.0], [1.0, 0, 0]]))
    found = fm.sensor_axes(info)
    assert len({s for s, _ in found.values()}) == 3
    assert {a for _, a in found.values()} == {"single"}
    assert m is not None


def test_pick_axis_keeps_the_channels_of_one_axis(triaxial):
    m = mne()
    radial = fm.pick_axis(triaxial, "radial")
    assert len(radial["ch_names"]) == 30 and all(n.endswith("Z") for n in radial["ch_names"])
    raw = m.io.RawArray(np.zeros((90, 10)), triaxial, verbose="error")
    picked = fm.pick_axis(raw, "tangential-1")
    assert len(picked.ch_names) == 30 and raw.info["nchan"] == 90
    evoked = m.EvokedArray(np.zeros((90, 5)), triaxial, verbose="error")
    assert fm.pick_axis(evoked, "tangential-2").info["nchan"] == 30
    with pytest.raises(ValueError):
        fm.pick_axis(triaxial, "diagonal")


@pytest.mark.parametrize("order", [1, 2])
def test_hfc_removes_a_uniform_field_of_any_direction(triaxial, order: int):
    m = mne()
    projs = fm.hfc_projectors(triaxial, order=order)
    assert len(projs) == 3 * order + (2 if order == 2 else 0)
    vectors = np.array([p["data"]["data"][0] for p in projs])
    np.testing.assert_allclose(vectors @ vectors.T, np.eye(len(projs)), atol=1e-12)
    assert all(p["data"]["col_names"] == triaxial["ch_names"] for p in projs)
    projector, _, _ = m.io.proj.make_projector(projs, triaxial["ch_names"])
    normals = np.array([ch["loc"][9:12] for ch in triaxial["chs"]])
    rng = np.random.default_rng(23)
    for direction in list(np.eye(3)) + list(rng.normal(size=(5, 3))):
        seen = normals @ direction
        assert np.linalg.norm(projector @ seen) < 1e-10 * np.linalg.norm(seen)
    # A field that is not uniform is not removed.
    positions = np.array([ch["loc"][:3] for ch in triaxial["chs"]])
    dipole_like = np.einsum("ci,ci->c", normals, positions**2)
    assert np.linalg.norm(projector @ dipole_like) > 1e-3 * np.linalg.norm(dipole_like)


def test_raw_takes_the_hfc_projectors(triaxial):
    m = mne()
    normals = np.array([ch["loc"][9:12] for ch in triaxial["chs"]])
    data = np.outer(normals @ np.array([1e-12, -2e-12, 0.5e-12]), np.ones(20))
    raw = m.io.RawArray(data, triaxial, verbose="error")
    raw.add_proj(fm.hfc_projectors(triaxial, order=2), verbose="error")
    raw.apply_proj(verbose="error")
    assert np.max(np.abs(raw.get_data())) < 1e-10 * np.max(np.abs(data))


@pytest.mark.parametrize("axis", ["radial", "tangential-1", "tangential-2"])
def test_topomap_of_each_axis_draws(triaxial, axis: str):
    m = mne()
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    info = fm.pick_axis(triaxial, axis)
    positions = np.array([ch["loc"][:3] for ch in info["chs"]])
    image, _ = m.viz.plot_topomap(positions[:, 2], info, show=False)
    assert image is not None
    plt.close("all")


def boxes_overlap(pos: np.ndarray) -> bool:
    for i in range(len(pos)):
        for j in range(i + 1, len(pos)):
            a, b = pos[i], pos[j]
            if (a[0] < b[0] + b[2] and b[0] < a[0] + a[2]
                    and a[1] < b[1] + b[3] and b[1] < a[1] + a[3]):
                return True
    return False


def test_the_layout_sets_the_axes_of_a_sensor_side_by_side(triaxial):
    lay = fm.layout(triaxial)
    assert sorted(lay.names) == sorted(triaxial["ch_names"])
    assert not boxes_overlap(lay.pos)
    assert lay.pos[:, :2].min() >= 0.0 and (lay.pos[:, :2] + lay.pos[:, 2:]).max() <= 1.0 + 1e-12
    # The three channels of a sensor share a row, next to each other.
    first = [lay.names.index(n) for n in ("OPM00Z", "OPM00X", "OPM00Y")]
    assert np.ptp(lay.pos[first, 1]) == 0.0
    radial = fm.layout(triaxial, axis="radial")
    assert len(radial.names) == 30 and not boxes_overlap(radial.pos)


def test_the_flattening_is_the_librarys():
    import fluxgrid as fg

    flat = fg._fluxgrid.flatten(np.array([[0.0, 0.0, 1.0], [1.0, 0.0, 0.0], [0.0, -2.0, 0.0]]))
    # 90 degrees from the vertex lies at 90/108 of the unit circle.
    np.testing.assert_allclose(flat, [[0, 0], [90 / 108, 0], [0, -90 / 108]], atol=1e-12)


def test_topomap_on_the_side_by_side_layout_draws(triaxial):
    m = mne()
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    lay = fm.layout(triaxial)
    centres = lay.pos[:, :2] + lay.pos[:, 2:] / 2.0
    data = np.arange(len(lay.names), dtype=float)
    image, _ = m.viz.plot_topomap(data, centres - 0.5, sphere=0.6, show=False)
    assert image is not None
    plt.close("all")

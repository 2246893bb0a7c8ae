"""Sensors, head localization and layouts in MNE-Python, the right way up,
checked with the real MNE."""

from __future__ import annotations

import os
import re
from pathlib import Path

import numpy as np
import pytest

import fluxgrid as fg
from bridge_support import FIDUCIALS_LSP, fiducial_array, headloc_of, inward_copy, mne, sensor_sets

fm = pytest.importorskip("fluxgrid.mne")

os.environ.setdefault("MPLBACKEND", "Agg")

EXPECTED_TYPE = {"meg": "mag", "ref": "ref_meg", "eeg": "eeg", "stim": "stim", "misc": "misc"}


@pytest.fixture(scope="module")
def sets(demo_dir: Path):
    mne()
    return sensor_sets(demo_dir)


@pytest.fixture(scope="module", params=["opm32", "squid21"])
def named(request, sets):
    return request.param, sets[request.param]


def is_meg(ch) -> bool:
    return ch["kind"] in (1, 301)


def test_channel_types_follow_the_type_codes(named):
    _, sensors = named
    info = fm.to_info(sensors)
    assert info["ch_names"] == [s.snsRawName for s in sensors]
    for i, s in enumerate(sensors):
        code = s.sensorType
        if 100 <= code <= 103 or (s.hardware_kind == "opm" and code == 700):
            expected = "mag"
        elif 10 <= code <= 13 or (s.hardware_kind == "opm" and code == 800):
            expected = "ref_meg"
        else:
            expected = "misc"
        assert mne().channel_type(info, i) == expected, (s.snsRawName, code)


def test_opm_codes_of_the_setup_dialog_are_meg_and_reference():
    mne()
    sensors = []
    for x, code in ((-40, 700), (0, 800), (40, 700)):
        s = fg.Sensor()
        s.initSensorInfo(1, code, 1, 0, 1.0, 1.0, 1.0, 0.0)
        s.setAcqSnsParam(1, 0, f"OPM{len(sensors)}", (x, 80, 0), (0, 1, 0), code, 1, 1, 1, 1)
        s.hardware.totalVapors = 1
        sensors.append(s)
    info = fm.to_info(sensors)
    assert [mne().channel_type(info, i) for i in range(3)] == ["mag", "ref_meg", "mag"]
    # Cells of no known size: MNE's default OPM type, never a point.
    assert {ch["coil_type"] for ch in info["chs"]} == {fm.DEFAULT_OPM_COIL_TYPE}


def test_left_channels_are_left_right_ones_right_and_frontal_ones_in_front(named):
    _, sensors = named
    info = fm.to_info(sensors)
    seen = {"L": 0, "R": 0, "F": 0}
    for ch in info["chs"]:
        match = re.match(r"M([LRZ])([A-Z]+)\d", ch["ch_name"])
        if not is_meg(ch) or not match:
            continue
        side, region = match.groups()
        x, y = ch["loc"][0], ch["loc"][1]
        if side in "LR":
            assert (x < 0) == (side == "L"), ch["ch_name"]
            seen[side] += 1
        if region.startswith("F") and not region.startswith("FT"):
            assert y > 0, ch["ch_name"]
            seen["F"] += 1
    assert min(seen.values()) >= 2, seen


def test_every_meg_channel_lies_above_the_ears_plane(named):
    _, sensors = named
    info = fm.to_info(sensors, fiducials=FIDUCIALS_LSP)
    trans = info["dev_head_t"]["trans"]
    ears = {tuple(FIDUCIALS_LSP[1]), tuple(FIDUCIALS_LSP[2])}
    for s, ch in zip(sensors, info["chs"]):
        if not is_meg(ch):
            continue
        head = trans[:3, :3] @ ch["loc"][:3] + trans[:3, 3]
        if tuple(s.positions("dewar")[0]) in ears:
            # The gradiometers that sit on the ear points lie in the plane.
            assert head[2] == pytest.approx(0.0, abs=1e-12), ch["ch_name"]
        else:
            assert head[2] > 0.005, ch["ch_name"]


def test_loc_is_orthonormal_right_handed_and_ez_is_the_mapped_orientation(named):
    _, sensors = named
    info = fm.to_info(sensors)
    lsp_to_ras = fg.axes_to_ras("LSP")
    for s, ch in zip(sensors, info["chs"]):
        if not is_meg(ch):
            continue
        ex, ey, ez = ch["loc"][3:6], ch["loc"][6:9], ch["loc"][9:12]
        frame = np.array([ex, ey, ez])
        np.testing.assert_allclose(frame @ frame.T, np.eye(3), atol=1e-12)
        assert np.linalg.det(frame) == pytest.approx(1.0)
        ori = lsp_to_ras @ s.orientations("dewar")[0]
        np.testing.assert_allclose(ez, ori / np.linalg.norm(ori), atol=1e-12)
        np.testing.assert_allclose(ch["loc"][:3], lsp_to_ras @ s.positions("dewar")[0] / 1000.0)


def test_axes_and_unit_are_explicit_and_checked(sets):
    sensors = sets["opm32"]
    # Millimetres taken as centimetres make a helmet ten times too large,
    # which the check refuses; the reading alone is tested here.
    with pytest.raises(fg.GeometryError, match="unit-mismatch"):
        fm.to_info(sensors, axes="RAS", unit="cm")
    info = fm.to_info(sensors, axes="RAS", unit="cm", check=False)
    p = sensors[0].positions("dewar")[0]
    np.testing.assert_allclose(info["chs"][0]["loc"][:3], p / 100.0)
    with pytest.raises(ValueError):
        fm.to_info(sensors, axes="LSX")
    with pytest.raises(ValueError):
        fm.to_info(sensors, unit="inch")


def test_plot_sensors_draws_both_sets(named):
    _, sensors = named
    import matplotlib

    matplotlib.use("Agg")
    figure = mne().viz.plot_sensors(fm.to_info(sensors), kind="topomap", show=False)
    assert figure.axes


def test_mne_builds_a_coil_for_every_meg_channel(named):
    name, sensors = named
    info = fm.to_info(sensors)
    meg = [ch for ch in info["chs"] if is_meg(ch)]
    with fm.use_coil_defs(sensors):
        coils = mne().forward._create_meg_coils(meg, "accurate")
    assert len(coils) == len(meg)
    if name == "squid21":
        (coil_type,) = {ch["coil_type"] for ch in meg}
        assert coil_type in fm.COIL_TYPE_RANGE
        # Two coils a baseline apart, the second weighted against the first.
        assert len(coils[0]["w"]) == 14 and coils[0]["w"].sum() == pytest.approx(0.0)


def test_axial_gradiometer_definition_comes_from_the_records(sets):
    sensors = sets["squid21"]
    text = fm.coil_def_text(sensors)
    header = [line for line in text.splitlines() if line.startswith("2 ")]
    assert len(header) == 3  # one geometry, three accuracies
    baseline = sensors[0].getCoilBaseLine() / 1000.0
    area = sensors[0].hardware.coilDewar[0].coilArea
    size = 2 * np.sqrt(area / np.pi) / 1000.0
    fields = header[0].split()
    assert fields[0] == "2" and int(fields[1]) in fm.COIL_TYPE_RANGE and fields[2:4] == ["0", "2"]
    assert float(fields[4]) == pytest.approx(size, rel=1e-6)
    assert float(fields[5]) == pytest.approx(baseline, rel=1e-6)


def test_forward_solution_on_a_sphere_is_finite_for_both_sets(named):
    name, sensors = named
    m = mne()
    info = fm.to_info(sensors, fiducials=FIDUCIALS_LSP)
    sphere = m.make_sphere_model(r0=(0, 0, 0.04), head_radius=None, verbose="error")
    src = m.setup_volume_source_space(sphere=(0, 0, 0.04, 0.07), pos=15.0, verbose="error")
    with fm.use_coil_defs(sensors):
        fwd = m.make_forward_solution(info, None, src, sphere, eeg=False, verbose="error")
    data = fwd["sol"]["data"]
    assert data.shape[0] == sum(1 for ch in info["chs"] if ch["kind"] == 1)
    assert data.shape[1] > 0 and np.all(np.isfinite(data)) and np.any(data != 0)


def test_fiducials_give_the_nasion_in_front_and_the_left_ear_left(sets):
    m = mne()
    sensors = sets["opm32"]
    for points in (FIDUCIALS_LSP, FIDUCIALS_LSP[[0, 2, 1]]):
        info = fm.to_info(sensors, fiducials=points)
        trans = info["dev_head_t"]
        nasion, left = (m.transforms.apply_trans(trans, fg.axes_to_ras("LSP") @ p / 1000.0)
                        for p in (FIDUCIALS_LSP[0], FIDUCIALS_LSP[1]))
        assert nasion[1] > 0 and abs(nasion[0]) < 1e-9
        assert left[0] < 0 and abs(left[1]) < 1e-9
        cardinal = {d["ident"]: d["r"] for d in info["dig"]}
        assert cardinal[1][0] < 0 < cardinal[3][0] and cardinal[2][1] > 0  # LPA, nasion, RPA


def test_fiducials_in_another_frame_and_from_a_head_localization(sets, demo_dir: Path):
    sensors = sets["opm32"]
    # The demo's head localization for this set, whose points lie within
    # the helmet, so that the check lets it through.
    points = fiducial_array(fg.read_headloc(demo_dir / "headloc" / "opm32.headloc"))
    expected = fm.to_info(sensors, fiducials=points)["dev_head_t"]["trans"]
    ras_m = points @ fg.axes_to_ras("LSP").T / 1000.0
    other = fm.to_info(sensors, fiducials=ras_m, fiducial_axes="RAS", fiducial_unit="m")
    np.testing.assert_allclose(other["dev_head_t"]["trans"], expected, atol=1e-12)
    hl = headloc_of(points)
    np.testing.assert_allclose(fm.to_info(sensors, fiducials=hl)["dev_head_t"]["trans"], expected)
    np.testing.assert_allclose(
        fm.to_info(sensors, fiducials=hl.fiducialCurrent)["dev_head_t"]["trans"], expected)


def test_without_fiducials_the_transform_is_the_identity(sets):
    info = fm.to_info(sets["opm32"])
    np.testing.assert_array_equal(info["dev_head_t"]["trans"], np.eye(4))
    assert not info["dig"]


EEG_TABLES = [n for n in fg.layout_names() if n.startswith("eeg")]


@pytest.mark.parametrize("name", EEG_TABLES)
def test_layout_montages_are_the_right_way_up(name: str):
    mne()
    positions = fm.layout_montage(name).get_positions()
    assert positions["coord_frame"] == "head"
    pos = dict(positions["ch_pos"])
    for key, label in (("nasion", "FidNz"), ("lpa", "FidT9"), ("rpa", "FidT10")):
        if positions[key] is not None:
            pos[label] = positions[key]
    front = [pos[n] for n in ("FZ", "Fz", "FidNz", "FP1", "FP2") if n in pos]
    left = [pos[n] for n in ("A1", "T7", "T3", "FidT9") if n in pos]
    top = [pos[n] for n in ("CZ", "Cz") if n in pos]
    assert front and left
    assert all(p[1] > 0 for p in front)
    assert all(p[0] < 0 for p in left)
    for p in top:
        assert p[2] > 0 and p[2] >= 0.9 * max(q[2] for q in pos.values())


def test_net_montages_carry_their_fiducials():
    mne()
    positions = fm.layout_montage("eegNet260").get_positions()
    assert positions["nasion"][1] > 0 and positions["lpa"][0] < 0 < positions["rpa"][0]
    assert "FidNz" not in positions["ch_pos"]


def test_meg_tables_make_montages_too():
    mne()
    positions = fm.layout_montage("megLayout32").get_positions()["ch_pos"]
    assert positions["MLFP1"][0] < 0 < positions["MRFP2"][0]


def test_a_set_with_an_inward_channel_is_refused_unless_told(sets):
    sensors = inward_copy(sets["squid21"], 4)
    with pytest.raises(fg.GeometryError) as raised:
        fm.to_info(sensors)
    assert [(f.code, f.index) for f in raised.value.findings] == [("orientation-inward", 4)]
    info = fm.to_info(sensors, check=False)
    assert info["ch_names"] == [s.snsRawName for s in sensors]


def test_a_head_localization_outside_the_helmet_is_refused_unless_told(sets):
    sensors = sets["opm32"]
    far = headloc_of(FIDUCIALS_LSP * 3.0)
    with pytest.raises(fg.GeometryError) as raised:
        fm.to_info(sensors, fiducials=far)
    assert {f.code for f in raised.value.findings} == {"fiducial-outside-helmet"}
    assert len(fm.to_info(sensors, fiducials=far, check=False)["dig"]) == 3
    # The points alone, with no head localization to judge, pass as given.
    assert len(fm.to_info(sensors, fiducials=FIDUCIALS_LSP * 3.0)["dig"]) == 3
    # Along other axes than the sensors' the fiducials are not judged.
    ras = headloc_of(FIDUCIALS_LSP @ fg.axes_to_ras("LSP").T * 3.0)
    assert len(fm.to_info(sensors, fiducials=ras, fiducial_axes="RAS")["dig"]) == 3

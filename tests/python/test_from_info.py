"""Sensors from a measurement info and back: positions, directions, kinds
and forward solutions survive the round trip; the import command writes
the files."""

from __future__ import annotations

import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import fluxgrid as fg
import info_builders as builders
from bridge_support import mne, sphere_forward

fm = pytest.importorskip("fluxgrid.mne")

HELMETS = {"ctf275": builders.ctf275, "kit157": builders.kit157,
           "opm30x3": builders.triaxial_opm}


@pytest.fixture(scope="module", params=sorted(HELMETS))
def helmet(request):
    mne()
    info = HELMETS[request.param]()
    imported = fm.from_info(info)
    return request.param, info, imported


def magnetic(info):
    return [ch for ch in info["chs"] if ch["kind"] in (1, 301)]


def test_one_sensor_a_magnetic_channel_with_its_name_and_kind(helmet):
    _, info, imported = helmet
    chs = magnetic(info)
    assert [s.snsRawName for s in imported.sensors] == [ch["ch_name"] for ch in chs]
    expected = {1: "meg", 301: "ref"}
    assert [s.channel_kind for s in imported.sensors] == [expected[ch["kind"]] for ch in chs]
    assert imported.skipped == []


def test_gains_come_from_cal_and_range(helmet):
    _, info, imported = helmet
    for s, ch in zip(imported.sensors, magnetic(info)):
        assert s.hardware.properGain == ch["cal"] and s.hardware.secondGain == ch["range"]


def test_the_round_trip_keeps_positions_directions_and_kinds(helmet):
    _, info, imported = helmet
    back = fm.to_info(imported.sensors)
    assert back["ch_names"] == [ch["ch_name"] for ch in magnetic(info)]
    for before, after in zip(magnetic(info), back["chs"]):
        assert after["kind"] == before["kind"], before["ch_name"]
        np.testing.assert_allclose(after["loc"][:3], before["loc"][:3], atol=1e-6, rtol=0)
        ez = before["loc"][9:12] / np.linalg.norm(before["loc"][9:12])
        np.testing.assert_allclose(after["loc"][9:12], ez, atol=1e-6, rtol=0)
        assert after["coil_type"] == before["coil_type"] & 0xFFFF


def test_the_compensation_grade_is_read_off_and_kept(helmet):
    name, _, imported = helmet
    assert imported.comp_grade == (3 if name == "ctf275" else 0)


def test_axial_gradiometers_have_both_coils_at_the_definitions_baseline():
    m = mne()
    imported = fm.from_info(builders.ctf275())
    s = imported.sensors[0]
    assert s.hardware_kind == "squid" and s.hardware.totalCoils == 2
    assert s.getCoilBaseLine() == pytest.approx(50.0, abs=1e-9)  # mm, as MNE's 5001
    assert s.isAxialGrad() == 1
    area = s.hardware.coilDewar[0].coilArea
    assert area == pytest.approx(np.pi * 9.0**2)  # the 18 mm loop, in mm^2
    turns = [s.hardware.coilDewar[i].coilTurns for i in range(2)]
    assert turns == [1, -1]
    opm = fm.from_info(builders.triaxial_opm()).sensors[0]
    assert opm.hardware_kind == "opm" and opm.sensorType == 700
    assert m is not None


def forward(info, sensors=None):
    return sphere_forward(info, sensors)


def test_the_forward_agrees_with_mnes_for_the_original(helmet):
    _, info, imported = helmet
    original = info.copy()
    with original._unlock():
        # MNE's forward takes the base type; the grade is the recording's.
        for ch in original["chs"]:
            ch["coil_type"] &= 0xFFFF
    ours = forward(fm.to_info(imported.sensors), imported.sensors)
    theirs = forward(original)
    keep = [i for i, ch in enumerate(magnetic(original)) if ch["kind"] == 1]
    assert ours.shape == theirs[: len(keep)].shape
    assert np.linalg.norm(ours - theirs) / np.linalg.norm(theirs) < 0.01


def test_a_planar_gradiometer_is_refused_or_skipped_by_name():
    mne()
    info = builders.build_info(["MEG0112", "MEG0111"], [1, 1], [3012, 3022],
                               np.array([[0.0, 0.0, 0.1]] * 2), np.array([[0.0, 0.0, 1.0]] * 2))
    with pytest.raises(fg.Error, match="MEG0112.*3012"):
        fm.from_info(info)
    with pytest.warns(UserWarning, match="MEG0112"):
        imported = fm.from_info(info, on_unsupported="skip")
    assert [s.snsRawName for s in imported.sensors] == ["MEG0111"]
    assert imported.skipped == ["MEG0112 (3012)"]


def test_a_magnetometer_keeps_its_loop(tmp_path: Path):
    """A Vectorview magnetometer comes back as its own coil type, never as a
    point magnetometer."""
    mne()
    info = builders.build_info(["MEG0111"], [1], [3022], np.array([[0.0, 0.0, 0.1]]),
                               np.array([[0.0, 0.0, 1.0]]))
    (sensor,) = fm.from_info(info).sensors
    assert sensor.hardware.totalCoils == 1
    assert sensor.hardware.coilDewar[0].coilArea > 0
    back = fm.to_info([sensor], check=False)["chs"][0]
    assert back["coil_type"] == 3022
    np.testing.assert_allclose(back["loc"][:3], [0.0, 0.0, 0.1], atol=1e-9, rtol=0)


def test_cardinal_points_give_a_head_localization_in_the_device_frame():
    m = mne()
    info = builders.kit157()
    nasion, lpa, rpa = [0.0, 0.09, 0.0], [-0.075, 0.0, 0.0], [0.075, 0.0, 0.0]
    info.set_montage(m.channels.make_dig_montage(nasion=nasion, lpa=lpa, rpa=rpa,
                                                 coord_frame="head"))
    trans = np.eye(4)
    trans[:3, 3] = [0.0, 0.01, -0.04]  # device to head
    with info._unlock():
        info["dev_head_t"] = m.transforms.Transform("meg", "head", trans)
    hl = fm.from_info(info).headloc
    assert hl is not None
    points = np.array([hl.fiducialCurrent.fidPts[i].ptValues[4:7] for i in range(3)])
    # The device frame is the head frame shifted back by the translation;
    # LSP millimetres: x = -R, y = S, z = -A.
    for got, head in zip(points, (nasion, lpa, rpa)):
        device = np.array(head) - trans[:3, 3]
        np.testing.assert_allclose(got, [-device[0] * 1e3, device[2] * 1e3, -device[1] * 1e3],
                                   atol=1e-9)


def import_command(info, source: Path, folder: Path) -> subprocess.CompletedProcess:
    """`python3 -m fluxgrid import` of `info`, written to `source`, into
    `folder`."""
    mne().io.write_info(source, info)
    return subprocess.run([sys.executable, "-m", "fluxgrid", "import", str(source), "-o",
                           str(folder)], capture_output=True, text=True, check=False)


def rotation(axis, degrees: float) -> np.ndarray:
    """The rotation by `degrees` about `axis` (Rodrigues)."""
    k = np.asarray(axis, dtype=float) / np.linalg.norm(axis)
    cross = np.array([[0.0, -k[2], k[1]], [k[2], 0.0, -k[0]], [-k[1], k[0], 0.0]])
    angle = np.radians(degrees)
    return np.eye(3) + np.sin(angle) * cross + (1.0 - np.cos(angle)) * cross @ cross


def with_dev_head_t(info, rotate: np.ndarray, shift) -> np.ndarray:
    m = mne()
    trans = np.eye(4)
    trans[:3, :3], trans[:3, 3] = rotate, shift
    with info._unlock():
        info["dev_head_t"] = m.transforms.Transform("meg", "head", trans)
    return trans


@pytest.mark.parametrize("axes, unit", [("LSP", "mm"), ("RAS", "m"), ("ALS", "cm")])
def test_a_device_to_head_transform_alone_gives_a_head_localization_that_gives_it_back(
        axes: str, unit: str):
    info = builders.kit157()
    assert not info["dig"]
    # The head's origin 4.3 cm below the device's and 1.2 cm behind it.
    trans = with_dev_head_t(info, rotation([0.3, -1.0, 0.4], 12.0), [0.004, 0.012, 0.043])
    imported = fm.from_info(info, axes=axes, unit=unit)
    assert imported.headloc is not None
    # The geometry check of the export judges the head localization too.
    back = fm.to_info(imported.sensors, axes=axes, unit=unit, fiducials=imported.headloc)
    np.testing.assert_allclose(back["dev_head_t"]["trans"], trans, atol=1e-9, rtol=0)
    # The fiducials lie where a head's do: 150 mm between the ear points.
    points = np.array([imported.headloc.fiducialCurrent.fidPts[i].ptValues[4:7]
                       for i in range(3)])
    per_mm = {"mm": 1.0, "cm": 0.1, "m": 1e-3}[unit]
    assert np.linalg.norm(points[1] - points[2]) == pytest.approx(150.0 * per_mm)


def test_the_identity_transform_without_cardinal_points_says_nothing_of_the_head():
    """MNE puts the identity in every new info: without digitised points it
    places no head, and no head localization is made of it."""
    info = builders.kit157()
    assert np.array_equal(info["dev_head_t"]["trans"], np.eye(4)) and not info["dig"]
    assert fm.from_info(info).headloc is None
    with_dev_head_t(info, np.eye(3), [0.0, 0.0, 0.0])
    assert fm.from_info(info).headloc is None
    with_dev_head_t(info, np.eye(3), [0.0, 0.0, 0.04])
    assert fm.from_info(info).headloc is not None


def test_a_transform_that_is_not_rigid_gives_no_head_localization():
    info = builders.kit157()
    with_dev_head_t(info, np.diag([1.0, 1.0, 1.1]), [0.0, 0.0, 0.04])
    with pytest.warns(UserWarning, match="dev_head_t"):
        assert fm.from_info(info).headloc is None


def test_the_import_command_writes_the_head_localization_of_the_transform(tmp_path: Path):
    info = builders.kit157()
    trans = with_dev_head_t(info, rotation([1.0, 0.0, 0.0], -8.0), [0.0, 0.01, 0.04])
    folder = tmp_path / "imported"
    done = import_command(info, tmp_path / "kit-info.fif", folder)
    assert done.returncode == 0, done.stderr
    assert " 0 errors" in done.stdout
    headloc = fg.read_headloc(folder / "headloc.headloc")
    back = fm.to_info(fg.read_sensors(folder), fiducials=headloc)
    # FIF holds a transform in single precision.
    np.testing.assert_allclose(back["dev_head_t"]["trans"], trans, atol=1e-6, rtol=0)


def test_the_import_command_writes_the_files_and_says_what_the_check_found(tmp_path: Path):
    m = mne()
    info = builders.kit157()
    info.set_montage(m.channels.make_dig_montage(
        nasion=[0.0, 0.09, 0.0], lpa=[-0.075, 0.0, 0.0], rpa=[0.075, 0.0, 0.0],
        coord_frame="head"))
    folder = tmp_path / "imported"
    done = import_command(info, tmp_path / "kit-info.fif", folder)
    assert done.returncode == 0, done.stderr
    files = sorted(folder.glob("*.sensor"))
    assert len(files) == 160
    assert (folder / "headloc.headloc").is_file()
    # The check judged the 160 sensor files and the head localization.
    assert "160 channels in 161 files" in done.stdout and " 0 errors" in done.stdout
    again = fg.read_sensors(folder)
    assert sorted(s.snsRawName for s in again) == sorted(ch["ch_name"] for ch in info["chs"])
    bad = subprocess.run([sys.executable, "-m", "fluxgrid", "import", str(tmp_path / "none.fif"),
                          "-o", str(folder)], capture_output=True, text=True, check=False)
    assert bad.returncode == 1 and "none.fif" in bad.stderr


@pytest.mark.parametrize("make", [builders.ctf275, builders.kit157])
def test_our_own_definitions_of_the_coils_give_mnes_forward_too(make):
    """With MNE's coil type dropped from the records, to_info defines the
    gradiometers from their coils alone; the forward still agrees."""
    info = make()
    sensors = fm.from_info(info).sensors
    for s in sensors:
        flags = s.hardware.auxFlags
        flags[0] = 0
        s.hardware.auxFlags = flags
    ours_info = fm.to_info(sensors)
    assert all(ch["coil_type"] in fm.COIL_TYPE_RANGE for ch in ours_info["chs"]
               if ch["kind"] == 1)
    original = info.copy()
    with original._unlock():
        for ch in original["chs"]:
            ch["coil_type"] &= 0xFFFF
    ours = forward(ours_info, sensors)
    theirs = forward(original)
    assert np.linalg.norm(ours - theirs) / np.linalg.norm(theirs) < 0.01

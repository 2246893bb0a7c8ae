"""What the exports refuse, and that a refused or failed export leaves the
file it was to write as it was: no sensor at all, channels without a place
or with positions that are not numbers, fiducials that give no head frame,
shared names, names that FIF cannot hold, an output that is a folder or an
input, and a disk that fills up during the write."""

from __future__ import annotations

import errno
import os
import re
import subprocess
import sys
from pathlib import Path
from typing import Callable, List, Sequence

import numpy as np
import pytest

import fluxgrid as fg
import fluxgrid.fieldtrip as ft
import fluxgrid.mne as fm
from bridge_support import FIDUCIALS_LSP, headloc_of, mne, scipy_io
from fluxgrid.__main__ import main

FORMATS = ["fif", "mat"]

#: Old bytes of an output that a failed export must leave alone.
OLD = b"the output of an earlier run\n"


def export(*args: str) -> subprocess.CompletedProcess:
    return subprocess.run([sys.executable, "-m", "fluxgrid", "export", *args],
                          capture_output=True, text=True, check=False)


def need(kind: str) -> None:
    (mne if kind == "fif" else scipy_io)()


def need_for(convert: Callable) -> None:
    if convert is fm.to_info:
        mne()


def squid21(demo_dir: Path) -> List[fg.Sensor]:
    return fg.read_sensors(demo_dir / "sensors" / "squid21")


def write_set(folder: Path, sensors: Sequence[fg.Sensor]) -> Path:
    folder.mkdir()
    for i, s in enumerate(sensors):
        fg.write(s, folder / f"{i:02d}.sensor")
    return folder


def refused_export(kind: str, sensors: Sequence[fg.Sensor], tmp_path: Path, *args: str) -> str:
    """Writes `sensors` as a folder and exports it to a new file of `kind`
    with `args`; checks the export failed with status 1 and wrote nothing,
    and returns its error output."""
    folder = write_set(tmp_path / "set", sensors)
    out = tmp_path / f"out.{kind}"
    refused = export(kind, str(folder), *args, "-o", str(out))
    assert refused.returncode == 1
    assert not out.exists()
    return refused.stderr


def first_coil(sensor: fg.Sensor) -> fg.Coil:
    return sensor.hardware.coilDewar[0]


def with_nan_position(sensors: Sequence[fg.Sensor], index: int) -> List[fg.Sensor]:
    copies = [s.copy() for s in sensors]
    first_coil(copies[index]).posP4[1] = np.nan
    return copies


def with_no_element(sensors: Sequence[fg.Sensor], index: int) -> List[fg.Sensor]:
    copies = [s.copy() for s in sensors]
    copies[index].hardware.totalCoils = 0
    return copies


def renamed(sensors: Sequence[fg.Sensor], names: dict) -> List[fg.Sensor]:
    copies = [s.copy() for s in sensors]
    for index, name in names.items():
        copies[index].snsRawName = name
    return copies


def leftovers(folder: Path, *expected: Path) -> List[str]:
    """Files in `folder` other than `expected`: temporary files left behind."""
    return sorted(p.name for p in folder.iterdir() if p not in expected)


# --- the output is written whole or not at all -----------------------------


def partial_then_full_disk(target, *args, **kwargs) -> None:
    """A writer that gets a few bytes out and then meets a full disk."""
    if isinstance(target, (str, os.PathLike)):
        with open(target, "wb") as out:
            out.write(b"partial")
    else:
        target.write(b"partial")
    raise OSError(errno.ENOSPC, os.strerror(errno.ENOSPC))


@pytest.mark.parametrize("kind", FORMATS)
def test_a_full_disk_during_the_export_leaves_the_old_output_intact(
        demo_dir: Path, tmp_path: Path, monkeypatch, capsys, kind: str):
    need(kind)
    if kind == "fif":
        monkeypatch.setattr(mne().io, "write_info", partial_then_full_disk)
    else:
        monkeypatch.setattr(scipy_io(), "savemat", partial_then_full_disk)
    out = tmp_path / f"out.{kind}"
    out.write_bytes(OLD)
    status = main(["export", kind, str(demo_dir / "sensors" / "squid21"), "-o", str(out)])
    assert status == 1
    assert os.strerror(errno.ENOSPC) in capsys.readouterr().err
    assert out.read_bytes() == OLD
    assert leftovers(tmp_path, out) == []


def test_save_grad_on_a_full_disk_leaves_the_old_file_intact(
        demo_dir: Path, tmp_path: Path, monkeypatch):
    monkeypatch.setattr(scipy_io(), "savemat", partial_then_full_disk)
    out = tmp_path / "grad.mat"
    out.write_bytes(OLD)
    with pytest.raises(OSError) as raised:
        ft.save_grad(out, squid21(demo_dir))
    assert raised.value.errno == errno.ENOSPC
    assert out.read_bytes() == OLD
    assert leftovers(tmp_path, out) == []


@pytest.mark.parametrize("kind", FORMATS)
def test_an_output_whose_folder_takes_no_new_file_is_an_error(
        demo_dir: Path, tmp_path: Path, kind: str):
    need(kind)
    out = tmp_path / "no-such-folder" / f"out.{kind}"
    failed = export(kind, str(demo_dir / "sensors" / "squid21"), "-o", str(out))
    assert failed.returncode == 1
    assert failed.stderr.startswith("fluxgrid: ") and "no-such-folder" in failed.stderr
    assert not out.parent.exists()


@pytest.mark.parametrize("kind", FORMATS)
def test_the_output_replaces_an_old_file_and_takes_a_new_files_mode(
        demo_dir: Path, tmp_path: Path, kind: str):
    need(kind)
    out = tmp_path / f"out.{kind}"
    out.write_bytes(OLD)
    fresh = tmp_path / "fresh"
    fresh.write_bytes(b"")
    done = export(kind, str(demo_dir / "sensors" / "squid21"), "-o", str(out))
    assert done.returncode == 0, done.stderr
    assert out.read_bytes() != OLD and len(out.read_bytes()) > 1000
    # As open() makes a file, not as private as a temporary file.
    assert out.stat().st_mode & 0o777 == fresh.stat().st_mode & 0o777
    assert leftovers(tmp_path, out, fresh) == []


@pytest.mark.parametrize("kind", FORMATS)
def test_an_output_that_is_an_input_is_refused_and_the_input_kept(
        demo_dir: Path, tmp_path: Path, kind: str):
    need(kind)
    folder = write_set(tmp_path / "set", squid21(demo_dir))
    victim = folder / "03.sensor"
    before = victim.read_bytes()
    refused = export(kind, str(folder), "-o", str(victim))
    assert refused.returncode == 1
    assert refused.stderr.startswith("fluxgrid: ") and "03.sensor" in refused.stderr
    assert victim.read_bytes() == before
    # The same file under another name is the same input.
    other_name = tmp_path / "link.sensor"
    os.link(victim, other_name)
    refused = export(kind, str(folder), "-o", str(other_name))
    assert refused.returncode == 1 and "link.sensor" in refused.stderr
    assert victim.read_bytes() == before


@pytest.mark.parametrize("kind", FORMATS)
def test_an_output_that_is_the_head_localization_is_refused(
        demo_dir: Path, tmp_path: Path, kind: str):
    need(kind)
    headloc = tmp_path / "copy.headloc"
    headloc.write_bytes((demo_dir / "headloc" / "opm32.headloc").read_bytes())
    refused = export(kind, str(demo_dir / "sensors" / "squid21"), "--headloc", str(headloc),
                     "-o", str(headloc))
    assert refused.returncode == 1 and "copy.headloc" in refused.stderr
    assert headloc.read_bytes() == (demo_dir / "headloc" / "opm32.headloc").read_bytes()


@pytest.mark.parametrize("kind", FORMATS)
def test_an_output_that_is_a_folder_is_refused_and_nothing_written_beside_it(
        demo_dir: Path, tmp_path: Path, kind: str):
    need(kind)
    target = tmp_path / "target"
    target.mkdir()
    refused = export(kind, str(demo_dir / "sensors" / "squid21"), "-o", str(target))
    assert refused.returncode == 1
    assert "target" in refused.stderr and "folder" in refused.stderr
    assert leftovers(tmp_path, target) == []
    assert list(target.iterdir()) == []


def test_a_mat_output_is_written_under_the_name_given(demo_dir: Path, tmp_path: Path):
    io = scipy_io()
    out = tmp_path / "grad"
    done = export("mat", str(demo_dir / "sensors" / "squid21"), "-o", str(out))
    assert done.returncode == 0, done.stderr
    assert leftovers(tmp_path, out) == []
    assert io.loadmat(str(out))["grad"]["label"][0, 0].shape == (21, 1)


# --- a name that FIF cannot hold ---------------------------------------------


def test_a_name_outside_ascii_is_refused_in_fif_before_a_byte_is_written(
        demo_dir: Path, tmp_path: Path):
    mne()
    folder = write_set(tmp_path / "set", renamed(squid21(demo_dir), {4: "MEG\u00e94"}))
    out = tmp_path / "out.fif"
    refused = export("fif", str(folder), "-o", str(out))
    assert refused.returncode == 1
    assert "channel 4 'MEG\u00e94'" in refused.stderr and "ASCII" in refused.stderr
    assert leftovers(tmp_path, folder) == []
    out.write_bytes(OLD)
    assert export("fif", str(folder), "-o", str(out)).returncode == 1
    assert out.read_bytes() == OLD


def narrow(data: bytes, name: str, raw: bytes) -> bytes:
    """The bytes of a stored sensor with its name `name` (stored wide)
    given instead in the old narrow form: a length byte, then `raw`."""
    wide = b"\xff\xfe\xff" + bytes([len(name)]) + name.encode("utf-16-le")
    assert data.count(wide) == 1
    return data.replace(wide, bytes([len(raw)]) + raw)


@pytest.fixture
def narrow_names(demo_dir: Path, tmp_path: Path) -> Path:
    """The squid21 set in files whose channels 0 and 1 carry narrow names with
    a byte above 0x7F: 0xE9 (é in Latin-1 and Windows-1252 alike) and 0x80
    (the euro sign of Windows-1252, which Latin-1 lacks); the third file's
    name is not UTF-8."""
    # Placeholders that the files hold once, replaced by the narrow names.
    folder = write_set(tmp_path / "set", renamed(squid21(demo_dir), {0: "NARROW0", 1: "NARROW1"}))
    for i, raw in enumerate((b"MEG\xe90", b"MEG\x801")):
        path = folder / f"0{i}.sensor"
        path.write_bytes(narrow(path.read_bytes(), f"NARROW{i}", raw))
    os.rename(os.fsencode(folder / "02.sensor"), os.fsencode(folder) + b"/02-\xff.sensor")
    return folder


def test_narrow_names_read_as_windows_1252(narrow_names: Path):
    names = [s.snsRawName for s in fg.read_sensors(narrow_names)]
    assert names[:2] == ["MEG\u00e90", "MEG\u20ac1"]


def test_narrow_names_and_a_file_name_not_utf8_export_to_mat(narrow_names: Path, tmp_path: Path):
    io = scipy_io()
    out = tmp_path / "grad.mat"
    done = export("mat", str(narrow_names), "-o", str(out))
    assert done.returncode == 0, done.stderr
    labels = [str(cell[0]) for cell in io.loadmat(str(out))["grad"]["label"][0, 0][:, 0]]
    assert labels[:2] == ["MEG\u00e90", "MEG\u20ac1"] and len(labels) == 21


def test_narrow_names_outside_ascii_are_refused_in_fif_naming_the_first(
        narrow_names: Path, tmp_path: Path):
    m = mne()
    out = tmp_path / "info.fif"
    refused = export("fif", str(narrow_names), "-o", str(out))
    assert refused.returncode == 1 and "channel 0 'MEG\u00e90'" in refused.stderr
    assert not out.exists()
    # Without them, the file whose name is not UTF-8 exports to FIF too.
    third = fg.read_sensor(os.fsencode(narrow_names) + b"/02-\xff.sensor").snsRawName
    for name in ("00.sensor", "01.sensor"):
        (narrow_names / name).unlink()
    done = export("fif", str(narrow_names), "-o", str(out))
    assert done.returncode == 0, done.stderr
    names = m.io.read_info(str(out), verbose="error")["ch_names"]
    assert len(names) == 19 and names[0] == third


def test_an_output_name_not_utf8_is_written_under_its_bytes(demo_dir: Path, tmp_path: Path):
    scipy_io()
    out = os.fsencode(tmp_path) + b"/grad-\xff.mat"
    done = subprocess.run([sys.executable, "-m", "fluxgrid", "export", "mat",
                           str(demo_dir / "sensors" / "squid21"), "-o", out],
                          capture_output=True, check=False)
    assert done.returncode == 0, done.stderr
    assert os.listdir(os.fsencode(tmp_path)) == [b"grad-\xff.mat"]


# --- no sensor at all ----------------------------------------------------------


@pytest.mark.parametrize("kind", FORMATS)
@pytest.mark.parametrize("check", [[], ["--no-check"]])
def test_an_empty_folder_is_an_error_and_nothing_is_written(
        tmp_path: Path, kind: str, check: List[str]):
    need(kind)
    empty = tmp_path / "empty"
    empty.mkdir()
    out = tmp_path / f"out.{kind}"
    refused = export(kind, str(empty), *check, "-o", str(out))
    assert refused.returncode == 1
    assert refused.stderr.startswith("fluxgrid: ") and str(empty) in refused.stderr
    assert not out.exists()


@pytest.mark.parametrize("convert", [fm.to_info, ft.to_grad], ids=["to_info", "to_grad"])
@pytest.mark.parametrize("check", [True, False])
def test_no_sensor_at_all_is_refused_by_the_conversions(convert: Callable, check: bool):
    need_for(convert)
    with pytest.raises(fg.Error, match="no sensor"):
        convert([], check=check)


# --- channels without a place -----------------------------------------------------


@pytest.mark.parametrize("kind", FORMATS)
@pytest.mark.parametrize("check", [[], ["--no-check"]])
def test_a_channel_with_no_element_is_refused_naming_it(
        demo_dir: Path, tmp_path: Path, kind: str, check: List[str]):
    need(kind)
    sensors = with_no_element(squid21(demo_dir), 6)
    assert sensors[6].channel_kind == "meg" and len(sensors[6].positions("dewar")) == 0
    stderr = refused_export(kind, sensors, tmp_path, *check)
    assert sensors[6].snsRawName in stderr and "no element" in stderr


@pytest.mark.parametrize("convert", [fm.to_info, ft.to_grad], ids=["to_info", "to_grad"])
def test_the_conversions_refuse_a_channel_with_no_element_unchecked(
        demo_dir: Path, convert: Callable):
    need_for(convert)
    sensors = with_no_element(squid21(demo_dir), 6)
    with pytest.raises(fg.ExportError, match=f"channel 6 '{sensors[6].snsRawName}'"):
        convert(sensors, check=False)


@pytest.mark.parametrize("kind", FORMATS)
@pytest.mark.parametrize("check", [[], ["--no-check"]])
def test_a_position_that_is_not_a_number_is_refused_naming_the_channel(
        demo_dir: Path, tmp_path: Path, kind: str, check: List[str]):
    need(kind)
    sensors = with_nan_position(squid21(demo_dir), 2)
    stderr = refused_export(kind, sensors, tmp_path, *check)
    assert sensors[2].snsRawName in stderr and "not finite" in stderr


# --- fiducials that give no head frame ------------------------------------------------


def degenerate(which: str) -> np.ndarray:
    points = FIDUCIALS_LSP.copy()
    if which == "ears-at-one-point":
        points[2] = points[1]
    elif which == "nasion-on-ear-line":
        points[0] = 0.25 * points[1] + 0.75 * points[2]
    else:
        points[1, 2] = np.nan
    return points


CASES = {
    "ears-at-one-point": ("ears-too-close", "ear points 1 and 2 lie at one point"),
    "nasion-on-ear-line": ("nasion-on-ear-line", "nasion (point 0)"),
    "not-finite": ("fiducial-not-finite", "ear point 1"),
}


@pytest.mark.parametrize("which", sorted(CASES))
def test_the_check_flags_fiducials_that_give_no_head_frame(which: str):
    codes = {f.code for f in fg.check([], headloc=headloc_of(degenerate(which))).of("error")}
    assert CASES[which][0] in codes


@pytest.mark.parametrize("kind", FORMATS)
@pytest.mark.parametrize("which", sorted(CASES))
def test_fiducials_that_give_no_head_frame_are_refused_even_unchecked(
        demo_dir: Path, tmp_path: Path, kind: str, which: str):
    need(kind)
    headloc = tmp_path / "bad.headloc"
    fg.write(headloc_of(degenerate(which)), headloc)
    out = tmp_path / f"out.{kind}"
    folder = str(demo_dir / "sensors" / "squid21")
    checked = export(kind, folder, "--headloc", str(headloc), "-o", str(out))
    assert checked.returncode == 1 and CASES[which][0] in checked.stderr
    unchecked = export(kind, folder, "--headloc", str(headloc), "--no-check", "-o", str(out))
    assert unchecked.returncode == 1
    assert unchecked.stderr.startswith("fluxgrid: fiducial")
    assert CASES[which][1] in unchecked.stderr
    assert not out.exists()


@pytest.mark.parametrize("convert", [fm.to_info, ft.to_grad], ids=["to_info", "to_grad"])
@pytest.mark.parametrize("which", sorted(CASES))
def test_the_conversions_refuse_fiducials_given_as_an_array_or_in_other_axes(
        demo_dir: Path, convert: Callable, which: str):
    need_for(convert)
    sensors = squid21(demo_dir)
    # Neither of these goes through the check's head rules.
    with pytest.raises(fg.ExportError, match=re.escape(CASES[which][1])):
        convert(sensors, fiducials=degenerate(which))
    rsa = degenerate(which) * [-1.0, 1.0, -1.0]
    with pytest.raises(fg.ExportError):
        convert(sensors, fiducials=headloc_of(rsa), fiducial_axes="RSA", check=False)


# --- duplicate names ---------------------------------------------------------------


@pytest.mark.parametrize("kind", FORMATS)
@pytest.mark.parametrize("check", [[], ["--no-check"]])
def test_duplicate_names_are_refused_naming_them(
        demo_dir: Path, tmp_path: Path, kind: str, check: List[str]):
    need(kind)
    sensors = renamed(squid21(demo_dir), {3: "DUP", 9: "DUP"})
    stderr = refused_export(kind, sensors, tmp_path, *check)
    assert "DUP" in stderr
    if check:
        assert "duplicate channel names: 'DUP' (channels 3, 9)" in stderr


def test_renamed_duplicates_are_the_same_in_both_formats_and_as_mne_names_them(
        demo_dir: Path, tmp_path: Path):
    m, io = mne(), scipy_io()
    sensors = renamed(squid21(demo_dir), {3: "DUP", 9: "DUP", 12: "DUP-0", 14: "X", 15: "X"})
    folder = write_set(tmp_path / "set", sensors)
    for kind in FORMATS:
        done = export(kind, str(folder), "--rename-duplicates", "-o", str(tmp_path / f"o.{kind}"))
        assert done.returncode == 0, done.stderr
    fif = m.io.read_info(str(tmp_path / "o.fif"), verbose="error")["ch_names"]
    grad = io.loadmat(str(tmp_path / "o.mat"))["grad"]
    mat = [str(cell[0]) for cell in grad["label"][0, 0][:, 0]]
    with pytest.warns(RuntimeWarning, match="not unique"):
        by_mne = m.create_info([s.snsRawName for s in sensors], 1000.0)["ch_names"]
    assert fif == mat == by_mne
    assert [fif[i] for i in (3, 9, 12, 14, 15)] == ["DUP-a", "DUP-1", "DUP-0", "X-0", "X-1"]

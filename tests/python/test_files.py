"""Reading and writing every kind of file through the module: the same
objects, dictionaries and bytes as the library and its tool give."""

from __future__ import annotations

import math
import os
from pathlib import Path

import pytest

import fluxgrid as fg
from conftest import GOOD_SAMPLES, SAMPLES, run_tool, tool_json

FILE_KINDS_BY_WORD = {k.word: k for k in fg.FILE_KINDS}
CLASS_OF_KIND = {
    "coil": fg.Coil,
    "vapor": fg.Vapor,
    "squid": fg.SquidRecord,
    "opm": fg.OpmRecord,
    "sensor": fg.Sensor,
    "headloc": fg.HeadLocalization,
}


def json_form(value):
    """A dictionary of `to_dict` as the tool's JSON writes it: doubles that
    JSON cannot hold become the strings the tool uses."""
    if isinstance(value, dict):
        return {k: json_form(v) for k, v in value.items()}
    if isinstance(value, list):
        return [json_form(v) for v in value]
    if isinstance(value, float) and math.isnan(value):
        return "NaN"
    if isinstance(value, float) and math.isinf(value):
        return "Infinity" if value > 0 else "-Infinity"
    return value


def test_every_kind_is_among_the_samples():
    kinds = {fg.read_header(p)[0] for p in GOOD_SAMPLES}
    assert kinds == set(CLASS_OF_KIND)


@pytest.mark.parametrize("path", GOOD_SAMPLES, ids=lambda p: p.name)
def test_read_gives_the_class_of_the_files_kind(path: Path):
    kind, version = fg.read_header(path)
    obj = fg.read(path)
    assert type(obj) is CLASS_OF_KIND[kind]
    assert version in next(k.accepted for k in fg.FILE_KINDS if k.word == kind)


@pytest.mark.parametrize("path", GOOD_SAMPLES, ids=lambda p: p.name)
def test_to_dict_equals_the_object_of_the_tools_json(path: Path):
    (document,) = tool_json(path)
    assert json_form(fg.read(path).to_dict()) == document["object"]


def test_to_dict_keeps_not_a_number_as_a_float():
    coil = fg.Coil()
    coil.coilArea = math.nan
    assert math.isnan(coil.to_dict()["coilArea"])


@pytest.mark.parametrize("path", GOOD_SAMPLES, ids=lambda p: p.name)
def test_write_gives_the_bytes_of_the_libraries_store(path: Path, tmp_path: Path):
    obj = fg.read(path)
    kind, version = fg.read_header(path)
    written = FILE_KINDS_BY_WORD[kind].written
    target = tmp_path / path.name
    size = fg.write(obj, target)
    data = target.read_bytes()
    assert size == len(data)
    assert fg.to_bytes(obj) == data
    assert fg.read_header(target) == (kind, written)
    if version == written:
        # The newest version is a fixed point of load and store.
        assert data == path.read_bytes()
    elif kind == "sensor":
        # An old sensor file, stored by the tool's migrate (the C++ store).
        out = tmp_path / "migrated"
        done = run_tool("migrate", "--out-dir", str(out), str(path))
        assert done.returncode == 0, done.stderr.decode()
        assert (out / path.name).read_bytes() == data


def test_read_bytes_equals_read():
    path = SAMPLES / "sensor-opm-20200210.sensor"
    assert fg.read_bytes(path.read_bytes()).to_dict() == fg.read(path).to_dict()


def test_write_replaces_a_file_atomically_and_keeps_no_temporary(tmp_path: Path):
    target = tmp_path / "x.sensor"
    target.write_bytes(b"old")
    fg.write(fg.read(SAMPLES / "sensor-squid-20200210.sensor"), target)
    assert fg.read_header(target) == ("sensor", 20200210)
    assert sorted(p.name for p in tmp_path.iterdir()) == ["x.sensor"]


def test_write_takes_only_the_six_file_objects(tmp_path: Path):
    with pytest.raises(TypeError, match="FiducialSet") as refused:
        fg.write(fg.FiducialSet(), tmp_path / "x")
    for cls in CLASS_OF_KIND.values():
        assert cls.__name__ in str(refused.value)


def test_every_kind_names_the_class_of_its_object():
    assert {k.word: k.type for k in fg.FILE_KINDS} == CLASS_OF_KIND
    for kind in fg.FILE_KINDS:
        assert getattr(fg, kind.type.__name__) is kind.type


@pytest.mark.parametrize("kind", fg.FILE_KINDS, ids=lambda k: k.word)
def test_a_default_object_of_every_kind_round_trips(kind, tmp_path: Path):
    data = fg.to_bytes(kind.type())
    again = fg.read_bytes(data)
    assert type(again) is kind.type
    assert fg.to_bytes(again) == data
    path = tmp_path / f"default.{kind.word}"
    assert fg.write(again, path) == len(data)
    assert fg.read_header(path) == (kind.word, kind.written)


def test_write_into_a_missing_folder_is_an_os_error(tmp_path: Path):
    with pytest.raises(OSError):
        fg.write(fg.Coil(), tmp_path / "no" / "x.coil")


def test_read_sensors_of_the_demo_folders_sorted_by_name(demo_dir: Path):
    opm = fg.read_sensors(demo_dir / "sensors" / "opm32")
    squid = fg.read_sensors(demo_dir / "sensors" / "squid21")
    assert len(opm) == 32 and len(squid) == 21
    assert all(s.hardware_kind == "opm" for s in opm)
    assert all(s.hardware_kind == "squid" for s in squid)
    files = sorted((demo_dir / "sensors" / "opm32").glob("*.sensor"), key=lambda p: p.name)
    assert [s.snsRawName for s in opm] == [fg.read_sensor(p).snsRawName for p in files]


def test_read_sensors_takes_a_list_of_paths_and_a_pattern(demo_dir: Path):
    folder = demo_dir / "sensors" / "squid21"
    paths = sorted(folder.glob("*.sensor"), reverse=True)[:3]
    names = [s.snsRawName for s in fg.read_sensors(paths)]
    assert names == [fg.read_sensor(p).snsRawName for p in sorted(paths)]
    assert fg.read_sensors(folder, pattern="nothing*") == []
    with pytest.raises(NotADirectoryError):
        fg.read_sensors(folder / "missing")


def test_read_headloc_of_the_demo(demo_dir: Path):
    hl = fg.read_headloc(demo_dir / "headloc" / "demo.headloc")
    assert isinstance(hl, fg.HeadLocalization)


def test_paths_may_be_path_objects_and_bytes_names(tmp_path: Path):
    name = os.fsencode(tmp_path) + b"/caf\xe9.coil"  # not UTF-8
    with open(name, "wb") as out:
        out.write((SAMPLES / "coil-20211230.coil").read_bytes())
    assert isinstance(fg.read(os.fsdecode(name)), fg.Coil)
    assert isinstance(fg.read(Path(os.fsdecode(name))), fg.Coil)

"""What the module does not lose: copies that are deep, objects that pickle
through their bytes, writes that refuse a sensor whose hardware type and
record disagree, names that are not UTF-8, and integer fields that refuse
what they cannot hold. Errors name what they are about."""

from __future__ import annotations

import copy
import errno
import multiprocessing
import os
import pickle
from pathlib import Path

import numpy as np
import pytest

import fluxgrid as fg
from conftest import GOOD_SAMPLES, SAMPLES

SQUID = SAMPLES / "sensor-squid-20200210.sensor"
OPM = SAMPLES / "sensor-opm-20200210.sensor"

#: One sample of each of the six kinds.
ONE_OF_EACH = [
    SAMPLES / name
    for name in (
        "coil-20211230.coil",
        "vapor-20211230.vapor",
        "squid-20190201.squid",
        "opm-20190201.opm",
        "sensor-squid-20200210.sensor",
        "headloc-20160320.headloc",
    )
]


def wide(text: str) -> bytes:
    """A text in the file's wide string form: 0xFF, 0xFEFF, 0xFF, the
    length in characters as one byte, then UTF-16LE."""
    return b"\xff\xfe\xff" + bytes([len(text)]) + text.encode("utf-16-le")


def narrow(raw: bytes) -> bytes:
    """A text in the old narrow form: its length as one byte, then the
    bytes as they are."""
    return bytes([len(raw)]) + raw


# Copies.

COPIERS = {
    "Sensor.copy": lambda s: s.copy(),
    "copy.copy": copy.copy,
    "copy.deepcopy": copy.deepcopy,
}


@pytest.mark.parametrize("how", sorted(COPIERS))
def test_a_copy_of_a_sensor_has_a_record_of_its_own(how: str):
    original = fg.read_sensor(SQUID)
    before = fg.to_bytes(original)
    duplicate = COPIERS[how](original)
    assert fg.to_bytes(duplicate) == before
    assert duplicate.hardware is not None
    duplicate.hardware.coilWork[0].posP4 = np.array([9.0, 9.0, 9.0, 9.0])
    duplicate.hardware.properGain = 123.0
    duplicate.snsRawName = "other"
    duplicate.cleanHardwareType()
    assert fg.to_bytes(original) == before
    assert original.hardware.coilWork[0].posP4[0] != 9.0


@pytest.mark.parametrize("how", ["copy.copy", "copy.deepcopy"])
@pytest.mark.parametrize("path", ONE_OF_EACH, ids=lambda p: p.suffix)
def test_every_file_object_copies_deeply(how: str, path: Path):
    original = fg.read(path)
    before = fg.to_bytes(original)
    duplicate = COPIERS[how](original)
    assert type(duplicate) is type(original)
    assert duplicate is not original
    assert fg.to_bytes(duplicate) == before


def test_a_copied_head_localization_keeps_nothing_in_common():
    original = fg.read(SAMPLES / "headloc-20160320.headloc")
    before = fg.to_bytes(original)
    duplicate = copy.deepcopy(original)
    duplicate.setSensorLocation(7.0, 8.0, 9.0)
    duplicate.fiducialCurrent.fidPts[0].ptValues[:] = 5.0
    duplicate.cleanFiducialPARaw()
    duplicate.cleanFiducialPA()
    assert fg.to_bytes(original) == before


@pytest.mark.parametrize("path", GOOD_SAMPLES, ids=lambda p: p.name)
def test_every_sample_object_pickles_through_its_bytes(path: Path):
    original = fg.read(path)
    restored = pickle.loads(pickle.dumps(original))
    assert type(restored) is type(original)
    assert fg.to_bytes(restored) == fg.to_bytes(original)


def test_file_objects_pass_to_a_pool_of_processes():
    objects = [fg.read(p) for p in ONE_OF_EACH]
    with multiprocessing.get_context("fork").Pool(2) as pool:
        stored = pool.map(fg.to_bytes, objects)
    assert stored == [fg.to_bytes(o) for o in objects]


# The hardware type against the record.


def test_a_getter_with_a_hardware_type_stores_it_as_the_library_does():
    s = fg.read_sensor(SQUID)
    s.getSnsPos(1, 0)
    assert s.hardwareType == 1
    assert s.hardware_kind == "squid"


def test_the_getters_default_to_the_stored_hardware_type():
    s = fg.read_sensor(SQUID)
    before = fg.to_bytes(s)
    for getter in (s.getSnsPos, s.getSnsOrn, s.getSnsNmlDir):
        result, *_ = getter()
        assert result == 1
        getter(coil=0)
    assert s.hardwareType == 0
    assert fg.to_bytes(s) == before
    assert "-1" in fg.Sensor.getSnsPos.__doc__


def test_write_refuses_a_sensor_whose_type_does_not_match_its_record(tmp_path: Path):
    s = fg.read_sensor(SQUID)
    s.getSnsPos(1, 0)
    path = tmp_path / "out.sensor"
    with pytest.raises(fg.HardwareTypeError) as raised:
        fg.write(s, path)
    assert isinstance(raised.value, fg.Error)
    assert str(path) in str(raised.value)
    assert "hardwareType 1" in str(raised.value) and "SQUID record" in str(raised.value)
    assert raised.value.file == str(path)
    assert not path.exists()
    assert fg.write(s, path, force=True) == path.stat().st_size


def test_write_refuses_a_type_without_its_record(tmp_path: Path):
    s = fg.Sensor()
    s.hardwareType = 0
    with pytest.raises(fg.HardwareTypeError, match="no record"):
        fg.write(s, tmp_path / "none.sensor")
    s.getSnsPos(5, 0)
    assert s.hardwareType == 5
    fg.write(s, tmp_path / "none.sensor")


def test_write_refuses_a_record_behind_a_type_of_no_kind(tmp_path: Path):
    s = fg.read_sensor(OPM)
    s.getSnsOrn(7, 0)
    with pytest.raises(fg.HardwareTypeError, match="OPM record"):
        fg.write(s, tmp_path / "seven.sensor")


def test_calls_that_take_a_hardware_type_say_what_becomes_of_it():
    for name in (
        "setAcqSnsParam",
        "initSensorBasic",
        "initSensorInfo",
        "setSnsPos",
        "setSnsOrn",
        "getSnsPos",
        "getSnsOrn",
        "getSnsNmlDir",
    ):
        doc = getattr(fg.Sensor, name).__doc__
        assert "hardwareType" in doc, name


# Names that are not UTF-8.


def sensor_with_narrow_name(raw: bytes) -> bytes:
    """The SQUID sample with its raw name replaced by `raw` in the old
    narrow form."""
    data = (SQUID).read_bytes()
    s = fg.read_sensor(SQUID)
    body = len(wide("MEGSENSORQV")) + 4
    at = body + 8
    old = wide(s.snsRawName)
    assert data[at : at + len(old)] == old
    return data[:at] + narrow(raw) + data[at + len(old) :]


def test_a_narrow_name_with_a_latin1_byte_loads_and_reads_as_latin1(tmp_path: Path):
    path = tmp_path / "latin.sensor"
    path.write_bytes(sensor_with_narrow_name(b"Caf\xe9 1"))
    s = fg.read_sensor(path)
    assert s.snsRawName == "Caf\u00e9 1"
    assert s.name == "Caf\u00e9 1"
    again = tmp_path / "again.sensor"
    fg.write(s, again)
    assert fg.read_sensor(again).snsRawName == "Caf\u00e9 1"


def test_a_file_name_that_is_not_utf8_loads_and_writes(tmp_path: Path):
    folder = os.fsencode(tmp_path)
    source = os.path.join(folder, b"caf\xe9.sensor")
    with open(source, "wb") as out:
        out.write(SQUID.read_bytes())
    s = fg.read_sensor(source)
    target = os.path.join(folder, b"\xff\xfe.sensor")
    fg.write(s, target)
    with open(target, "rb") as back:
        assert back.read() == fg.to_bytes(s)


def test_a_missing_file_that_is_not_utf8_names_it_in_the_error(tmp_path: Path):
    missing = os.path.join(os.fsencode(tmp_path), b"gone\xe9.sensor")
    with pytest.raises(FileNotFoundError) as raised:
        fg.read(missing)
    assert isinstance(raised.value, fg.Error)
    assert "gone" in str(raised.value)
    # The name comes back as os.fsdecode gives it, so it maps to the same bytes.
    assert os.fsencode(raised.value.filename) == missing


# Integer fields.


def test_an_array_too_large_for_int32_is_refused_and_changes_nothing():
    s = fg.read_sensor(SQUID)
    before = s.hardware.auxFlags.copy()
    with pytest.raises(OverflowError, match="auxFlags"):
        s.hardware.auxFlags = np.array([2**40, 0, 0, 0])
    with pytest.raises(OverflowError, match="auxFlags"):
        s.hardware.auxFlags = [0, 0, -(2**31) - 1, 0]
    assert s.hardware.auxFlags.tolist() == before.tolist()


def test_an_array_of_non_finite_or_fractional_numbers_into_integers_is_refused():
    s = fg.read_sensor(SQUID)
    with pytest.raises(ValueError, match="auxFlags"):
        s.hardware.auxFlags = np.array([np.nan, 0, 0, 0])
    with pytest.raises(ValueError, match="auxFlags"):
        s.hardware.auxFlags = np.array([np.inf, 0, 0, 0])
    with pytest.raises(ValueError, match="auxFlags"):
        s.hardware.auxFlags = [0.5, 0, 0, 0]


def test_integer_arrays_within_range_are_taken_whatever_their_dtype():
    s = fg.read_sensor(SQUID)
    s.hardware.auxFlags = np.array([2**31 - 1, -(2**31), 0, 1], dtype=np.int64)
    assert s.hardware.auxFlags.tolist() == [2**31 - 1, -(2**31), 0, 1]
    s.hardware.auxFlags = np.array([1.0, 2.0, 3.0, 4.0])
    assert s.hardware.auxFlags.tolist() == [1, 2, 3, 4]


def test_scalar_setters_name_the_field_and_the_type_wanted():
    s = fg.read_sensor(SQUID)
    with pytest.raises(OverflowError, match="sensorType") as raised:
        s.sensorType = 2**40
    assert isinstance(raised.value, fg.Error)
    assert "int32" in str(raised.value)
    with pytest.raises(TypeError, match="sensorType") as raised:
        s.sensorType = "seven"
    assert isinstance(raised.value, fg.FieldTypeError)
    assert "int" in str(raised.value)
    with pytest.raises(TypeError, match="snsRawName"):
        s.snsRawName = 7
    with pytest.raises(ValueError, match="snsPos4") as raised:
        s.snsPos4 = np.zeros(3)
    assert isinstance(raised.value, fg.Error)


# Errors.


def test_the_exception_classes_keep_the_builtin_classes_they_stand_for():
    assert issubclass(fg.FieldTypeError, fg.Error) and issubclass(fg.FieldTypeError, TypeError)
    assert issubclass(fg.FieldOverflowError, fg.Error)
    assert issubclass(fg.FieldOverflowError, OverflowError)
    assert issubclass(fg.FieldValueError, fg.Error)
    assert issubclass(fg.FieldValueError, ValueError)
    assert issubclass(fg.WriteError, fg.Error) and issubclass(fg.WriteError, OSError)
    assert issubclass(fg.FileMissingError, fg.Error)
    assert issubclass(fg.FileMissingError, FileNotFoundError)
    assert issubclass(fg.HardwareTypeError, fg.Error)


def test_a_write_that_the_system_refuses_is_a_write_error_with_errno(tmp_path: Path):
    target = tmp_path / "no-such-folder" / "out.sensor"
    with pytest.raises(fg.WriteError) as raised:
        fg.write(fg.read_sensor(SQUID), target)
    error = raised.value
    assert isinstance(error, OSError) and isinstance(error, fg.Error)
    assert error.errno == errno.ENOENT
    assert error.filename == str(target)
    assert error.file == str(target)
    assert error.failure == "write-error"
    assert str(target) in str(error)


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="no /dev/full")
def test_a_full_device_is_a_write_error_of_enospc():
    with pytest.raises(fg.WriteError) as raised:
        fg.write(fg.read_sensor(SQUID), "/dev/full")
    assert raised.value.errno == errno.ENOSPC
    assert "No space left on device" in str(raised.value)


def test_an_object_of_no_file_kind_is_refused_with_an_error_of_the_package():
    with pytest.raises(TypeError) as raised:
        fg.write(fg.Sphere(), "x.sphere")
    assert isinstance(raised.value, fg.Error)

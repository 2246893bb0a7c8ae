"""Failures as Python exceptions and message boxes as warnings, on files
made by hand from the samples."""

from __future__ import annotations

import struct
import warnings
from pathlib import Path

import pytest

import fluxgrid as fg
from conftest import SAMPLES


def wide(text: str) -> bytes:
    """A text in the file's wide string form: 0xFF, 0xFEFF, 0xFF, the
    length in characters as one byte, then UTF-16LE."""
    return b"\xff\xfe\xff" + bytes([len(text)]) + text.encode("utf-16-le")


def test_the_wide_form_above_is_that_of_the_samples():
    assert (SAMPLES / "coil-20211230.coil").read_bytes().startswith(wide("MEGCOILQV"))


def test_errors_are_value_errors_and_warnings_user_warnings():
    assert issubclass(fg.Error, ValueError)
    assert issubclass(fg.FileFormatError, fg.Error)
    assert issubclass(fg.TruncatedFileError, fg.FileFormatError)
    assert issubclass(fg.LoadWarning, fg.LibraryWarning)
    assert issubclass(fg.LibraryWarning, UserWarning)


def test_missing_file_raises_file_not_found(tmp_path: Path):
    with pytest.raises(FileNotFoundError) as raised:
        fg.read(tmp_path / "none.sensor")
    assert raised.value.filename == str(tmp_path / "none.sensor")


def test_folder_is_refused_as_no_regular_file(tmp_path: Path):
    with pytest.raises(fg.Error) as raised:
        fg.read(tmp_path)
    assert raised.value.failure == "not-regular-file"


def test_wrong_magic_is_a_format_error_of_no_kind(tmp_path: Path):
    path = tmp_path / "foreign.sensor"
    path.write_bytes(wide("NOTAFILE") + struct.pack("<i", 1) + bytes(64))
    with pytest.raises(fg.FileFormatError) as raised:
        fg.read(path)
    assert raised.value.kind is None and raised.value.version is None
    assert raised.value.failure == "bad-magic"
    assert str(path) in str(raised.value)


def test_refused_version_carries_kind_version_and_the_librarys_words(tmp_path: Path):
    data = bytearray((SAMPLES / "coil-20211230.coil").read_bytes())
    at = len(wide("MEGCOILQV"))
    assert struct.unpack_from("<i", data, at) == (20211230,)
    struct.pack_into("<i", data, at, 20211231)
    path = tmp_path / "future.coil"
    path.write_bytes(bytes(data))
    with pytest.raises(fg.FileFormatError) as raised:
        fg.read(path)
    assert (raised.value.kind, raised.value.version) == ("coil", 20211231)
    assert raised.value.failure == "refused-version"
    assert raised.value.messages  # the coil entry's box, in its own words


def test_sensor_asked_of_another_kind_is_refused_in_the_sensor_entrys_words():
    with pytest.raises(fg.FileFormatError) as raised:
        fg.read_sensor(SAMPLES / "coil-20080102.coil")
    assert raised.value.kind == "coil"
    assert raised.value.messages == ("The opened file is not MEG sensor file or corrupted!",)


def test_truncated_file_raises_truncated_file_error(tmp_path: Path):
    data = (SAMPLES / "sensor-squid-20140513.sensor").read_bytes()
    for cut in (40, len(data) // 2, len(data) - 1):
        path = tmp_path / f"cut{cut}.sensor"
        path.write_bytes(data[:cut])
        with pytest.raises(fg.TruncatedFileError) as raised:
            fg.read(path)
        assert (raised.value.kind, raised.value.version) == ("sensor", 20140513)


def test_file_over_the_limit_is_refused_before_reading(tmp_path: Path):
    with pytest.raises(fg.Error) as raised:
        fg.read(SAMPLES / "sensor-squid-20140513.sensor", max_bytes=100)
    assert raised.value.failure == "too-large"


def sensor_with_a_refused_nested_coil() -> bytes:
    """A sensor of 20091117 whose last nested coil has a version no coil
    has: the coil entry shows its box and the load goes on to the end."""
    data = bytearray((SAMPLES / "sensor-squid-20091117.sensor").read_bytes())
    at = data.rfind(wide("MEGCOILQV")) + len(wide("MEGCOILQV"))
    assert struct.unpack_from("<i", data, at)[0] in (20080102, 20091117, 20140513, 20211230)
    struct.pack_into("<i", data, at, 20211231)
    return bytes(data)


def test_load_that_raised_a_box_gives_its_object_with_a_load_warning(tmp_path: Path):
    path = tmp_path / "nested.sensor"
    path.write_bytes(sensor_with_a_refused_nested_coil())
    with pytest.warns(fg.LoadWarning, match="Wrong file format!!?"):
        sensor = fg.read_sensor(path)
    assert isinstance(sensor, fg.Sensor)


def test_load_warning_can_be_made_an_error(tmp_path: Path):
    with warnings.catch_warnings():
        warnings.simplefilter("error", fg.LoadWarning)
        with pytest.raises(fg.LoadWarning):
            fg.read_bytes(sensor_with_a_refused_nested_coil())


def test_clean_load_warns_nothing():
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        fg.read(SAMPLES / "sensor-squid-20091117.sensor")


def test_box_of_a_method_is_a_library_warning_not_a_dialog():
    hl = fg.HeadLocalization()
    hl.headLocalType = 7
    with pytest.warns(fg.LibraryWarning, match="head localization type error"):
        assert hl.getAverageFiducialPts() is None


def test_exception_of_the_library_is_an_error():
    hl = fg.HeadLocalization()
    hl.headLocalType = 2  # the mean of two entries, with none there
    with pytest.raises(fg.Error):
        hl.getAverageFiducialPts()

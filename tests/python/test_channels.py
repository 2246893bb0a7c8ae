"""The meaning of channel type codes, as the library gives it: names, kinds
of channel, and the OPM setup dialog's codes in a sensor with an OPM
record."""

from __future__ import annotations

import pytest

import fluxgrid as fg
from conftest import SAMPLES

KIND_WORDS = {"meg", "ref", "eeg", "stim", "misc"}


def opm_sensor(code: int) -> fg.Sensor:
    sensor = fg.Sensor()
    assert sensor.initSensorInfo(1, code, 1, 0, 1.0, 1.0, 1.0, 0.0) == 1
    return sensor


def squid_sensor(code: int) -> fg.Sensor:
    sensor = fg.Sensor()
    assert sensor.initSensorInfo(0, code, 1, 0, 1.0, 1.0, 1.0, 0.0) == 1
    return sensor


def test_the_setup_dialogs_codes_are_meg_and_reference_with_an_opm_record_only():
    assert fg.channel_type(700, opm=True).kind == "meg"
    assert fg.channel_type(800, opm=True).kind == "ref"
    assert fg.channel_type(700).kind == "misc"
    assert fg.channel_type(800).kind == "misc"
    # Their names stay those of the table.
    assert fg.channel_type(700, opm=True).name == fg.channel_type(700).name == "TIME"
    assert fg.channel_type(800, opm=True).name == "POSITION"


@pytest.mark.parametrize(
    "code, kind",
    [(100, "meg"), (103, "meg"), (10, "ref"), (13, "ref"), (300, "eeg"), (302, "eeg"),
     (303, "eeg"), (301, "misc"), (600, "stim"), (602, "stim"), (104, "misc"), (9, "misc"),
     (-1, "misc")],
)
def test_kinds_of_the_codes(code: int, kind: str):
    assert fg.channel_type(code).kind == kind
    # Only 700 and 800 mean something else with an OPM record.
    assert fg.channel_type(code, opm=True).kind == kind


def test_every_named_code_has_the_name_the_sensor_gives_it():
    codes = fg.channel_type_codes()
    assert codes and len(set(codes)) == len(codes)
    assert {-1, 10, 100, 300, 600, 700, 800} <= set(codes)
    for code in codes:
        sensor = fg.Sensor()
        sensor.sensorType = code
        channel = fg.channel_type(code)
        assert channel == (code, sensor.getSensorTypeName(), channel.kind, True)
        assert channel.name != "Unknown" and channel.kind in KIND_WORDS


def test_a_code_of_no_entry_is_unknown_misc():
    code = max(fg.channel_type_codes()) + 1
    assert fg.channel_type(code) == fg.ChannelType(code, "Unknown", "misc", False)
    assert isinstance(fg.channel_type(code), tuple)


def test_a_sensor_judges_its_code_by_the_record_it_holds():
    assert opm_sensor(700).channel_kind == "meg"
    assert opm_sensor(800).channel_kind == "ref"
    assert squid_sensor(700).channel_kind == "misc"
    assert squid_sensor(100).channel_kind == "meg"
    no_record = fg.Sensor()
    no_record.sensorType = 700
    assert no_record.hardware is None and no_record.channel_kind == "misc"
    # A record made as an OPM record stays one whatever the type field says.
    moved = opm_sensor(700)
    moved.hardwareType = 0
    assert moved.hardware_kind == "opm" and moved.channel_kind == "meg"


def test_sample_sensors_agree_with_the_table():
    for path in sorted(SAMPLES.glob("*.sensor")):
        if "refused" in path.name or "truncated" in path.name:
            continue
        sensor = fg.read_sensor(path)
        expected = fg.channel_type(sensor.sensorType, opm=sensor.hardware_kind == "opm")
        assert sensor.channel_kind == expected.kind, path.name
        assert sensor.type_name == expected.name, path.name

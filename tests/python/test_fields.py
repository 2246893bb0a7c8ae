"""Fields as attributes under their own names: numpy views of the object's
own memory that write through and keep their owner alive, nested records as
live parts, and the methods of the final classes."""

from __future__ import annotations

import gc
import math
import weakref

import numpy as np
import pytest

import fluxgrid as fg
from conftest import SAMPLES

SQUID = SAMPLES / "sensor-squid-20200210.sensor"
OPM = SAMPLES / "sensor-opm-20200210.sensor"


def test_fields_of_the_sensor_are_attributes_under_their_own_names():
    s = fg.read_sensor(SQUID)
    d = s.to_dict()
    assert s.snsRawName == d["snsRawName"]
    assert s.sensorType == d["sensorType"]
    assert s.hardwareType == d["hardwareType"] == 0
    assert isinstance(s.hardware, fg.SquidRecord)
    assert s.hardware.properGain == d["hardware"]["properGain"]
    assert s.hardware.coilDewar[0].posP4.tolist() == d["hardware"]["coilDewar"][0]["posP4"]
    assert s.geom.geomFlag == d["geom"]["geomFlag"]
    assert isinstance(fg.read_sensor(OPM).hardware, fg.OpmRecord)
    assert isinstance(s.hardware, fg.HardwareRecord)


def test_every_key_of_to_dict_is_an_attribute():
    def check(obj, d):
        for key, value in d.items():
            if key == "recordKind":
                continue
            attr = getattr(obj, key)
            if isinstance(value, dict) and attr is not None:
                check(attr, value)

    for path in (SQUID, OPM, SAMPLES / "headloc-20160320.headloc", SAMPLES / "vapor-20211230.vapor"):
        obj = fg.read(path)
        check(obj, obj.to_dict())


def test_arrays_are_float64_views_of_the_objects_memory():
    s = fg.read_sensor(SQUID)
    view = s.hardware.coilWork[0].posP4
    assert view.dtype == np.float64 and view.shape == (4,)
    assert not view.flags.owndata and view.flags.writeable
    again = s.hardware.coilWork[0].posP4
    assert view.__array_interface__["data"][0] == again.__array_interface__["data"][0]
    assert s.hardware.coilWork[0].pairTable.shape == (12, 2, 3)
    assert s.hardware.coilWork[0].auxRows.shape == (4, 4)
    assert s.hardware.auxFlags.dtype == np.int32


def test_writes_through_a_view_reach_the_object_and_its_file():
    s = fg.read_sensor(SQUID)
    s.hardware.coilWork[0].posP4[:3] = (1.5, -2.25, 3.125)
    assert s.getSnsPos(0, 0) == (1, 1.5, -2.25, 3.125)
    again = fg.read_bytes(fg.to_bytes(s))
    assert again.hardware.coilWork[0].posP4[:3].tolist() == [1.5, -2.25, 3.125]


def test_a_view_keeps_its_owner_alive():
    p = fg.read_sensor(SQUID).hardware.coilWork[0].posP4
    gc.collect()
    expected = fg.read_sensor(SQUID).hardware.coilWork[0].posP4
    assert p.tolist() == expected.tolist()
    p[0] = 42.0
    assert p[0] == 42.0


def test_the_hardware_record_outlives_its_sensor_and_its_release():
    s = fg.read_sensor(SQUID)
    record = s.hardware
    gains = record.properGain
    s.cleanHardwareType()
    del s
    gc.collect()
    assert record.properGain == gains
    assert record.coilDewar[1].posP4.shape == (4,)


def test_nested_records_are_live_and_keep_their_holder():
    sensor = fg.read_sensor(SQUID)
    holder = weakref.ref(sensor)
    coil = sensor.hardware.coilDewar[0]
    del sensor
    gc.collect()
    coil.coilTurns = 7
    assert coil.coilTurns == 7
    assert holder() is None  # the record, not the sensor, is what stays
    hl = fg.read_headloc(SAMPLES / "headloc-20160320.headloc")
    point = hl.fiducialCurrent.fidPts[0]
    point.ptName = "nasion"
    assert hl.to_dict()["fiducialCurrent"]["fidPts"][0]["ptName"] == "nasion"


def test_array_assignment_copies_and_checks_the_shape():
    coil = fg.Coil()
    coil.posP4 = [1, 2, 3, 4]
    assert coil.posP4.tolist() == [1.0, 2.0, 3.0, 4.0]
    with pytest.raises(ValueError, match=r"\(4,\)"):
        coil.posP4 = [1, 2, 3]


def test_scalars_and_texts_assign_and_check_types():
    s = fg.Sensor()
    s.snsRawName = "MLC11 ü"
    assert s.snsRawName == "MLC11 ü"
    s.sensorType = 700
    assert s.sensorType == 700
    with pytest.raises(TypeError):
        s.sensorType = "seven"
    with pytest.raises(TypeError):
        s.sensorType = 2**40


def test_nested_assignment_copies_a_record_in():
    hl = fg.HeadLocalization()
    fiducial = fg.FiducialSet()
    fiducial.fidPts[0].setFidPtPosition(1.0, 2.0, 3.0)
    hl.fiducialCurrent = fiducial
    fiducial.fidPts[0].setFidPtPosition(9.0, 9.0, 9.0)
    assert hl.fiducialCurrent.fidPts[0].ptValues[4:7].tolist() == [1.0, 2.0, 3.0]


def test_entry_lists_are_copies_and_text_lists_assign():
    hl = fg.read_headloc(SAMPLES / "headloc-20160320.headloc")
    entries = hl.fiducialPA
    assert entries and all(isinstance(e, (fg.HeadLocationTrial, fg.FiducialSet)) for e in entries)
    hl.cleanFiducialPA()
    assert hl.fiducialPA == [] and len(entries) > 0
    entries[0].to_dict()  # the copy stays valid
    hl.headLocalLabels = ["a", "b"]
    assert hl.headLocalLabels == ["a", "b"]


def test_pythonic_helpers_of_the_sensor():
    s = fg.read_sensor(SQUID)
    assert s.name == s.snsRawName
    assert s.type_name == s.getSensorTypeName()
    assert s.hardware_kind == "squid"
    n = min(s.hardware.totalCoils, 8)
    pos = s.positions("dewar")
    assert pos.shape == (n, 3)
    assert pos[0].tolist() == s.hardware.coilDewar[0].posP4[:3].tolist()
    assert s.orientations().shape == (n, 3)
    assert fg.read_sensor(OPM).hardware_kind == "opm"
    assert fg.Sensor().hardware_kind is None
    with pytest.raises(ValueError, match="dewar, head, work, not 'nose'"):
        s.positions("nose")


def test_the_helpers_are_the_sensor_classs_own():
    for name in ("name", "type_name", "hardware_kind", "channel_kind", "elements", "positions",
                 "orientations", "element_geometry", "__repr__"):
        assert name in vars(fg.Sensor), name
    # Every way to a sensor gives that one class.
    s = fg.read_sensor(SQUID)
    for other in (s.copy(), fg.read(SQUID), fg.read_bytes(fg.to_bytes(s)), fg.Sensor()):
        assert type(other) is fg.Sensor


def test_the_repr_tells_name_type_and_record():
    s = fg.read_sensor(SQUID)
    assert repr(s) == (
        f"<fluxgrid.Sensor {s.snsRawName!r} type {s.sensorType} ({s.getSensorTypeName()}), "
        "squid record>"
    )
    assert repr(fg.Sensor()) == "<fluxgrid.Sensor 'SnsRaw' type 0 (Unknown), no record>"
    assert repr(fg.read_sensor(OPM)).endswith(", opm record>")


def rows(elements, field: str) -> bytes:
    """The first three values of a field of each element, as the bytes of an
    (n, 3) array."""
    return np.array([getattr(e, field)[:3] for e in elements], dtype=float).reshape(-1, 3).tobytes()


def test_the_elements_in_use_are_live_parts_of_the_record():
    s = fg.read_sensor(SQUID)
    n = min(s.hardware.totalCoils, 8)
    assert n > 0
    elements = s.elements("dewar")
    assert len(elements) == n and all(type(e) is fg.Coil for e in elements)
    elements[0].posP4[0] = 42.0
    assert s.hardware.coilDewar[0].posP4[0] == 42.0
    assert s.positions("dewar")[0, 0] == 42.0
    s.cleanHardwareType()
    assert s.elements() == () and s.positions().shape == (0, 3)
    # The record lives on as long as an element of it does.
    gc.collect()
    assert elements[0].posP4[0] == 42.0
    opm = fg.read_sensor(OPM)
    assert opm.elements("head") and all(type(e) is fg.Vapor for e in opm.elements("head"))


def test_the_elements_are_those_of_the_record_matching_the_hardware_type():
    s = fg.read_sensor(OPM)
    assert s.elements("dewar")
    s.hardwareType = 0
    # The library's accessors see no record of that type, and neither do
    # the helpers.
    assert s.getTotalCoils() == -1
    assert s.elements("dewar") == () and s.element_geometry("dewar").positions.shape == (0, 3)


def test_the_element_geometry_is_read_once_into_new_arrays():
    for path in (SQUID, OPM):
        s = fg.read_sensor(path)
        for frame in fg.FRAMES:
            elements = s.elements(frame)
            geometry = s.element_geometry(frame)
            assert geometry.positions.tobytes() == rows(elements, "posP4")
            assert geometry.orientations.tobytes() == rows(elements, "oriP4")
            assert geometry.turns.dtype == np.int32
            assert geometry.turns.tolist() == [e.coilTurns for e in elements]
            assert geometry.areas.tobytes() == np.array([e.coilArea for e in elements]).tobytes()
            assert s.positions(frame).tobytes() == geometry.positions.tobytes()
            assert s.orientations(frame).tobytes() == geometry.orientations.tobytes()
        geometry = s.element_geometry("work")
        before = s.hardware.to_dict()
        geometry.positions[:] = 1e6
        geometry.areas[:] = 1e6
        assert s.hardware.to_dict() == before
    empty = fg.Sensor().element_geometry()
    assert [a.shape for a in empty] == [(0, 3), (0, 3), (0,), (0,)]


def test_methods_of_the_final_classes_under_their_own_names():
    s = fg.read_sensor(SQUID)
    assert isinstance(s.getSensorTypeName(), str)
    assert s.getCoilBaseLine() >= 0
    result, x, y, z = s.getSnsPos(0, 0)
    assert result == 1 and [x, y, z] == s.hardware.coilWork[0].posP4[:3].tolist()
    s.hardware.coilDewar[0].posP4[0] = 123.0
    s.setCoilsDewar2work()
    assert s.hardware.coilWork[0].posP4[0] == 123.0
    hl = fg.read_headloc(SAMPLES / "headloc-20160320.headloc")
    current = hl.getCurntFiducailPts()
    current.fidExtra1 = 5.5
    assert hl.fiducialCurrent.fidExtra1 == 5.5
    assert hl.setSensorLocation(1.0, 2.0, 3.0) == 1
    assert hl.getSensorLocation() == (1, 1.0, 2.0, 3.0)
    assert hl.registerMEGFiducial2MRIFiducialPts(hl.fiducialCurrent, True, 256, 256, 256, 1.0, 1.0, 1.0) == 1
    assert fg.HeadLocalization.getStdCTFheadCnt()[0] == 1


def test_the_version_is_the_librarys():
    assert isinstance(fg.__version__, str) and fg.__version__.count(".") == 2


def test_every_public_name_has_a_docstring():
    for name in fg.__all__:
        obj = getattr(fg, name)
        if callable(obj):
            assert obj.__doc__, name
    for cls in (fg.Sensor, fg.SquidRecord, fg.HeadLocalization, fg.Coil):
        for attr, value in vars(cls).items():
            if not attr.startswith("_"):
                assert getattr(value, "__doc__", None), f"{cls.__name__}.{attr}"


def test_a_channel_is_built_from_a_layout_row_as_hosts_build_it():
    lay = fg.layout("megLayout32")
    s = fg.Sensor()
    assert s.initSensorInfo(1, 700, 1, 0, 1.0, 1.0, 1.0, 0.0) == 1
    assert s.hardware_kind == "opm"
    assert s.setAcqSnsParam(1, 0, lay.names[0], lay.pos[0], lay.ori[0], int(lay.types[0]), 1, 1, 1, 1) == 1
    assert s.name == lay.names[0]
    assert s.hardware.vaporDewar[0].posP4[:3].tolist() == lay.pos[0].tolist()
    assert s.snsOri4[:3].tolist() == lay.ori[0].tolist()
    squid = fg.Sensor()
    squid.initSensorInfo(0, 100, 2, 1, 1.0, 1.0, 1.0, 0.0)
    squid.initSensorBasic(0, "MLC11", "MLC11", 2, (1, 1), (2.0, 2.0), (0.0, 0.0, 3.0), (0.0, 0.0, 8.0))
    assert squid.hardware.totalCoils == 2
    assert squid.positions().tolist() == [[0.0, 0.0, 3.0], [0.0, 0.0, 8.0]]

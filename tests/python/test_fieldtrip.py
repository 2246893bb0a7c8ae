"""FieldTrip's grad structure, written with scipy and read back with the
shapes FieldTrip requires."""

from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest

import fluxgrid as fg
import fluxgrid.fieldtrip as ft
from bridge_support import FIDUCIALS_LSP, inward_copy, scipy_io, sensor_sets


@pytest.fixture(scope="module")
def sets(demo_dir: Path):
    return sensor_sets(demo_dir)


def meg_sensors(sensors):
    return [s for s in sensors if s.sensorType in (100, 101, 102, 103, 10, 11, 12, 13)]


def test_axial_gradiometers_are_two_coils_with_a_row_of_plus_and_minus_one(sets):
    sensors = meg_sensors(sets["squid21"])
    grad = ft.to_grad(sets["squid21"])
    m = len(sensors)
    assert grad["tra"].shape == (m, 2 * m)
    for i, row in enumerate(grad["tra"]):
        np.testing.assert_array_equal(row[2 * i: 2 * i + 2], [1.0, -1.0])
        assert np.count_nonzero(row) == 2
    assert set(grad["chantype"][:, 0]) <= {"meggrad", "refgrad"}
    assert "meggrad" in set(grad["chantype"][:, 0])
    baseline = sensors[0].getCoilBaseLine() / 1000.0
    first, second = grad["coilpos"][0], grad["coilpos"][1]
    assert np.linalg.norm(second - first) == pytest.approx(baseline)
    np.testing.assert_allclose(second - first, baseline * grad["chanori"][0] * np.sign(
        np.dot(second - first, grad["chanori"][0])))


def test_opm_channels_are_magnetometers_of_one_coil(sets):
    grad = ft.to_grad(sets["opm32"])
    m = len(grad["label"])
    np.testing.assert_array_equal(grad["tra"], np.eye(m))
    assert set(grad["chantype"][:, 0]) == {"megmag"}
    np.testing.assert_array_equal(grad["chanpos"], grad["coilpos"])


def test_positions_are_ras_metres_the_right_way_up(sets):
    grad = ft.to_grad(sets["opm32"])
    labels = list(grad["label"][:, 0])
    pos = dict(zip(labels, grad["chanpos"]))
    assert pos["MLFP1"][0] < 0 < pos["MRFP2"][0]
    assert pos["MLFP1"][1] > 0
    assert grad["unit"] == "m"
    np.testing.assert_allclose(np.linalg.norm(grad["chanori"], axis=1), 1.0)


def test_fiducials_put_the_grad_into_the_head_frame(sets):
    grad = ft.to_grad(sets["opm32"], fiducials=FIDUCIALS_LSP)
    nas, lpa, rpa = grad["fid"]["pos"]
    assert nas[1] > 0 and lpa[0] < 0 < rpa[0]
    assert grad["coordsys"] == "neuromag"
    assert list(grad["fid"]["label"][:, 0]) == ["nas", "lpa", "rpa"]


def test_saved_grad_loads_back_with_every_field_in_fieldtrips_shapes(sets, tmp_path: Path):
    io = scipy_io()
    path = tmp_path / "grad.mat"
    written = ft.save_grad(path, sets["squid21"], fiducials=FIDUCIALS_LSP)
    grad = io.loadmat(str(path), squeeze_me=False, struct_as_record=False)["grad"][0, 0]
    m, n = written["tra"].shape
    assert grad.label.shape == (m, 1) and grad.chantype.shape == (m, 1)
    assert grad.chanunit.shape == (m, 1)
    assert grad.chanpos.shape == (m, 3) and grad.chanori.shape == (m, 3)
    assert grad.coilpos.shape == (n, 3) and grad.coilori.shape == (n, 3)
    assert grad.tra.shape == (m, n)
    assert [str(c[0]) for c in grad.label[:, 0]] == list(written["label"][:, 0])
    assert str(grad.unit[0]) == "m" and str(grad.type[0]) == "meg"
    assert str(grad.balance[0, 0].current[0]) == "none"
    np.testing.assert_array_equal(grad.coilpos, written["coilpos"])
    np.testing.assert_array_equal(grad.tra, written["tra"])
    assert grad.fid[0, 0].pos.shape == (3, 3)


def test_a_set_with_an_inward_channel_is_refused_unless_told(sets):
    sensors = inward_copy(sets["opm32"], 7)
    with pytest.raises(fg.GeometryError) as raised:
        ft.to_grad(sensors)
    assert [(f.code, f.channel) for f in raised.value.findings] == [
        ("orientation-inward", sensors[7].snsRawName)]
    grad = ft.to_grad(sensors, check=False)
    assert sensors[7].snsRawName in grad["label"][:, 0]

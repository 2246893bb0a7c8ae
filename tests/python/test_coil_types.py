"""The coil types that magnetometers made in this package take into MNE:
an OPM cell one of MNE's OPM types (by its size, or as named) or a cube of
its own, a SQUID loop a definition of its own loop, never a point standing
in for either."""

from __future__ import annotations

import hashlib
from pathlib import Path
from typing import Callable, Dict, List

import numpy as np
import pytest

import fluxgrid as fg
import info_builders as builders
from bridge_support import mne, relative_difference, sphere_forward

fm = pytest.importorskip("fluxgrid.mne")

#: The sensors' frame: the system's head frame in millimetres.
LSP_TO_RAS = fg.axes_to_ras("LSP")


def in_lsp_mm(point_ras_m: np.ndarray) -> tuple:
    return tuple(LSP_TO_RAS.T @ np.asarray(point_ras_m, dtype=float) * 1000.0)


def helmet(n: int = 30):
    """Points over a helmet 10 cm about the device origin (RAS metres) and
    their outward normals."""
    points = builders.helmet_points(n, radius=0.1)
    return points, points / np.linalg.norm(points, axis=1, keepdims=True)


def made_sensors(hardware: int, code: int, names: List[str], points: np.ndarray,
                 normals: np.ndarray, fill: Callable) -> List[fg.Sensor]:
    """Channels as this package makes them, one element each at the points
    (hardware 0 SQUID, 1 OPM), `fill(record, element frames)` filling in
    the rest."""
    sensors = []
    for name, p, n in zip(names, points, normals):
        s = fg.Sensor()
        s.initSensorInfo(hardware, code, 1, 0, 1.0, 1.0, 1.0, 0.0)
        s.setAcqSnsParam(hardware, 0, name, in_lsp_mm(p), tuple(LSP_TO_RAS.T @ n), code,
                         1, 1, 1, 1)
        record = s.hardware
        fill(record, (record.vaporDewar, record.vaporHead, record.vaporWork) if hardware
             else (record.coilDewar, record.coilHead, record.coilWork))
        sensors.append(s)
    return sensors


def opm_sensors(points: np.ndarray, normals: np.ndarray, area_mm2: float = 0.0,
                shape: int = 0, first: int = 0) -> List[fg.Sensor]:
    """OPM channels, one cell each, numbered from `first`; the cell's area
    (held in memory only) and shape code as given, in every frame."""
    def fill(record, frames):
        record.totalVapors = 1
        for cells in frames:
            cells[0].coilArea = area_mm2
            cells[0].vaporShape = shape

    names = [f"OPM{first + i:02d}" for i in range(len(points))]
    return made_sensors(1, 700, names, points, normals, fill)


def squid_magnetometers(points: np.ndarray, normals: np.ndarray, area_mm2: float, shape: int,
                        turns: int = 1) -> List[fg.Sensor]:
    """One-coil SQUID channels: a loop of `area_mm2` and `shape` (1 circle,
    2 square) at each point."""
    def fill(record, frames):
        record.totalCoils = 1
        for coils in frames:
            coils[0].coilArea = area_mm2
            coils[0].coilShape = shape
            coils[0].coilTurns = turns

    names = [f"MAG{i:02d}" for i in range(len(points))]
    return made_sensors(0, 100, names, points, normals, fill)


def coil_types(info) -> set:
    return {ch["coil_type"] for ch in info["chs"] if ch["kind"] in (1, 301)}


def expected_type(kind: str, *params: int) -> int:
    # The rule written out: a SHA-256 of the kind and the rounded geometry,
    # its first eight bytes taken big-endian, into 20000 to 59999.
    text = f"{kind}:{','.join(str(p) for p in params)}"
    digest = hashlib.sha256(text.encode()).digest()
    return 20000 + int.from_bytes(digest[:8], "big") % 40000


def definitions(text: str, tmp_path: Path) -> Dict[int, Dict[int, dict]]:
    """The definitions of a coil_def.dat text as MNE reads them: by type,
    then by accuracy."""
    from mne.forward._make_forward import _read_coil_def_file

    path = tmp_path / "coil_def.dat"
    path.write_text(text)
    read: Dict[int, Dict[int, dict]] = {}
    for d in _read_coil_def_file(str(path), use_registry=False):
        read.setdefault(int(d["coil_type"]), {})[int(d["accuracy"])] = d
    return read


def mne_definition(coil_type: int) -> dict:
    """MNE's own definition of `coil_type` at the accurate level."""
    from mne.forward._make_forward import _read_coil_defs

    return [d for d in _read_coil_defs(verbose="error")
            if d["coil_type"] == coil_type and d["accuracy"] == 2][0]


def mne_info(points: np.ndarray, normals: np.ndarray, coil_type: int, offset: float = 0.0):
    """MNE's own channels of `coil_type` at the points, each moved by
    `offset` along its normal."""
    names = [f"M{i:02d}" for i in range(len(points))]
    return builders.build_info(names, [1] * len(points), [coil_type] * len(points),
                               points + offset * normals, normals)


# OPM cells: MNE's types by the cell's size.

def test_the_cell_sizes_are_mnes():
    mne()
    for coil_type, size in fm.OPM_CELL_SIZES.items():
        assert mne_definition(coil_type)["size"] == pytest.approx(size, rel=1e-9)


@pytest.mark.parametrize("area, shape, expected", [
    (0.0, 0, 8002),                    # no size, as every cell read from a file
    (0.0, 2, 8002),
    (float("nan"), 2, 8002),
    (-1.0, 1, 8002),
    (0.49, 2, 8002),                   # a 0.7 mm square
    (np.pi * 0.35**2, 1, 8002),        # a 0.7 mm circle
    (np.pi * 0.65**2, 1, 8002),        # a 1.3 mm circle: nearer 0.7 than 2 mm
    (np.pi * 0.7**2, 1, 8101),         # a 1.4 mm circle: nearer 2 mm
    (1.96, 2, 8201),                   # a 1.4 mm square: nearer 2 mm
    (4.0, 2, 8201),                    # a 2 mm square: the cube of that size
    (np.pi, 1, 8101),                  # a 2 mm circle
    (4.0, 0, 8101),                    # no shape: a circle of 2.26 mm
    (100.0, 2, 8201),                  # a 10 mm square: the largest cells
])
def test_an_opm_cell_takes_mnes_type_of_the_nearest_cell(area: float, shape: int, expected: int):
    mne()
    points, normals = helmet(4)
    info = fm.to_info(opm_sensors(points, normals, area, shape))
    assert coil_types(info) == {expected}


def test_a_cell_read_back_from_its_file_has_no_size_and_takes_the_default(tmp_path: Path):
    mne()
    points, normals = helmet(4)
    sensors = opm_sensors(points, normals, 4.0, 2)
    assert coil_types(fm.to_info(sensors)) == {8201}
    for i, s in enumerate(sensors):
        fg.write(s, tmp_path / f"{i}.sensor")
    again = fg.read_sensors(tmp_path)
    assert again[0].hardware.vaporDewar[0].vaporShape == 2
    assert coil_types(fm.to_info(again)) == {fm.DEFAULT_OPM_COIL_TYPE} == {8002}


@pytest.mark.parametrize("named", [8001, 8002, 8101, 8201, 2000])
def test_a_named_coil_type_is_honoured(named: int):
    mne()
    points, normals = helmet(4)
    info = fm.to_info(opm_sensors(points, normals, 4.0, 2), opm_coil_type=named)
    assert coil_types(info) == {named}


def test_a_named_type_is_given_also_to_an_imported_cell_that_kept_another():
    mne()
    imported = fm.from_info(builders.triaxial_opm(4, coil_type=8101)).sensors
    assert coil_types(fm.to_info(imported)) == {8101}
    assert coil_types(fm.to_info(imported, opm_coil_type=8002)) == {8002}


@pytest.mark.parametrize("wrong", ["cube", 8001.0, True])
def test_what_is_no_coil_type_is_refused(wrong):
    mne()
    points, normals = helmet(4)
    with pytest.raises((TypeError, ValueError)):
        fm.to_info(opm_sensors(points, normals), opm_coil_type=wrong)


# OPM cells: a cube of their own.

def test_the_record_gives_a_cube_numbered_by_its_size(tmp_path: Path):
    mne()
    points, normals = helmet(6)
    small = opm_sensors(points[:3], normals[:3], 4.0, 2)
    round_cells = opm_sensors(points[3:], normals[3:], np.pi, 1, first=3)
    info = fm.to_info(small + round_cells, opm_coil_type="record")
    # Both cells are 2 mm: the square's side, the circle's diameter.
    assert coil_types(info) == {expected_type("cube", 2000)}
    larger = opm_sensors(points, normals, 9.0, 2)
    assert coil_types(fm.to_info(larger, opm_coil_type="record")) == {expected_type("cube", 3000)}
    read = definitions(fm.coil_def_text(small + larger), tmp_path)
    for size, coil_type in ((2e-3, expected_type("cube", 2000)),
                            (3e-3, expected_type("cube", 3000))):
        assert coil_type in fm.COIL_TYPE_RANGE and sorted(read[coil_type]) == [0, 1, 2]
        for accuracy, d in read[coil_type].items():
            assert d["coil_class"] == 1 and d["size"] == pytest.approx(size)
            assert d["w"].sum() == pytest.approx(1.0, abs=1e-5)
            np.testing.assert_allclose(d["cosmag"], np.tile([0.0, 0.0, 1.0], (len(d["w"]), 1)))
            np.testing.assert_allclose(d["w"] @ d["rmag"], 0.0, atol=1e-12)
            assert np.abs(d["rmag"]).max() <= size / 2
            if accuracy > 0:
                # A cube: the points spread as far along each axis.
                spread = np.abs(d["rmag"]).max(axis=0)
                assert spread.min() == spread.max() > 0.0


@pytest.mark.parametrize("area, shape, theirs", [(4.0, 2, 8201), (4.0, 2, 8101),
                                                 (0.49, 2, 8001)])
def test_the_cubes_forward_agrees_with_mnes_cell_of_that_size(area: float, shape: int,
                                                               theirs: int):
    mne()
    points, normals = helmet(30)
    sensors = opm_sensors(points, normals, area, shape)
    ours = sphere_forward(fm.to_info(sensors, opm_coil_type="record"), sensors)
    reference = sphere_forward(mne_info(points, normals, theirs))
    assert relative_difference(ours, reference) < 2e-3


def fine_cube_forward(info, side: float, rr: np.ndarray, per_side: int = 12) -> np.ndarray:
    """The gain of each channel of `info` averaged over the cube of `side`
    (metres) about its point, in its own frame (ex, ey, ez of `loc`): MNE's
    point magnetometers at per_side^3 points of each cube."""
    steps = ((np.arange(per_side) + 0.5) / per_side - 0.5) * side
    grid = np.array(np.meshgrid(steps, steps, steps, indexing="ij")).reshape(3, -1).T
    positions, normals = [], []
    for ch in info["chs"]:
        frame = np.array([ch["loc"][3:6], ch["loc"][6:9], ch["loc"][9:12]])
        positions.extend(ch["loc"][:3] + grid @ frame)
        normals.extend([ch["loc"][9:12]] * len(grid))
    points = builders.build_info([f"P{i}" for i in range(len(positions))], [1] * len(positions),
                                 [2000] * len(positions), np.array(positions), np.array(normals))
    gain = sphere_forward(points, rr=rr)
    return gain.reshape(len(info["chs"]), len(grid), -1).mean(axis=1)


def test_the_cube_samples_the_cell_it_stands_for():
    """Sources 8 mm from 6 mm cells: the cube's forward is that of the cell's
    volume, which a point, or a cube of another size, misses by far more."""
    mne()
    points, normals = helmet(30)
    points, normals = points[:5], normals[:5]
    rr = points * 0.92
    cells = opm_sensors(points, normals, 36.0, 2)
    info = fm.to_info(cells, opm_coil_type="record")
    ours = sphere_forward(info, cells, rr=rr)
    fine = fine_cube_forward(info, 6e-3, rr)
    point = sphere_forward(mne_info(points, normals, 2000), rr=rr)
    halves = opm_sensors(points, normals, 9.0, 2)
    half = sphere_forward(fm.to_info(halves, opm_coil_type="record"), halves, rr=rr)
    assert relative_difference(ours, fine) < 0.2 * relative_difference(point, fine)
    assert relative_difference(ours, fine) < 0.2 * relative_difference(half, fine)


def test_the_record_needs_a_cell_with_a_size():
    mne()
    points, normals = helmet(2)
    with pytest.raises(fg.Error, match="OPM00.*size"):
        fm.to_info(opm_sensors(points, normals), opm_coil_type="record")


def test_definitions_in_force_that_give_the_cube_another_geometry_are_refused(tmp_path: Path):
    m = mne()
    points, normals = helmet(2)
    small = opm_sensors(points, normals, 4.0, 2)
    large = opm_sensors(points, normals, 9.0, 2)
    ours, theirs = expected_type("cube", 2000), expected_type("cube", 3000)
    forged = tmp_path / "forged_coil_def.dat"
    forged.write_text(fm.coil_def_text(large).replace(f" {theirs} ", f" {ours} "))
    with m.use_coil_def(str(forged)):
        with pytest.raises(fg.Error, match=f"coil type {ours}.*OPM00"):
            fm.to_info(small, opm_coil_type="record")
    with fm.use_coil_defs(small):
        assert coil_types(fm.to_info(small, opm_coil_type="record")) == {ours}


# SQUID magnetometers: their own loop.

def test_a_squid_loop_goes_out_as_its_own_loop(tmp_path: Path):
    mne()
    points, normals = helmet(4)
    square = squid_magnetometers(points, normals, 21.0**2, 2)
    circle = squid_magnetometers(points, normals, np.pi * 11.5**2, 1, turns=3)
    assert coil_types(fm.to_info(square)) == {expected_type("loop", 21000, 2)}
    # The turns are a gain, which the calibration holds: not the geometry.
    assert coil_types(fm.to_info(circle)) == {expected_type("loop", 23000, 1)}
    read = definitions(fm.coil_def_text(square + circle), tmp_path)
    for coil_type, size in ((expected_type("loop", 21000, 2), 21e-3),
                            (expected_type("loop", 23000, 1), 23e-3)):
        assert sorted(read[coil_type]) == [0, 1, 2]
        for d in read[coil_type].values():
            assert d["coil_class"] == 1 and d["size"] == pytest.approx(size)
            assert d["w"].sum() == pytest.approx(1.0, abs=1e-5)
            np.testing.assert_allclose(d["rmag"][:, 2], 0.0)
            np.testing.assert_allclose(d["w"] @ d["rmag"], 0.0, atol=1e-12)
    # MNE's own layouts of such loops: the 4 x 4 grid of a square, the
    # seven points of a circle.
    assert len(read[expected_type("loop", 21000, 2)][2]["w"]) == 16
    assert len(read[expected_type("loop", 23000, 1)][2]["w"]) == 7


def test_a_loop_without_an_area_is_a_point():
    mne()
    points, normals = helmet(2)
    assert coil_types(fm.to_info(squid_magnetometers(points, normals, 0.0, 2))) == {2000}


@pytest.mark.parametrize("area, shape, theirs", [(21.0**2, 2, 3024), (np.pi * 11.5**2, 1, 4001)])
def test_the_loops_forward_agrees_with_mnes_loop_of_that_size(area: float, shape: int,
                                                               theirs: int):
    mne()
    points, normals = helmet(30)
    sensors = squid_magnetometers(points, normals, area, shape)
    info = fm.to_info(sensors)
    ours = sphere_forward(info, sensors)
    # MNE's loop of that type may lie off its channel's point along the
    # normal: its channels are placed so that the loops coincide.
    offset = float(mne_definition(theirs)["rmag"][0, 2])
    reference = sphere_forward(mne_info(points, normals, theirs, -offset))
    assert relative_difference(ours, reference) < 0.01
    # Which a point at the loop's centre would not.
    point = sphere_forward(mne_info(points, normals, 2000))
    assert relative_difference(point, reference) > 0.02


def test_a_point_would_not_stand_in_for_a_large_loop():
    """Close to the sources, a 5 cm loop sees another field than its centre."""
    mne()
    points, normals = helmet(30)
    points = points * 0.75  # 7.5 cm from the origin, 1 to 4 cm from the sources
    sensors = squid_magnetometers(points, normals, 50.0**2, 2)
    loop = sphere_forward(fm.to_info(sensors), sensors)
    point = sphere_forward(mne_info(points, normals, 2000))
    assert relative_difference(point, loop) > 0.05


def test_an_imported_magnetometer_keeps_mnes_type():
    mne()
    info = builders.build_info(["MEG0111", "MEG0121"], [1, 1], [3024, 4001],
                               np.array([[0.0, 0.0, 0.1], [0.0, 0.02, 0.1]]),
                               np.array([[0.0, 0.0, 1.0]] * 2))
    back = fm.to_info(fm.from_info(info).sensors, check=False)
    assert [ch["coil_type"] for ch in back["chs"]] == [3024, 4001]


def test_an_imported_magnetometer_without_its_type_has_the_loop_of_its_definition():
    """With MNE's type dropped from the record, the loop that from_info read
    from the definition goes out: a square for the Vectorview grid."""
    mne()
    info = builders.build_info(["MEG0111"], [1], [3024], np.array([[0.0, 0.0, 0.1]]),
                               np.array([[0.0, 0.0, 1.0]]))
    (sensor,) = fm.from_info(info).sensors
    flags = sensor.hardware.auxFlags
    flags[0] = 0
    sensor.hardware.auxFlags = flags
    assert coil_types(fm.to_info([sensor], check=False)) == {expected_type("loop", 21000, 2)}


def test_two_geometries_of_one_number_are_refused():
    """Numbers are hashes: among a few hundred loop sizes two share one.
    Neither the definitions nor an info then take either silently."""
    from fluxgrid import _coil_defs

    seen: Dict[int, int] = {}
    for micrometres in range(10000, 20000):
        coil_type = expected_type("loop", micrometres, 1)
        if coil_type in seen:
            break
        seen[coil_type] = micrometres
    first, second = seen[coil_type], micrometres
    loops = [_coil_defs.LoopMagnetometer.of(size * 1e-6, 1) for size in (first, second)]
    assert loops[0].coil_type == loops[1].coil_type == coil_type
    with pytest.raises(fg.Error, match=f"coil type {coil_type} would name two geometries"):
        _coil_defs.definition_text(loops)
    mne()
    points, normals = helmet(2)
    sensors = (squid_magnetometers(points[:1], normals[:1], np.pi * (first / 2000.0)**2, 1)
               + squid_magnetometers(points[1:], normals[1:], np.pi * (second / 2000.0)**2, 1))
    sensors[1].snsRawName = "MAG01"
    with pytest.raises(fg.Error, match=f"coil type {coil_type} would name two geometries"):
        fm.to_info(sensors)

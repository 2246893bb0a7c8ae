"""The layout tables: read-only views of the library's rows, their frames,
and the same values as the tool's `layout show --json`."""

from __future__ import annotations

import json

import numpy as np
import pytest

import fluxgrid as fg
from conftest import run_tool


def test_thirteen_names_in_the_librarys_order():
    names = fg.layout_names()
    assert len(names) == 13 and names[0] == "eegLayout10" and names[-1] == "megTriaxial33"


@pytest.mark.parametrize("name", fg.layout_names())
def test_tables_are_read_only_views_with_their_frame(name: str):
    lay = fg.layout(name)
    n = len(lay.names)
    assert lay.pos.shape == (n, 3) and lay.pos.dtype == np.float64
    assert lay.types.shape == (n,) and lay.types.dtype == np.int32
    assert not lay.pos.flags.writeable and not lay.pos.flags.owndata
    with pytest.raises(ValueError):
        lay.pos[0, 0] = 1.0
    if name.startswith("meg"):
        assert lay.ori.shape == (n, 3) and lay.kinds is None
    else:
        assert lay.ori is None and lay.kinds.shape == (n,)
    assert (lay.frame, lay.axes, lay.unit) in {
        ("head", "LSP", "mm"),
        ("sphere", "ALS", None),
        ("net", "RAS", "cm"),
    }


@pytest.mark.parametrize("name", fg.layout_names())
def test_tables_hold_the_values_the_tool_shows(name: str):
    done = run_tool("layout", "show", "--json", name)
    assert done.returncode == 0, done.stderr.decode()
    shown = json.loads(done.stdout)
    rows = shown["rows"]
    lay = fg.layout(name)
    assert [r["name"] for r in rows] == lay.names
    assert [r["pos"] for r in rows] == lay.pos.tolist()
    assert [r["sensorType"] for r in rows] == lay.types.tolist()


def test_unknown_table_names_the_tables():
    with pytest.raises(KeyError, match="megLayout32"):
        fg.layout("nope")


def test_head_frame_is_a_reflection_into_ras():
    m = fg.axes_to_ras("LSP")
    assert m.tolist() == [[-1, 0, 0], [0, 0, -1], [0, 1, 0]]
    assert np.linalg.det(m) == pytest.approx(-1.0)
    assert np.linalg.det(fg.axes_to_ras("ALS")) == pytest.approx(1.0)
    with pytest.raises(ValueError):
        fg.axes_to_ras("XYZ")


def test_ras_positions_put_the_nose_in_front_and_the_left_ear_left():
    for name in fg.layout_names():
        lay = fg.layout(name)
        ras = lay.pos_ras()
        for label, row in zip(lay.names, ras):
            if label in ("FZ", "Fz", "FidNz"):
                assert row[1] > 0, (name, label)
            if label in ("A1", "T7", "FidT9"):
                assert row[0] < 0, (name, label)

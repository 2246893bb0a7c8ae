"""`fluxgrid.viz.plot_sensors_3d`: a marker a channel with elements, red
for the channels that the check flags, the fitted sphere, the labelled
fiducials, drawn with the Agg backend and saved as PNG."""

from __future__ import annotations

from pathlib import Path
from typing import Dict, List

import numpy as np
import pytest

import fluxgrid as fg
from bridge_support import inward_copy

matplotlib = pytest.importorskip("matplotlib", reason="matplotlib is not installed")
matplotlib.use("Agg")

import matplotlib.pyplot as plt  # noqa: E402
from matplotlib.colors import to_rgba  # noqa: E402

import fluxgrid.viz as viz  # noqa: E402


def collections_by_gid(fig) -> Dict[str, List]:
    # 3D lines hold their 2D segments once projected by a draw.
    fig.canvas.draw()
    found: Dict[str, List] = {}
    for collection in fig.axes[0].collections:
        found.setdefault(collection.get_gid(), []).append(collection)
    return found


def points_of(fig, gid: str) -> int:
    return sum(len(c.get_offsets()) for c in collections_by_gid(fig).get(gid, []))


@pytest.fixture(scope="module")
def headloc(demo_dir: Path) -> Path:
    return demo_dir / "headloc" / "opm32.headloc"


@pytest.mark.parametrize("name, inward", [("opm32", 7), ("squid21", 4)])
def test_markers_are_the_channels_with_elements_and_red_the_flagged(
        demo_dir: Path, headloc: Path, tmp_path: Path, name: str, inward: int):
    sensors = inward_copy(fg.read_sensors(demo_dir / "sensors" / name), inward)
    fig = viz.plot_sensors_3d(sensors, headloc=headloc)
    try:
        assert isinstance(fig, matplotlib.figure.Figure)
        with_elements = [i for i, s in enumerate(sensors) if len(s.positions("dewar")) > 0]
        report = fg.check(sensors, headloc=headloc)
        flagged = {i for i in report.flagged_channels() if i in with_elements}
        assert inward in flagged
        assert points_of(fig, "channels") + points_of(fig, "channels-flagged") == len(with_elements)
        assert points_of(fig, "channels-flagged") == len(flagged)
        (red,) = collections_by_gid(fig)["channels-flagged"]
        assert np.allclose(red.get_facecolor()[0], to_rgba("red"))
        (blue,) = collections_by_gid(fig)["channels"]
        assert not np.allclose(blue.get_facecolor()[0], to_rgba("red"))
        # The arrows: one an element, split by colour.
        elements = sum(len(sensors[i].positions("dewar")) for i in with_elements)
        arrows = sum(len(c.get_segments()) for c in collections_by_gid(fig)["orientations"] +
                     collections_by_gid(fig)["orientations-flagged"])
        assert arrows == 3 * elements  # a shaft and two strokes of the head each
        assert "sphere" in collections_by_gid(fig)
        ax = fig.axes[0]
        labels = {t.get_text().strip() for t in ax.texts}
        assert labels == {"NAS", "LPA", "RPA"}
        assert ax.get_xlabel().startswith("x: right") and ax.get_zlabel().startswith("z: superior")
        out = tmp_path / f"{name}.png"
        fig.savefig(out, dpi=60)
        assert out.read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
    finally:
        plt.close(fig)


def test_gradiometer_coils_are_joined(demo_dir: Path):
    sensors = fg.read_sensors(demo_dir / "sensors" / "squid21")
    fig = viz.plot_sensors_3d(sensors)
    try:
        two_coils = [s for s in sensors if len(s.positions("dewar")) == 2]
        assert two_coils
        (joins,) = collections_by_gid(fig)["element-joins"]
        assert len(joins.get_segments()) == len(two_coils)
        assert points_of(fig, "elements") == len(two_coils)
        assert "channels-flagged" not in collections_by_gid(fig)
        assert "fiducials" not in collections_by_gid(fig)
    finally:
        plt.close(fig)


def test_draws_into_the_axes_given_and_takes_folders(demo_dir: Path):
    fig = plt.figure()
    try:
        ax = fig.add_subplot(projection="3d")
        assert viz.plot_sensors_3d(demo_dir / "sensors" / "opm32", ax=ax) is fig
        assert points_of(fig, "channels") + points_of(fig, "channels-flagged") == 32
    finally:
        plt.close(fig)

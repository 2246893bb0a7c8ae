"""A 3D picture of a sensor array with matplotlib: each channel's elements
in use and their orientations, the sphere fitted to the helmet, the
fiducials, and the channels that the geometry check flags in red.

matplotlib is imported only when a picture is drawn.

    >>> import fluxgrid.viz
    >>> fig = fluxgrid.viz.plot_sensors_3d("fluxgrid-demo/sensors/opm32",
    ...                                    headloc="fluxgrid-demo/headloc/opm32.headloc")
    >>> fig.savefig("opm32.png")
"""

from __future__ import annotations

from typing import TYPE_CHECKING, Iterable, List, Optional, Tuple, Union

import numpy as np

from . import _fluxgrid
from . import _geometry as geometry
from ._check import CheckItem, CheckReport, PathLike, check
from ._fluxgrid import HeadLocalization

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

#: Millimetres in a metre: the picture is drawn in RAS millimetres.
MM_PER_METRE = 1000.0

#: The words of RAS, the axes of the picture.
AXIS_LABELS = ("x: right (mm)", "y: anterior (mm)", "z: superior (mm)")

CHANNEL_COLOUR = "tab:blue"
FLAGGED_COLOUR = "red"
FIDUCIAL_COLOUR = "tab:green"


class _Drawn:
    """What is drawn of the channels, gathered before it is drawn: marker
    points of the channels, the other elements, the lines that join a
    channel's elements, and an arrow at every element."""

    def __init__(self) -> None:
        self.markers: List[np.ndarray] = []
        self.flagged: List[np.ndarray] = []
        self.others: List[np.ndarray] = []
        self.joins: List[np.ndarray] = []
        self.arrow_at: List[np.ndarray] = []
        self.arrow_dir: List[np.ndarray] = []
        self.arrow_flagged: List[bool] = []


def _unit_directions(vectors: np.ndarray) -> np.ndarray:
    """Directions of unit length; zero or non-finite ones left as zero, so
    that a broken orientation is drawn as no arrow rather than refused."""
    norms = np.linalg.norm(vectors, axis=1, keepdims=True)
    good = np.isfinite(norms) & (norms > 0)
    return np.where(good, vectors / np.where(good, norms, 1.0), 0.0)


def _gather(report: CheckReport, frame: str, axes: geometry.Frame) -> _Drawn:
    flagged = report.flagged_channels()
    drawn = _Drawn()
    for index, sensor in enumerate(report.sensors):
        positions, orientations = _fluxgrid._checked_elements(sensor, frame)
        if len(positions) == 0:
            continue
        points = axes.positions(positions) * MM_PER_METRE
        directions = _unit_directions(orientations @ axes.matrix.T)
        is_flagged = index in flagged
        (drawn.flagged if is_flagged else drawn.markers).append(points[0])
        drawn.others += list(points[1:])
        if len(points) > 1:
            # A gradiometer's coils, or a channel's cells, joined in order.
            drawn.joins.append(points)
        drawn.arrow_at += list(points)
        drawn.arrow_dir += list(directions)
        drawn.arrow_flagged += [is_flagged] * len(points)
    return drawn


def _scatter(ax: "Axes", points: List[np.ndarray], gid: str, **style) -> None:
    if points:
        xyz = np.array(points)
        ax.scatter(xyz[:, 0], xyz[:, 1], xyz[:, 2], gid=gid, depthshade=False, **style)


def _draw_channels(ax: "Axes", drawn: _Drawn, arrow_length: float) -> None:
    from mpl_toolkits.mplot3d.art3d import Line3DCollection

    _scatter(ax, drawn.markers, "channels", s=28, color=CHANNEL_COLOUR, label="channel")
    _scatter(ax, drawn.flagged, "channels-flagged", s=40, color=FLAGGED_COLOUR,
             label="channel with an error or warning")
    _scatter(ax, drawn.others, "elements", s=14, facecolors="none", edgecolors="0.35",
             label="further element")
    if drawn.joins:
        ax.add_collection3d(Line3DCollection(drawn.joins, colors="0.35", linewidths=1.0,
                                             gid="element-joins"))
    at, direction = np.array(drawn.arrow_at), np.array(drawn.arrow_dir)
    flagged = np.array(drawn.arrow_flagged, dtype=bool)
    # One quiver a colour: matplotlib colours an arrow's shaft and head as
    # separate segments.
    for chosen, colour, gid in ((~flagged, CHANNEL_COLOUR, "orientations"),
                                (flagged, FLAGGED_COLOUR, "orientations-flagged")):
        if chosen.any():
            a, d = at[chosen], direction[chosen]
            ax.quiver(a[:, 0], a[:, 1], a[:, 2], d[:, 0], d[:, 1], d[:, 2],
                      length=arrow_length, color=colour, linewidths=0.8,
                      arrow_length_ratio=0.3, gid=gid)


def _draw_sphere(ax: "Axes", report: CheckReport, axes: geometry.Frame) -> Optional[float]:
    """The fitted sphere as a wire frame; its radius in millimetres, or
    None without a fit."""
    sphere = report.sphere
    if not sphere.fitted:
        return None
    centre = axes.positions(np.array(sphere.centre))[0] * MM_PER_METRE
    radius = sphere.radius / geometry.UNITS_PER_METRE[axes.unit] * MM_PER_METRE
    u, v = np.meshgrid(np.linspace(0.0, 2.0 * np.pi, 25), np.linspace(0.0, np.pi, 13))
    ax.plot_wireframe(centre[0] + radius * np.cos(u) * np.sin(v),
                      centre[1] + radius * np.sin(u) * np.sin(v),
                      centre[2] + radius * np.cos(v),
                      color="0.75", linewidth=0.4, gid="sphere", label="fitted sphere")
    return radius


def _draw_fiducials(ax: "Axes", report: CheckReport, drawn: _Drawn, axes: str) -> None:
    if report.headloc is None:
        return
    head_axes = geometry.Frame(axes, report.head_unit or report.unit)
    channels = drawn.markers + drawn.flagged
    above = np.mean(channels, axis=0) / MM_PER_METRE if channels else None
    points = np.array(geometry.fiducial_points(report.headloc, head_axes, above)) * MM_PER_METRE
    ax.scatter(points[:, 0], points[:, 1], points[:, 2], marker="^", s=60,
               color=FIDUCIAL_COLOUR, depthshade=False, gid="fiducials", label="fiducial")
    for label, point in zip(("NAS", "LPA", "RPA"), points):
        ax.text(point[0], point[1], point[2], f" {label}", color=FIDUCIAL_COLOUR,
                gid=f"fiducial-{label}")


def _equal_limits(ax: "Axes") -> None:
    """One scale on all three axes, so that the helmet keeps its shape."""
    limits = np.array([ax.get_xlim3d(), ax.get_ylim3d(), ax.get_zlim3d()])
    middle = limits.mean(axis=1)
    half = (limits[:, 1] - limits[:, 0]).max() / 2.0
    ax.set_xlim3d(middle[0] - half, middle[0] + half)
    ax.set_ylim3d(middle[1] - half, middle[1] + half)
    ax.set_zlim3d(middle[2] - half, middle[2] + half)
    ax.set_box_aspect((1.0, 1.0, 1.0))


def plot_sensors_3d(
    sensors: Union[CheckItem, Iterable[CheckItem]],
    *,
    headloc: Optional[Union[HeadLocalization, PathLike]] = None,
    ax: Optional["Axes"] = None,
    frame: str = "dewar",
    axes: str = "LSP",
    unit: str = "mm",
) -> "Figure":
    """Draw a sensor array in 3D and return the figure.

    `sensors` and `headloc` are taken as `fluxgrid.check` takes them
    (Sensor objects, files and folders), and the check is run in `frame`
    and `unit`. Each channel with elements in use of `frame` is a marker at
    its first element, red when the check found an error or a warning of
    it; its further elements are rings joined to it (a gradiometer's two
    coils), and every element has an arrow along its orientation. The
    sphere fitted to the helmet is a grey wire frame, and the head
    localization's nasion and ear points are labelled NAS, LPA and RPA.

    The sensors' lengths lie along `axes` (an orientation code, "LSP" for
    the system's head frame: x left, y up, z back) in `unit`; the picture
    is drawn in RAS millimetres, as the bridges to the analysis packages
    take the frame: x right, y anterior, z superior.

    `ax` is a 3D Axes to draw into; without, a new figure is made.
    """
    import matplotlib.pyplot as plt

    sensor_axes = geometry.Frame(axes, unit)
    report = check(sensors, headloc=headloc, frame=frame, unit=unit)
    if ax is None:
        ax = plt.figure(figsize=(8.0, 8.0)).add_subplot(projection="3d")
    drawn = _gather(report, frame, sensor_axes)
    radius = _draw_sphere(ax, report, sensor_axes)
    _draw_channels(ax, drawn, arrow_length=0.12 * radius if radius else 10.0)
    _draw_fiducials(ax, report, drawn, axes)
    for set_label, text in zip((ax.set_xlabel, ax.set_ylabel, ax.set_zlabel), AXIS_LABELS):
        set_label(text)
    ax.set_title(_title(report, frame))
    _equal_limits(ax)
    ax.legend(loc="upper left", fontsize="small")
    return ax.figure


def _title(report: CheckReport, frame: str) -> str:
    counts: Tuple[Tuple[int, str], ...] = (
        (report.errors, "error"), (report.warnings, "warning"))
    found = ", ".join(f"{n} {word}{'' if n == 1 else 's'}" for n, word in counts)
    return f"{report.channels} channels, {frame} frame: {found}"

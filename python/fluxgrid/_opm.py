"""Multi-axis OPM arrays in MNE: which channels make one sensor and along
which of its axes each measures, picking one axis, and the homogeneous
field correction as projectors.

Two channels are one sensor when they lie within a millimetre of each other
and their orientations are orthogonal; a sensor's axis along the radius of
the sphere fitted to the array is its radial one, the others tangential.
"""

from __future__ import annotations

from typing import Dict, List, NamedTuple, Optional

import numpy as np

from ._errors import Error
from ._fluxgrid import flatten

#: Channels of one sensor lie within this distance (metres) ...
SAME_POINT = 1e-3
#: ... and their orientations' dot product stays below this.
ORTHOGONAL = 1e-3

AXES = ("radial", "tangential-1", "tangential-2", "single")

MEG_CH = 1


class SensorAxis(NamedTuple):
    """A channel's sensor (an id shared by the channels of one sensor, in
    the order the sensors first appear) and its axis."""

    sensor: int
    axis: str


def _meg(info) -> List[dict]:
    return [ch for ch in info["chs"] if ch["kind"] == MEG_CH]


def _directions(chs: List[dict]) -> np.ndarray:
    ez = np.array([ch["loc"][9:12] for ch in chs], dtype=float).reshape(-1, 3)
    return ez / np.linalg.norm(ez, axis=1, keepdims=True)


def fit_sphere(points: np.ndarray) -> np.ndarray:
    """The centre of the sphere that fits `points` best in the least
    squares of |p|^2 = 2 c.p + k."""
    a = np.column_stack([2.0 * points, np.ones(len(points))])
    solution, *_ = np.linalg.lstsq(a, np.sum(points**2, axis=1), rcond=None)
    return solution[:3]


def sensor_axes(info) -> Dict[str, SensorAxis]:
    """Each MEG channel's sensor and axis, by channel name: "radial",
    "tangential-1" and "tangential-2" (in channel order) for the channels
    of a multi-axis sensor, "single" for a sensor of one channel."""
    chs = _meg(info)
    if not chs:
        raise Error("the info has no MEG channel")
    r = np.array([ch["loc"][:3] for ch in chs], dtype=float)
    n = _directions(chs)
    groups: List[List[int]] = []
    for i in range(len(chs)):
        for group in groups:
            if (len(group) < 3 and np.linalg.norm(r[group[0]] - r[i]) <= SAME_POINT
                    and all(abs(n[j] @ n[i]) < ORTHOGONAL for j in group)):
                group.append(i)
                break
        else:
            groups.append([i])
    centre = fit_sphere(r) if len(r) >= 4 else np.zeros(3)
    result: Dict[str, SensorAxis] = {}
    for sensor, group in enumerate(groups):
        if len(group) == 1:
            result[chs[group[0]]["ch_name"]] = SensorAxis(sensor, "single")
            continue
        radius = r[group[0]] - centre
        radius /= np.linalg.norm(radius)
        radial = max(group, key=lambda j: abs(n[j] @ radius))
        tangential = iter(("tangential-1", "tangential-2"))
        for j in group:
            axis = "radial" if j == radial else next(tangential)
            result[chs[j]["ch_name"]] = SensorAxis(sensor, axis)
    return result


def pick_axis(inst, axis: str):
    """A copy of `inst` (an Info, Raw, Epochs or Evoked) with the MEG
    channels of one axis only, in their order."""
    import mne

    if axis not in AXES:
        raise ValueError(f"axis must be one of {', '.join(AXES)}, not {axis!r}")
    info = inst if isinstance(inst, mne.Info) else inst.info
    names = [name for name, found in sensor_axes(info).items() if found.axis == axis]
    if not names:
        raise Error(f"no MEG channel measures along the {axis} axis")
    if isinstance(inst, mne.Info):
        return mne.pick_info(inst, [inst["ch_names"].index(name) for name in names])
    return inst.copy().pick_channels(names, ordered=True)


def _uniform_gradients() -> List[np.ndarray]:
    """The five symmetric traceless matrices G of a uniform gradient
    (B = G r is free of divergence and curl)."""
    basis = []
    for i, j in ((0, 1), (0, 2), (1, 2)):
        g = np.zeros((3, 3))
        g[i, j] = g[j, i] = 1.0
        basis.append(g)
    basis.append(np.diag([1.0, -1.0, 0.0]))
    basis.append(np.diag([1.0, 1.0, -2.0]))
    return basis


def hfc_vectors(info, order: int = 1) -> np.ndarray:
    """Orthonormal columns spanning what the MEG channels see of a uniform
    field (order 1) and, with order 2, of a uniform gradient too."""
    if order not in (1, 2):
        raise ValueError(f"order must be 1 or 2, not {order!r}")
    chs = _meg(info)
    n = _directions(chs)
    r = np.array([ch["loc"][:3] for ch in chs], dtype=float)
    columns = [n[:, k] for k in range(3)]
    if order == 2:
        r = r - r.mean(axis=0)
        columns += [np.einsum("ci,ij,cj->c", n, g, r) for g in _uniform_gradients()]
    u, s, _ = np.linalg.svd(np.column_stack(columns), full_matrices=False)
    rank = int(np.sum(s > s[0] * 1e-10))
    return u[:, :rank]


def hfc_projectors(info, *, order: int = 1) -> list:
    """Homogeneous field correction as `mne.Projection` objects over the
    MEG channels, from the geometry alone: the three components of a
    uniform field as each channel sees it, and with `order=2` the five of
    a uniform gradient."""
    import mne

    names = [ch["ch_name"] for ch in _meg(info)]
    vectors = hfc_vectors(info, order)
    projs = []
    for k in range(vectors.shape[1]):
        data = dict(nrow=1, ncol=len(names), row_names=None, col_names=list(names),
                    data=vectors[:, k][np.newaxis, :])
        projs.append(mne.Projection(data=data, kind=1, desc=f"HFC order {order}: {k + 1}",
                                    active=False, explained_var=None))
    return projs


def layout(info, *, axis: Optional[str] = None):
    """An `mne.channels.Layout` of the MEG channels (of one axis, if
    given) from the library's flattening of their positions about the
    sphere fitted to the array, seen from above; the channels of one
    sensor side by side, so that no two boxes overlap."""
    import mne

    if axis is not None and axis not in AXES:
        raise ValueError(f"axis must be one of {', '.join(AXES)}, not {axis!r}")
    found = sensor_axes(info)
    every = _meg(info)
    r = np.array([ch["loc"][:3] for ch in every])
    centre = fit_sphere(r) if len(r) >= 4 else np.zeros(3)
    chs = [ch for ch in every if axis is None or found[ch["ch_name"]].axis == axis]
    groups: Dict[int, List[dict]] = {}
    for ch in chs:
        groups.setdefault(found[ch["ch_name"]].sensor, []).append(ch)
    points = np.array([group[0]["loc"][:3] for group in groups.values()]) - centre
    flat = flatten(points)
    if len(flat) > 1:
        gaps = np.linalg.norm(flat[:, None, :] - flat[None, :, :], axis=2)
        np.fill_diagonal(gaps, np.inf)
        spacing = float(gaps.min())
    else:
        spacing = 1.0
    # Each sensor fills a square whose side keeps two squares apart at the
    # closest sensors' spacing in any direction; its axes share the square.
    side = 0.95 * spacing / np.sqrt(2.0)
    widest = max(len(group) for group in groups.values())
    step = side / widest
    width, height = 0.9 * step, side
    names, boxes = [], []
    for (u, v), group in zip(flat, groups.values()):
        group = sorted(group, key=lambda ch: AXES.index(found[ch["ch_name"]].axis))
        for k, ch in enumerate(group):
            x = u + (k - (len(group) - 1) / 2.0) * step
            names.append(ch["ch_name"])
            boxes.append([x - width / 2.0, v - height / 2.0, width, height])
    pos = np.array(boxes)
    # Into the unit square, as MNE's own layouts are.
    low = pos[:, :2].min(axis=0)
    scale = float(np.max(pos[:, :2].max(axis=0) + pos[:, 2:].max(axis=0) - low))
    pos[:, :2] = (pos[:, :2] - low) / scale
    pos[:, 2:] /= scale
    return mne.channels.Layout(box=(0.0, 1.0, 0.0, 1.0), pos=pos, names=names,
                               ids=np.arange(1, len(names) + 1), kind="fluxgrid")

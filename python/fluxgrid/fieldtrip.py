"""The bridge to FieldTrip: sensors as its `grad` structure, written as a
.mat file that `ft_read_sens` takes.

scipy is imported only when a file is written.

    >>> import fluxgrid as fg, fluxgrid.fieldtrip
    >>> sensors = fg.read_sensors("fluxgrid-demo/sensors/squid21")
    >>> fluxgrid.fieldtrip.save_grad("grad.mat", sensors, axes="LSP", unit="mm")
"""

from __future__ import annotations

import os
from typing import Any, Dict, List, Optional, Sequence, Union

import numpy as np

from . import _geometry as geometry
from ._check import check_for_export
from ._fluxgrid import Sensor

_CHANTYPE = {
    ("meg", False): "megmag",
    ("meg", True): "meggrad",
    ("ref", False): "refmag",
    ("ref", True): "refgrad",
}


def _cells(texts: Sequence[str]) -> np.ndarray:
    """A column cell array of texts, as MATLAB holds `label`."""
    cells = np.empty((len(texts), 1), dtype=object)
    for i, text in enumerate(texts):
        cells[i, 0] = text
    return cells


def to_grad(
    sensors: Sequence[Sensor],
    *,
    frame: str = "dewar",
    axes: str = "LSP",
    unit: str = "mm",
    fiducials: Optional[geometry.FiducialsLike] = None,
    fiducial_axes: Optional[str] = None,
    fiducial_unit: Optional[str] = None,
    check: bool = True,
) -> Dict[str, Any]:
    """FieldTrip's `grad` of the MEG channels and references among
    `sensors`, in metres along RAS (see `fluxgrid.mne.to_info` for `frame`,
    `axes`, `unit` and the fiducials). A magnetometer is one coil; an axial
    gradiometer two, with a `tra` row of +1 and -1 (the second coil's weight
    from the turns). With fiducials, everything is in MNE's head frame
    ("neuromag": x through the ear points, y through the nasion) and `fid`
    holds the three points; without, in the device frame.

    A set with errors of `fluxgrid.check` raises `fluxgrid.GeometryError`
    unless `check` is False (see `fluxgrid.mne.to_info`)."""
    sensor_frame = geometry.Frame(axes, unit)
    if check:
        check_for_export(sensors, frame=frame, axes=axes, unit=unit, fiducials=fiducials,
                         fiducial_axes=fiducial_axes, fiducial_unit=fiducial_unit)
    channels = [ch for ch in (geometry.channel(s, frame, sensor_frame) for s in sensors)
                if ch.kind in ("meg", "ref") and ch.r0 is not None]
    coils: List[geometry.Coil] = []
    rows: List[List[float]] = []
    for ch in channels:
        own = ch.coils or [geometry.Coil(ch.r0, ch.ez, 1.0)]
        rows.append([0.0] * len(coils) + [c.weight for c in own])
        coils += own
    tra = np.zeros((len(channels), len(coils)))
    for i, row in enumerate(rows):
        tra[i, : len(row)] = row
    transform = np.eye(4)
    grad: Dict[str, Any] = {}
    if fiducials is not None:
        transform, points = geometry.head_frame(channels, fiducials, sensor_frame,
                                                fiducial_axes, fiducial_unit)
        grad["fid"] = {"pos": _apply(transform, points), "label": _cells(["nas", "lpa", "rpa"])}
        grad["coordsys"] = "neuromag"
    rotation = transform[:3, :3]
    grad.update(
        label=_cells([ch.name for ch in channels]),
        chanpos=_apply(transform, np.array([ch.r0 for ch in channels]).reshape(-1, 3)),
        chanori=np.array([ch.ez for ch in channels]).reshape(-1, 3) @ rotation.T,
        coilpos=_apply(transform, np.array([c.pos for c in coils]).reshape(-1, 3)),
        coilori=np.array([c.ori for c in coils]).reshape(-1, 3) @ rotation.T,
        tra=tra,
        chantype=_cells([_CHANTYPE[ch.kind, ch.is_axial_gradiometer] for ch in channels]),
        chanunit=_cells(["T"] * len(channels)),
        unit="m",
        balance={"current": "none"},
        type="meg",
    )
    return grad


def _apply(transform: np.ndarray, points: np.ndarray) -> np.ndarray:
    return points @ transform[:3, :3].T + transform[:3, 3]


def save_grad(path: Union[str, "os.PathLike[str]"], sensors: Sequence[Sensor], **kwargs) -> Dict[str, Any]:
    """Writes `to_grad(sensors, **kwargs)` as the variable `grad` of a .mat
    file (MATLAB 5 format, scipy.io.savemat), and returns it."""
    from scipy.io import savemat

    grad = to_grad(sensors, **kwargs)
    savemat(os.fspath(path), {"grad": grad}, oned_as="column")
    return grad

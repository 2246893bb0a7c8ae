"""The bridge to FieldTrip: sensors as its `grad` structure, written as a
.mat file that `ft_read_sens` takes.

scipy is imported only when a file is written.

    >>> import fluxgrid as fg, fluxgrid.fieldtrip
    >>> sensors = fg.read_sensors("fluxgrid-demo/sensors/squid21")
    >>> fluxgrid.fieldtrip.save_grad("grad.mat", sensors, axes="LSP", unit="mm")
"""

from __future__ import annotations

import os
from typing import Any, Dict, Iterable, List, Optional, Sequence, Union

import numpy as np

from . import _geometry as geometry
from ._check import check_for_export
from ._files import replacing
from ._fluxgrid import Sensor

PathLike = Union[str, "os.PathLike[str]"]

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
    rename_duplicates: bool = False,
) -> Dict[str, Any]:
    """FieldTrip's `grad` of the MEG channels and references among
    `sensors`, in metres along RAS (see `fluxgrid.mne.to_info` for `frame`,
    `axes`, `unit` and the fiducials). A magnetometer is one coil; an axial
    gradiometer two, with a `tra` row of +1 and -1 (the second coil's weight
    from the turns). With fiducials, everything is in MNE's head frame
    ("neuromag": x through the ear points, y through the nasion) and `fid`
    holds the three points; without, in the device frame.

    A set with errors of `fluxgrid.check` raises `fluxgrid.GeometryError`
    unless `check` is False (see `fluxgrid.mne.to_info`). Whether checked
    or not, `fluxgrid.ExportError` refuses what has no place in a grad: no
    sensor at all, an MEG or reference channel with no element in use, a
    position that is not finite, fiducials that give no head frame, and
    names shared by several channels, unless `rename_duplicates` renames
    them as MNE does ("A-0", "A-1")."""
    sensor_frame = geometry.Frame(axes, unit)
    if check:
        check_for_export(sensors, frame=frame, axes=axes, unit=unit, fiducials=fiducials,
                         fiducial_axes=fiducial_axes, fiducial_unit=fiducial_unit,
                         rename_duplicates=rename_duplicates)
    channels = [ch for ch in geometry.export_channels(sensors, frame, sensor_frame,
                                                      rename_duplicates)
                if ch.kind in ("meg", "ref")]
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


def save_grad(path: PathLike, sensors: Sequence[Sensor], *, inputs: Iterable[PathLike] = (),
              **kwargs) -> Dict[str, Any]:
    """Writes `to_grad(sensors, **kwargs)` as the variable `grad` of a .mat
    file (MATLAB 5 format, scipy.io.savemat) named `path` as given, and
    returns it.

    The file is written whole or not at all (a temporary file beside it,
    renamed over it): an existing file keeps its content when the grad is
    refused or the write fails. A `path` that is a folder, or the same file as one of `inputs`,
    raises `fluxgrid.ExportError`."""
    from scipy.io import savemat

    grad = to_grad(sensors, **kwargs)
    with replacing(path, inputs=inputs) as temporary, open(temporary, "wb") as out:
        # A file object, so that no ".mat" is appended to the name given.
        savemat(out, {"grad": grad}, oned_as="column")
    return grad

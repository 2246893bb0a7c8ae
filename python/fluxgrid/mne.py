"""The bridge to MNE-Python: sensors as an `mne.Info`, with MNE's device and
head frames the right way up, custom coil definitions for the axial
gradiometers, and the layout tables as montages.

MNE is imported only when these functions are used.

    >>> import fluxgrid as fg, fluxgrid.mne
    >>> sensors = fg.read_sensors("fluxgrid-demo/sensors/opm32")
    >>> info = fluxgrid.mne.to_info(sensors, axes="LSP", unit="mm")
"""

from __future__ import annotations

import contextlib
import os
import tempfile
from typing import Dict, Iterator, List, Optional, Sequence, Tuple

import numpy as np

from . import _geometry as geometry
from ._check import check_for_export
from ._fluxgrid import Sensor
from ._layouts import layout

#: The first number of the coil types that this package defines for its
#: axial gradiometers, clear of MNE's own types and of the 9999 of MNE's
#: OPM example data.
COIL_TYPE_BASE = 9500

#: MNE's point magnetometer, which MNE 1.3 defines at every accuracy.
POINT_MAGNETOMETER = 2000

_MNE_TYPE = {"meg": "mag", "ref": "ref_meg", "eeg": "eeg", "stim": "stim", "misc": "misc"}


def _channels(sensors: Sequence[Sensor], frame: str, axes: geometry.Frame) -> List[geometry.Channel]:
    return [geometry.channel(s, frame, axes) for s in sensors]


def _gradiometer_key(ch: geometry.Channel) -> Tuple[float, float, float]:
    # Definitions are shared by channels whose geometry agrees to a micrometre.
    return (round(ch.baseline, 6), round(ch.size, 6), round(ch.coils[1].weight, 6))


def _coil_types(channels: Sequence[geometry.Channel]) -> Dict[Tuple[float, float, float], int]:
    keys = sorted({_gradiometer_key(ch) for ch in channels if ch.is_axial_gradiometer})
    return {key: COIL_TYPE_BASE + i for i, key in enumerate(keys)}


def _points(size: float, accuracy: int) -> List[Tuple[float, float, float]]:
    """Integration points of a loop of diameter `size` in its own plane,
    with their share of the loop: one point, four, or the seven of a
    circle's quadrature."""
    if accuracy == 0 or size <= 0:
        return [(1.0, 0.0, 0.0)]
    if accuracy == 1:
        d = size / 4.0
        return [(0.25, x, y) for x, y in ((d, d), (-d, d), (-d, -d), (d, -d))]
    r = size / 2.0 * np.sqrt(2.0 / 3.0)
    ring = [(0.125, r * np.cos(a), r * np.sin(a)) for a in np.arange(6) * np.pi / 3.0]
    return [(0.25, 0.0, 0.0)] + ring


def coil_def_text(sensors: Sequence[Sensor], *, frame: str = "dewar", axes: str = "LSP",
                  unit: str = "mm") -> str:
    """MNE coil definitions of the axial gradiometers among `sensors`, one
    type (from 9500 on) for each geometry: both coils along the normal, the
    second at the baseline that `getCoilBaseLine` gives, weighted by the
    turns, the loop's size from its area. The text of a coil_def.dat."""
    channels = _channels(sensors, frame, geometry.Frame(axes, unit))
    lines = ["# fluxgrid axial gradiometers: class id accuracy points size baseline description"]
    for (baseline, size, weight), coil_type in _coil_types(channels).items():
        for accuracy in (0, 1, 2):
            points = _points(size, accuracy)
            desc = f"fluxgrid axial gradiometer size = {size * 1e3:.2f} mm base = {baseline * 1e3:.2f} mm"
            lines.append(f"2 {coil_type} {accuracy} {2 * len(points)} {size:.6e} {abs(baseline):.6e} \"{desc}\"")
            for z, coil_weight in ((0.0, 1.0), (baseline, weight)):
                for share, x, y in points:
                    lines.append(f"{share * coil_weight:.4f} {x:.6e} {y:.6e} {z:.6e} 0.000 0.000 1.000")
    return "\n".join(lines) + "\n"


@contextlib.contextmanager
def use_coil_defs(sensors: Sequence[Sensor], **kwargs) -> Iterator[str]:
    """Within the block, MNE knows the coil types of `coil_def_text(sensors,
    **kwargs)` (through `mne.use_coil_def`). Yields the definition file."""
    import mne

    handle, path = tempfile.mkstemp(prefix="fluxgrid-coil-def-", suffix=".dat")
    try:
        with os.fdopen(handle, "w") as out:
            out.write(coil_def_text(sensors, **kwargs))
        with mne.use_coil_def(path):
            yield path
    finally:
        os.unlink(path)


def to_info(
    sensors: Sequence[Sensor],
    *,
    frame: str = "dewar",
    axes: str = "LSP",
    unit: str = "mm",
    fiducials: Optional[geometry.FiducialsLike] = None,
    fiducial_axes: Optional[str] = None,
    fiducial_unit: Optional[str] = None,
    sfreq: float = 1000.0,
    opm_coil_type: int = POINT_MAGNETOMETER,
    check: bool = True,
    rename_duplicates: bool = False,
):
    """The measurement info of `sensors`, one channel each, in order.

    Positions are those of the first element in use of `frame` ("dewar",
    "head" or "work"), given along `axes` (an orientation code such as
    "LSP", the system's head frame) in `unit` ("mm", "cm" or "m"), and
    turned into MNE's device frame (RAS, metres): a reflection where the
    frame is left-handed. `loc` holds r0 and a right-handed orthonormal ex,
    ey, ez with ez along the element's orientation.

    Channel kinds are the library's meaning of the sensor type codes
    (`Sensor.channel_kind`, see `fluxgrid.channel_type`). OPM channels get
    `opm_coil_type` (MNE's point magnetometer unless told), two-coil SQUID
    channels an axial gradiometer type of `coil_def_text`, one-coil ones a
    point magnetometer.

    `fiducials` (a HeadLocalization, whose current set is taken, a
    FiducialSet, or a (3, 3) array: nasion, then the two ear points) in the
    sensors' frame unless `fiducial_axes`/`fiducial_unit` say otherwise,
    give `dev_head_t` as MNE's readers build it and the three cardinal
    points in `dig`. Without them the transform is the identity.

    The sensors, and fiducials of a HeadLocalization along the sensors'
    axes, first go through `fluxgrid.check` in `frame` and `unit`: a set
    with errors raises `fluxgrid.GeometryError`, unless `check` is False.
    Checked or not, `fluxgrid.ExportError` refuses no sensor at all, an MEG
    or reference channel with no element in use, a position that is not
    finite, fiducials that give no head frame, and names shared by several
    channels, unless `rename_duplicates` renames them as MNE does.
    """
    import mne
    from mne.io.constants import FIFF

    sensor_frame = geometry.Frame(axes, unit)
    if check:
        check_for_export(sensors, frame=frame, axes=axes, unit=unit, fiducials=fiducials,
                         fiducial_axes=fiducial_axes, fiducial_unit=fiducial_unit,
                         rename_duplicates=rename_duplicates)
    channels = geometry.export_channels(sensors, frame, sensor_frame, rename_duplicates)
    info = mne.create_info([ch.name for ch in channels], sfreq,
                           [_MNE_TYPE[ch.kind] for ch in channels])
    coil_types = _coil_types(channels)
    # MNE's readers edit the channels of a fresh info in place.
    for ch, entry in zip(channels, info["chs"]):
        entry["loc"][:] = ch.loc
        if ch.kind in ("meg", "ref"):
            entry["coord_frame"] = FIFF.FIFFV_COORD_DEVICE
            entry["unit"] = FIFF.FIFF_UNIT_T
            if ch.is_axial_gradiometer:
                entry["coil_type"] = coil_types[_gradiometer_key(ch)]
            elif ch.hardware == "opm":
                entry["coil_type"] = opm_coil_type
            else:
                entry["coil_type"] = POINT_MAGNETOMETER
    if fiducials is None:
        return info
    trans, points = geometry.head_frame(channels, fiducials, sensor_frame, fiducial_axes,
                                        fiducial_unit)
    info["dev_head_t"] = mne.transforms.Transform("meg", "head", trans)
    # The cardinal points, and the EEG electrodes, in the head frame.
    head = mne.transforms.apply_trans(trans, points)
    electrodes = {ch.name: mne.transforms.apply_trans(trans, ch.r0)
                  for ch in channels if ch.kind == "eeg" and ch.r0 is not None}
    montage = mne.channels.make_dig_montage(ch_pos=electrodes or None, nasion=head[0],
                                            lpa=head[1], rpa=head[2], coord_frame="head")
    info.set_montage(montage, on_missing="ignore")
    return info


def layout_montage(name: str):
    """A layout table as an `mne.channels.DigMontage` in MNE's head frame
    (RAS, metres); the nets' FidNz, FidT9 and FidT10 as the nasion and the
    left and right ear points."""
    import mne

    table = layout(name)
    positions = dict(zip(table.names, table.pos_ras()))
    fiducials = {key: positions.pop(label, None)
                 for key, label in (("nasion", "FidNz"), ("lpa", "FidT9"), ("rpa", "FidT10"))}
    return mne.channels.make_dig_montage(ch_pos=positions, coord_frame="head", **fiducials)

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
from typing import Dict, Iterator, List, Optional, Sequence

from . import _coil_defs
from . import _geometry as geometry
from ._coil_defs import COIL_TYPE_RANGE  # noqa: F401 (our coil types' numbers)
from ._check import check_for_export
from ._from_info import Imported, from_info, kept_coil_types  # noqa: F401
from ._fluxgrid import Sensor
from ._opm import SensorAxis, hfc_projectors, layout, pick_axis, sensor_axes  # noqa: F401
from ._layouts import layout as _table

#: MNE's point magnetometer, which MNE 1.3 defines at every accuracy.
POINT_MAGNETOMETER = 2000

_MNE_TYPE = {"meg": "mag", "ref": "ref_meg", "eeg": "eeg", "stim": "stim", "misc": "misc"}


def _channels(sensors: Sequence[Sensor], frame: str, axes: geometry.Frame) -> List[geometry.Channel]:
    return [geometry.channel(s, frame, axes) for s in sensors]


def _coil_def(ch: geometry.Channel) -> _coil_defs.AxialGradiometer:
    return _coil_defs.AxialGradiometer.of(ch.baseline, ch.size, ch.coils[1].weight)


def _coil_types(channels: Sequence[geometry.Channel]) -> Dict[_coil_defs.CoilDef, int]:
    return _coil_defs.numbered(_coil_def(ch) for ch in channels if ch.is_axial_gradiometer)


def coil_def_text(sensors: Sequence[Sensor], *, frame: str = "dewar", axes: str = "LSP",
                  unit: str = "mm") -> str:
    """MNE coil definitions of the axial gradiometers among `sensors`, one
    type for each geometry, numbered by the geometry itself (see
    `COIL_TYPE_RANGE`): both coils along the normal, the second at the
    baseline that `getCoilBaseLine` gives, weighted by the turns, the
    loop's size from its area. The text of a coil_def.dat."""
    channels = _channels(sensors, frame, geometry.Frame(axes, unit))
    return _coil_defs.definition_text(_coil_types(channels))


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
    point magnetometer; a channel that `from_info` made keeps MNE's coil
    type while its geometry agrees with it. When coil definitions are in force
    (`use_coil_defs`, `mne.use_coil_def`) that give one of those types
    another geometry than its channels have, `fluxgrid.Error` is raised.

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
    _coil_defs.check_in_force(list(coil_types), {
        d: [ch.name for ch in channels if ch.is_axial_gradiometer and _coil_def(ch) == d]
        for d in coil_types})
    # MNE's readers edit the channels of a fresh info in place.
    for kept, ch, entry in zip(kept_coil_types(sensors, channels), channels, info["chs"]):
        entry["loc"][:] = ch.loc
        if ch.kind in ("meg", "ref"):
            entry["coord_frame"] = FIFF.FIFFV_COORD_DEVICE
            entry["unit"] = FIFF.FIFF_UNIT_T
            if kept is not None:
                entry["coil_type"] = kept
            elif ch.is_axial_gradiometer:
                entry["coil_type"] = coil_types[_coil_def(ch)]
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

    table = _table(name)
    positions = dict(zip(table.names, table.pos_ras()))
    fiducials = {key: positions.pop(label, None)
                 for key, label in (("nasion", "FidNz"), ("lpa", "FidT9"), ("rpa", "FidT10"))}
    return mne.channels.make_dig_montage(ch_pos=positions, coord_frame="head", **fiducials)

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
import numbers
import os
import tempfile
from typing import Iterator, List, NamedTuple, Optional, Sequence, Union

from . import _coil_defs
from . import _geometry as geometry
from ._coil_defs import (  # noqa: F401 (the coil types to_info gives)
    COIL_TYPE_RANGE,
    DEFAULT_OPM_COIL_TYPE,
    OPM_CELL_SIZES,
    nearest_opm_coil_type,
)
from ._check import check_for_export
from ._errors import ExportError
from ._from_info import Imported, from_info, kept_coil_types  # noqa: F401
from ._fluxgrid import Sensor
from ._opm import SensorAxis, hfc_projectors, layout, pick_axis, sensor_axes  # noqa: F401
from ._layouts import layout as _table

#: MNE's point magnetometer, which MNE 1.3 defines at every accuracy.
POINT_MAGNETOMETER = 2000

_MNE_TYPE = {"meg": "mag", "ref": "ref_meg", "eeg": "eeg", "stim": "stim", "misc": "misc"}


def _channels(sensors: Sequence[Sensor], frame: str, axes: geometry.Frame) -> List[geometry.Channel]:
    return [geometry.channel(s, frame, axes) for s in sensors]


class _Coils(NamedTuple):
    """What a channel's coils are to MNE: the size and shape code of its
    one loop or cell (size None when the record holds none), and the
    definition of its own coils, where it has one."""

    size: Optional[float]
    shape: int
    own: Optional[_coil_defs.CoilDef]


def _coils(sensor: Sensor, ch: geometry.Channel, frame: str, unit: str) -> _Coils:
    if ch.kind not in ("meg", "ref") or ch.r0 is None:
        return _Coils(None, 0, None)
    if ch.is_axial_gradiometer:
        return _Coils(None, 0, _coil_defs.AxialGradiometer.of(ch.baseline, ch.size,
                                                              ch.coils[1].weight))
    if ch.hardware not in ("squid", "opm"):
        return _Coils(None, 0, None)
    # The first element in use, the one that gives the channel's place. A
    # cell's area lives in memory only: a cell read from a file has none.
    element = sensor.elements(frame)[0]
    shape = int(element.vaporShape if ch.hardware == "opm" else element.coilShape)
    size = _coil_defs.element_size(float(element.coilArea) / geometry.UNITS_PER_METRE[unit]**2,
                                   shape)
    if size is None:
        return _Coils(None, shape, None)
    own = (_coil_defs.VaporCube.of(size) if ch.hardware == "opm"
           else _coil_defs.LoopMagnetometer.of(size, shape))
    return _Coils(size, shape, own)


def _all_coils(sensors: Sequence[Sensor], channels: Sequence[geometry.Channel], frame: str,
               unit: str) -> List[_Coils]:
    return [_coils(s, ch, frame, unit) for s, ch in zip(sensors, channels)]


def coil_def_text(sensors: Sequence[Sensor], *, frame: str = "dewar", axes: str = "LSP",
                  unit: str = "mm") -> str:
    """MNE coil definitions of the coils among `sensors` that MNE does not
    define, one type for each geometry, numbered by the geometry itself
    (see `COIL_TYPE_RANGE`). An axial gradiometer has both coils along the
    normal, the second at the baseline that `getCoilBaseLine` gives,
    weighted by the turns, the loop's size from its area; a one-coil SQUID
    channel its own loop, square or circular by `coilShape` and of the size
    of `coilArea`; an OPM cell with an area the cube of its size (what
    `to_info(..., opm_coil_type="record")` gives it). The text of a
    coil_def.dat."""
    channels = _channels(sensors, frame, geometry.Frame(axes, unit))
    return _coil_defs.definition_text(
        c.own for c in _all_coils(sensors, channels, frame, unit) if c.own is not None)


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


#: `opm_coil_type` that defines each OPM cell from its own record.
RECORD = "record"


def _checked_opm_coil_type(value: Union[None, int, str]) -> Union[None, int, str]:
    if value is None or (isinstance(value, str) and value == RECORD):
        return value
    if isinstance(value, str):
        raise ValueError(f"opm_coil_type must be a coil type number, {RECORD!r} or None, "
                         f"not {value!r}")
    if isinstance(value, bool) or not isinstance(value, numbers.Integral):
        raise TypeError(f"opm_coil_type must be a coil type number, {RECORD!r} or None, "
                        f"not {value!r}")
    return int(value)


def _coil_type(kept: Optional[int], ch: geometry.Channel, coils: _Coils,
               opm_coil_type: Union[None, int, str]) -> Union[None, int, _coil_defs.CoilDef]:
    """A channel's coil type, or the definition that numbers it; None for a
    channel that is not magnetic."""
    if ch.kind not in ("meg", "ref"):
        return None
    if ch.hardware == "opm" and opm_coil_type is not None:
        if opm_coil_type != RECORD:
            return opm_coil_type
        if coils.own is None:
            raise ExportError(
                f"channel {ch.name!r}: its vapor cell has no size (coilArea, which lives in "
                f"memory only and no file holds), so opm_coil_type={RECORD!r} cannot define "
                "it; give the cell its area or name a coil type")
        return coils.own
    if kept is not None:
        return kept
    if ch.hardware == "opm":
        return nearest_opm_coil_type(coils.size, coils.shape)
    # A point stands in for no loop: only for a coil without an area.
    return coils.own if coils.own is not None else POINT_MAGNETOMETER


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
    opm_coil_type: Union[None, int, str] = None,
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
    (`Sensor.channel_kind`, see `fluxgrid.channel_type`). Coil types:

    - A channel that `from_info` made keeps MNE's coil type while its
      geometry agrees with it (unless `opm_coil_type` names another for an
      OPM channel).
    - A two-coil SQUID channel: an axial gradiometer type of
      `coil_def_text`. A one-coil SQUID channel: a type of `coil_def_text`
      for its own loop (`coilShape` 2 a square of side sqrt(`coilArea`),
      any other a circle of that area); MNE's point magnetometer only for
      a coil with no area.
    - An OPM channel, with `opm_coil_type` None: MNE's OPM type whose cell
      is nearest in size (`nearest_opm_coil_type`, sizes in
      `OPM_CELL_SIZES`) to the size of its first cell in use: a square's
      side for `vaporShape` 2, else a circle's diameter, from the cell's
      `coilArea`. No file holds a cell's area (it lives in memory only, and
      the library gives a new cell 0), so a cell read from a file has no
      size and takes `DEFAULT_OPM_COIL_TYPE`, 8002. With an int: that type
      (MNE's point magnetometer 2000 included). With "record": a type of
      `coil_def_text` for the cube of the cell's size; a cell without a
      size is refused with `fluxgrid.ExportError`.

    When coil definitions are in force (`use_coil_defs`,
    `mne.use_coil_def`) that give one of the types of `coil_def_text`
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

    opm_coil_type = _checked_opm_coil_type(opm_coil_type)
    sensor_frame = geometry.Frame(axes, unit)
    if check:
        check_for_export(sensors, frame=frame, axes=axes, unit=unit, fiducials=fiducials,
                         fiducial_axes=fiducial_axes, fiducial_unit=fiducial_unit,
                         rename_duplicates=rename_duplicates)
    channels = geometry.export_channels(sensors, frame, sensor_frame, rename_duplicates)
    info = mne.create_info([ch.name for ch in channels], sfreq,
                           [_MNE_TYPE[ch.kind] for ch in channels])
    chosen = [_coil_type(kept, ch, coils, opm_coil_type) for kept, ch, coils in
              zip(kept_coil_types(sensors, channels), channels,
                  _all_coils(sensors, channels, frame, unit))]
    numbered = _coil_defs.numbered(c for c in chosen if isinstance(c, _coil_defs.CoilDef))
    _coil_defs.check_in_force(list(numbered), {
        d: [ch.name for ch, c in zip(channels, chosen) if c == d] for d in numbered})
    # MNE's readers edit the channels of a fresh info in place.
    for choice, ch, entry in zip(chosen, channels, info["chs"]):
        entry["loc"][:] = ch.loc
        if choice is not None:
            entry["coord_frame"] = FIFF.FIFFV_COORD_DEVICE
            entry["unit"] = FIFF.FIFF_UNIT_T
            entry["coil_type"] = (numbered[choice] if isinstance(choice, _coil_defs.CoilDef)
                                  else choice)
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

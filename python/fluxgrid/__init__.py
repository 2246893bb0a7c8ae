"""Fluxgrid: MEG sensor, element and head localization files, and the
channel layout tables, as Python objects with numpy arrays.

The objects are the library's own: every field is an attribute under its
own name, fixed arrays of numbers are numpy views of the object's memory,
and loading and storing go through the library's code, byte for byte.

    >>> import fluxgrid as fg
    >>> s = fg.read_sensor("MLC11.sensor")
    >>> s.snsRawName, s.type_name, s.hardware_kind
    >>> s.positions(frame="dewar")       # (n, 3) of the elements in use
    >>> fg.write(s, "MLC11-new.sensor")  # the newest version, atomically
"""

from __future__ import annotations

from ._errors import (
    Error,
    FileFormatError,
    LibraryWarning,
    LoadWarning,
    TruncatedFileError,
)
from ._fluxgrid import (
    Coil,
    FiducialPoint,
    FiducialSet,
    Geom,
    HardwareRecord,
    HeadLocalization,
    HeadLocationTrial,
    OpmRecord,
    Sensor,
    Sphere,
    SquidRecord,
    Vapor,
    __version__,
    axes_to_ras,
    layout_names,
)
from ._files import (
    FILE_KINDS,
    read,
    read_bytes,
    read_header,
    read_headloc,
    read_sensor,
    read_sensors,
    to_bytes,
    write,
)
from ._layouts import Layout, layout
from . import _sensor  # noqa: F401  (adds the Pythonic helpers to Sensor)

__all__ = [
    "__version__",
    "Coil",
    "Error",
    "FILE_KINDS",
    "FileFormatError",
    "FiducialPoint",
    "FiducialSet",
    "Geom",
    "HardwareRecord",
    "HeadLocalization",
    "HeadLocationTrial",
    "Layout",
    "LibraryWarning",
    "LoadWarning",
    "OpmRecord",
    "Sensor",
    "Sphere",
    "SquidRecord",
    "TruncatedFileError",
    "Vapor",
    "axes_to_ras",
    "layout",
    "layout_names",
    "read",
    "read_bytes",
    "read_header",
    "read_headloc",
    "read_sensor",
    "read_sensors",
    "to_bytes",
    "write",
]

"""Fluxgrid: MEG sensor, element and head localization files, and the
channel layout tables, as Python objects with numpy arrays.

The objects are the library's own: every field is an attribute under its
own name, fixed arrays of numbers are numpy views of the object's memory,
and loading and storing go through the library's code, byte for byte.

    >>> import fluxgrid as fg
    >>> s = fg.read_sensor("MLC11.sensor")
    >>> s.snsRawName, s.type_name, s.hardware_kind, s.channel_kind
    >>> s.positions(frame="dewar")       # (n, 3) of the elements in use
    >>> fg.channel_type(700, opm=True)   # ChannelType(code=700, name="TIME", kind="meg", ...)
    >>> fg.write(s, "MLC11-new.sensor")  # the newest version, atomically
    >>> fg.check("sensors/opm32").errors  # the geometry rules over a set
"""

from __future__ import annotations

from ._check import CheckReport, check
from ._errors import (
    Error,
    ExportError,
    FieldOverflowError,
    FieldTypeError,
    FieldValueError,
    FileFormatError,
    FileMissingError,
    FileObjectTypeError,
    GeometryError,
    HardwareTypeError,
    LibraryWarning,
    LoadWarning,
    ReadError,
    TruncatedFileError,
    WriteError,
)
from ._fluxgrid import (
    FRAMES,
    ChannelType,
    Coil,
    ElementGeometry,
    FiducialPoint,
    FiducialSet,
    Finding,
    FindingValue,
    Geom,
    GeometryRule,
    HardwareRecord,
    HeadLocalization,
    HeadLocationTrial,
    OpmRecord,
    Sensor,
    Sphere,
    SphereFit,
    SquidRecord,
    Vapor,
    __version__,
    axes_to_ras,
    channel_type,
    channel_type_codes,
    geometry_rules,
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

__all__ = [
    "__version__",
    "ChannelType",
    "CheckReport",
    "Coil",
    "ElementGeometry",
    "Error",
    "ExportError",
    "FILE_KINDS",
    "FRAMES",
    "FieldOverflowError",
    "FieldTypeError",
    "FieldValueError",
    "FileFormatError",
    "FileMissingError",
    "FileObjectTypeError",
    "FiducialPoint",
    "FiducialSet",
    "Finding",
    "FindingValue",
    "Geom",
    "GeometryError",
    "GeometryRule",
    "HardwareRecord",
    "HardwareTypeError",
    "HeadLocalization",
    "HeadLocationTrial",
    "Layout",
    "LibraryWarning",
    "LoadWarning",
    "OpmRecord",
    "ReadError",
    "Sensor",
    "Sphere",
    "SphereFit",
    "SquidRecord",
    "TruncatedFileError",
    "Vapor",
    "WriteError",
    "axes_to_ras",
    "channel_type",
    "channel_type_codes",
    "check",
    "geometry_rules",
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

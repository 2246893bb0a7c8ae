"""The exceptions and warnings of the fluxgrid package.

Every error that the package raises is an `Error`, with the file, the
field or the channel it is about in its message. Where a builtin exception
says the same, the class derives from it too, so that code which catches
the builtin one keeps working:

- `FileMissingError` (also `FileNotFoundError`): no file by that name.
  ``fg.read("gone.sensor")``
- `ReadError` (also `OSError`): the system refused to read the file.
  ``fg.read("/root/secret.sensor")``
- `FileFormatError`: not a file of the kind asked for, a refused version
  or a refusal of the library. ``fg.read_sensor("MLC3.coil")``
- `TruncatedFileError` (a `FileFormatError`): the file ends inside its
  body. ``fg.read("cut.sensor")``
- `WriteError` (also `OSError`, with `errno` and `filename`): the system
  refused the write. ``fg.write(sensor, "/dev/full")``
- `FileObjectTypeError` (also `TypeError`): an object that no file holds
  where one is wanted. ``fg.write(fg.Sphere(), "x")``
- `HardwareTypeError`: a sensor whose `hardwareType` does not match the
  record it holds, which a write would lose. ``fg.write(sensor, path)``
  after ``sensor.getSnsPos(1, 0)`` on a SQUID sensor.
- `FieldTypeError` (also `TypeError`): a value of the wrong type for a
  field. ``sensor.sensorType = "seven"``
- `FieldOverflowError` (also `OverflowError` and `TypeError`): a number outside what an
  integer field holds. ``record.auxFlags = [2**40, 0, 0, 0]``
- `FieldValueError` (also `ValueError`): an array of the wrong shape, or a
  number that is not finite or not whole for an integer field.
  ``sensor.snsPos4 = np.zeros(3)``
- `GeometryError`: the geometry check found errors in a set of sensors.
  ``fg.check(folder).raise_for_errors()`` on a broken set.
- `ExportError`: an export refused, naming the channel, point or path.
  ``fluxgrid.mne.to_info([])``
"""

from __future__ import annotations

from typing import TYPE_CHECKING, Optional, Sequence

if TYPE_CHECKING:
    from ._fluxgrid import Finding

__all__ = [
    "Error",
    "ExportError",
    "FieldOverflowError",
    "FieldTypeError",
    "FieldValueError",
    "FileFormatError",
    "FileMissingError",
    "FileObjectTypeError",
    "GeometryError",
    "HardwareTypeError",
    "ReadError",
    "TruncatedFileError",
    "WriteError",
    "LibraryWarning",
    "LoadWarning",
]


class Error(ValueError):
    """Base class of the package's errors.

    Attributes:
        file: the file's name as given, or None for bytes.
        kind: the kind of file its first bytes told ("coil", "vapor",
            "squid", "opm", "sensor", "headloc"), or None.
        version: the version its frame gave, or None.
        messages: the library's own words (its message boxes), in order.
        failure: the stable code of the failure ("missing", "bad-magic", "truncated", ...).
    """

    def __init__(
        self,
        message: str,
        *,
        file: Optional[str] = None,
        kind: Optional[str] = None,
        version: Optional[int] = None,
        messages: Sequence[str] = (),
        failure: Optional[str] = None,
    ) -> None:
        super().__init__(message)
        self.file = file
        self.kind = kind
        self.version = version
        self.messages = tuple(messages)
        self.failure = failure


class FileFormatError(Error):
    """The file is not of the kind asked for, of a refused version, or
    refused by the library while loading."""


class TruncatedFileError(FileFormatError):
    """The file ends inside its body."""


class _SystemFailure(Error, OSError):
    """What the system refused, with OSError's own fields: `errno` is its
    number where it is known, `filename` the file's name and `strerror`
    the library's words."""

    def __init__(
        self,
        message: str,
        *,
        errno: Optional[int] = None,
        strerror: Optional[str] = None,
        **details: object,
    ) -> None:
        super().__init__(message, **details)  # type: ignore[arg-type]
        _set_os_fields(self, errno, strerror or message, details.get("file"))


class FileMissingError(_SystemFailure, FileNotFoundError):
    """No file by that name. `errno` is ENOENT and `filename` the name,
    as for the builtin `FileNotFoundError`."""


class ReadError(_SystemFailure):
    """The system refused to open or read the file. `errno` is the
    system's number where it is known, `filename` the file's name."""


class WriteError(_SystemFailure):
    """The system refused to write the file: `errno` is its number (ENOSPC
    for a full device), `filename` the file's name and `strerror` the
    library's words; str() gives all three."""


def _set_os_fields(
    error: OSError, number: Optional[int], words: str, file: object
) -> None:
    # What OSError's own constructor would set, so that str() and the
    # handlers of OSError see the usual errno, strerror and filename.
    error.errno = number  # type: ignore[assignment]
    error.strerror = words  # type: ignore[assignment]
    error.filename = file


class FileObjectTypeError(Error, TypeError):
    """An object of a class that no file holds, given where a file's object
    is wanted (a Sphere to `write`)."""


class HardwareTypeError(Error):
    """A sensor's `hardwareType` does not match the record it holds (or
    names a SQUID or OPM without a record): writing it would store a file
    that loses or lacks the record. `file` is the path of the write."""


class _FieldError(Error):
    """A value a field refused. `field` names the field and `wanted` the
    type it takes."""

    def __init__(self, message: str, *, field: str, wanted: str) -> None:
        super().__init__(message)
        self.field = field
        self.wanted = wanted


class FieldTypeError(_FieldError, TypeError):
    """A value of the wrong type for a field. `field` names the field and
    `wanted` the type it takes."""


class FieldOverflowError(_FieldError, OverflowError, TypeError):
    """A number outside the range of an integer field. `field` names the
    field and `wanted` the type it takes. Also a TypeError, which such an
    assignment to a single number raised before, so that code catching
    that still works."""


class FieldValueError(_FieldError):
    """A value a field cannot take: an array of another shape, or a number
    that is not finite or not whole for an integer field. `field` names the
    field and `wanted` the type it takes. (`Error` is a `ValueError`.)"""


class GeometryError(Error):
    """The geometry check found errors in a set of sensors or in the head
    localization beside it: what refuses to export or convert such a set.

    The message lists the error findings, one line each as the library
    words them.

    Attributes:
        findings: the error findings (`fluxgrid.Finding`), in the check's
            order.
    """

    def __init__(self, findings: Sequence["Finding"]) -> None:
        count = len(findings)
        lines = [f"the geometry check found {count} error{'' if count == 1 else 's'}:"]
        lines += [f"  {finding}" for finding in findings]
        super().__init__("\n".join(lines))
        self.findings = tuple(findings)


class LibraryWarning(UserWarning):
    """A message box that the library raised during a call."""


class LoadWarning(LibraryWarning):
    """A load gave its object, but the library raised message boxes on the
    way (a nested record it refused): the object may be incomplete."""


class ExportError(Error):
    """An export refused: no sensor at all, a channel without a place, a
    position or fiducial that is not finite or gives no head frame,
    duplicate channel names, a name the format cannot hold, or an output
    that is a folder or one of the inputs. The message names the channel,
    the point or the path."""

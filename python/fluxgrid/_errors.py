"""The exceptions and warnings of the fluxgrid package."""

from __future__ import annotations

from typing import TYPE_CHECKING, Optional, Sequence

if TYPE_CHECKING:
    from ._fluxgrid import Finding

__all__ = [
    "Error",
    "ExportError",
    "FileFormatError",
    "GeometryError",
    "TruncatedFileError",
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

"""The exceptions and warnings of the fluxgrid package."""

from __future__ import annotations

from typing import Optional, Sequence

__all__ = [
    "Error",
    "FileFormatError",
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


class LibraryWarning(UserWarning):
    """A message box that the library raised during a call."""


class LoadWarning(LibraryWarning):
    """A load gave its object, but the library raised message boxes on the
    way (a nested record it refused): the object may be incomplete."""

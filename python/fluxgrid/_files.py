"""Reading and writing the six kinds of file."""

from __future__ import annotations

import contextlib
import os
import tempfile
from pathlib import Path
from typing import TYPE_CHECKING, Iterable, Iterator, List, NamedTuple, Tuple, Union

from . import _fluxgrid
from ._errors import ExportError

PathLike = Union[str, "os.PathLike[str]"]


class FileKind(NamedTuple):
    """One kind of file: its word, title, magic, accepted versions, the
    version a store writes and the class of the object it holds."""

    word: str
    title: str
    magic: str
    accepted: Tuple[int, ...]
    written: int
    type: type


#: The six kinds, in the library's order.
FILE_KINDS: Tuple[FileKind, ...] = tuple(
    FileKind(k["word"], k["title"], k["magic"], tuple(k["accepted"]), k["written"], k["type"])
    for k in _fluxgrid._FILE_KINDS
)

#: The classes of the objects that files hold, in the order of the kinds.
FILE_CLASSES: Tuple[type, ...] = tuple(k.type for k in FILE_KINDS)

if TYPE_CHECKING:
    # The union of those classes, as the generated stub of the extension
    # spells it for the type checkers.
    from ._fluxgrid import FileObject
else:
    FileObject = Union[FILE_CLASSES]


def read(
    path: PathLike, *, max_bytes: int = _fluxgrid.DEFAULT_MAX_BYTES
) -> FileObject:
    """Load a file of any of the six kinds, told by its magic.

    Returns a Coil, Vapor, SquidRecord, OpmRecord, Sensor or
    HeadLocalization. Raises FileNotFoundError for a missing file,
    FileFormatError for a wrong magic, a refused version or a refusal of
    the library, TruncatedFileError for a file that ends inside its body,
    and Error for what is not a regular file or is larger than `max_bytes`.
    A load that gives its object but raised message boxes issues a
    LoadWarning with the library's words.
    """
    return _fluxgrid._load(os.fspath(path), max_bytes, None)


def read_bytes(
    data: bytes, *, name: str = "", max_bytes: int = _fluxgrid.DEFAULT_MAX_BYTES
) -> FileObject:
    """Load the bytes of a file, as `read` does; `name` labels errors."""
    return _fluxgrid._load_bytes(bytes(data), name, max_bytes, None)


def read_header(path: PathLike) -> Tuple[str, int]:
    """The kind word and version of a file, from its first bytes only."""
    return _fluxgrid._header(os.fspath(path))


def _read_as(path: PathLike, kind: str, max_bytes: int) -> FileObject:
    # Through the entry of `kind`: a file of another kind is refused in that
    # entry's own words.
    return _fluxgrid._load(os.fspath(path), max_bytes, kind)


def read_sensor(
    path: PathLike, *, max_bytes: int = _fluxgrid.DEFAULT_MAX_BYTES
) -> _fluxgrid.Sensor:
    """Load a sensor file; a file of another kind raises FileFormatError."""
    return _read_as(path, "sensor", max_bytes)


def read_headloc(
    path: PathLike, *, max_bytes: int = _fluxgrid.DEFAULT_MAX_BYTES
) -> _fluxgrid.HeadLocalization:
    """Load a head localization file; another kind raises FileFormatError."""
    return _read_as(path, "headloc", max_bytes)


def sensor_paths(
    folder_or_paths: Union[PathLike, Iterable[PathLike]], pattern: str
) -> List[Path]:
    """The files of a folder that match `pattern`, or the paths given,
    sorted by file name."""
    if isinstance(folder_or_paths, (str, bytes, os.PathLike)):
        folder = Path(os.fsdecode(folder_or_paths))
        if not folder.is_dir():
            raise NotADirectoryError(f"{folder}: not a folder")
        paths = [p for p in folder.glob(pattern) if p.is_file()]
    else:
        paths = [Path(os.fsdecode(p)) for p in folder_or_paths]
    return sorted(paths, key=lambda p: (p.name, str(p)))


def read_sensors(
    folder_or_paths: Union[PathLike, Iterable[PathLike]],
    pattern: str = "*.sensor",
    *,
    max_bytes: int = _fluxgrid.DEFAULT_MAX_BYTES,
) -> List[_fluxgrid.Sensor]:
    """Load the sensor files of a folder (those matching `pattern`) or of a
    list of paths, sorted by file name."""
    return [
        read_sensor(p, max_bytes=max_bytes)
        for p in sensor_paths(folder_or_paths, pattern)
    ]


def write(obj: FileObject, path: PathLike, *, force: bool = False) -> int:
    """Store `obj` as the newest version of its kind, atomically: the name
    shows the old content or the whole new one, never a part. Returns the
    bytes written.

    A sensor whose `hardwareType` does not match the record it holds (a
    getter given another hardware type changes it, as the library does), or
    names a SQUID or OPM without a record, would not come back from the file
    as it is: such a write raises HardwareTypeError, naming the path and the
    mismatch, unless `force` is true. A write the system refuses raises
    WriteError (an OSError too, with `errno` and `filename`).

    Safe beside other threads that change `obj`: the file holds the object
    as it was at one moment.
    """
    return _fluxgrid._store(obj, os.fspath(path), force)


def to_bytes(obj: FileObject) -> bytes:
    """The bytes that `write` would put in a file."""
    return _fluxgrid._store_bytes(obj)


def _same_file(a: PathLike, b: PathLike) -> bool:
    try:
        return os.path.samefile(a, b)
    except OSError:
        return False


def _new_file_mode() -> int:
    # What open() would give a new file; mkstemp makes its file private.
    mask = os.umask(0)
    os.umask(mask)
    return 0o666 & ~mask


def _fsync_path(path: PathLike) -> None:
    handle = os.open(path, os.O_RDONLY)
    try:
        os.fsync(handle)
    finally:
        os.close(handle)


@contextlib.contextmanager
def replacing(path: PathLike, *, inputs: Iterable[PathLike] = ()) -> Iterator[str]:
    """Write a whole file or nothing: yields the name of a new temporary
    file in the folder of `path`, for the block to write; when the block
    ends without an exception, the file is flushed to the disk and renamed
    to `path`, and the folder flushed too. On any failure the temporary
    file is removed and `path` keeps its old content.

    Refuses, with ExportError, a `path` that is a folder or that is the
    same file as one of `inputs` (by device and inode, whatever the names).
    The temporary file keeps the suffix of `path`, for writers that look
    at it.
    """
    target = Path(os.fsdecode(path))
    if target.is_dir():
        raise ExportError(f"{target}: a folder, not a file to write", file=str(target))
    for source in inputs:
        if _same_file(target, source):
            raise ExportError(f"{target}: is the input {os.fsdecode(source)}, which the output "
                              f"would overwrite", file=str(target))
    handle, temporary = tempfile.mkstemp(prefix=f".{target.name}.", suffix=f".tmp{target.suffix}",
                                         dir=target.parent)
    try:
        try:
            os.fchmod(handle, _new_file_mode())
        finally:
            os.close(handle)
        yield temporary
        _fsync_path(temporary)
        os.replace(temporary, target)
    except BaseException:
        with contextlib.suppress(OSError):
            os.unlink(temporary)
        raise
    _fsync_path(target.parent)

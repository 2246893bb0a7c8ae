"""Writes the type stub of the extension, fluxgrid/_fluxgrid.pyi, from the
built module: its classes, their attributes (typed by what a fresh object
holds) and methods (from the signatures pybind11 documents), its named
tuples, and the union of the classes of the file kinds.

    python3 scripts/python-stubs.py OUT.pyi        # with the built package importable

The committed stub is checked against a fresh one by the tests.
"""

from __future__ import annotations

import inspect
import sys
import textwrap
from typing import Any, List

import numpy as np

from fluxgrid import _fluxgrid as ext

MODULE = "fluxgrid._fluxgrid."
DTYPES = {np.dtype("float64"): "np.float64", np.dtype("int32"): "np.int32", np.dtype("bool"): "np.bool_"}


def sample_objects() -> dict:
    """A fresh object of every class, to tell the types of its attributes."""
    sensor = ext.Sensor()
    objects = {
        cls: cls()
        for cls in (ext.Coil, ext.Vapor, ext.SquidRecord, ext.OpmRecord, ext.Sensor,
                    ext.FiducialPoint, ext.FiducialSet, ext.Sphere, ext.HeadLocationTrial,
                    ext.HeadLocalization)
    }
    objects[ext.Geom] = sensor.geom
    objects[ext.HardwareRecord] = ext.SquidRecord()
    return objects


def attribute_type(prop: property, value: Any) -> str:
    doc = prop.__doc__ or ""
    if doc.startswith("SquidRecord, OpmRecord, HardwareRecord or None"):
        return "Optional[HardwareRecord]"
    if doc.startswith("list of copies of the entries"):
        return "List[Union[HeadLocationTrial, FiducialSet, None]]"
    if doc.startswith("list of str"):
        return "List[str]"
    if value is None:
        # Nothing to tell from a fresh object: the getter's documented type.
        head = (prop.fget.__doc__ or "").splitlines()[0]
        return typing_of(head[head.rindex(") -> ") + len(") -> "):])
    if isinstance(value, np.ndarray):
        return f"npt.NDArray[{DTYPES[value.dtype]}]"
    if isinstance(value, tuple):
        return f"Tuple[{type(value[0]).__name__}, ...]"
    return type(value).__name__


def typing_of(text: str) -> str:
    """A type as pybind11 documents it, in the names that the stub imports."""
    return (text.replace(MODULE, "")
            .replace("numpy.ndarray[numpy.float64]", "npt.NDArray[np.float64]")
            .replace("os.PathLike", "Union[str, os.PathLike]"))


def signature_lines(name: str, function: Any, method: bool) -> List[str]:
    """The stub of a pybind11 function: one `def` a documented overload."""
    doc = function.__doc__ or ""
    lines: List[str] = []
    heads = [line for line in doc.splitlines() if line.startswith(name + "(") or
             (line[:1].isdigit() and f". {name}(" in line)]
    summary = next((line for line in doc.splitlines()[1:] if line and not line.startswith(name + "(")), "")
    for head in heads:
        head = head.split(". ", 1)[1] if head[:1].isdigit() else head
        head = typing_of(head)
        if method:
            params = head[head.index("(") + 1:head.rindex(") ->")]
            rest = head[head.rindex(") ->"):]
            parts = split_params(params)
            parts = ["self"] + parts[1:] if parts[:1] and parts[0].startswith("self:") else parts
            head = name + "(" + ", ".join(parts) + rest
        decorator = ["@overload"] if len(heads) > 1 else []
        lines += decorator + [f"def {head}:", f'    """{summary}"""' if summary else "    ..."]
    return lines


def split_params(params: str) -> List[str]:
    parts, depth, current = [], 0, ""
    for char in params:
        if char == "," and depth == 0:
            parts.append(current.strip())
            current = ""
            continue
        depth += char in "[("
        depth -= char in "])"
        current += char
    if current.strip():
        parts.append(current.strip())
    return parts


def class_lines(cls: type, sample: Any) -> List[str]:
    bases = [b.__name__ for b in cls.__bases__ if b.__module__ == "fluxgrid._fluxgrid"]
    head = f"class {cls.__name__}({', '.join(bases)}):" if bases else f"class {cls.__name__}:"
    body: List[str] = [f'    """{inspect.cleandoc(cls.__doc__ or "")}"""']
    for name, member in sorted(vars(cls).items()):
        if isinstance(member, property):
            value = getattr(sample, name)
            typed = attribute_type(member, value)
            body.append(f"    {name}: {typed}")
        elif name == "__init__" or not name.startswith("_"):
            static = isinstance(member, staticmethod)
            function = member.__func__ if static else member
            lines = signature_lines(name, function, method=not static)
            if static:
                lines = ["@staticmethod"] + lines
            body += textwrap.indent("\n".join(lines), "    ").splitlines()
    return [head] + body + [""]


def named_tuple_lines(cls: type) -> List[str]:
    """A named tuple of the extension, its fields typed as it declares them."""
    lines = [f"class {cls.__name__}(NamedTuple):", f'    """{inspect.cleandoc(cls.__doc__ or "")}"""']
    for name, typed in cls.__annotations__.items():
        lines.append(f"    {name}: {getattr(typed, '__forward_arg__', typed)}")
    return lines + [""]


def main(out: str) -> None:
    objects = sample_objects()
    lines = [
        '"""The extension of the fluxgrid package (generated by scripts/python-stubs.py)."""',
        "",
        "import os",
        "from typing import Iterable, List, NamedTuple, Optional, Tuple, Union, overload",
        "",
        "import numpy as np",
        "import numpy.typing as npt",
        "",
        "__version__: str",
        "DEFAULT_MAX_BYTES: int",
        "FRAMES: Tuple[str, ...]",
        "_FILE_KINDS: List[dict]",
        "",
    ]
    for name, member in sorted(vars(ext).items()):
        if isinstance(member, type) and issubclass(member, tuple):
            lines += named_tuple_lines(member)
    order = [ext.Coil, ext.Vapor, ext.HardwareRecord, ext.SquidRecord, ext.OpmRecord, ext.Geom,
             ext.Sensor, ext.FiducialPoint, ext.FiducialSet, ext.Sphere, ext.HeadLocationTrial,
             ext.HeadLocalization]
    for cls in order:
        lines += class_lines(cls, objects[cls])
    classes = ", ".join(kind["type"].__name__ for kind in ext._FILE_KINDS)
    lines += ["# The classes of the objects that files hold, in the order of the kinds.",
              f"FileObject = Union[{classes}]", ""]
    for name, member in sorted(vars(ext).items()):
        if callable(member) and not isinstance(member, type):
            lines += signature_lines(name, member, method=False)
    with open(out, "w", encoding="utf-8") as stub:
        stub.write("\n".join(lines).rstrip() + "\n")


if __name__ == "__main__":
    main(sys.argv[1])

"""python3 -m fluxgrid import INFO_OR_RAW.fif -o FOLDER [--axes LSP --unit mm]

Makes sensor files from the measurement info of a FIF file (a raw
recording or an info alone, whatever `mne.io.read_info` reads): one file
a MEG or MEG-reference channel, `FOLDER/headloc.headloc` when the info has
cardinal points or a device-to-head transform other than the identity,
each written atomically in the newest version; then the
geometry check's summary of what was written.
"""

from __future__ import annotations

import argparse
import re
import sys
from pathlib import Path

from . import _geometry
from ._check import check
from ._errors import Error
from ._files import write
from ._from_info import from_info


def add_parser(commands) -> None:
    """The `import` command among the subcommands of `python3 -m fluxgrid`."""
    parser = commands.add_parser(
        "import", help="sensor files and head localization from a FIF file's measurement info")
    parser.add_argument("input", metavar="INFO_OR_RAW.fif",
                        help="a FIF file MNE reads an info from")
    parser.add_argument("-o", "--output", required=True, metavar="FOLDER",
                        help="the folder to write the files in (made if missing)")
    parser.add_argument("--axes", default="LSP",
                        help="orientation code of the files' frame (default LSP)")
    parser.add_argument("--unit", default="mm", choices=sorted(_geometry.UNITS_PER_METRE),
                        help="unit of the files' lengths (default mm)")
    parser.add_argument("--skip-unsupported", action="store_true",
                        help="leave out channels whose coil type the records cannot hold")


def file_name(channel: str) -> str:
    """A channel's file name: its name with what a path cannot hold replaced."""
    return re.sub(r"[^A-Za-z0-9._-]", "_", channel) + ".sensor"


def run(args: argparse.Namespace) -> int:
    """Runs the command; the exit status."""
    try:
        _geometry.Frame(args.axes, args.unit)
    except ValueError as error:
        print(f"fluxgrid: {error}", file=sys.stderr)
        return 2
    try:
        import mne

        info = mne.io.read_info(args.input, verbose="error")
        imported = from_info(info, axes=args.axes, unit=args.unit,
                             on_unsupported="skip" if args.skip_unsupported else "raise")
        folder = Path(args.output)
        folder.mkdir(parents=True, exist_ok=True)
        names = [file_name(s.snsRawName) for s in imported.sensors]
        if len(set(names)) != len(names):
            raise Error("channel names that give one file name twice")
        for sensor, name in zip(imported.sensors, names):
            write(sensor, folder / name)
        headloc = None
        if imported.headloc is not None:
            headloc = folder / "headloc.headloc"
            write(imported.headloc, headloc)
        report = check([folder / name for name in names], headloc=headloc, unit=args.unit)
    except (Error, OSError, ValueError, RuntimeError) as error:
        print(f"fluxgrid: {error}", file=sys.stderr)
        return 1
    for finding in report.of("error", "warning"):
        print(finding)
    print(str(report).splitlines()[-1])
    print(f"{args.output}: {len(imported.sensors)} sensor files"
          + (", headloc.headloc" if imported.headloc is not None else ""))
    return 0

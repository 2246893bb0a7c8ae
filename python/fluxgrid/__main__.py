"""python3 -m fluxgrid export fif|mat SENSOR_FILES... [--headloc FILE]
[--axes LSP --unit mm] [--no-check] [--rename-duplicates] -o OUT

Writes the measurement info of sensor files as a FIF file that
`mne.io.read_info` reads, or FieldTrip's `grad` as a .mat file. A folder
among the inputs stands for the sensor files in it. A set that the
geometry check finds errors in is refused, its errors printed, unless
`--no-check` is given.

Even with `--no-check`, what the file cannot hold is refused, naming the
channel or the point: no sensor at all, an MEG or reference channel with
no element in use, a position that is not finite, fiducials that are not
finite or give no head frame (ear points at one point, the nasion on their
line), a channel name that FIF cannot hold (outside ASCII; the .mat keeps
it), and a name shared by several channels, unless `--rename-duplicates`
renames them as MNE does ("A-0", "A-1"), in both formats alike.

OUT is written whole or not at all: through a temporary file beside it,
renamed over it, so that a refusal or a failed write (a full disk) leaves
an existing OUT as it was. OUT is taken as named (no suffix is added), and
an OUT that is a folder or one of the input files is refused.

Exit status: 0 when done, 1 when a file could not be read or written or
the set was refused, 2 on bad usage.

python3 -m fluxgrid import INFO_OR_RAW.fif -o FOLDER [--axes LSP --unit mm]
makes sensor files from a FIF file's measurement info (see `_import`).
"""

from __future__ import annotations

import argparse
import sys
from pathlib import Path
from typing import Any, List, Optional

from . import _geometry, _import
from ._check import check_for_export
from ._errors import Error, ExportError
from ._files import read_headloc, read_sensor, replacing, sensor_paths
from ._fluxgrid import FRAMES


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python3 -m fluxgrid",
        description="Sensor files into the analysis packages.",
        epilog="example: python3 -m fluxgrid export fif fluxgrid-demo/sensors/opm32 "
        "--headloc opm32.headloc -o info.fif. Exit status: 0 done, 1 failed or refused, "
        "2 bad usage.",
    )
    commands = parser.add_subparsers(dest="command", required=True)
    export = commands.add_parser(
        "export", help="measurement info as FIF (MNE) or grad as .mat (FieldTrip)")
    export.add_argument("format", choices=("fif", "mat"))
    export.add_argument("inputs", nargs="+", metavar="SENSOR_FILES",
                        help="sensor files, or folders of them")
    export.add_argument("--headloc", help="head localization whose current fiducial set "
                        "(nasion, ear points) gives the head frame")
    export.add_argument("--axes", default="LSP",
                        help="orientation code of the sensors' frame (default LSP: x left, "
                        "y top, z back, the system's head frame)")
    export.add_argument("--unit", default="mm", choices=sorted(_geometry.UNITS_PER_METRE),
                        help="unit of the sensors' lengths (default mm)")
    export.add_argument("--fiducial-axes", help="orientation code of the fiducials' frame "
                        "(default: the sensors')")
    export.add_argument("--fiducial-unit", choices=sorted(_geometry.UNITS_PER_METRE),
                        help="unit of the fiducials (default: the sensors')")
    export.add_argument("--frame", default="dewar", choices=FRAMES,
                        help="which frame of the hardware records to take (default dewar)")
    export.add_argument("--no-check", action="store_true",
                        help="export even a set in which the geometry check finds errors")
    export.add_argument("--rename-duplicates", action="store_true",
                        help="rename channels that share a name as MNE does (A-0, A-1) "
                        "instead of refusing them")
    export.add_argument("-o", "--output", required=True, help="the file to write")
    _import.add_parser(commands)
    return parser


def _sensor_files(inputs: List[str]) -> List[Path]:
    files: List[Path] = []
    for name in inputs:
        path = Path(name)
        files += sensor_paths(path, "*.sensor") if path.is_dir() else [path]
    return files


def _write_fif(path: str, info: Any, inputs: List[Path]) -> None:
    import mne

    # MNE writes a channel's name in FIF as ASCII and fails midway on any
    # other character: refused before a byte is written.
    for index, name in enumerate(info["ch_names"]):
        if not name.isascii():
            raise ExportError(f"channel {index} {name!r}: the name holds characters outside "
                              "ASCII, which FIF cannot hold")
    with replacing(path, inputs=inputs) as temporary:
        mne.io.write_info(temporary, info)


def main(argv: Optional[List[str]] = None) -> int:
    parser = _parser()
    args = parser.parse_args(argv)
    if args.command == "import":
        return _import.run(args)
    for axes, unit in ((args.axes, args.unit), (args.fiducial_axes, args.fiducial_unit)):
        try:
            _geometry.Frame(axes or args.axes, unit or args.unit)
        except ValueError as error:
            parser.error(str(error))
    options = dict(frame=args.frame, axes=args.axes, unit=args.unit,
                   fiducial_axes=args.fiducial_axes, fiducial_unit=args.fiducial_unit,
                   rename_duplicates=args.rename_duplicates)
    try:
        files = _sensor_files(args.inputs)
        if not files:
            raise ExportError(f"{', '.join(args.inputs)}: no sensor file to export")
        sensors = [read_sensor(path) for path in files]
        inputs = files + ([Path(args.headloc)] if args.headloc else [])
        if args.headloc:
            options["fiducials"] = read_headloc(args.headloc)
        if not args.no_check:
            # The files themselves, so that each finding names its file.
            check_for_export(files, **dict(options, fiducials=args.headloc))
        if args.format == "fif":
            from .mne import to_info

            _write_fif(args.output, to_info(sensors, check=False, **options), inputs)
        else:
            from .fieldtrip import save_grad

            save_grad(args.output, sensors, inputs=inputs, check=False, **options)
    except (Error, OSError, ValueError) as error:
        print(f"fluxgrid: {error}", file=sys.stderr)
        return 1
    print(f"{args.output}: {len(sensors)} channels")
    return 0


if __name__ == "__main__":
    sys.exit(main())

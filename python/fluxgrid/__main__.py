"""python3 -m fluxgrid export fif|mat SENSOR_FILES... [--headloc FILE]
[--axes LSP --unit mm] -o OUT

Writes the measurement info of sensor files as a FIF file that
`mne.io.read_info` reads, or FieldTrip's `grad` as a .mat file. A folder
among the inputs stands for the sensor files in it. Exit status: 0 when
done, 1 when a file could not be read or written, 2 on bad usage.
"""

from __future__ import annotations

import argparse
import sys
from pathlib import Path
from typing import List, Optional

from . import _geometry
from ._errors import Error
from ._files import read_headloc, read_sensor, read_sensors
from ._fluxgrid import FRAMES


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python3 -m fluxgrid",
        description="Sensor files into the analysis packages.",
        epilog="example: python3 -m fluxgrid export fif fluxgrid-demo/sensors/opm32 "
        "--headloc opm32.headloc -o info.fif. Exit status: 0 done, 1 failed, 2 bad usage.",
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
    export.add_argument("-o", "--output", required=True, help="the file to write")
    return parser


def _sensors(inputs: List[str]):
    sensors = []
    for name in inputs:
        path = Path(name)
        sensors += read_sensors(path) if path.is_dir() else [read_sensor(path)]
    return sensors


def main(argv: Optional[List[str]] = None) -> int:
    parser = _parser()
    args = parser.parse_args(argv)
    for axes, unit in ((args.axes, args.unit), (args.fiducial_axes, args.fiducial_unit)):
        try:
            _geometry.Frame(axes or args.axes, unit or args.unit)
        except ValueError as error:
            parser.error(str(error))
    options = dict(frame=args.frame, axes=args.axes, unit=args.unit,
                   fiducial_axes=args.fiducial_axes, fiducial_unit=args.fiducial_unit)
    try:
        sensors = _sensors(args.inputs)
        if args.headloc:
            options["fiducials"] = read_headloc(args.headloc)
        if args.format == "fif":
            import mne

            from .mne import to_info

            mne.io.write_info(args.output, to_info(sensors, **options))
        else:
            from .fieldtrip import save_grad

            save_grad(args.output, sensors, **options)
    except (Error, OSError, ValueError) as error:
        print(f"fluxgrid: {error}", file=sys.stderr)
        return 1
    print(f"{args.output}: {len(sensors)} channels")
    return 0


if __name__ == "__main__":
    sys.exit(main())

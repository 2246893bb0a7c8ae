"""The Python module's reads against the C++ load of the same files.

    python3 bench/python_bench.py BUILD_DIR

BUILD_DIR is a release build with the benchmarks, the tool and the Python
module (cmake --preset release). Prints the C++ load of a SQUID sensor file
(fluxgrid_bench), the same through `fluxgrid.read_sensor`, their ratio
(the goal: within 3), `read_sensors` of the demo's 53 sensor files, and
`read_sensors` of the benchmarks' 306-channel array folder against the C++
load of the same files (the goal: within 1.3).

A loaded sensor takes more than glibc's trim threshold: in a process that
does nothing else the heap's top is given back to the system after every
load and taken again, page faults and all, while a host's busy heap (the
interpreter's among them) keeps it. The C++ benchmark runs with a heap
that keeps its top too, so that both sides measure the load itself.
"""

from __future__ import annotations

import json
import os
import statistics
import subprocess
import sys
import tempfile
import timeit
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
SQUID = ROOT / "examples" / "data" / "sensor-squid-20200210.sensor"


_UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def cpp_load_ns(build: Path, name: str = "BM_LoadFile_SquidSensor",
                extra_env: dict[str, str] | None = None) -> float:
    """The median time in ns of the C++ benchmark `name` over 5 runs."""
    with tempfile.TemporaryDirectory() as scratch:
        out = Path(scratch) / "load.json"
        subprocess.run(
            [str(build / "bench" / "fluxgrid_bench"), f"--benchmark_filter=^{name}$",
             "--benchmark_repetitions=5", f"--benchmark_out={out}",
             "--benchmark_out_format=json"],
            capture_output=True, check=True,
            env=dict(os.environ, MALLOC_TRIM_THRESHOLD_="1000000000", MALLOC_TOP_PAD_="16777216",
                     **(extra_env or {})))
        report = json.loads(out.read_text())
    runs = [b for b in report["benchmarks"] if b.get("run_type") == "iteration"]
    return statistics.median(b["real_time"] * _UNIT_NS[b["time_unit"]] for b in runs)


def python_seconds(statement, number: int) -> float:
    """The median over 7 rounds of one call's time."""
    return statistics.median(timeit.repeat(statement, number=number, repeat=7)) / number


def main(build: Path) -> None:
    sys.path.insert(0, str(build / "python"))
    import fluxgrid as fg

    cpp = cpp_load_ns(build) / 1e9
    py = python_seconds(lambda: fg.read_sensor(SQUID), 2000)
    print(f"C++ loadFile, SQUID sensor:      {cpp * 1e6:8.2f} us")
    print(f"fluxgrid.read_sensor, same file: {py * 1e6:8.2f} us   ratio {py / cpp:.2f} (goal <= 3)")
    with tempfile.TemporaryDirectory() as scratch:
        demo = Path(scratch) / "demo"
        subprocess.run([str(build / "tools" / "fluxgrid" / "fluxgrid"), "demo", str(demo)],
                       check=True, capture_output=True)
        folders = [demo / "sensors" / "opm32", demo / "sensors" / "squid21"]
        files = sorted(p for f in folders for p in f.glob("*.sensor"))
        many = python_seconds(lambda: fg.read_sensors(files), 50)
        print(f"fluxgrid.read_sensors, {len(files)} demo files: {many * 1e3:8.2f} ms")
        array = Path(scratch) / "array306"
        cpp_array = cpp_load_ns(build, "sensorFiles306/load",
                                {"FLUXGRID_BENCH_ARRAY_DIR": str(array)}) / 1e9
        py_array = python_seconds(lambda: fg.read_sensors(array), 20)
        print(f"C++ loadFile, 306-channel folder:  {cpp_array * 1e3:8.2f} ms")
        print(f"fluxgrid.read_sensors, same files: {py_array * 1e3:8.2f} ms   "
              f"ratio {py_array / cpp_array:.2f} (goal <= 1.3)")


if __name__ == "__main__":
    main(Path(sys.argv[1]).resolve())

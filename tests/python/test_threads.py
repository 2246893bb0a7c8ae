"""Objects shared between Python threads: writes, reads and changes in any
order never crash the interpreter, and every file written holds one
consistent state of the object."""

from __future__ import annotations

import os
import random
import threading
import time
from pathlib import Path
from typing import Callable, List, Tuple

import numpy as np

import fluxgrid as fg
from conftest import SAMPLES

SQUID = SAMPLES / "sensor-squid-20200210.sensor"
OPM = SAMPLES / "sensor-opm-20200210.sensor"

#: How long the stress test runs at most, in seconds, and how many
#: operations it does at most over all its threads.
STRESS_SECONDS = float(os.environ.get("FLUXGRID_STRESS_SECONDS", "10"))
STRESS_OPERATIONS = 100_000


def run_threads(workers: List[Callable[[], None]]) -> List[BaseException]:
    """Runs each worker in a thread of its own and gives back what they
    raised."""
    raised: List[BaseException] = []

    def guarded(worker: Callable[[], None]) -> None:
        try:
            worker()
        except BaseException as error:  # noqa: B902 - handed to the test
            raised.append(error)

    threads = [threading.Thread(target=guarded, args=(w,)) for w in workers]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return raised


def marked_position(sensor: fg.Sensor) -> Tuple[float, float, float]:
    """The work position of element 0, as the file's record holds it."""
    return tuple(sensor.hardware.coilWork[0].posP4[:3].tolist())


def assert_one_state(path: Path) -> None:
    """A file written while its sensor changed holds one of the states the
    changing thread made: no record at all, or a SQUID record whose element
    0 sits at (k, 2k, 3k)."""
    s = fg.read_sensor(path)
    if s.hardwareType == -1:
        assert s.hardware is None
        return
    assert s.hardwareType == 0 and isinstance(s.hardware, fg.SquidRecord)
    x, y, z = marked_position(s)
    assert (y, z) == (2 * x, 3 * x), (path, x, y, z)


def test_writes_while_another_thread_drops_and_remakes_the_record(tmp_path: Path):
    sensor = fg.read_sensor(SQUID)
    stop = threading.Event()
    written: List[Path] = []

    def change() -> None:
        k = 0
        while not stop.is_set():
            k += 1
            sensor.cleanHardwareType()
            sensor.setSnsPos(0, 0, k, 2 * k, 3 * k)

    def write(index: int) -> Callable[[], None]:
        def run() -> None:
            for n in range(150):
                path = tmp_path / f"w{index}-{n}.sensor"
                fg.write(sensor, path)
                written.append(path)

        return run

    changer = threading.Thread(target=change)
    changer.start()
    try:
        raised = run_threads([write(i) for i in range(3)])
    finally:
        stop.set()
        changer.join()
    assert raised == []
    assert len(written) == 450
    for path in written:
        assert_one_state(path)


def test_loads_of_different_files_run_in_threads_side_by_side():
    results: List[bytes] = []

    def load() -> None:
        for _ in range(20):
            results.append(fg.to_bytes(fg.read(OPM)))

    assert run_threads([load for _ in range(4)]) == []
    assert len(results) == 80 and len(set(results)) == 1


def test_stress_of_eight_threads_on_shared_objects(tmp_path: Path):
    """Writes, reads, copies, pickles and assignments from eight threads on
    two shared sensors and a head localization, for a bounded time or
    number of operations. The only refusal allowed is the write of a sensor
    whose hardware type a getter changed away from its record."""
    squid = fg.read_sensor(SQUID)
    opm = fg.read_sensor(OPM)
    headloc = fg.read(SAMPLES / "headloc-20160320.headloc")
    shared = [squid, opm]
    deadline = time.monotonic() + STRESS_SECONDS
    count = [0]
    count_lock = threading.Lock()
    written: List[Path] = []

    def going() -> bool:
        with count_lock:
            count[0] += 1
            return count[0] < STRESS_OPERATIONS and time.monotonic() < deadline

    def writer(index: int) -> Callable[[], None]:
        def run() -> None:
            rng = random.Random(index)
            n = 0
            while going():
                s = rng.choice(shared)
                path = tmp_path / f"s{index}-{n % 20}.sensor"
                try:
                    fg.write(s, path)
                except fg.HardwareTypeError:
                    continue
                written.append(path)
                fg.write(headloc, tmp_path / f"h{index}.headloc")
                n += 1

        return run

    def reader(index: int) -> Callable[[], None]:
        def run() -> None:
            rng = random.Random(100 + index)
            while going():
                s = rng.choice(shared)
                s.to_dict()
                s.positions("work")
                s.element_geometry("dewar")
                s.getSnsPos()
                repr(s)
                c = s.copy()
                c.snsRawName = "copy"
                fg.read_bytes(fg.to_bytes(c))
                headloc.to_dict()
                if written:
                    # A file that another thread may be replacing is whole.
                    fg.read_sensor(rng.choice(written))

        return run

    def changer(index: int) -> Callable[[], None]:
        def run() -> None:
            rng = random.Random(200 + index)
            while going():
                s = rng.choice(shared)
                step = rng.randrange(7)
                if step == 0:
                    s.cleanHardwareType()
                elif step == 1:
                    s.setSnsPos(rng.choice([0, 1]), rng.randrange(8), 1.0, 2.0, 3.0)
                elif step == 2:
                    s.snsPos4 = np.full(4, rng.random())
                elif step == 3:
                    record = s.hardware
                    if record is not None:
                        record.auxFlags = np.arange(4, dtype=np.int64)
                        record.properGain = rng.random()
                elif step == 4:
                    s.snsRawName = f"name{rng.randrange(1000)}"
                elif step == 5:
                    s.getSnsPos(rng.choice([0, 1, 5]), 0)
                else:
                    headloc.setSensorLocation(rng.random(), 0.0, 0.0)
                    for point in headloc.fiducialCurrent.fidPts:
                        point.ptValues = np.full(point.ptValues.shape, rng.random())

        return run

    workers = [writer(i) for i in range(3)] + [reader(i) for i in range(2)]
    workers += [changer(i) for i in range(3)]
    raised = run_threads(workers)
    assert raised == [], raised
    assert count[0] > 100
    for path in set(written):
        # Each file is whole: it loads without a failure or a warning.
        loaded = fg.read_sensor(path)
        assert loaded.hardware_kind in (None, "squid", "opm")
        assert fg.to_bytes(loaded) == path.read_bytes()

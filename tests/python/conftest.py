"""Shared fixtures of the Python module's tests: the sample files, the built
tool, and the demo's sensor sets."""

from __future__ import annotations

import json
import os
import subprocess
import sys
from pathlib import Path
from typing import Any, Dict, List

import pytest

HERE = Path(__file__).resolve().parent
SAMPLES = Path(os.environ.get("FLUXGRID_SAMPLE_DATA", HERE.parent.parent / "examples" / "data"))
TOOL = os.environ.get("FLUXGRID_TOOL")

#: Sample files that load; the others are made to fail.
GOOD_SAMPLES = sorted(
    p
    for p in SAMPLES.iterdir()
    if p.suffix in {".coil", ".vapor", ".squid", ".opm", ".sensor", ".headloc"}
    and "refused" not in p.name
    and "truncated" not in p.name
)


def tool() -> str:
    """The built fluxgrid tool, or skip."""
    if not TOOL or not Path(TOOL).exists():
        pytest.skip("FLUXGRID_TOOL does not name the built fluxgrid tool")
    return TOOL


def run_tool(*args: str) -> subprocess.CompletedProcess:
    # The demo writes through the Python module with this same interpreter.
    env = dict(os.environ, FLUXGRID_PYTHON_EXECUTABLE=sys.executable)
    return subprocess.run([tool(), *args], capture_output=True, check=False, env=env)


def tool_json(*files: Path) -> List[Dict[str, Any]]:
    """The documents of `fluxgrid info --json` for `files`."""
    done = run_tool("info", "--json", *map(str, files))
    assert done.returncode == 0, done.stderr.decode()
    return json.loads(done.stdout)


@pytest.fixture(scope="session")
def demo_dir(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The folder the tool's demo writes: sensors/opm32, sensors/squid21 and
    headloc/demo.headloc."""
    folder = tmp_path_factory.mktemp("demo") / "demo"
    done = run_tool("demo", str(folder))
    assert done.returncode == 0, done.stderr.decode()
    return folder

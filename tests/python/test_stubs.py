"""The committed type stub of the extension is what the generator makes of
the built module, so that editors complete every name."""

from __future__ import annotations

import subprocess
import sys
from pathlib import Path

import fluxgrid as fg

ROOT = Path(__file__).resolve().parents[2]


def test_committed_stub_is_the_generated_one(tmp_path: Path):
    fresh = tmp_path / "_fluxgrid.pyi"
    subprocess.run(
        [sys.executable, str(ROOT / "scripts" / "python-stubs.py"), str(fresh)],
        check=True,
        cwd=tmp_path,
    )
    committed = ROOT / "python" / "fluxgrid" / "_fluxgrid.pyi"
    assert committed.read_text() == fresh.read_text(), (
        "python/fluxgrid/_fluxgrid.pyi is stale: run scripts/python-stubs.py on it"
    )


def test_stub_and_marker_ship_with_the_package():
    folder = Path(fg.__file__).parent
    assert (folder / "py.typed").exists()
    assert (folder / "_fluxgrid.pyi").exists()

"""`fluxgrid.check`: the library's geometry rules over sensors, files and
folders, with the same findings as `fluxgrid check --json` of the same
inputs, and GeometryError for a set with errors."""

from __future__ import annotations

import json
import os
from pathlib import Path
from typing import Any, Dict, List, Sequence, Tuple

import pytest

import fluxgrid as fg
from bridge_support import inward_copy
from conftest import SAMPLES, run_tool

Row = Tuple[Any, ...]


def tool_check(*args: str) -> Dict[str, Any]:
    """The JSON document of `fluxgrid check --json`."""
    done = run_tool("check", "--json", *args)
    assert done.returncode in (0, 1), done.stderr.decode()
    return json.loads(done.stdout)


def tool_rows(document: Dict[str, Any]) -> List[Row]:
    return [
        (f["severity"], f["code"], f["channel"], f["file"], f["message"], f.get("index"),
         tuple((v["name"], v["value"], v["unit"]) for v in f["values"]))
        for f in document["findings"]
    ]


def rows(report: fg.CheckReport) -> List[Row]:
    return [
        (f.severity, f.code, f.channel, f.file, f.message, f.index,
         tuple(tuple(v) for v in f.values))
        for f in report.findings
    ]


def input_sets(demo_dir: Path) -> Dict[str, Tuple[Sequence[str], Dict[str, str]]]:
    """Paths and options given alike to the tool and to `fg.check`."""
    sensors = demo_dir / "sensors"
    return {
        "opm32": ([str(sensors / "opm32")],
                  {"headloc": str(demo_dir / "headloc" / "opm32.headloc")}),
        "squid21": ([str(sensors / "squid21")], {}),
        "squid21-head-frame": ([str(sensors / "squid21")], {"frame": "head"}),
        "opm32-demo-headloc": ([str(sensors / "opm32")],
                               {"headloc": str(demo_dir / "headloc" / "demo.headloc")}),
        "whole-demo": ([str(demo_dir)], {}),
        "samples": ([str(SAMPLES)], {}),
        "sample-files": ([str(SAMPLES / "sensor-squid-20200210.sensor"),
                          str(SAMPLES / "truncated-sensor-20140513.sensor"),
                          str(SAMPLES / "headloc-20160320.headloc"),
                          str(SAMPLES / "none.sensor")], {}),
    }


SET_NAMES = ["opm32", "squid21", "squid21-head-frame", "opm32-demo-headloc", "whole-demo",
             "samples", "sample-files"]


@pytest.mark.parametrize("name", SET_NAMES)
def test_findings_are_those_of_the_tool(demo_dir: Path, name: str):
    paths, options = input_sets(demo_dir)[name]
    args = list(paths)
    for key, value in options.items():
        args += [f"--{key}", value]
    document = tool_check(*args)
    report = fg.check(paths, **options)
    assert rows(report) == tool_rows(document)
    assert (report.errors, report.warnings, report.notes) == (
        document["errors"], document["warnings"], document["notes"])
    assert (report.channels, report.files, report.frame, report.unit) == (
        document["channels"], document["files"], document["frame"], document["unit"])
    if document["sphere"] is None:
        assert not report.sphere.fitted
    else:
        assert list(report.sphere.centre) == document["sphere"]["centre"]
        assert report.sphere.radius == document["sphere"]["radius"]


def test_each_finding_reads_as_the_tools_line(demo_dir: Path):
    done = run_tool("check", str(SAMPLES))
    lines = done.stdout.decode().splitlines()
    report = fg.check(SAMPLES)
    assert [str(f) for f in report.findings] == lines[:-1]
    assert len(report.findings) > 10


def test_the_demo_sets_pass_and_sample_files_that_fail_to_load_are_findings(demo_dir: Path):
    for name in ("opm32", "squid21"):
        report = fg.check(demo_dir / "sensors" / name,
                          headloc=demo_dir / "headloc" / "opm32.headloc")
        assert report.ok and report.errors == 0, str(report)
        assert report.sphere.fitted and 80 < report.sphere.radius < 120
        assert len(report.sensors) == report.channels == len(report.sensor_files)
        assert report.headloc_file.endswith("opm32.headloc") and report.head_unit == "mm"
    codes = {f.file: f.code for f in fg.check(SAMPLES).of("error") if f.index is None}
    assert codes[str(SAMPLES / "truncated-sensor-20140513.sensor")] == "load-truncated"
    assert codes[str(SAMPLES / "sensor-opm-20190201-refused.sensor")] == "load-refused-version"
    assert codes[str(SAMPLES / "wrong-kind-fiducial-set.bin")] == "load-bad-magic"


def test_objects_are_judged_as_their_files(demo_dir: Path):
    folder = demo_dir / "sensors" / "squid21"
    sensors = inward_copy(fg.read_sensors(folder), 3)
    by_objects = fg.check(sensors, headloc=fg.read_headloc(demo_dir / "headloc" / "opm32.headloc"))
    inward = by_objects.of("error")
    assert [(f.code, f.channel, f.index, f.file) for f in inward] == [
        ("orientation-inward", sensors[3].snsRawName, 3, "")]
    assert by_objects.flagged_channels() == {3}
    assert by_objects.sensors[3] is sensors[3] and by_objects.headloc_file == ""
    # A mix: the objects in their places among the files of a folder.
    mixed = fg.check([sensors[3], folder])
    assert mixed.channels == 22 and mixed.sensor_files[0] == ""
    assert [(f.code, f.index) for f in mixed.of("error")][0] == ("orientation-inward", 0)


def test_an_empty_set_is_no_sensors_and_a_second_head_localization_is_extra(tmp_path: Path):
    report = fg.check([])
    assert [(f.severity, f.code) for f in report.findings] == [("error", "no-sensors")]
    assert not report.ok and report.channels == 0 and not report.sphere.fitted
    empty = tool_check(str(tmp_path))
    assert rows(fg.check(tmp_path)) == tool_rows(empty)
    head = fg.read_headloc(SAMPLES / "headloc-20160320.headloc")
    both = fg.check([head, SAMPLES / "headloc-20110217.headloc"])
    assert [f.code for f in both.findings] == ["headloc-extra", "no-sensors"] + [
        f.code for f in both.findings[2:]]
    assert both.headloc is head


def test_bad_arguments_are_refused():
    with pytest.raises(TypeError):
        fg.check([42])
    with pytest.raises(ValueError, match="frame must be one of dewar, head, work"):
        fg.check([], frame="device")
    with pytest.raises(ValueError, match="unit must be one of mm, cm, m"):
        fg.check([], unit="inch")
    with pytest.raises(TypeError):
        fg.check([], headloc=3.0)


def test_every_code_found_is_a_rule_or_about_the_inputs(demo_dir: Path):
    rules = fg.geometry_rules()
    codes = [r.code for r in rules]
    assert len(codes) == len(set(codes)) and "orientation-inward" in codes
    assert {r.severity for r in rules} <= {"error", "warning", "note"}
    assert {r.scope for r in rules} == {"channel", "set", "head"}
    inputs = {"no-sensors", "not-a-sensor", "headloc-extra"}
    for report in (fg.check(SAMPLES), fg.check(demo_dir)):
        for f in report.findings:
            assert f.code in codes or f.code in inputs or f.code.startswith("load-"), f.code


def test_geometry_error_lists_the_error_findings(demo_dir: Path):
    sensors = inward_copy(fg.read_sensors(demo_dir / "sensors" / "opm32"), 5)
    report = fg.check(sensors)
    with pytest.raises(fg.GeometryError) as raised:
        report.raise_for_errors()
    error = raised.value
    assert isinstance(error, fg.Error)
    assert error.findings == report.of("error") and len(error.findings) == 1
    lines = str(error).splitlines()
    assert lines[0] == "the geometry check found 1 error:"
    assert lines[1:] == ["  " + str(f) for f in error.findings]
    assert "orientation-inward" in lines[1] and sensors[5].snsRawName in lines[1]


def test_paths_may_be_path_objects_and_single(demo_dir: Path):
    one = demo_dir / "sensors" / "opm32" / os.listdir(demo_dir / "sensors" / "opm32")[0]
    assert fg.check(one).sensor_files == (str(one),)
    assert fg.check(str(one)).channels == 1


def test_files_whose_names_are_not_utf8_are_judged_and_named_by_their_bytes(
        demo_dir: Path, tmp_path: Path):
    folder = os.fsencode(tmp_path) + b"/set-\xff"
    os.mkdir(folder)
    sensors = inward_copy(fg.read_sensors(demo_dir / "sensors" / "squid21"), 3)
    for i, sensor in enumerate(sensors):
        fg.write(sensor, folder + b"/%02d-\xe9.sensor" % i)
    head = folder + b"/\xe9.headloc"
    with open(head, "wb") as out:
        out.write(b"not a head localization")
    report = fg.check(os.fsdecode(folder), headloc=os.fsdecode(head))
    third = os.fsdecode(folder + b"/03-\xe9.sensor")
    assert report.channels == len(sensors) and report.sensor_files[3] == third
    assert [(f.code, f.file) for f in report.of("error")][-1] == ("orientation-inward", third)
    assert report.of("error")[0].file == os.fsdecode(head)
    assert os.fsdecode(head) in str(report)

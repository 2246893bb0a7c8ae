"""The EEG tables exported by `fluxgrid layout export --frame ras`, read the
way an analysis reads them: .sfp, .elc, .csv and .tsv through MNE-Python's
`read_custom_montage`, and .csv and .tsv by hand as well. In every table and
every format the nose lies in front (+y), the left ear on the left (-x) and
the vertex on top (+z), and all formats give the same positions.

Usage: ras_exports_mne.py FLUXGRID_TOOL SCRATCH_DIR
Exits 77 (skipped) where MNE-Python cannot be imported.
"""
import csv
import os
import subprocess
import sys

SKIPPED = 77
EEG_TABLES = [
    "eegLayout10", "eegLayout18", "eegLayout21", "eegLayout21Row", "eegSphere25",
    "eegLayout32", "eegSphere33", "eegSphere47", "eegNet67", "eegNet260",
]
FRONT = ("FZ", "Fz", "FidNz", "FP1")
LEFT = ("A1", "T7", "T3", "FidT9")
VERTEX = ("CZ", "Cz", "C3")


def export(tool, table, fmt, folder):
    path = os.path.join(folder, f"{table}.{fmt}")
    subprocess.run([tool, "layout", "export", table, "--format", fmt, "--frame", "ras",
                    "-o", path], check=True, stdout=subprocess.DEVNULL)
    return path


def by_hand(path, delimiter):
    """name -> (x, y, z) from the first four columns, the header skipped."""
    with open(path, newline="") as f:
        rows = list(csv.reader(f, delimiter=delimiter))[1:]
    return {row[0]: tuple(float(v) for v in row[1:4]) for row in rows}


def through_mne(mne, path, names):
    """name -> (x, y, z) in metres as MNE reads the file, with the fiducials
    that MNE takes out of the channels (FidNz, FidT9 and FidT10 of an .sfp;
    Nz, LPA and RPA of an .elc) put back under the name of `names` they had."""
    montage = mne.channels.read_custom_montage(path, head_size=None)
    positions = montage.get_positions()
    points = {name: tuple(pos) for name, pos in positions["ch_pos"].items()}
    for fiducial, candidates in (("nasion", ("FidNz", "Nz")), ("lpa", ("FidT9", "LPA")),
                                 ("rpa", ("FidT10", "RPA"))):
        taken = [name for name in candidates if name in names and name not in points]
        if positions[fiducial] is not None and taken:
            points[taken[0]] = tuple(positions[fiducial])
    return points


def first_of(points, names):
    for name in names:
        if name in points:
            return name
    raise AssertionError(f"none of {names} in {sorted(points)[:8]}...")


def check_upright(where, points):
    front = first_of(points, FRONT)
    left = first_of(points, LEFT)
    assert points[front][1] > 0, f"{where}: {front} at y = {points[front][1]}, not in front"
    assert points[left][0] < 0, f"{where}: {left} at x = {points[left][0]}, not on the left"
    top = max(p[2] for p in points.values())
    assert top > points[left][2], f"{where}: nothing lies above {left}"
    vertex = next((name for name in VERTEX if name in points), None)
    if vertex is not None:
        z = points[vertex][2]
        assert z > 0 and z >= 0.9 * top, f"{where}: {vertex} at z = {z}, the top is {top}"


def check_same(where, expected, actual):
    assert sorted(expected) == sorted(actual), f"{where}: other channel names"
    for name, position in expected.items():
        for a, b in zip(position, actual[name]):
            assert abs(a - b) < 1e-6, f"{where}: {name} at {actual[name]}, not {position}"


def main():
    tool, folder = sys.argv[1], sys.argv[2]
    try:
        import mne
    except ImportError as error:
        print(f"skipped: MNE-Python cannot be imported ({error})")
        return SKIPPED
    os.makedirs(folder, exist_ok=True)
    for table in EEG_TABLES:
        reference = by_hand(export(tool, table, "csv", folder), ",")
        check_upright(f"{table}.csv by hand", reference)
        check_same(f"{table}.tsv by hand", reference,
                   by_hand(export(tool, table, "tsv", folder), "\t"))
        for fmt in ("csv", "tsv", "sfp", "elc"):
            where = f"{table}.{fmt} through MNE {mne.__version__}"
            points = through_mne(mne, export(tool, table, fmt, folder), reference)
            check_upright(where, points)
            check_same(where, reference, points)
        print(f"{table}: upright in csv, tsv, sfp and elc")
    return 0


if __name__ == "__main__":
    sys.exit(main())

"""Measurement infos built the way MNE's readers build them (create_info,
then each channel's coil_type, loc, coord_frame, cal, range and unit set in
place): axial-gradiometer helmets with references, and a triaxial OPM
array. No vendor file ships with Debian's MNE, so the tests make their own."""

from __future__ import annotations

from typing import List, Sequence, Tuple

import numpy as np

#: MNE's constants, written out so that the builders say what they set.
MEG_CH, REF_MEG_CH, COORD_DEVICE, UNIT_T = 1, 301, 1, 112


def helmet_points(n: int, radius: float = 0.11, lowest: float = -0.02) -> np.ndarray:
    """`n` points spread evenly over a helmet-shaped cap of a sphere about
    the device origin (RAS metres): z from `lowest` up to the top."""
    golden = np.pi * (3.0 - np.sqrt(5.0))
    top, bottom = 1.0, lowest / radius
    z = top - (np.arange(n) + 0.5) / n * (top - bottom)
    rho = np.sqrt(1.0 - z**2)
    phi = np.arange(n) * golden
    return radius * np.column_stack([rho * np.cos(phi), rho * np.sin(phi), z])


def frame_of(ez: np.ndarray) -> Tuple[np.ndarray, np.ndarray, np.ndarray]:
    """ex, ey, ez: a right-handed orthonormal frame about `ez`."""
    ez = ez / np.linalg.norm(ez)
    helper = np.array([0.0, 0.0, 1.0]) if abs(ez[2]) < 0.9 else np.array([1.0, 0.0, 0.0])
    ex = np.cross(helper, ez)
    ex /= np.linalg.norm(ex)
    return ex, np.cross(ez, ex), ez


def build_info(names: Sequence[str], kinds: Sequence[int], coil_types: Sequence[int],
               positions: np.ndarray, normals: np.ndarray, sfreq: float = 600.0):
    """An info of magnetic channels, edited in place as MNE's readers do."""
    import mne

    types = ["mag" if kind == MEG_CH else "ref_meg" for kind in kinds]
    info = mne.create_info(list(names), sfreq, types)
    with info._unlock():
        for i, ch in enumerate(info["chs"]):
            ex, ey, ez = frame_of(np.asarray(normals[i], dtype=float))
            ch["loc"][:] = np.concatenate([positions[i], ex, ey, ez])
            ch["coil_type"] = int(coil_types[i])
            ch["kind"] = kinds[i]
            ch["coord_frame"] = COORD_DEVICE
            ch["unit"] = UNIT_T
            ch["cal"] = 1e-15 * (1 + i % 7)
            ch["range"] = 1.0
    return info


def axial_helmet(n_meg: int, meg_type: int, refs: Sequence[Tuple[str, int]], grade: int = 0):
    """`n_meg` axial gradiometers of `meg_type` over the helmet, normals
    outward, their coil type carrying compensation `grade`; then the
    references `refs` (name, coil type) 6 cm above the helmet's top."""
    points = helmet_points(n_meg)
    names: List[str] = [f"M{i:03d}" for i in range(n_meg)]
    kinds = [MEG_CH] * n_meg
    types = [meg_type + (grade << 16)] * n_meg
    normals = list(points / np.linalg.norm(points, axis=1, keepdims=True))
    positions = list(points)
    for j, (name, coil_type) in enumerate(refs):
        angle = 2 * np.pi * j / max(len(refs), 1)
        positions.append(np.array([0.03 * np.cos(angle), 0.03 * np.sin(angle), 0.17]))
        normals.append(np.array([[0, 0, 1.0], [1.0, 0, 0], [0, 1.0, 0]][j % 3]))
        names.append(name)
        kinds.append(REF_MEG_CH)
        types.append(coil_type)
    return build_info(names, kinds, types, np.array(positions), np.array(normals))


def ctf275():
    """275 CTF axial gradiometers (5001) at grade 3, with reference
    magnetometers (5002) and diagonal reference gradiometers (5003)."""
    refs = [(f"BR{i}", 5002) for i in range(1, 4)] + [(f"G{i}", 5003) for i in range(1, 4)]
    return axial_helmet(275, 5001, refs, grade=3)


def kit157():
    """157 KIT axial gradiometers (6001) with three reference
    magnetometers (6002)."""
    return axial_helmet(157, 6001, [(f"RM{i:03d}", 6002) for i in range(1, 4)])


def triaxial_opm(n_sensors: int = 30, coil_type: int = 8101):
    """A triaxial OPM array: at each of `n_sensors` helmet points, three
    channels at one point along the radial and two tangential directions."""
    points = helmet_points(n_sensors, radius=0.1)
    names, positions, normals = [], [], []
    for i, p in enumerate(points):
        ex, ey, ez = frame_of(p)
        for suffix, axis in (("Z", ez), ("X", ex), ("Y", ey)):
            names.append(f"OPM{i:02d}{suffix}")
            positions.append(p)
            normals.append(axis)
    n = len(names)
    return build_info(names, [MEG_CH] * n, [coil_type] * n, np.array(positions),
                      np.array(normals))

"""Pythonic helpers of the Sensor class, over the library's own fields."""

from __future__ import annotations

from typing import Optional, Sequence

import numpy as np

from ._fluxgrid import OpmRecord, Sensor, SquidRecord

#: The frames of the hardware records.
FRAMES = ("dewar", "head", "work")


def elements_in_use(sensor: Sensor, frame: str) -> Sequence:
    """The elements in use of one frame ("dewar", "head" or "work") of the
    sensor's record: live Coil or Vapor records; none without a record."""
    if frame not in FRAMES:
        raise ValueError(f"frame must be one of {', '.join(FRAMES)}, not {frame!r}")
    record = sensor.hardware
    suffix = frame.capitalize()
    if isinstance(record, SquidRecord):
        elements, count = getattr(record, "coil" + suffix), record.totalCoils
    elif isinstance(record, OpmRecord):
        elements, count = getattr(record, "vapor" + suffix), record.totalVapors
    else:
        return ()
    return elements[: max(0, min(count, len(elements)))]


def _name(self: Sensor) -> str:
    """The raw name, snsRawName: the channel's name."""
    return self.snsRawName


def _type_name(self: Sensor) -> str:
    """The name of the sensor type code, as getSensorTypeName gives it."""
    return self.getSensorTypeName()


def _hardware_kind(self: Sensor) -> Optional[str]:
    """"squid", "opm" or None: the kind of record the sensor holds."""
    record = self.hardware
    if isinstance(record, SquidRecord):
        return "squid"
    if isinstance(record, OpmRecord):
        return "opm"
    return None


def _positions(self: Sensor, frame: str = "work") -> np.ndarray:
    """(n, 3) positions (posP4) of the elements in use in `frame`
    ("dewar", "head" or "work"): a new array."""
    return np.array([e.posP4[:3] for e in elements_in_use(self, frame)], dtype=float).reshape(-1, 3)


def _orientations(self: Sensor, frame: str = "work") -> np.ndarray:
    """(n, 3) orientations (oriP4) of the elements in use in `frame`: a new
    array."""
    return np.array([e.oriP4[:3] for e in elements_in_use(self, frame)], dtype=float).reshape(-1, 3)


def _repr(self: Sensor) -> str:
    return (
        f"<fluxgrid.Sensor {self.snsRawName!r} type {self.sensorType} "
        f"({self.getSensorTypeName()}), {_hardware_kind(self) or 'no'} record>"
    )


Sensor.name = property(_name)
Sensor.type_name = property(_type_name)
Sensor.hardware_kind = property(_hardware_kind)
Sensor.positions = _positions
Sensor.orientations = _orientations
Sensor.__repr__ = _repr

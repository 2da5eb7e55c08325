"""Unit systems: four labels, and the names of common systems."""

from __future__ import annotations

from typing import Dict, NamedTuple, Sequence, Union

from . import _core


class Units(NamedTuple):
    """The labels of a unit system.

    >>> Units.of("mm-t-s-N")
    Units(mass='MEGAGRAM', length='MILLIMETER', time='SECOND', force='NEWTON')
    """

    mass: str
    length: str
    time: str
    force: str

    @staticmethod
    def of(system: "UnitsLike") -> "Units":
        """The system of a name of `SYSTEMS`, of four labels, or of "MASS,LENGTH,TIME,FORCE"."""
        if isinstance(system, str):
            for name, units in SYSTEMS.items():
                if name.lower() == system.lower():
                    return units
            system = [label.strip() for label in system.split(",")]
            if len(system) != 4:
                raise ValueError(f"unknown unit system {','.join(system)!r}; known are {', '.join(SYSTEMS)}, or four "
                                 "labels MASS,LENGTH,TIME,FORCE")
        labels = tuple(system)
        if len(labels) != 4 or not all(isinstance(label, str) for label in labels):
            raise ValueError("a unit system is four labels: mass, length, time, force")
        for label in labels:
            if len(label) > 15 or not _core.units_label_is_known(label):
                raise ValueError(f"unknown unit {label!r}")
        return Units(*labels)


UnitsLike = Union[str, Sequence[str], Units]

#: The systems that have names.
SYSTEMS: Dict[str, Units] = {
    "SI": Units("KILOGRAM", "METER", "SECOND", "NEWTON"),
    "m-kg-s-N": Units("KILOGRAM", "METER", "SECOND", "NEWTON"),
    "mm-t-s-N": Units("MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON"),
    "mm-kg-s-N": Units("KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"),
    "mm-kg-ms-kN": Units("KILOGRAM", "MILLIMETER", "MILLISECOND", "KNEWTON"),
    "cm-g-s-dyn": Units("GRAM", "CENTIMETER", "SECOND", "DYNE"),
    "in-lbm-s-lbf": Units("POUND_MASS", "INCH", "SECOND", "POUND_FORCE"),
    "in-slinch-s-lbf": Units("SLINCH", "INCH", "SECOND", "POUND_FORCE"),
    "ft-slug-s-lbf": Units("SLUG", "FOOT", "SECOND", "POUND_FORCE"),
}

#: Converts values as the library does: by decimal scaling, which fixes the rounding.
convert = _core.convert_units
#: The multiplier of a label in a table of (name, multiplier) pairs: 1 for an empty label, 0 for an unknown one.
divider = _core.units_divider
#: The label of a multiplier in a table of (name, multiplier) pairs, or None.
label = _core.units_label

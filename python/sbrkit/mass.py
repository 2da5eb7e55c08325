"""Mass properties and inertia invariants."""

from __future__ import annotations

import dataclasses
from typing import TYPE_CHECKING, Any, Dict, Optional, Sequence, Tuple

import numpy as np

from ._arrays import Like, Reals, reals, vector
from .tables import Table

if TYPE_CHECKING:
    from .body import Body


@dataclasses.dataclass(frozen=True, eq=False, repr=False)
class MassProperties(Table):
    """Mass, center and inertia of a body, from inertia invariants 1, 2 and 7."""

    mass: float
    center: Reals  #: (3,)
    inertia_origin: Reals  #: the inertia tensor about the origin, (3, 3)

    @property
    def inertia(self) -> Reals:
        """The inertia tensor about the center of mass, (3, 3)."""
        c = self.center
        return self.inertia_origin - self.mass * (c @ c * np.eye(3) - np.outer(c, c))

    @property
    def principal(self) -> Tuple[Reals, Reals]:
        """Principal moments about the center, ascending, and their axes as columns."""
        moments, axes = np.linalg.eigh(0.5 * (self.inertia + self.inertia.T))
        return moments, axes

    def _columns(self) -> Dict[str, Any]:
        inertia = self.inertia
        names = ["mass", "center x", "center y", "center z", "Ixx", "Iyy", "Izz", "Ixy", "Ixz", "Iyz"]
        values = [self.mass, *self.center, *np.diag(inertia), inertia[0, 1], inertia[0, 2], inertia[1, 2]]
        return {"property": names, "value": values}

    def _title(self) -> str:
        return "Mass properties, inertia about the center of mass"


class Invariants:
    """The nine inertia invariants by number, each worked out once: from the record, else from the nodes.

    ===== ==================================================== ==================
    1     mass                                                 float
    2     first moment of mass                                 (3,)
    3     translations                                         (3, m)
    4     rotations                                            (3, m)
    5     of each mode with all modes                          (m, 3, m)
    6     generalized mass matrix                              (m, m)
    7     inertia tensor about the origin                      (3, 3)
    8     of each mode                                         (m, 3, 3)
    9     of each pair of modes                                (m, m, 3, 3)
    ===== ==================================================== ==================
    """

    def __init__(self, body: "Body") -> None:
        self._body = body

    def __getitem__(self, number: int) -> Any:
        if number not in range(1, 10):
            raise KeyError(f"there are the invariants 1 to 9, not {number}")
        core = self._body._lib
        if number in (3, 4, 8) and not len(self._body.modes):
            raise LookupError(f"invariant {number} needs modes, and the body has none")
        value = getattr(core, f"invariant{number}")()
        if value is None:
            raise LookupError(f"invariant {number} cannot be had: the body has no modes, or neither the block nor nodes")
        return value

    @property
    def stored(self) -> Tuple[int, ...]:
        """The invariants whose blocks the body has."""
        blocks = {1: 18, 2: 19, 3: 20, 4: 21, 5: 22, 7: 23, 8: 24, 9: 25}
        return tuple(number for number, block in blocks.items() if self._body.exists(block))

    def compute(self, which: str = "full") -> None:
        """Makes "full" all, "fast" all but 5 and 9, or "rigid" 1, 2, 3 and 7."""
        if which not in ("full", "fast", "rigid"):
            raise ValueError(f"the sets of invariants are 'full', 'fast' and 'rigid', not {which!r}")
        self._body._lib.compute_invariants(which)

    def set(self, number: int, value: Like, mode: Optional[int] = None, other: Optional[int] = None) -> None:
        """Enters an invariant in place of what the library would work out.

        3, 4 and 8 are entered for a mode, 5 and 9 for a pair; 6 is the diagonal of ones; 7 is the (3, 3) tensor.
        """
        core = self._body._changing()
        if number == 1:
            core.set_invariant1(float(reals(value, "the mass", ())))
        elif number == 2:
            core.set_invariant2(vector(value, "invariant 2"))
        elif number == 6:
            core.set_invariant6(reals(value, "invariant 6", (-1,)))
        elif number == 7:
            t = reals(value, "invariant 7", (3, 3))
            if not np.array_equal(t, t.T):
                raise ValueError("invariant 7 must be symmetric")
            core.set_invariant7(np.array([t[0, 0], t[1, 1], t[2, 2], t[0, 1], t[0, 2], t[1, 2]]))
        elif number in (3, 4, 8):
            if mode is None:
                raise TypeError(f"invariant {number} is entered for a mode")
            shape = (3, 3) if number == 8 else (3,)
            getattr(core, f"set_invariant{number}")(mode, reals(value, f"invariant {number}", shape))
        elif number in (5, 9):
            if mode is None or other is None:
                raise TypeError(f"invariant {number} is entered for a pair of modes")
            shape = (3, 3) if number == 9 else (3,)
            getattr(core, f"set_invariant{number}")(mode, other, reals(value, f"invariant {number}", shape))
        else:
            raise KeyError(f"there are the invariants 1 to 9, not {number}")

    def __repr__(self) -> str:
        return f"Invariants(stored: {', '.join(map(str, self.stored)) or 'none'})"

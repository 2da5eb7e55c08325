"""The write options, as checked keyword arguments."""

from __future__ import annotations

import dataclasses
import math
import os
from typing import Any, Optional, Sequence, Union

import numpy as np

from . import _core


@dataclasses.dataclass(frozen=True)
class Coarsening:
    """How a surface is coarsened.

    ``resolution`` is a fraction of the body's extent above 0 and up to 0.5, ``angle`` in degrees above 0 and up to 45.
    ``colinear`` removes vertices on straight edges; ``keep`` are IDs of nodes that stay; ``keep_stress`` keeps nodes
    with stress or strain.

    >>> Coarsening(0.02, 10, keep=[1001]).text()
    '0.02,10.0,0,1001'
    """

    resolution: float = 0.02
    angle: float = 10.0
    colinear: bool = False
    keep: Sequence[int] = ()
    keep_stress: bool = False

    def __post_init__(self) -> None:
        if not 0.0 < self.resolution <= 0.5:
            raise ValueError("the resolution of a coarsening must be above 0 and not above 0.5")
        if not 0.0 < self.angle <= 45.0:
            raise ValueError("the angle of a coarsening must be above 0 and not above 45 degrees")
        if any(int(node) <= 0 for node in self.keep):
            raise ValueError("only nodes with an ID above 0 can be kept by name")

    def text(self) -> str:
        """The words of the write option."""
        items = [_positional(self.resolution), _positional(self.angle), str(int(self.colinear))]
        items += [str(int(node)) for node in self.keep]
        return ",".join(items + (["preserve_str"] if self.keep_stress else []))


def _decimal(value: float) -> str:
    """A number with a decimal point and without a plus sign, which the library's reader takes."""
    text = repr(float(value)).replace("e+", "e")
    if not math.isfinite(value):
        raise ValueError("a finite number is needed")
    return text



def _positional(value: float) -> str:
    """A number without an exponent, whose minus sign the list of a coarsening could not hold."""
    return np.format_float_positional(float(value), trim="0")


@dataclasses.dataclass(frozen=True)
class WriteOptions:
    """What a write is told.

    ================ ================================================================================================
    shift_to_cm      move the reference frame to the center of mass
    sketch           replace the faces by those of a sketch file
    strip_faces      remove faces that two elements share
    coarsen          a `Coarsening`, or its arguments as a tuple
    stress           "sparse": only nodes with stress or strain; "full": all nodes (layout 4.1)
    orthonormal      False leaves the modes as they are, with generalized mass and stiffness
    lowpass          highest frequency in Hz that is written
    highpass         frequency in Hz above which modes are written
    invariants       "full", or "fast" without invariants 5 and 9
    empty            geometry, mass and rigid invariants only
    mks              kilogram, meter, second, newton
    single           reals of 32 bits
    xdr              False writes the raw encoding of this machine
    layout           "81" or "82": an old layout
    drop_load_nodes  where nodes are discarded, those that only nodal loads refer to go too
    ================ ================================================================================================

    Options that contradict each other are refused before anything is changed.

    >>> WriteOptions(single=True, invariants="full").text()
    'full_invar single'
    >>> WriteOptions(layout="81", single=True)
    Traceback (most recent call last):
      ...
    ValueError: 8.1 compatible SBR cannot be single precision
    """

    shift_to_cm: bool = False
    sketch: Union[None, str, "os.PathLike[str]"] = None
    strip_faces: bool = False
    coarsen: Union[None, Coarsening, Sequence[Any]] = None
    stress: Optional[str] = None
    orthonormal: bool = True
    lowpass: Optional[float] = None
    highpass: Optional[float] = None
    invariants: Optional[str] = None
    empty: bool = False
    mks: bool = False
    single: bool = False
    xdr: bool = True
    layout: Optional[str] = None
    drop_load_nodes: bool = False

    def __post_init__(self) -> None:
        if self.coarsen is not None and not isinstance(self.coarsen, Coarsening):
            object.__setattr__(self, "coarsen", Coarsening(*self.coarsen))
        for name, choices in (("stress", ("sparse", "full")), ("invariants", ("full", "fast")), ("layout", ("81", "82"))):
            if getattr(self, name) not in (None, *choices):
                raise ValueError(f"{name} must be {' or '.join(map(repr, choices))}, not {getattr(self, name)!r}")
        self._check_range()
        self._check_sketch()
        self._check_contradictions()

    def _check_range(self) -> None:
        for name in ("lowpass", "highpass"):
            value = getattr(self, name)
            if value is not None and not math.isfinite(value):
                raise ValueError(f"{name} must be a finite frequency in Hz")
        if self.lowpass is not None and self.highpass is not None and self.highpass >= self.lowpass:
            raise ValueError(f"highpass {self.highpass} is not below lowpass {self.lowpass}: no mode lies between them")
        if not self.orthonormal and (self.lowpass is not None or self.highpass is not None):
            raise ValueError("a frequency range has no effect without orthonormal modes")

    def _check_sketch(self) -> None:
        if self.sketch is None:
            return
        path = os.fspath(self.sketch)
        if not os.path.isfile(path):
            raise FileNotFoundError(f"there is no sketch file {path}")
        if '"' in path:
            raise ValueError("the name of the sketch file holds a quotation mark")
        for keyword, _, _ in _core.write_option_table():
            if keyword in path:
                raise ValueError(f"the name of the sketch file holds the option keyword {keyword!r}, which would take "
                                 "effect too; rename the file")

    def _check_contradictions(self) -> None:
        words = set(self._words()) | ({"invar"} if self.invariants else set())
        for option, other, message in _core.write_contradictions():
            if option in words and other in words:
                raise ValueError(message)

    def _words(self) -> Sequence[str]:
        flags = {
            "lbrf2cm": self.shift_to_cm,
            "strip_face": self.strip_faces,
            "sparse_str": self.stress == "sparse",
            "full_str": self.stress == "full",
            "no_ortho": not self.orthonormal,
            "full_invar": self.invariants == "full",
            "fast_invar": self.invariants == "fast",
            "empty": self.empty,
            "MKS": self.mks,
            "single": self.single,
            "no_xdr": not self.xdr,
            "82_comp": self.layout == "82",
            "81_comp": self.layout == "81",
            "optimize_mforce_nodes": self.drop_load_nodes,
        }
        return [word for word, chosen in flags.items() if chosen]

    def text(self, second: float = 1.0) -> str:
        """The options as the library reads them, for a body whose unit of time is that many seconds: the library takes
        frequencies per unit of time."""
        words = list(self._words())
        if self.sketch is not None:
            words.append(f'sketch("{os.fspath(self.sketch)}")')
        if isinstance(self.coarsen, Coarsening):
            words.append(f"coarsen({self.coarsen.text()})")
        if self.lowpass is not None:
            words.append(f"lowpass({_decimal(self.lowpass * second)})")
        if self.highpass is not None:
            words.append(f"highpass({_decimal(self.highpass * second)})")
        return " ".join(words)

"""System queries, the library's revisions, its codecs, and reports of a host."""

from __future__ import annotations

from typing import Dict

import numpy as np

from . import _core
from ._arrays import Like, Reals, Singles, reals


def local_time(part: str = "both") -> str:
    """The local time by ISO 8601: the "date", the "time" with its offset, or "both"."""
    selectors = {"both": 0, "date": 1, "time": 2}
    if part not in selectors:
        raise ValueError(f"the parts are 'date', 'time' and 'both', not {part!r}")
    return _core.local_time(selectors[part])


def system_name(selector: int = 3) -> str:
    """The operating system: 2 "name version", 3 with the third number, 12 and 13 with underscores, else the name."""
    return _core.system_name(selector)


def processor_time() -> float:
    """The processor time of the process, in seconds."""
    return float(_core.processor_time())


def versions() -> Dict[str, str]:
    """The revisions of the library's parts.

    >>> sorted(versions())[0]
    'coarse'
    """
    return _core.versions()


def library_path() -> str:
    """The file of the library that the package is bound to."""
    return _core.library_path()


def terminated(field: bytes) -> str:
    """A text of fixed width without the blanks behind it; the last byte counts as the terminator.

    >>> terminated(b"STEEL   ")
    'STEEL'
    """
    return _core.terminated(field)


def to_floats(values: Like) -> Singles:
    """Doubles rounded to floats, by the library's codec."""
    return _core.to_floats(reals(values, "the values", (-1,)))


def to_doubles(values: Like) -> Reals:
    """Floats widened to doubles, by the library's codec."""
    return _core.to_doubles(np.ascontiguousarray(values, np.float32).reshape(-1))


def report(severity: str, text: str) -> None:
    """Sends a report the way the library's go: "error" raises SbrError, "warning" warns, "information" logs."""
    if severity not in ("error", "warning", "information"):
        raise ValueError(f"the severities are error, warning and information, not {severity!r}")
    _core.report(severity, text)

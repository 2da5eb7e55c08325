"""What the library reports, as Python knows it: exceptions, warnings, log records.

Every call collects what the library says meanwhile. Errors become one `SbrError` that holds all reports of the call,
warnings become `SbrWarning`s of the module `warnings`, information goes to the logger "sbrkit" at level INFO.
"""

from __future__ import annotations

import logging
import os
import sys
import warnings
from typing import Any, Iterable, List, NamedTuple, Optional, Tuple

logger = logging.getLogger("sbrkit")
logger.addHandler(logging.NullHandler())

_PACKAGE = os.path.dirname(os.path.abspath(__file__)) + os.sep
_SEVERITIES = {"e": "error", "w": "warning", "i": "information"}


class Report(NamedTuple):
    """One message of the library."""

    severity: str  #: "error", "warning" or "information"
    text: str  #: the words, without the blanks and line feeds around them


class SbrError(RuntimeError):
    """A call that failed, or that the library reported an error of.

    ``reports`` has all messages of the call in order: warnings and information too. What the call did before it failed
    stays done.

    >>> error = SbrError("first", (Report("error", "first"), Report("warning", "second")))
    >>> str(error), len(error.reports)
    ('first', 2)
    """

    def __init__(self, message: str, reports: Iterable[Report] = ()) -> None:
        super().__init__(message)
        self.reports: Tuple[Report, ...] = tuple(reports)

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), (str(self), self.reports)


class SbrWarning(UserWarning):
    """A warning of the library: something is odd, but was dealt with."""


def _level_of_caller() -> int:
    """The stack level, for `warnings.warn`, of the first caller outside the package."""
    level = 1
    frame = sys._getframe(1)
    while frame is not None and os.path.abspath(frame.f_code.co_filename).startswith(_PACKAGE):
        level += 1
        if frame.f_back is None:
            break
        frame = frame.f_back
    return level


def _reports_of(raw: Iterable[Tuple[str, str]]) -> List[Report]:
    """The reports of a call. A warning that begins with blanks is an item of the list that the one before announces."""
    parts: List[Tuple[str, List[str]]] = []
    for severity, text in raw:
        name = _SEVERITIES[severity]
        if name == "warning" and text.startswith(" ") and parts and parts[-1][0] == name:
            parts[-1][1].append(text.strip())
        else:
            parts.append((name, [text.strip()]))
    return [Report(name, " ".join(texts)) for name, texts in parts]


def deliver(raw: Iterable[Tuple[str, str]], raise_errors: bool, failure: Optional[str]) -> None:
    """Hands the reports of one call on. The module calls it; hosts have no need to.

    ``raw`` has pairs of severity letter and text. With ``raise_errors`` false, errors become warnings. ``failure`` names
    a call that failed, and is raised whatever was reported.
    """
    reports = _reports_of(raw)
    errors = [report.text for report in reports if report.severity == "error"]
    warned = {"warning"} if raise_errors else {"warning", "error"}
    for report in reports:
        if report.severity == "information":
            logger.info("%s", report.text)
        elif report.severity in warned:
            warnings.warn(report.text, SbrWarning, stacklevel=_level_of_caller())
    if failure is not None or (errors and raise_errors):
        lines = ([failure] if failure is not None else []) + errors
        raise SbrError("\n".join(lines), reports)

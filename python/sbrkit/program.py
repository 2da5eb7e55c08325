"""What the program `sbr` does, from Python: checking, comparing, importing, transforming records.

The program is looked for in the environment variable ``SBRKIT_PROGRAM``, in the package (a wheel brings it along), and
on the ``PATH``.
"""

from __future__ import annotations

import dataclasses
import json
import os
import re
import shutil
import subprocess
import warnings
from typing import Any, Dict, List, Optional, Sequence, Tuple, Union

import numpy as np

from .body import Body, _mark_of
from .errors import Report, SbrError, SbrWarning, _level_of_caller
from .tables import Table

PathLike = Union[str, "os.PathLike[str]"]
RecordLike = Union[Body, PathLike]

#: What `sbr` ends with.
_DONE, _FINDINGS = 0, 1


class ProgramError(SbrError):
    """The program failed; ``exit_code`` tells how: 2 wrong usage, 3 unreadable input, 4 failed operation."""

    def __init__(self, message: str, reports: Sequence[Report] = (), exit_code: int = 4) -> None:
        super().__init__(message, reports)
        self.exit_code = exit_code

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), (str(self), self.reports, self.exit_code)


def program() -> str:
    """The path of the program."""
    named = os.environ.get("SBRKIT_PROGRAM")
    inside = os.path.join(os.path.dirname(os.path.abspath(__file__)), "bin", "sbr")
    found = named or (inside if os.access(inside, os.X_OK) else shutil.which("sbr"))
    if not found:
        raise FileNotFoundError("the program sbr is not found: set SBRKIT_PROGRAM to its path, or put it on the PATH")
    return found


def _run(arguments: Sequence[str], accepted: Sequence[int] = (_DONE,)) -> str:
    """What the program prints. Its messages become warnings, or the reports of the error."""
    result = subprocess.run([program(), *arguments], capture_output=True, text=True, errors="backslashreplace")
    reports = []
    for line in result.stderr.splitlines():
        severity, _, text = line.partition(": ")
        known = severity in ("error", "warning")
        reports.append(Report(severity if known else "information", text if known else line))
    if result.returncode not in accepted:
        words = "\n".join(r.text for r in reports) or f"sbr {arguments[0]} ended with {result.returncode}"
        raise ProgramError(words, reports, result.returncode)
    for report in reports:
        if report.severity != "information":
            warnings.warn(report.text, SbrWarning, stacklevel=_level_of_caller())
    return result.stdout


def _file_of(record: RecordLike) -> str:
    """The file of a record; a body has to be what its file holds."""
    if not isinstance(record, Body):
        return os.fspath(record)
    if record.path is None or record._changed or _mark_of(record.path) != record._mark:
        raise ValueError("the body is not what a file holds: write it, and name the file")
    return record.path


# ---- check ---------------------------------------------------------------------------------------------------------


@dataclasses.dataclass(frozen=True)
class Finding:
    """One finding of a check."""

    level: str  #: "ok", "note", "warning" or "error"
    subject: str
    what: str
    figure: Optional[float] = None
    place: str = ""
    meaning: str = ""


@dataclasses.dataclass(frozen=True, repr=False)
class CheckResult(Table):
    """The findings of a check; true for a sound record."""

    file: str
    sound: bool
    errors: int
    warnings: int
    notes: int
    findings: Tuple[Finding, ...]

    def __bool__(self) -> bool:
        return self.sound

    def of(self, *levels: str) -> Tuple[Finding, ...]:
        """The findings of some levels."""
        return tuple(finding for finding in self.findings if finding.level in levels)

    def _columns(self) -> Dict[str, Any]:
        return {name: [getattr(f, name) if getattr(f, name) is not None else "" for f in self.findings]
                for name in ("level", "subject", "what", "figure", "place")}

    def _title(self) -> str:
        word = "sound" if self.sound else "not sound"
        return f"{self.file}: {word}; {self.errors} errors, {self.warnings} warnings, {self.notes} notes"


def check(record: RecordLike, *, tolerance: Optional[float] = None, strict: bool = False) -> CheckResult:
    """Judges a record: structure, units, numbers, physics. A record that cannot be read is a ProgramError.

    With ``strict`` warnings make a record unsound too.
    """
    flags = _flags({"tolerance": tolerance, "strict": strict})
    answer = json.loads(_run(["check", "--json", *flags, "--", _file_of(record)], (_DONE, _FINDINGS)))
    if isinstance(answer, list):
        answer = answer[0]
    findings = tuple(Finding(f["level"], f["subject"], f["what"], f["figure"], f["place"], f["meaning"])
                     for f in answer["findings"])
    return CheckResult(answer["file"], answer["sound"], answer["errors"], answer["warnings"], answer["notes"], findings)


# ---- diff ----------------------------------------------------------------------------------------------------------


@dataclasses.dataclass(frozen=True)
class BlockDifference:
    """How one block of two records compares."""

    block: str
    same: bool
    compared: int
    different: int
    largest_difference: Optional[float] = None
    worst: str = ""  #: the place of the largest difference
    only_in: str = ""


@dataclasses.dataclass(frozen=True)
class ModePartner:
    """A mode of the second record with the modes of the first that it is made of."""

    mode: int
    mac: float
    parts: Tuple[Tuple[int, float], ...]  #: modes and weights


@dataclasses.dataclass(frozen=True, repr=False)
class DiffResult(Table):
    """Two records block by block; true when they are the same within the tolerances."""

    a: str
    b: str
    same: bool
    summary: str
    blocks: Tuple[BlockDifference, ...]
    modes: Tuple[ModePartner, ...]
    unmatched: Tuple[str, ...]

    def __bool__(self) -> bool:
        return self.same

    def _columns(self) -> Dict[str, Any]:
        names = [field.name for field in dataclasses.fields(BlockDifference)]
        return {name: [getattr(block, name) for block in self.blocks] for name in names}

    def _title(self) -> str:
        return f"{self.a} and {self.b}: {self.summary}"


def diff(a: RecordLike, b: RecordLike, *, rtol: Optional[float] = None, atol: Optional[float] = None,
         exact: bool = False) -> DiffResult:
    """Compares two records block by block, nodes matched by ID and modes by shape; ``exact`` value by value."""
    flags = _flags({"rtol": rtol, "atol": atol, "exact": exact})
    answer = json.loads(_run(["diff", "--json", *flags, "--", _file_of(a), _file_of(b)], (_DONE, _FINDINGS)))
    blocks = tuple(BlockDifference(x["block"], x["same"], x["compared"], x["different"], x.get("largest_difference"),
                                   str(x.get("worst", "")), str(x.get("only_in", ""))) for x in answer["blocks"])
    modes = tuple(ModePartner(m["mode_of_b"], m["mac"], tuple((p["mode_of_a"], p["weight"]) for p in m["parts"]))
                  for m in answer.get("modes", ()))
    return DiffResult(answer["a"], answer["b"], answer["same"], answer["summary"], blocks, modes,
                      tuple(answer.get("unmatched", ())))


# ---- import --------------------------------------------------------------------------------------------------------


@dataclasses.dataclass(frozen=True, repr=False)
class ImportResult(Table):
    """An import: the record that was written, and the importer's own summary."""

    path: str
    summary: Dict[str, Any]

    def open(self) -> Body:
        """The record that was written."""
        from .body import open_record

        return open_record(self.path)

    def _columns(self) -> Dict[str, Any]:
        plain = {k: v for k, v in self.summary.items() if not isinstance(v, (list, dict))}
        return {"what": list(plain), "value": list(plain.values())}

    def _title(self) -> str:
        return f"Imported {self.path}"


def importers() -> Dict[str, str]:
    """The importers of the program, with a line about each."""
    text = _run(["import", "--help"])
    part = text.partition("Commands:")[2].partition("\n\n")[0]
    rows = (re.match(r"  (\S+)\s\s+(\S.*)", line) for line in part.splitlines())
    return {row[1]: row[2] for row in rows if row}


def _flags(options: Dict[str, Any]) -> List[str]:
    """Keywords as flags: names with dashes, True as a bare flag, lists with commas."""
    flags: List[str] = []
    for name, value in options.items():
        flag = "--" + name.replace("_", "-")
        if value is None or value is False:
            continue
        if value is True:
            flags.append(flag)
        elif isinstance(value, (list, tuple, np.ndarray)):
            flags.append(f"{flag}={','.join(str(item) for item in value)}")
        else:
            flags.append(f"{flag}={os.fspath(value) if isinstance(value, os.PathLike) else value}")
    return flags


def import_model(importer: str, model: PathLike, output: PathLike, **options: Any) -> ImportResult:
    """Makes a record by an importer of the program (`importers` lists them).

    Keywords are its flags, with underscores for dashes; ``sbr import NAME --help`` tells them. A flag that the importer
    does not have is a ProgramError.
    """
    if importer not in importers():
        raise ValueError(f"there is no importer {importer!r}; there are {', '.join(importers())}")
    arguments = ["import", importer, os.fspath(model), "-o", os.fspath(output), *_flags(options)]
    try:
        printed = _run([*arguments, "--json"])
    except ProgramError as error:
        if error.exit_code != 2 or "--json" not in str(error):
            raise
        printed = _run(arguments)
    try:
        summary = json.loads(printed)
    except ValueError:
        summary = {"summary": printed}
    return ImportResult(os.fspath(output), summary)


def import_ccx(deck: PathLike, output: PathLike, *, frd: Optional[PathLike] = None, dat: Optional[PathLike] = None,
               units: str = "mm-t-s-N", interface: Sequence[str] = (), matrices: Optional[Sequence[PathLike]] = None,
               **options: Any) -> ImportResult:
    """Makes a record from a CalculiX job.

    :param deck: the input deck
    :param frd: the results, beside the deck by default; likewise ``dat``
    :param units: the unit system of the deck
    :param interface: node sets that become the interface nodes
    :param matrices: the solver's matrices (.mas, .sti, .dof), to be reduced instead of results
    :param options: the other flags of ``sbr import ccx``: ``stress="all"``, ``normal=12``, ``invariants="full"`` ...
    """
    three = None if matrices is None else [os.fspath(path) for path in matrices]
    if three is not None and len(three) != 3:
        raise ValueError("the matrices are three files: .mas, .sti and .dof")
    return import_model("ccx", deck, output, frd=frd, dat=dat, units=units, interface=list(interface) or None,
                        matrices=three, **options)


def transform(record: RecordLike, output: PathLike, **options: Any) -> Body:
    """Moves, turns, mirrors or renumbers a record by the program, and opens what it wrote.

    Keywords are the flags of ``sbr transform``. Unlike the methods of `Body` it also moves records whose nodes hold a
    part of the mass only.
    """
    from .body import open_record

    _run(["transform", _file_of(record), os.fspath(output), *_flags(options)])
    return open_record(output)

"""The solver's database: the bodies in it, and its data blocks word by word.

One database is open at a time, in the whole process. `Body.write_database` writes a body in one call. The database
library has to be found (``KTX_USER_PLUGIN_DIR``), and ``KTX_QSRVHOME_DIR`` names its home directory.
"""

from __future__ import annotations

import contextlib
import dataclasses
import os
from typing import Any, Iterator, List, Tuple, Union

import numpy as np

from . import _core
from ._arrays import Integers, Like, Reals, integers, reals
from .errors import SbrError

PathLike = Union[str, "os.PathLike[str]"]


@dataclasses.dataclass(frozen=True)
class Entry:
    """A body in a database."""

    index: int  #: from 1
    qualifiers: str


@contextlib.contextmanager
def reading() -> Iterator[None]:
    """Binds the database library and starts a scratch database in the current directory, from which others are read."""
    if not _core.db_load():
        raise SbrError("the database library cannot be loaded; KTX_USER_PLUGIN_DIR names its directory")
    try:
        _core.db_start_base()
        try:
            yield
        finally:
            _core.db_end_base()
    finally:
        _core.db_unload()


@contextlib.contextmanager
def writing(path: PathLike) -> Iterator[None]:
    """Opens a database (a ".MASTER" file) for writing, or creates it. What was written lasts from the end on."""
    _core.db_start_write(os.fspath(path))
    try:
        yield
    finally:
        _core.db_end_write()


def check(path: PathLike) -> int:
    """Judges a ".MASTER" file: 0 usable, else a code, with a warning that tells the reason."""
    return int(_core.db_check(os.fspath(path)))


def bodies(path: PathLike) -> List[Entry]:
    """The bodies of a database, inside `reading`."""
    name = os.fspath(path)
    count, _ = _core.db_browse(name, 0)
    if count < 0:
        raise SbrError(f"{name} is no usable database")
    return [Entry(index, _core.db_browse(name, index)[1]) for index in range(1, count + 1)]


class DataBlock:
    """A data block: a sequence of records of 64-bit words.

    `open` a body's (inside `reading`), `create` one (inside `writing`), or make a `scratch` one.
    """

    def __init__(self, unit: int, number: int = 0) -> None:
        self.unit = unit
        self.number = number  #: the logical number of the body

    @classmethod
    def open(cls, path: PathLike, index: int) -> "DataBlock":
        """Opens a body of a database for reading, by its index from 1."""
        return cls(*_core.db_open_block(os.fspath(path), index))

    @classmethod
    def create(cls, qualifiers: str = "") -> "DataBlock":
        """Creates the data block of a body and opens it for writing."""
        return cls(_core.db_create_block(qualifiers))

    @classmethod
    def scratch(cls) -> "DataBlock":
        """Creates a scratch data block and opens it for writing."""
        return cls(*_core.db_open_scratch())

    def reopen(self) -> None:
        """Opens a scratch data block again at its start, for reading."""
        _core.db_reopen_scratch(self.unit)

    def close(self) -> None:
        """Closes the data block and keeps it."""
        _core.db_close_block(self.unit)

    def write_integers(self, values: Like) -> None:
        """Appends integers of 32 bits to the present record, a word each."""
        _core.db_write_ints(self.unit, integers(values))

    def write_words(self, values: Like) -> None:
        """Appends words to the present record as they are."""
        _core.db_write_longs(self.unit, np.ascontiguousarray(values, np.int64).reshape(-1))

    def write_reals(self, values: Like) -> None:
        """Appends reals to the present record, a word each."""
        _core.db_write_doubles(self.unit, reals(values).reshape(-1))

    def write_characters(self, text: bytes) -> None:
        """Appends characters to the present record, four to a word."""
        _core.db_write_chars(self.unit, text)

    def end_record(self) -> None:
        """Ends the present record."""
        _core.db_end_record(self.unit)

    def write_trailer(self, words: Like) -> None:
        """Stores the trailer: six words behind the unit, after `close`."""
        seven = np.concatenate([[self.unit], np.asarray(words, np.int64).reshape(-1)])
        _core.db_write_trailer(np.ascontiguousarray(seven, np.int64))

    def read_integers(self, count: int) -> Integers:
        """Reads integers from the present record."""
        return _core.db_read_ints(self.unit, count)

    def read_reals(self, count: int, *, mode: bool = False) -> Reals:
        """Reads reals from the present record; with ``mode`` by the operation for mode data."""
        return _core.db_read_doubles(self.unit, count, mode)

    def read_characters(self, count: int) -> bytes:
        """Reads characters from the present record."""
        return _core.db_read_chars(self.unit, count)

    def skip_record(self) -> None:
        """Goes to the start of the next record."""
        _core.db_skip_record(self.unit)

    def skip_words(self, count: int) -> None:
        """Passes over words of the present record."""
        _core.db_skip_words(self.unit, count)

    @property
    def position(self) -> Tuple[int, int]:
        """The present position."""
        return _core.db_position(self.unit)

    @position.setter
    def position(self, position: Tuple[int, int]) -> None:
        _core.db_go_to(self.unit, position)

    def rewind(self, start: Tuple[int, int]) -> None:
        """Goes to a start that `position` gave."""
        _core.db_rewind(self.unit, start)


class Entries:
    """The entries of the bound database library, one to one; each gives the status that it set, 0 for success."""

    load = staticmethod(_core.db_load)
    unload = staticmethod(_core.db_unload)
    start = staticmethod(_core.qs_start)
    old = staticmethod(_core.qs_old)
    new = staticmethod(_core.qs_new)
    definitions = staticmethod(_core.qs_definitions)
    command = staticmethod(_core.qs_command)
    attach = staticmethod(_core.qs_attach)
    create = staticmethod(_core.qs_create)
    close = staticmethod(_core.qs_close)
    limits = staticmethod(_core.qs_limits)
    name = staticmethod(_core.qs_name)
    dictionary = staticmethod(_core.qs_dictionary)
    open_unit = staticmethod(_core.ruvo_open)
    close_unit = staticmethod(_core.ruvo_close)
    write_trailer = staticmethod(_core.ruvo_trailer)
    skip_record = staticmethod(_core.ruvo_skip_record)
    position = staticmethod(_core.ruvo_position)
    go_to = staticmethod(_core.ruvo_go_to)
    read = staticmethod(_core.ruvo_read)
    write = staticmethod(_core.ruvo_write)

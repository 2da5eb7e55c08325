"""Shape Body Records as NumPy arrays::

    import sbrkit

    with sbrkit.open("body.sbr") as body:
        body.nodes.coordinates          # (n, 3)
        body.modes[7].frequency         # Hz
        body.modes.shapes(dtype="f4")   # (m, n, 3)

`open` opens a record and `Body.build` makes a body from arrays; what a body holds are its parts: ``nodes``, ``faces``,
``modes``, ``stress``, ``strain``, ``mass``, ``invariants``, ``loads`` and others. Errors are `SbrError`, warnings
`SbrWarning`, information goes to the logger "sbrkit".
"""

from __future__ import annotations

from . import database, linalg, system
from ._clib import clib
from .analysis import EffectiveMass, Mac, effective_mass, mac
from .body import Block, Body, Header
from .body import open_record as open
from .errors import Report, SbrError, SbrWarning
from .options import Coarsening, WriteOptions
from .program import (CheckResult, DiffResult, ImportResult, ProgramError, check, diff, import_ccx, import_model,
                      importers, program, transform)
from .reduction import Reduction, craig_bampton
from .units import SYSTEMS, Units

__version__ = "1.0.0"

__all__ = ["Block", "Body", "CheckResult", "Coarsening", "DiffResult", "EffectiveMass", "Header", "ImportResult", "Mac",
           "ProgramError", "Reduction", "Report", "SYSTEMS", "SbrError", "SbrWarning", "Units", "WriteOptions", "check",
           "clib", "craig_bampton", "database", "diff", "effective_mass", "import_ccx", "import_model", "importers",
           "linalg", "mac", "open", "program", "system", "transform"]

"""The C interface itself, for what the objects of the package do not carry."""

from __future__ import annotations

import ctypes

from . import _core


def clib() -> ctypes.CDLL:
    """The library that the package is bound to, through ``ctypes``: all exported operations under their C names.

    ``body.address`` is the handle of a body. Nothing is checked or locked here, and restype and argtypes are the
    caller's to set; reports reach no handler of the package unless a call of the package is running. It serves
    operations that take streams or callbacks, and those that end bodies behind their owners' backs.

    >>> clib().SBR_GetFlexType(None)
    0
    """
    return ctypes.CDLL(_core.library_path())

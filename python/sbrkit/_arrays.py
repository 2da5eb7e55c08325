"""Arrays on their way into the library: brought to its types, and refused where they do not fit."""

from __future__ import annotations

from typing import Any, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

#: Arrays as the package gives them.
Reals = npt.NDArray[np.float64]
Singles = npt.NDArray[np.float32]
Integers = npt.NDArray[np.int32]
Flags = npt.NDArray[np.bool_]
#: What is taken for an array.
Like = npt.ArrayLike

_INT = np.iinfo(np.int32)


def integers(values: Like, name: str = "the numbers") -> Integers:
    """A flat array of 32-bit integers. Numbers that are no integers, or too large, are refused.

    >>> integers([1, 2]).dtype
    dtype('int32')
    """
    array = np.atleast_1d(np.asarray(values))
    if array.size == 0:
        return np.zeros(0, np.int32)
    if array.dtype.kind not in "iu":
        raise TypeError(f"{name} must be integers, not {array.dtype}")
    if array.ndim != 1:
        raise ValueError(f"{name} must be a list, not an array of {array.ndim} dimensions")
    if array.min() < _INT.min or array.max() > _INT.max:
        raise OverflowError(f"{name} must fit into 32 bits")
    return np.ascontiguousarray(array, np.int32)


def reals(values: Like, name: str = "the values", shape: Optional[Sequence[int]] = None) -> Reals:
    """A contiguous array of doubles of the shape, in which -1 stands for any length."""
    array = np.asarray(values)
    if array.dtype.kind not in "fiub":
        raise TypeError(f"{name} must be real numbers, not {array.dtype}")
    result = np.ascontiguousarray(array, np.float64).reshape(array.shape)
    if shape is not None:
        fits = result.ndim == len(shape) and all(w in (-1, g) for w, g in zip(shape, result.shape))
        if not fits:
            wanted = ", ".join("any" if w < 0 else str(w) for w in shape)
            raise ValueError(f"{name} has the shape {result.shape}, and ({wanted}) is needed")
    return result


def vector(values: Like, name: str) -> Reals:
    """Three doubles."""
    return reals(values, name, (3,))


def real_type(dtype: npt.DTypeLike) -> Any:
    """float32 or float64; others are refused."""
    wanted = np.dtype(dtype)
    if wanted not in (np.dtype(np.float32), np.dtype(np.float64)):
        raise TypeError(f"mode data comes as float64 or float32, not {wanted}")
    return wanted.type


def ragged(lists: Union[Like, Sequence[Like]], name: str) -> Tuple[Integers, Integers]:
    """Lengths and values of a list of lists; a two-dimensional array is one of equal lengths."""
    if isinstance(lists, np.ndarray) and lists.ndim == 2:
        return np.full(len(lists), lists.shape[1], np.int32), integers(lists.reshape(-1), name)
    parts = [integers(part, name) for part in lists]  # type: ignore[union-attr]
    lengths = np.array([len(part) for part in parts], np.int32)
    return lengths, np.concatenate(parts) if parts else np.zeros(0, np.int32)

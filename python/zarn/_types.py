"""The types of signals, by the names that the library gives them."""

from __future__ import annotations

from typing import Any, Literal, Union

import numpy as np

TypeName = Literal[
    "bool", "int8", "uint8", "int16", "uint16", "int32", "uint32", "int64", "uint64", "flt32", "flt64"
]

# by rank: what several types have in common is the last of them
RANKED: tuple[TypeName, ...] = (
    "bool", "int8", "uint8", "int16", "uint16", "int32", "uint32", "int64", "uint64", "flt32", "flt64",
)  # fmt: skip
RANK = {name: rank for rank, name in enumerate(RANKED)}
_OF_DTYPE = {np.dtype(name.replace("flt", "float")): name for name in RANKED}

TypeLike = Union[TypeName, str, type, "np.dtype[Any]"]


def type_name(given: TypeLike) -> TypeName:
    """From "flt64", "float64", float, np.float32 or a dtype to a type's name."""
    if isinstance(given, str) and given in RANK:
        return given  # type: ignore[return-value]
    try:
        return _OF_DTYPE[np.dtype(given)]
    except (TypeError, KeyError):
        raise TypeError(f"{given!r} is no type of signals; there is {', '.join(RANKED)}") from None

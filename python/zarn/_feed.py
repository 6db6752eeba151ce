"""Values for the inports of a model's root."""

from __future__ import annotations

from collections.abc import Mapping
from typing import TYPE_CHECKING, Any

import numpy as np

from zarn._errors import UsageError

if TYPE_CHECKING:
    from numpy.typing import NDArray

    from zarn import _core
    from zarn._series import Series


def feeds(session: _core.Session, settings: Mapping[str, float], inputs: Mapping[str, Any]) -> dict[str, NDArray[Any]]:
    """An array of the input's own type for each, with one value a step."""
    if not inputs:
        return {}
    known = session.inputs()
    count = session.steps()
    times: NDArray[np.float64] | None = None
    ready: dict[str, NDArray[Any]] = {}
    for name, given in inputs.items():
        path, dtype = _find(known, name)
        if path in ready:
            raise UsageError(f"input {name}: it is given twice")
        if _is_series(given):
            if times is None:
                times = times_of(settings, count)
            ready[path] = _held(name, given, times, dtype)
            continue
        values = np.asarray(given)
        if values.ndim == 0:
            values = np.full(1, values)  # the last value stays
        elif values.ndim != 1:
            raise UsageError(f"input {name}: an array of {values.ndim} dimensions; expected one value a step")
        elif len(values) != count:
            raise UsageError(f"input {name}: {len(values)} values, but the run takes {count} steps")
        ready[path] = _typed(name, values, dtype)
    return ready


def times_of(settings: Mapping[str, float], count: int) -> NDArray[np.float64]:
    """The times of so many steps: the step is added once for each, as a run does it."""
    if count == 0:
        return np.empty(0)
    parts = np.full(count, settings["ts"])
    parts[0] = settings["ti"]
    return np.add.accumulate(parts)


def times(settings: Mapping[str, float], count: int, series: list[Series]) -> NDArray[np.float64]:
    """The same, shared with a signal that has all of them."""
    for one in series:
        if len(one) == count:
            return one.time
    return times_of(settings, count)


def _find(known: list[tuple[str, str, np.dtype[Any]]], name: str) -> tuple[str, np.dtype[Any]]:
    for path, short, dtype in known:
        if name in (path, path.partition(".")[2], short):
            return path, dtype
    there = ", ".join(path for path, _, _ in known)
    raise UsageError(
        f"input {name}: no such inport at the root; there is {there}"
        if there
        else f"input {name}: the model has no inport at its root"
    )


def _is_series(given: Any) -> bool:
    if hasattr(given, "xdata") and hasattr(given, "ydata"):
        return True
    if isinstance(given, tuple):
        return len(given) == 2 and all(np.ndim(part) == 1 for part in given)
    return getattr(given, "time", None) is not None and isinstance(given, np.ndarray)


def _held(name: str, given: Any, times: NDArray[np.float64], dtype: np.dtype[Any]) -> NDArray[Any]:
    """Each value from its time on until the next; the first one ahead of its time as well."""
    if isinstance(given, tuple):
        x, y = np.asarray(given[0], dtype=float), np.asarray(given[1])
    elif isinstance(given, np.ndarray):
        x, y = np.asarray(given.time), np.asarray(given)  # type: ignore[attr-defined]
    else:
        x, y = np.asarray(given.xdata, dtype=float), np.asarray(given.ydata)
    if len(x) != len(y):
        raise UsageError(f"input {name}: {len(x)} times but {len(y)} values")
    if len(x) == 0:
        raise UsageError(f"input {name}: a series without samples")
    if np.isnan(x).any() or (np.diff(x) < 0).any():
        raise UsageError(f"input {name}: times must rise, and be numbers")
    at = np.searchsorted(x, times, side="right") - 1
    return _typed(name, y[np.maximum(at, 0)], dtype)


def _typed(name: str, values: NDArray[Any], dtype: np.dtype[Any]) -> NDArray[Any]:
    if values.dtype == dtype:
        return np.ascontiguousarray(values)
    if values.dtype.kind not in "biuf":
        raise UsageError(f"input {name}: values of type {values.dtype} are not numbers")
    if dtype.kind in "bui" and values.dtype.kind == "f":
        raise UsageError(f"input {name}: values of type {values.dtype}, but the input takes {dtype}; convert them first")
    typed = values.astype(dtype)
    if dtype.kind in "bui" and not np.array_equal(typed, values):
        raise UsageError(f"input {name}: values beyond the range of {dtype}")
    return np.ascontiguousarray(typed)

"""The result of a run."""

from __future__ import annotations

import html
import os
from collections.abc import Iterator, Mapping
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np

from zarn import _draw
from zarn._errors import FileError, Findings, UnknownSignalError, UsageError
from zarn._series import Series

if TYPE_CHECKING:
    from numpy.typing import NDArray

ROOT = "mainsys."


class Run(Mapping[str, Series]):
    """The recorded signals of a run by name; "mainsys." in front can be left out."""

    def __init__(
        self,
        model: str,
        series: list[Series],
        time: NDArray[np.float64],
        settings: dict[str, float],
        findings: Findings,
        console: list[str],
        workspace: Mapping[str, Any] | None = None,
    ) -> None:
        self.model = model  #: the model's name
        self.time = time  #: the times of all steps, in seconds
        self.settings = settings  #: ti, tf and ts of this run
        self.findings = findings  #: what the checks said ahead of the run
        self.console = console  #: what the library said meanwhile
        self.workspace = workspace  #: the names that expressions saw, with `mainsys` as the run left it
        self._series = {one.name: one for one in series}

    @property
    def steps(self) -> int:
        return len(self.time)

    @property
    def names(self) -> list[str]:
        return list(self._series)

    def __getitem__(self, name: str) -> Series:
        for known in (name, ROOT + name):
            if known in self._series:
                return self._series[known]
        import difflib

        short = [known.removeprefix(ROOT) for known in self._series]
        near = difflib.get_close_matches(name.removeprefix(ROOT), short, 1)
        hint = f"; is it {ROOT}{near[0]}?" if near else f"; there is {', '.join(self._series) or 'none'}"
        raise UnknownSignalError(f"no signal {name!r} was recorded{hint}")

    def __iter__(self) -> Iterator[str]:
        return iter(self._series)

    def __len__(self) -> int:
        return len(self._series)

    def __contains__(self, name: object) -> bool:
        return isinstance(name, str) and (name in self._series or ROOT + name in self._series)

    def __reduce__(self) -> Any:
        series = list(self._series.values())
        return Run, (self.model, series, self.time, self.settings, self.findings, self.console, None)

    def __repr__(self) -> str:
        last = f", the last at t = {self.time[-1]:.12g} s" if len(self.time) else ""
        lines = [f"Run of {self.model}: {self.steps} step{'' if self.steps == 1 else 's'}{last}"]
        width = min(max((len(name) for name in self._series), default=0), 60)
        for name, one in self._series.items():
            end = f"{one[-1]}" if len(one) else "never sampled"
            lines.append(f"  {name:<{width}}  {one.dtype!s:<8}  {end}")
        return "\n".join(lines)

    def _repr_html_(self) -> str:
        rows = []
        for name, one in self._series.items():
            cells = (html.escape(name), str(one.dtype), str(one[-1]) if len(one) else "", _draw.sparkline(one))
            rows.append("<tr>" + "".join(f"<td style='text-align:left'>{cell}</td>" for cell in cells) + "</tr>")
        heads = "<tr><th>signal</th><th>type</th><th>last value</th><th></th></tr>"
        title = f"<p>{html.escape(self.model)}: {self.steps} steps</p>"
        return f"{title}<table>{heads}{''.join(rows)}</table>"

    # ---- into other forms

    def to_pandas(self) -> Any:
        """A pandas.DataFrame with a column for each signal, indexed by time; empty where a signal was not sampled."""
        import pandas

        index = pandas.Index(self.time, name="time")
        columns = {}
        for name, one in self._series.items():
            column = one.to_pandas()
            columns[name] = column if len(one) == len(index) else column.reindex(index)
        return pandas.DataFrame(columns, index=index)

    def plot(self, *names: str) -> Any:
        """A figure with a panel for each signal, or for those named."""
        chosen = [self[name] for name in names] if names else list(self._series.values())
        if not chosen:
            raise UsageError("there is nothing to draw: no signal was recorded")
        return _draw.stacked({one.name: one for one in chosen}, self.model)

    def save(self, path: str | os.PathLike[str]) -> None:
        """Writes the signals as .npz, .csv or .h5, by the ending of the name; the first two as the command does."""
        name = os.fspath(path)
        ending = os.path.splitext(name)[1]
        writers = {".npz": self._save_npz, ".csv": self._save_csv, ".h5": self._save_h5}
        if ending not in writers:
            raise UsageError(f"{name}: the name must end in .npz, .csv or .h5")
        temporary = f"{name}.{os.getpid()}.part{ending}"
        try:
            writers[ending](temporary)
            os.replace(temporary, name)
        except OSError as error:
            raise FileError(f"{name}: {error.strerror or error}") from error
        finally:
            if os.path.exists(temporary):
                os.unlink(temporary)

    def _save_npz(self, name: str) -> None:
        arrays: dict[str, Any] = {"time": self.time}
        for signal, one in self._series.items():
            arrays[signal] = np.asarray(one)
            if len(one) != self.steps:
                arrays[signal + ".time"] = one.time
        np.savez(name, **arrays)

    def _save_csv(self, name: str) -> None:
        columns = []
        for one in self._series.values():
            cells = [_cell(value) for value in np.asarray(one).astype(object)]
            if len(one) != self.steps:
                filled = [""] * self.steps
                for at, cell in zip(np.searchsorted(self.time, one.time), cells):
                    filled[int(at)] = cell
                cells = filled
            columns.append(cells)
        with open(name, "w", encoding="utf-8", newline="") as file:
            file.write(",".join(["time", *self._series]) + "\n")
            for row in zip(map(repr, self.time.tolist()), *columns):
                file.write(",".join(row) + "\n")

    def _save_h5(self, name: str) -> None:
        import h5py

        with h5py.File(name, "w") as file:
            file["time"] = self.time
            for key, value in self.settings.items():
                file.attrs[key] = value
            for signal, one in self._series.items():
                file[signal] = np.asarray(one)
                file[signal].attrs["class"] = one.block_class
                if len(one) != self.steps:
                    file[signal + ".time"] = one.time

    # ---- comparison

    def compare(self, other: Mapping[str, Any], atol: float = 0.0, rtol: float = 0.0) -> Comparison:
        """Sets each signal of both beside each other. Without tolerances, values are equal as bits, but for
        not-a-numbers, of which one is as good as another."""
        rows = []
        for name in dict.fromkeys([*self, *other]):
            mine = self._series.get(name)
            theirs = other[name] if name in other else None
            rows.append(_compared(name, mine, theirs, atol, rtol))
        return Comparison(rows)


@dataclass(frozen=True)
class Compared:
    """What one signal of two results has in common."""

    name: str
    equal: bool
    reason: str  #: why not
    largest: float  #: the largest difference
    at: float  #: the time of the first difference, nan for none


class Comparison(list[Compared]):
    """Two results signal by signal; true where all are equal."""

    @property
    def equal(self) -> bool:
        return all(row.equal for row in self)

    def __bool__(self) -> bool:
        return self.equal

    def __repr__(self) -> str:
        told = [f"{row.name}: {row.reason}" for row in self if not row.equal]
        return "\n".join(told) if told else f"{len(self)} signals, all equal"


def _cell(value: Any) -> str:
    return str(int(value)) if isinstance(value, bool) else repr(value)


def _compared(name: str, mine: Any, theirs: Any, atol: float, rtol: float) -> Compared:
    nan = float("nan")
    if mine is None or theirs is None:
        return Compared(name, False, f"only in the {'second' if mine is None else 'first'}", nan, nan)
    a, b = np.asarray(mine), np.asarray(theirs)
    if a.dtype != b.dtype:
        return Compared(name, False, f"{a.dtype} and {b.dtype}", nan, nan)
    if len(a) != len(b):
        return Compared(name, False, f"{len(a)} and {len(b)} samples", nan, nan)
    times = np.asarray(getattr(mine, "time", np.arange(len(a))))
    their_times = np.asarray(getattr(theirs, "time", times))
    if not np.array_equal(times, their_times):
        return Compared(name, False, "other times", nan, nan)
    same = (a == b) & (np.signbit(a) == np.signbit(b)) if a.dtype.kind == "f" else a == b
    if a.dtype.kind == "f":
        same |= np.isnan(a) & np.isnan(b)
    with np.errstate(all="ignore"):
        difference = np.abs(a.astype(float) - b.astype(float))
        if atol or rtol:
            same |= difference <= atol + rtol * np.abs(b.astype(float))
    if same.all():
        return Compared(name, True, "", 0.0, nan)
    first = int(np.argmin(same))
    largest = float(np.nanmax(np.where(same, 0.0, difference))) if not np.isnan(difference[~same]).all() else nan
    reason = f"{int((~same).sum())} of {len(a)} samples, the first at t = {times[first]:.12g} s: {a[first]} and {b[first]}"
    return Compared(name, False, reason, largest, float(times[first]))

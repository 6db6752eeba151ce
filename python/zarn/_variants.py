"""Sweeps: many variants of a model, compiled once and run side by side."""

from __future__ import annotations

import hashlib
import json
import os
import pickle
from collections.abc import Callable, Iterator, Mapping, Sequence
from concurrent.futures import FIRST_COMPLETED, Future, ProcessPoolExecutor, wait
from concurrent.futures.process import BrokenProcessPool
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Optional, Union

import numpy as np

from zarn import _core
from zarn._model import bytes_of
from zarn._errors import FileError, UsageError, WorkspaceError
from zarn._workspace import WorkspaceLike, make

if TYPE_CHECKING:
    from numpy.typing import NDArray

    from zarn._model import AskedModel

Reduce = Callable[["Row"], Any]
GROUP = 1024  # variants that are given out at once, in whole batches


class Row(Mapping[str, "NDArray[np.float64]"]):
    """One run of a sweep: its probed signals by name, as float64; not-a-number in steps in which a block did not run."""

    def __init__(
        self, number: int, parameters: dict[str, float], time: NDArray[np.float64], names: Sequence[str], samples: Any
    ) -> None:
        self.number = number
        self.parameters = parameters
        self.time = time
        self._samples = dict(zip(names, samples))

    def __getitem__(self, name: str) -> NDArray[np.float64]:
        for known in (name, "mainsys." + name):
            if known in self._samples:
                return self._samples[known]  # type: ignore[no-any-return]
        raise UsageError(f"no signal {name!r} was probed; there is {', '.join(self._samples) or 'none'}")

    def __iter__(self) -> Iterator[str]:
        return iter(self._samples)

    def __len__(self) -> int:
        return len(self._samples)


@dataclass
class Sweep:
    """A row for each run. `reasons` tell why a run has no result, "" where it has one; its numbers are nan then."""

    parameters: dict[str, NDArray[np.float64]]
    measures: dict[str, NDArray[np.float64]]
    signals: dict[str, NDArray[np.float64]]  #: a row for each run, a column for each sample
    time: NDArray[np.float64]  #: of the samples
    reasons: list[str]
    reduced: list[Any]  #: what `reduce` gave for each run, None for one that failed

    def __len__(self) -> int:
        return len(self.reasons)

    @property
    def failed(self) -> NDArray[np.bool_]:
        return np.array([bool(reason) for reason in self.reasons])

    def to_pandas(self) -> Any:
        """A pandas.DataFrame: a row for each run with its parameters, measures, what `reduce` gave, and the reason."""
        import pandas

        columns: dict[str, Any] = {**self.parameters, **self.measures}
        if any(value is not None for value in self.reduced):
            keys = next((list(value) for value in self.reduced if isinstance(value, Mapping)), None)
            if keys is None:
                columns["reduced"] = self.reduced
            else:
                for key in keys:
                    columns[key] = [value[key] if value is not None else None for value in self.reduced]
        columns["reason"] = self.reasons
        return pandas.DataFrame(columns)

    def __repr__(self) -> str:
        failed = int(self.failed.sum())
        told = [f"Sweep of {len(self)} runs" + (f", {failed} without a result" if failed else "")]
        told.append("  over " + ", ".join(f"{name} {v.min():g} to {v.max():g}" for name, v in self.parameters.items()))
        for name, values in self.measures.items():
            good = values[np.isfinite(values)]
            if len(good):
                told.append(f"  {name}  {good.min():g} to {good.max():g}")
        return "\n".join(told)

    def _repr_html_(self) -> str:
        frame = self.to_pandas()
        return str(frame.head(20)._repr_html_())


@dataclass(frozen=True)
class _Plan:
    """What a worker needs to run some of the variants."""

    name: str
    text: str
    settings: dict[str, float]
    workspace: Any
    columns: dict[str, NDArray[np.float64]]
    measures: list[str]
    probes: list[str]
    every: int
    jobs: int
    reduce: Optional[Reduce]
    keeps: bool  # whether samples are handed back

    def sweep(self) -> _core.Sweep:
        names = list(self.columns)
        columns = [column.tolist() for column in self.columns.values()]
        functions = make(self.workspace)
        return _core.Sweep(
            self.name, bytes_of(self.text), self.settings, functions, names, columns, self.measures, self.probes, self.every, self.jobs
        )

    def key(self) -> str:
        """What a kept sweep is gone on with by."""
        told = [self.text, sorted(self.settings.items()), self.measures, self.probes, self.every]
        digest = hashlib.sha256(json.dumps(told).encode("utf-8", "surrogatepass"))
        for name, column in self.columns.items():
            digest.update(name.encode() + column.tobytes())
        try:
            digest.update(pickle.dumps(_portable(self.workspace)))
        except Exception:  # what cannot be pickled is not told apart
            digest.update(repr(type(self.workspace)).encode())
        return digest.hexdigest()


@dataclass
class _Part:
    """Rows from one place on."""

    first: int
    measures: NDArray[np.float64]
    samples: Optional[NDArray[np.float64]]
    reasons: list[str]
    reduced: list[Any]


_compiled: dict[bytes, tuple[_core.Sweep, _Plan]] = {}  # in a worker


def _work(data: bytes, first: int, end: int) -> _Part:
    """In a worker: compiled when the first group comes."""
    if data not in _compiled:
        _compiled.clear()
        plan = pickle.loads(data)
        _compiled[data] = (plan.sweep(), plan)
    sweep, plan = _compiled[data]
    parts: list[_Part] = []
    _go(sweep, plan, first, end, parts.append)
    samples = [part.samples for part in parts if part.samples is not None]
    return _Part(
        first,
        np.concatenate([part.measures for part in parts]),
        np.concatenate(samples) if samples else None,
        [reason for part in parts for reason in part.reasons],
        [value for part in parts for value in part.reduced],
    )


def _go(sweep: _core.Sweep, plan: _Plan, first: int, end: int, take: Callable[[_Part], Any]) -> None:
    names, signals, time = list(plan.columns), sweep.signals, sweep.times

    def batch(at: int, values: Any, measures: Any, samples: Any, reasons: list[str]) -> bool:
        reduced: list[Any] = [None] * len(reasons)
        if plan.reduce is not None:
            for row, reason in enumerate(reasons):
                if not reason:
                    parameters = dict(zip(names, values[row].tolist()))
                    try:
                        reduced[row] = plan.reduce(Row(at + row, parameters, time, signals, samples[row]))
                    except Exception as error:  # a row with its reason, not the end of the sweep
                        reasons[row] = f"reduce: {type(error).__name__}: {error}"
        take(_Part(at, measures, samples if plan.keeps else None, reasons, reduced))
        return True

    sweep.go(batch, first, end)


# ---- values


def _columns(
    values: Mapping[str, Any], sample: str, n: Optional[int], seed: int
) -> dict[str, NDArray[np.float64]]:
    if not values:
        raise UsageError("sweep: nothing varies")
    if sample in ("grid", "zip"):
        if n is not None:
            raise UsageError(f"sweep: n goes with random and sobol; a {sample} has the runs of its values")
        lists = {name: _numbers(name, given) for name, given in values.items()}
        if sample == "grid":
            grids = np.meshgrid(*lists.values(), indexing="ij")
            return {name: np.ascontiguousarray(grid.ravel()) for name, grid in zip(lists, grids)}
        lengths = {len(column) for column in lists.values()}
        if len(lengths) > 1:
            raise UsageError("sweep: zip needs lists of one length, not " + ", ".join(map(str, sorted(lengths))))
        return lists
    if sample not in ("random", "sobol"):
        raise UsageError(f"sweep: sample {sample!r}; it is grid, zip, random or sobol")
    if n is None or n < 1:
        raise UsageError(f"sweep: {sample} needs n, the number of runs")
    if sample == "sobol":
        from zarn._sweep import points

        unit = np.array(points("sobol", len(values), n, seed))
    else:
        unit = np.random.default_rng(seed).random((n, len(values)))
    return {name: _drawn(name, given, unit[:, at]) for at, (name, given) in enumerate(values.items())}


def _numbers(name: str, given: Any) -> NDArray[np.float64]:
    listed = np.atleast_1d(np.asarray(given))
    if listed.ndim != 1 or listed.dtype.kind not in "biuf" or not len(listed):
        raise UsageError(f"sweep: {name}: expected a list of numbers")
    column: NDArray[np.float64] = listed.astype(np.float64)
    if not np.isfinite(column).all():
        raise UsageError(f"sweep: {name}: not all values are finite numbers")
    return column


def _drawn(name: str, given: Any, unit: NDArray[np.float64]) -> NDArray[np.float64]:
    """A distribution of scipy.stats, a pair of bounds, or a list to draw from."""
    if hasattr(given, "ppf"):
        return _numbers(name, given.ppf(unit))
    if isinstance(given, tuple) and len(given) == 2:
        low, high = map(float, given)
        return _numbers(name, low + (high - low) * unit)
    choices = _numbers(name, given)
    drawn: NDArray[np.float64] = choices[np.minimum((unit * len(choices)).astype(int), len(choices) - 1)]
    return drawn


def _portable(workspace: WorkspaceLike) -> Any:
    """What another process can make the workspace of."""
    if workspace is None or isinstance(workspace, (str, os.PathLike)):
        return os.path.abspath(workspace) if workspace is not None else None
    names = dict(workspace) if isinstance(workspace, Mapping) else dict(vars(workspace))
    kept = {}
    for key, value in names.items():
        if key.startswith("__"):
            continue
        try:
            pickle.dumps(value)
        except Exception:  # modules, open files: told where an expression asks for them
            continue
        kept[key] = value
    return kept


# ---- where rows go


class _Rows:
    """The table of a sweep: in memory, or in a folder of memory-mapped arrays that another process goes on with."""

    def __init__(self, plan: _Plan, sweep: _core.Sweep, count: int, out: Optional[str], resume: bool) -> None:
        self.count = count
        self.folder = out
        self.signals = sweep.signals if plan.keeps else []
        shape = (count, len(sweep.measures))
        samples = (count, len(self.signals), sweep.samples)
        if out is None:
            self.measures = np.full(shape, np.nan)
            self.samples = np.full(samples, np.nan) if self.signals else None
            self.done = np.zeros(count, dtype=bool)
            self.told: dict[int, tuple[str, Any]] = {}
            self._log: Any = None
            return
        try:
            self._open(plan, out, shape, samples, resume)
        except OSError as error:
            raise FileError(f"{out}: {error.strerror or error}") from error

    def _open(self, plan: _Plan, out: str, shape: Any, samples: Any, resume: bool) -> None:
        os.makedirs(out, exist_ok=True)
        manifest = os.path.join(out, "sweep.json")
        key = plan.key()
        known = None
        if os.path.exists(manifest):
            with open(manifest, encoding="utf-8") as file:
                known = json.load(file).get("key")
            if resume and known != key:
                raise UsageError(f"{out}: it holds another sweep; give another folder, or do not resume")
            if not resume:
                raise UsageError(f"{out}: it holds a sweep already; resume it, or give another folder")
        mode = "r+" if known is not None else "w+"

        def table(name: str, dtype: Any, shape: Any) -> Any:
            path = os.path.join(out, name)
            if mode == "r+":
                return np.lib.format.open_memmap(path, mode="r+")  # type: ignore[no-untyped-call]
            return np.lib.format.open_memmap(path, mode="w+", dtype=dtype, shape=shape)  # type: ignore[no-untyped-call]

        self.measures = table("measures.npy", np.float64, shape)
        self.samples = table("signals.npy", np.float64, samples) if self.signals else None
        self.done = table("done.npy", np.bool_, (self.count,))
        self.told = {}
        if known is None:
            temporary = manifest + ".part"
            with open(temporary, "w", encoding="utf-8") as file:
                json.dump({"key": key, "names": list(plan.columns), "signals": list(self.signals)}, file)
            os.replace(temporary, manifest)
        log = os.path.join(out, "rows.log")
        if known is not None and os.path.exists(log):
            with open(log, "rb") as stream:
                while True:
                    try:
                        self.told.update(pickle.load(stream))
                    except (EOFError, pickle.UnpicklingError):
                        break
        self._log = open(log, "ab")

    def put(self, part: _Part) -> None:
        rows = slice(part.first, part.first + len(part.reasons))
        self.measures[rows] = part.measures
        if self.samples is not None:
            self.samples[rows] = part.samples
        told = {}
        for at, (reason, value) in enumerate(zip(part.reasons, part.reduced)):
            if reason or value is not None:
                told[part.first + at] = (reason, value)
        self.told.update(told)
        if self._log is not None and told:
            pickle.dump(told, self._log)
            self._log.flush()
        self.done[rows] = True

    def groups(self, size: int) -> list[tuple[int, int]]:
        """What is still to do, in whole batches."""
        open_rows = []
        for first in range(0, self.count, size):
            end = min(first + size, self.count)
            if not self.done[first:end].all():
                open_rows.append((first, end))
        return open_rows

    def close(self) -> None:
        if self._log is not None:
            self._log.close()
            for table in (self.measures, self.samples, self.done):
                if table is not None:
                    table.flush()  # type: ignore[attr-defined]


# ---- who runs them


def _run_here(plan: _Plan, sweep: _core.Sweep, rows: _Rows, told: Callable[[int], Any]) -> None:
    def take(part: _Part) -> None:
        rows.put(part)
        told(len(part.reasons))

    for first, end in rows.groups(sweep.batch):
        if not rows.done[first]:
            stop = end
            while stop < rows.count and not rows.done[stop]:
                stop += 1
            _go(sweep, plan, first, stop, take)


def _run_processes(plan: _Plan, rows: _Rows, told: Callable[[int], Any], workers: Optional[int]) -> None:
    """A worker that dies takes its group with it, which is then given to another; not more often than three times."""
    import multiprocessing

    data = pickle.dumps(plan)
    context = multiprocessing.get_context("spawn")
    groups = rows.groups(GROUP)
    failures = 0
    while groups:
        pool = ProcessPoolExecutor(workers, mp_context=context)
        try:
            left: dict[Future[_Part], tuple[int, int]] = {pool.submit(_work, data, *group): group for group in groups}
            while left:
                ready, _ = wait(left, return_when=FIRST_COMPLETED)
                for future in ready:
                    part = future.result()
                    del left[future]
                    rows.put(part)
                    told(len(part.reasons))
            groups = []
        except BrokenProcessPool as error:
            failures += 1
            if failures > 3:
                raise WorkspaceError("sweep: workers die again and again") from error
            groups = rows.groups(GROUP)
        finally:
            pool.shutdown(wait=True, cancel_futures=True)


def _run_dask(plan: _Plan, rows: _Rows, told: Callable[[int], Any], client: Any) -> None:
    from distributed import as_completed

    data = pickle.dumps(plan)
    futures = [
        client.submit(_work, data, first, end, pure=False, retries=3) for first, end in rows.groups(GROUP)
    ]
    for future in as_completed(futures):  # type: ignore[no-untyped-call]
        part = future.result()
        rows.put(part)
        told(len(part.reasons))


def sweep(
    model: AskedModel,
    values: Mapping[str, Any],
    *,
    sample: str = "grid",
    n: Optional[int] = None,
    seed: int = 1,
    probes: Union[None, str, Sequence[str]] = None,
    measures: Union[None, str, Sequence[str]] = None,
    reduce: Optional[Reduce] = None,
    every: int = 1,
    workspace: WorkspaceLike = None,
    executor: Any = None,
    workers: Optional[int] = None,
    out: Union[None, str, os.PathLike[str]] = None,
    resume: bool = False,
    progress: Union[None, bool, Callable[[int, int], Any]] = None,
    ti: Optional[float] = None,
    tf: Optional[float] = None,
    ts: Optional[float] = None,
) -> Sweep:
    """Runs a model for many values of names of its workspace, or of parameters "PATH.KEY" of its blocks.

    `sample`: "grid" each value with each, the last name fastest; "zip" the first of each, then the second; "random" and
    "sobol" `n` runs drawn from pairs of bounds, distributions of scipy.stats, or lists.
    `probes`: signals whose samples are kept, one in `every`. `measures`: numbers of each run, "NAME=KIND(SIGNAL)" with last,
    min, max, mean, rms, crossing, integral, iae, ise. `reduce`: called with each run (a `Row`), in place of keeping
    its samples.
    `executor`: None for lanes and threads of this process, "processes", or a client of Dask. All give the same bits.
    `out`: a folder of memory-mapped arrays, for what is larger than the memory; with `resume` a sweep that was ended goes
    on there.
    A run that fails is a row with its reason.
    """
    listed = [probes] if isinstance(probes, str) else list(probes or [])
    measured = [measures] if isinstance(measures, str) else list(measures or [])
    if not listed and not measured:
        raise UsageError("sweep: say what is kept of each run, with probes or measures")
    if reduce is not None and not listed:
        raise UsageError("sweep: reduce needs probes, whose samples it is given")
    columns = _columns(values, sample, n, seed)
    settings = {key: float(value) for key, value in {"ti": ti, "tf": tf, "ts": ts}.items() if value is not None}
    apart = executor is not None
    plan = _Plan(
        model.name if not apart else os.path.abspath(model.name), model.to_json(), settings,
        _portable(workspace) if apart else workspace, columns, measured, listed, every, 1 if apart else 0, reduce,
        reduce is None,
    )  # fmt: skip
    own = plan.sweep()  # what is wrong with the model is told here
    count = own.size
    rows = _Rows(plan, own, count, os.fspath(out) if out is not None else None, resume)
    told = _teller(progress, count)
    try:
        told(int(rows.done.sum()))
        if executor is None:
            _run_here(plan, own, rows, told)
        elif executor == "processes":
            _run_processes(plan, rows, told, workers)
        elif hasattr(executor, "submit"):
            _run_dask(plan, rows, told, executor)
        else:
            raise UsageError(f"sweep: executor {executor!r}; it is None, 'processes' or a client of Dask")
    finally:
        rows.close()
    reasons = [rows.told.get(row, ("", None))[0] for row in range(count)]
    reduced = [rows.told.get(row, ("", None))[1] for row in range(count)]
    signals = {name: rows.samples[:, at] for at, name in enumerate(rows.signals)} if rows.samples is not None else {}
    measures_by = {name: rows.measures[:, at] for at, name in enumerate(own.measures)}
    return Sweep(columns, measures_by, signals, own.times, reasons, reduced)


def _teller(progress: Union[None, bool, Callable[[int, int], Any]], count: int) -> Callable[[int], Any]:
    done = 0

    def count_up(more: int) -> None:
        nonlocal done
        done += more
        if callable(progress):
            progress(done, count)

    if callable(progress):
        return count_up
    if not progress:
        return lambda more: None
    try:
        from tqdm.auto import tqdm
    except ImportError:
        return lambda more: None
    bar = tqdm(total=count, unit="run")
    return lambda more: bar.update(more)

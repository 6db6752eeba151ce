"""A model: what can be asked of it."""

from __future__ import annotations

import json
import os
from collections.abc import Callable, Iterable, Mapping, Sequence
from typing import TYPE_CHECKING, Any, Optional, Union

from zarn import _core
from zarn._errors import FileError, Findings, UsageError
from zarn._workspace import WorkspaceLike, make

if TYPE_CHECKING:
    from zarn._run import Run
    from zarn._stepper import Stepper

PathLike = Union[str, "os.PathLike[str]"]
Probes = Union[None, str, Iterable[str]]


class AskedModel:
    """What a model answers, wherever it comes from. Nothing here executes an expression of the model but `run`, `start`
    and what is called with `evaluate=True` or a workspace."""

    @property
    def name(self) -> str:
        """The name that messages give the model: that of its file, where it has one."""
        raise NotImplementedError

    def to_json(self) -> str:
        """The text of the model's file."""
        raise NotImplementedError

    def _session(
        self, settings: Mapping[str, Optional[float]] | None = None, functions: Any = None, text: str | None = None
    ) -> _core.Session:
        chosen = {key: float(value) for key, value in (settings or {}).items() if value is not None}
        return _core.Session(self.name, bytes_of(self.to_json() if text is None else text), chosen, functions)

    # ---- looking

    def check(self, workspace: WorkspaceLike = None, evaluate: bool = False) -> Findings:
        """Every problem of the model: what is wrong, where, and what mends it."""
        return Findings(self._session(functions=_functions(workspace, evaluate)).check())

    def explain(self, path: str = "", workspace: WorkspaceLike = None, evaluate: bool = False) -> Explanation:
        """The order in which blocks are stepped and why: of all, of one block, or of those inside a subsystem."""
        session = self._session(functions=_functions(workspace, evaluate))
        return Explanation(session.explain(path, False), json.loads(session.explain(path, True)))

    def draw(
        self,
        level: str = "",
        depth: int = 0,
        relayout: bool = False,
        workspace: WorkspaceLike = None,
        evaluate: bool = False,
        layout_time: float = 10.0,
    ) -> Picture:
        """The diagram as SVG, shown as such in notebooks. A model that is not in order is drawn as far as it can be
        read, with its faults in red."""
        session = self._session(functions=_functions(workspace, evaluate))
        answer = session.draw(level, depth, relayout, layout_time)
        return Picture(answer["svg"], answer["notes"], answer["remarks"], Findings(answer["findings"]))

    # ---- running

    def run(
        self,
        tf: Optional[float] = None,
        *,
        ti: Optional[float] = None,
        ts: Optional[float] = None,
        workspace: WorkspaceLike = None,
        probes: Probes = None,
        inputs: Optional[Mapping[str, Any]] = None,
        progress: Union[None, bool, Callable[[float], Any]] = None,
        engine: str = "plan",
    ) -> Run:
        """Runs the model and answers what was recorded.

        `workspace`: the names that expressions see, as a mapping, a module, or a file that is executed.
        `probes`: paths of blocks, "PATH:PORT", or patterns with `*`; "*" is every output of every block. Left out: the
        root's outports, displays and to_workspace blocks. One that matches nothing raises.
        `inputs`: for inports of the root a number, an array with one value a step, or a pair (times, values), of which
        each value holds until the next time.
        `progress`: False for none, or a function of the time; by default a bar for long runs on a terminal.
        """
        from zarn import _feed
        from zarn._progress import Progress
        from zarn._run import Run
        from zarn._series import Series

        if engine not in ("plan", "objects"):
            raise UsageError(f"engine {engine!r}: it is plan or objects")
        names = make(workspace)
        session = self._session({"ti": ti, "tf": tf, "ts": ts}, names)
        session.prepare()
        settings = session.settings()
        feeds = _feed.feeds(session, settings, inputs or {})
        wanted = [probes] if isinstance(probes, str) else list(probes or [])
        everything = wanted == ["*"]
        with Progress(progress, settings["ti"], settings["tf"]) as told:
            answer = session.run([] if everything else wanted, everything, feeds, told.callback, engine == "objects")
        series = [
            Series.of(values, time, name, path, block_class, port)
            for name, path, block_class, port, values, time in answer["series"]
        ]
        times = _feed.times(settings, answer["steps"], series)
        console = session.console()
        return Run(self.name, series, times, settings, Findings(session.findings()), console, names.names)

    def start(
        self,
        tf: Optional[float] = None,
        *,
        ti: Optional[float] = None,
        ts: Optional[float] = None,
        workspace: WorkspaceLike = None,
    ) -> Stepper:
        """Begins a run that the caller steps. It is of the model as it is now: later changes do not reach it."""
        from zarn._stepper import Stepper

        names = make(workspace)
        session = self._session({"ti": ti, "tf": tf, "ts": ts}, names)
        session.prepare()
        return Stepper(session, names.names)

    def save(self, path: PathLike) -> None:
        """Writes the model's file."""
        name = os.fspath(path)
        temporary = f"{name}.{os.getpid()}.part"
        text = self.to_json()
        try:
            with open(temporary, "wb") as file:
                file.write(bytes_of(text))
            os.replace(temporary, name)
        except OSError as error:
            raise FileError(f"{name}: {error.strerror}") from error
        finally:
            if os.path.exists(temporary):
                os.unlink(temporary)

    def _repr_svg_(self) -> str | None:
        """The picture that notebooks show."""
        try:
            return self.draw(layout_time=2.0).svg
        except Exception:  # a notebook falls back on the text
            return None


def bytes_of(text: str) -> bytes:
    """A text as it stands in a file, which can be no UTF-8."""
    try:
        return text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError:
        return text.encode("utf-8", "surrogatepass")


def _functions(workspace: WorkspaceLike, evaluate: bool) -> Any:
    return make(workspace) if evaluate or workspace is not None else None


class Explanation:
    """The order of stepping: a text for people, and `blocks` with all that is known of each."""

    def __init__(self, text: str, data: Mapping[str, Any]) -> None:
        self.text = text
        self.blocks: Sequence[Mapping[str, Any]] = data["order"]

    def __str__(self) -> str:
        return self.text

    def __repr__(self) -> str:
        return self.text.rstrip("\n")


class Picture:
    """A drawing: its SVG, and what it shows of faults."""

    def __init__(self, svg: str, notes: list[str], remarks: list[str], findings: Findings) -> None:
        self.svg = svg
        self.notes = notes
        self.remarks = remarks
        self.findings = findings

    def save(self, path: PathLike) -> None:
        with open(path, "w", encoding="utf-8") as file:
            file.write(self.svg)

    def _repr_svg_(self) -> str:
        return self.svg

    def __repr__(self) -> str:
        return f"Picture({len(self.svg)} bytes of SVG)"


__all__ = ["AskedModel", "Explanation", "Picture"]

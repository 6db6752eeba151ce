"""A run that its caller steps."""

from __future__ import annotations

from collections.abc import Mapping
from dataclasses import dataclass
from typing import Any

from zarn import _core


@dataclass(frozen=True)
class Snapshot:
    """Everything that later steps depend on. It can be pickled, and restored in another process by a run of the same
    model."""

    data: bytes
    time: float  #: of the step to come

    def __repr__(self) -> str:
        return f"Snapshot(t = {self.time:.12g} s, {len(self.data)} bytes)"


class Stepper(_core.Stepper):
    """A run between its steps: inputs are written by name, signals read by path, and each step gives the values of the
    same step of `Model.run`. Use it in a `with`, or call `close`."""

    def __init__(self, session: _core.Session, workspace: Mapping[str, Any]) -> None:
        super().__init__(session)
        self.workspace = workspace  #: the names that expressions saw

    def snapshot(self) -> Snapshot:
        """What `restore` comes back to. Samples of to_workspace blocks are not among it."""
        return Snapshot(self._save(), self.time)

    def restore(self, snapshot: Snapshot) -> None:
        self._restore(snapshot.data)

    def close(self) -> None:
        """Ends the run as its end time does: what was recorded for the workspace is in `workspace` then."""
        self._close(True)

    def __enter__(self) -> Stepper:
        return self

    def __exit__(self, kind: object, *_: object) -> None:
        self._close(kind is None)

    def __repr__(self) -> str:
        return "Stepper(closed)" if self.closed else f"Stepper({self.count} steps, next at t = {self.time:.12g} s)"

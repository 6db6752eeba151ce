"""Block diagrams in Python: build, run, look, sweep; and what a model leaves in the workspace.

    import zarn

    model = zarn.load("motor.json")
    run = model.run(tf=2.0, workspace={"kp": 4.0})
    run["mainsys.speed"]

The object `mainsys` mirrors the model: a `Result` for each subsystem, holding the subsystems inside it and, after a run,
one `TimeSeries` for each `to_workspace` block.
"""

from __future__ import annotations

TYPE_CHECKING = False  # as typing has it, which would take time to import
if TYPE_CHECKING:
    from typing import Any

    from zarn._build import Block as Block, Signal as Signal
    from zarn._errors import (
        Error as Error,
        FileError as FileError,
        Finding as Finding,
        Findings as Findings,
        ModelError as ModelError,
        UnknownSignalError as UnknownSignalError,
        UsageError as UsageError,
        WorkspaceError as WorkspaceError,
    )
    from zarn._models import Model as Model, load as load, loads as loads, subsystem as subsystem
    from zarn._run import Comparison as Comparison, Run as Run
    from zarn._series import Series as Series
    from zarn._variants import Sweep as Sweep, sweep as sweep
    from zarn._stepper import Snapshot as Snapshot, Stepper as Stepper
    from zarn._version import __version__ as __version__

# What is not needed in a workspace is imported when it is first used.
_PLACES = {
    "load": "_models",
    "loads": "_models",
    "subsystem": "_models",
    "Model": "_models",
    "Signal": "_build",
    "Block": "_build",
    "Run": "_run",
    "Comparison": "_run",
    "Series": "_series",
    "sweep": "_variants",
    "Sweep": "_variants",
    "Stepper": "_stepper",
    "Snapshot": "_stepper",
    "Finding": "_errors",
    "Findings": "_errors",
    "Error": "_errors",
    "UsageError": "_errors",
    "UnknownSignalError": "_errors",
    "ModelError": "_errors",
    "FileError": "_errors",
    "WorkspaceError": "_errors",
    "__version__": "_version",
}
__all__ = ["Result", "TimeSeries", *_PLACES]


def __getattr__(name: Any) -> Any:
    if name not in _PLACES:
        raise AttributeError(f"module 'zarn' has no attribute {name!r}")
    import importlib

    value = getattr(importlib.import_module(f"zarn.{_PLACES[name]}"), name)
    globals()[name] = value
    return value


def __dir__() -> Any:
    return sorted(set(globals()) | set(__all__))


class Result:
    """A bag of attributes."""

    def __init__(self, **members: Any) -> None:
        self.__dict__.update(members)

    def __repr__(self) -> Any:
        members = []
        for name, value in vars(self).items():
            shown = "Result(...)" if isinstance(value, Result) else _short(repr(value))
            members.append(f"{name}={shown}")
        return f"Result({', '.join(members)})"


class TimeSeries:
    """Samples over time: `xdata` holds the times in seconds, `ydata` as many values."""

    def __init__(self, path: Any = "") -> None:
        self.path = path
        self._xdata: Any = []
        self._ydata: Any = []

    @property
    def xdata(self) -> Any:
        self._xdata = _array(self._xdata)
        return self._xdata

    @xdata.setter
    def xdata(self, values: Any) -> None:
        self._xdata = values

    @property
    def ydata(self) -> Any:
        self._ydata = _array(self._ydata)
        return self._ydata

    @ydata.setter
    def ydata(self, values: Any) -> None:
        self._ydata = values

    def __len__(self) -> Any:
        return len(self._xdata)

    def __bool__(self) -> Any:
        return True

    def __repr__(self) -> Any:
        count = len(self)
        if count == 0:
            return f"TimeSeries({self.path!r}, no samples)"
        span = f"{count} sample{'s' if count > 1 else ''} from {self._xdata[0]:g} s to {self._xdata[-1]:g} s"
        last = f", last value {self._ydata[-1]:g}" if len(self._ydata) == count else ""
        return f"TimeSeries({self.path!r}, {span}{last})"

    def plot(self, axes: Any = None, **style: Any) -> Any:
        """Draws the series as the steps that it holds, into `axes` or into a figure of its own; answers the axes."""
        import matplotlib.pyplot

        if axes is None:
            axes = matplotlib.pyplot.figure().add_subplot()
            axes.set_xlabel("time [s]")
            axes.grid(True)
        style.setdefault("label", self.path)
        style.setdefault("drawstyle", "steps-post")
        axes.plot(self.xdata, self.ydata, **style)
        axes.legend()
        return axes


def _array(values: Any) -> Any:
    """Wraps memory that a run handed over: by numpy without a copy, else as an array of floats."""
    if not isinstance(values, memoryview):
        return values
    from zarn import _imports

    try:
        with _imports.own():
            import numpy
    except ImportError:
        import array

        return array.array("d", values.tobytes())
    return numpy.asarray(values)


def _short(text: Any) -> Any:
    text = " ".join(text.split())
    return text if len(text) <= 60 else text[:57] + "..."

"""Arrays with the time axis that they were recorded on."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

if TYPE_CHECKING:
    from numpy.typing import NDArray

    _Array = NDArray[Any]
else:
    _Array = np.ndarray


class Series(_Array):
    """The samples of a signal, of the port's own dtype: an array of numpy with the times of its steps.

    What is computed from it is a plain array where its length differs, so that a time axis is never a wrong one.
    """

    name: str  #: the block's path, with the port where it has several outputs
    path: str
    block_class: str
    port: int
    time: NDArray[np.float64]  #: in seconds, one for each sample

    @classmethod
    def of(
        cls, values: NDArray[Any], time: NDArray[np.float64], name: str, path: str = "", block_class: str = "", port: int = 0
    ) -> Series:
        series = values.view(cls)
        series.name, series.path, series.block_class, series.port, series.time = name, path, block_class, port, time
        return series

    def __array_finalize__(self, source: NDArray[Any] | None) -> None:
        for key, default in (("name", ""), ("path", ""), ("block_class", ""), ("port", 0), ("time", None)):
            setattr(self, key, getattr(source, key, default))

    def __array_wrap__(self, array: NDArray[Any], context: Any = None) -> Any:
        if array.ndim == 0:
            return array[()]
        wrapped = super().__array_wrap__(array, context)
        if wrapped.shape != self.shape:
            return np.asarray(wrapped)
        return wrapped

    def __getitem__(self, key: Any) -> Any:
        part = super().__getitem__(key)
        if isinstance(part, Series):
            if self.time is None or len(self.time) != len(self):
                return np.asarray(part)
            try:
                part.time = self.time[key]
            except (IndexError, TypeError):
                return np.asarray(part)
        return part

    def __reduce__(self) -> Any:
        return (
            Series.of,
            (np.asarray(self), np.asarray(self.time), self.name, self.path, self.block_class, self.port),
        )

    def to_pandas(self) -> Any:
        """The series as a pandas.Series, indexed by time."""
        import pandas

        return pandas.Series(np.asarray(self), index=pandas.Index(self.time, name="time"), name=self.name)

    def plot(self, axes: Any = None, **style: Any) -> Any:
        """Draws the steps into `axes` or into a figure of its own; answers the axes."""
        from zarn import _draw

        return _draw.curve(self, axes, style)

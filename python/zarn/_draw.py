"""Figures of results."""

from __future__ import annotations

from collections.abc import Mapping
from typing import TYPE_CHECKING, Any

import numpy as np

if TYPE_CHECKING:
    from zarn._series import Series


def curve(series: Series, axes: Any, style: dict[str, Any]) -> Any:
    if axes is None:
        import matplotlib.pyplot as plt

        axes = plt.figure().add_subplot()
        axes.set_xlabel("time [s]")
        axes.grid(True)
    style.setdefault("label", series.name)
    style.setdefault("drawstyle", "steps-post")
    axes.plot(series.time, np.asarray(series), **style)
    axes.legend()
    return axes


def stacked(series: Mapping[str, Series], title: str) -> Any:
    """A panel for each signal, above one time axis."""
    import matplotlib.pyplot as plt

    figure, panels = plt.subplots(
        len(series), 1, sharex=True, squeeze=False, figsize=(8, 1.2 + 1.6 * len(series)), layout="constrained"
    )
    for axes, one in zip(panels[:, 0], series.values()):
        axes.plot(one.time, np.asarray(one), drawstyle="steps-post")
        axes.set_ylabel(one.name, rotation=0, ha="right", va="center")
        axes.grid(True, alpha=0.4)
        if one.dtype == bool:
            axes.set_yticks([0, 1], ["false", "true"])
    panels[-1, 0].set_xlabel("time [s]")
    panels[0, 0].set_title(title)
    return figure


def sparkline(series: Series, width: int = 180, height: int = 28) -> str:
    """A small SVG of the whole series, made without a drawing library."""
    values = np.asarray(series, dtype=float)
    good = np.isfinite(values)
    if not good.any():
        return ""
    picked = np.unique(np.linspace(0, len(values) - 1, min(len(values), 4 * width)).astype(int))
    picked = picked[good[picked]]
    if not len(picked):
        return ""
    low, high = float(values[good].min()), float(values[good].max())
    span = high - low or 1.0
    x = (width - 4) * picked / max(len(values) - 1, 1) + 2
    y = (height - 4) * (1 - (values[picked] - low) / span) + 2
    path = "M" + "L".join(f"{a:.1f},{b:.1f}" for a, b in zip(x, y))
    return (
        f"<svg width='{width}' height='{height}' xmlns='http://www.w3.org/2000/svg'>"
        f"<path d='{path}' fill='none' stroke='#1f5fa8' stroke-width='1.2'/></svg>"
    )

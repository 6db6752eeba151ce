"""Draws recorded signals over time.

Signals of one subsystem share a panel where their values are of similar size; booleans have panels of their own, one
lane for each, as on a logic analyzer.
"""

from __future__ import annotations

import math
import warnings

TYPE_CHECKING = False  # as typing has it, which would take time to import
if TYPE_CHECKING:
    from typing import Any

WIDTH = 10.0  # of the figure, in inches
PANEL_HEIGHT = 2.6
LANE_HEIGHT = 0.38
HEAD_HEIGHT = 0.9  # title and time axis
MOST_LINES = 8  # of one panel
MOST_PANELS = 40  # beyond that, panels take more lines
MOST_SHOWN = 12  # entries of one legend
MOST_POINTS = 20_000  # of one line; beyond that, its extremes by stretches of time are drawn
LONGEST_LANE = 36  # characters of a lane's name
SIMILAR = 12.0  # largest ratio of sizes in one panel
LARGEST = 1e300  # beyond that, the distance between two values is no number

BOOL = "bool"  # the kind of signal that has lanes; others are "integer" and "float"


def require() -> None:
    """Raises RuntimeError where nothing can be drawn."""
    import importlib.util

    if importlib.util.find_spec("matplotlib") is None:
        raise RuntimeError("a plot needs matplotlib, which this Python does not have (package python3-matplotlib)")


def save(path: Any, form: Any, title: Any, signals: Any) -> None:
    """Draws `signals`, tuples of name, kind, times and values, into a file; values that are not a number are gaps."""
    require()
    import matplotlib
    from matplotlib.backends.backend_agg import FigureCanvasAgg
    from matplotlib.backends.backend_svg import FigureCanvasSVG
    from matplotlib.figure import Figure

    panels = group([Signal(*signal) for signal in signals])
    heights = [LANE_HEIGHT * len(panel) + 0.3 if panel[0].kind == BOOL else PANEL_HEIGHT for panel in panels]
    settings = {"svg.fonttype": "none", "svg.hashsalt": "zarn", "font.size": 9, "axes.linewidth": 0.8}
    with matplotlib.rc_context(settings), warnings.catch_warnings():
        warnings.simplefilter("ignore")  # a glyph that the font lacks is drawn as a box
        figure = Figure(figsize=(WIDTH, sum(heights) + HEAD_HEIGHT), layout="constrained")
        (FigureCanvasSVG if form == "svg" else FigureCanvasAgg)(figure)
        figure.suptitle(printable(title), fontsize=11, fontweight="bold").set_parse_math(False)
        if panels:
            rows = figure.subplots(len(panels), 1, sharex=True, squeeze=False, height_ratios=heights)[:, 0]
            for axes, panel in zip(rows, panels):
                draw_lanes(axes, panel) if panel[0].kind == BOOL else draw_lines(axes, panel)
            rows[-1].set_xlabel("time [s]")
        with open(path, "wb") as file:
            metadata = {"Date": None} if form == "svg" else {}
            figure.savefig(file, format=form, dpi=120, metadata=metadata)


class Signal:
    def __init__(self, name: Any, kind: Any, times: Any, values: Any) -> None:
        import numpy

        self.name = printable(name)
        self.kind = kind
        self.parent = name.rpartition(".")[0]
        self.times = numpy.asarray(times)
        self.values = numpy.array(values)
        self.values[~numpy.isfinite(self.values)] = math.nan
        self.values = numpy.clip(self.values, -LARGEST, LARGEST)
        finite = self.values[numpy.isfinite(self.values)]
        self.size = float(numpy.max(numpy.abs(finite))) if len(finite) else 0.0

    def points(self) -> Any:
        """Times and values to draw: all, or of a long recording the extremes of each stretch of time."""
        import numpy

        if len(self.times) <= MOST_POINTS:
            return self.times, self.values
        width = -(-len(self.times) // (MOST_POINTS // 4))
        chosen: Any = set()
        for start in range(0, len(self.values), width):
            part = self.values[start : start + width]
            known = numpy.flatnonzero(numpy.isfinite(part))
            gaps = numpy.flatnonzero(~numpy.isfinite(part))
            for places in known, gaps:
                if len(places):
                    chosen.update(start + places[[0, -1]])
            if len(known):
                chosen.update((start + known[part[known].argmin()], start + known[part[known].argmax()]))
        order = numpy.array(sorted(chosen))
        return self.times[order], self.values[order]


def group(signals: Any) -> Any:
    """Panels of signals, in the order in which their first signals come."""
    families: Any = {}
    for signal in signals:
        families.setdefault((signal.parent, signal.kind == BOOL), []).append(signal)
    most = max(MOST_LINES, math.ceil(len(signals) / MOST_PANELS))
    panels = []
    for (_, lanes), family in families.items():
        for similar in [family] if lanes else by_size(family):
            panels += evenly(similar, most)
    if len(panels) > MOST_PANELS:  # many small subsystems
        kinds = {lanes: [s for s in signals if (s.kind == BOOL) == lanes] for lanes in (False, True)}
        panels = [part for kind in kinds.values() for part in evenly(kind, most)]
    return panels


def evenly(items: Any, most: Any) -> Any:
    """Parts of nearly one length, none longer than `most`."""
    count = math.ceil(len(items) / most)
    return [items[len(items) * i // count : len(items) * (i + 1) // count] for i in range(count)]


def by_size(family: Any) -> Any:
    """Parts of a family whose largest values differ little; zeros go with anything."""
    parts: Any = []
    def size(signal: Any) -> Any:
        return signal.size

    for signal in sorted(family, key=size):
        if parts and (parts[-1][0].size == 0 or signal.size <= SIMILAR * parts[-1][0].size):
            parts[-1].append(signal)
            if parts[-1][0].size == 0 and signal.size:
                parts[-1].sort(key=lambda s: s.size == 0)  # the first of a part tells its size
        else:
            parts.append([signal])
    place = {id(signal): i for i, signal in enumerate(family)}
    for part in parts:
        part.sort(key=lambda s: place[id(s)])
    return sorted(parts, key=lambda part: place[id(part[0])])


def draw_lines(axes: Any, panel: Any) -> None:
    for signal in panel:
        times, values = signal.points()
        # a sample holds until the next one, and the last before a gap until the gap
        (line,) = axes.plot(times, values, linewidth=1.3, label="\u200b" + signal.name, drawstyle="steps-post")
        mark_single(axes, times, values, line.get_color())
    axes.grid(True, linewidth=0.5, alpha=0.5)
    axes.margins(x=0.01)
    handles = axes.get_legend_handles_labels()[0][:MOST_SHOWN]
    more = [f"and {len(panel) - MOST_SHOWN} more"] if len(panel) > MOST_SHOWN else []
    legend = axes.legend(handles=handles, title=more[0] if more else None, loc="best", fontsize=8, framealpha=0.8)
    for text in legend.get_texts():
        text.set_parse_math(False)
        text.set_text(text.get_text().lstrip("\u200b"))


def mark_single(axes: Any, times: Any, values: Any, color: Any) -> None:
    """Samples with a gap on either side have no line: they are dots."""
    import numpy

    known = numpy.isfinite(values)
    before = numpy.concatenate(([False], known[:-1]))
    after = numpy.concatenate((known[1:], [False]))
    alone = known & ~before & ~after
    if alone.any():
        axes.plot(times[alone], values[alone], ".", color=color, markersize=4)


def draw_lanes(axes: Any, panel: Any) -> None:
    names = []
    for lane, signal in enumerate(reversed(panel)):
        times, values = signal.points()
        (line,) = axes.plot(times, values * 0.7 + lane, drawstyle="steps-post", linewidth=1.2)
        axes.fill_between(times, lane, values * 0.7 + lane, step="post", alpha=0.2, color=line.get_color(), linewidth=0)
        names.append(signal.name if len(signal.name) <= LONGEST_LANE else "\u2026" + signal.name[1 - LONGEST_LANE :])
    axes.set_ylim(-0.15, len(panel) - 0.15)
    axes.set_yticks([lane + 0.35 for lane in range(len(names))])
    for label in axes.set_yticklabels(names, fontsize=8):
        label.set_parse_math(False)
    axes.tick_params(axis="y", length=0)
    axes.grid(True, axis="x", linewidth=0.5, alpha=0.5)
    axes.margins(x=0.01)


def printable(text: Any) -> Any:
    return "".join(c if c.isprintable() else "\ufffd" for c in text)

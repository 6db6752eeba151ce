"""A search for the least value of a measure: scipy asks for points, the command runs them side by side."""

import queue
import threading
from typing import Any


class Tuner:
    """Runs a method of scipy in a thread of its own, which waits while its points are run."""

    def __init__(self, method: str, bounds: list[tuple[float, float]], start: list[float], seed: int, most: int) -> None:
        self.asked: queue.Queue[list[list[float]] | None] = queue.Queue(1)
        self.told: queue.Queue[list[float]] = queue.Queue(1)
        self.points: list[list[float]] | None = []
        self.error: BaseException | None = None
        self.work = {"de": self.evolve, "nelder-mead": self.descend}[method]
        self.bounds, self.start, self.seed, self.most = bounds, start, seed, most
        threading.Thread(target=self.run, daemon=True).start()

    def run(self) -> None:
        try:
            self.work()
        except BaseException as error:  # noqa: BLE001 - told where the points are asked for
            self.error = error
        self.asked.put(None)

    def values_of(self, points: list[list[float]]) -> list[float]:
        self.asked.put(points)
        return self.told.get()

    def evolve(self) -> None:
        import numpy as np
        from scipy.optimize import differential_evolution

        size = 64 // len(self.bounds) + 1
        generations = max(self.most // (size * len(self.bounds)) - 1, 1)
        differential_evolution(
            lambda x: np.array(self.values_of(np.atleast_2d(x.T).tolist())),
            self.bounds,
            x0=self.start,
            seed=self.seed,
            popsize=size,
            maxiter=generations,
            tol=1e-5,
            polish=False,
            vectorized=True,
            updating="deferred",
        )

    def descend(self) -> None:
        from scipy.optimize import minimize

        minimize(
            lambda x: self.values_of([[float(value) for value in x]])[0],
            self.start,
            method="Nelder-Mead",
            bounds=self.bounds,
            options={"maxfev": self.most},
        )

    def more(self) -> bool:
        """Waits for the next points; false when the search is over."""
        self.points = self.asked.get()
        if self.error is not None:
            raise self.error
        return self.points is not None

    def tell(self, values: list[float | None]) -> None:
        """The measure of each point, none where the run has no result."""
        self.told.put([float("inf") if value is None else value for value in values])


tuner: Any = None


def start(method: str, bounds: list[tuple[float, float]], at: list[float], seed: int, most: int) -> bool:
    import scipy.optimize  # noqa: F401 - what is missing shows before the first run

    global tuner
    tuner = Tuner(method, bounds, at, seed, most)
    return True


def more() -> bool:
    return bool(tuner.more())


def points() -> list[list[float]]:
    return list(tuner.points)


def tell(values: list[float | None]) -> None:
    tuner.tell(values)


def plot(way: list[float], out: str, form: str, label: str) -> None:
    """Draws the best value so far over the runs."""
    from matplotlib.figure import Figure

    figure = Figure(figsize=(9, 5.5), layout="constrained")
    axes = figure.subplots()
    axes.step(range(1, len(way) + 1), way, where="post")
    axes.set_xlabel("runs")
    axes.set_ylabel(label)
    figure.savefig(out, format=form)

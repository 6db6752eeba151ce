"""How far a run is, for people who wait."""

from __future__ import annotations

import sys
import time
from collections.abc import Callable
from typing import Any, Optional, Union


class Progress:
    """A bar by tqdm where that is present, on a terminal or when asked for; nothing in the first second."""

    def __init__(self, wanted: Union[None, bool, Callable[[float], Any]], ti: float, tf: float) -> None:
        self._ti, self._tf = ti, tf
        self._begin = time.monotonic()
        self._bar: Any = None
        self.callback: Optional[Callable[[float], Any]] = None
        if callable(wanted):
            self.callback = wanted
        elif wanted or (wanted is None and sys.stderr is not None and sys.stderr.isatty()):
            self.callback = self._tell

    def _tell(self, t: float) -> None:
        if self._bar is None:
            if time.monotonic() - self._begin < 1.0:
                return
            try:
                from tqdm.auto import tqdm
            except ImportError:
                self._bar = False
                return
            self._bar = tqdm(total=self._tf - self._ti, unit="s", bar_format="{l_bar}{bar}| {n:.4g}/{total:.4g} s [{remaining}]")
        if self._bar:
            self._bar.n = t - self._ti
            self._bar.refresh()

    def __enter__(self) -> Progress:
        return self

    def __exit__(self, *_: object) -> None:
        if self._bar:
            self._bar.close()

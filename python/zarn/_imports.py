"""Imports of the package's own."""

from __future__ import annotations

import contextlib
import os
import sys

TYPE_CHECKING = False  # as typing has it, which would take time to import
if TYPE_CHECKING:
    from collections.abc import Iterator
    from typing import Any

user_places: set[str] = set()  # entries of sys.path that are there for the user's code alone


@contextlib.contextmanager
def own() -> Iterator[None]:
    """Within it, modules and their settings come from where this Python is installed: no file that lies beside a script
    or in the current folder takes the place of a module, nor does a `matplotlibrc` there."""
    places = list(sys.path)
    try:
        folder = os.getcwd()
        os.chdir(os.path.dirname(os.path.abspath(__file__)))
    except OSError:
        folder = None
    sys.path[:] = [place for place in places if place and place not in user_places]
    try:
        yield
    finally:
        sys.path[:] = places
        if folder is not None:
            os.chdir(folder)

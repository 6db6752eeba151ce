"""Imports of the package's own."""

import contextlib
import os
import sys

user_places = set()  # entries of sys.path that are there for the user's code alone


@contextlib.contextmanager
def own():
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

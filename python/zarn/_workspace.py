"""From what a user gives as a workspace to the names that expressions see."""

from __future__ import annotations

import builtins
import math
import os
import sys
import types
from collections.abc import Mapping
from typing import Any, Union

import zarn
from zarn._bridge import Workspace
from zarn._errors import FileError, UsageError, WorkspaceError

WorkspaceLike = Union[None, Mapping[str, Any], types.ModuleType, types.SimpleNamespace, str, "os.PathLike[str]"]


def make(given: WorkspaceLike) -> Workspace:
    """A workspace of its own for one run: what `given` holds now. A file is executed in it."""
    names: dict[str, Any] = {"__builtins__": builtins, "math": math, "zarn": zarn}
    if given is None:
        pass
    elif isinstance(given, Mapping):
        wrong = [key for key in given if not isinstance(key, str)]
        if wrong:
            raise UsageError(f"workspace: {wrong[0]!r} is no name")
        names.update(given)
    elif isinstance(given, (str, os.PathLike)):
        _execute(os.fspath(given), names)
    elif hasattr(given, "__dict__"):
        names.update({key: value for key, value in vars(given).items() if not key.startswith("__")})
    else:
        raise UsageError(f"workspace: expected a mapping, a module or a file, not {type(given).__name__}")
    return Workspace(names)


def _execute(path: str, names: dict[str, Any]) -> None:
    try:
        with open(path, "rb") as file:
            source = file.read()
    except OSError as error:
        raise FileError(f"{path}: {error.strerror}") from None
    folder = os.path.dirname(os.path.abspath(path))
    names.update({"__name__": "__main__", "__file__": path})
    sys.path.insert(0, folder)
    try:
        exec(compile(source, path, "exec"), names)
    except SystemExit as leaving:
        if leaving.code not in (None, 0):
            raise WorkspaceError(f"{path}: ended by SystemExit: {leaving.code}") from leaving
    except Exception as error:
        raise WorkspaceError(f"{path}: {type(error).__name__}: {error}") from error
    finally:
        sys.path.remove(folder)

"""What the command asks of the workspace.

Every function answers and none raises: a pair of None and a text tells what went wrong, on one line.
"""

from __future__ import annotations

import array
import functools
import math
import numbers
import sys
import traceback

import __main__
import zarn
from zarn import _imports

TYPE_CHECKING = False  # as typing has it, which would take time to import
if TYPE_CHECKING:
    from typing import Any

# tags of values, as the library numbers its port types
BOOL, INT32, INT64, UINT64, FLT64, TEXT = 1, 7, 9, 10, 12, 14
# kind and size of a numpy scalar
NUMPY_TAGS = {
    ("b", 1): 1,
    ("i", 1): 3,
    ("u", 1): 4,
    ("i", 2): 5,
    ("u", 2): 6,
    ("i", 4): 7,
    ("u", 4): 8,
    ("i", 8): 9,
    ("u", 8): 10,
    ("f", 4): 11,
    ("f", 8): 12,
}


def prepare(arguments: Any, output_to_errors: Any) -> None:
    __main__.math = math
    __main__.zarn = zarn
    sys.argv = list(arguments)
    if output_to_errors:
        sys.stdout = sys.stderr
    else:
        sys.stdout.reconfigure(line_buffering=True)  # type: ignore[attr-defined]


# ---- names


class Scope(dict):  # type: ignore[type-arg]  # a builtin, for eval
    """Names of an evaluation: what it binds itself, then `places` in order, then the builtins."""

    def __init__(self, places: Any) -> None:
        super().__init__()
        self.places = places

    def __missing__(self, name: Any) -> Any:
        for place in self.places:
            if name in place:
                return place[name]
        raise KeyError(name)


def members_of(value: Any) -> Any:
    return getattr(value, "__dict__", {})


# ---- values


def numpy_type(*names: Any) -> Any:
    """Types of numpy, if anybody has imported it: else there can be no value of them."""
    module = sys.modules.get("numpy")
    return tuple(getattr(module, name) for name in names if hasattr(module, name))


def typed(value: Any) -> Any:
    """Tag and plain value."""
    if isinstance(value, numpy_type("generic")) and not isinstance(value, str):
        tag = NUMPY_TAGS.get((value.dtype.kind, value.dtype.itemsize))
        if tag is None:
            raise TypeError(f"a value of type {value.dtype} is neither a number of a port type nor a text")
        return tag, value.item()
    if isinstance(value, bool):
        return BOOL, value
    if isinstance(value, int):
        for tag, low, high in (INT32, -(2**31), 2**31), (INT64, -(2**63), 2**63), (UINT64, 0, 2**64):
            if low <= value < high:
                return tag, int(value)
        raise OverflowError("an integer beyond 64 bits")
    if isinstance(value, float):
        return FLT64, float(value)
    if isinstance(value, str):
        if "\0" in value:
            raise ValueError("a text with a zero character")
        value.encode()
        return TEXT, str(value)
    raise TypeError(f"a value of type {type(value).__name__} is neither a number nor a text")


def is_list(value: Any) -> Any:
    if isinstance(value, (str, bytes, bytearray, dict)):
        return False
    return hasattr(value, "__len__") and hasattr(value, "__getitem__") and getattr(value, "shape", None) != ()


def as_number(value: Any) -> Any:
    if isinstance(value, (numbers.Real, *numpy_type("bool_"))):
        return float(value)
    raise TypeError(f"a value of type {type(value).__name__} is not a number")


def as_doubles(values: Any) -> Any:
    if not is_list(values):
        raise TypeError(f"a value of type {type(values).__name__} is not a list of numbers")
    if isinstance(values, numpy_type("ndarray")):
        if values.ndim != 1 or values.dtype.kind not in "biuf":
            raise TypeError(f"an array of {values.ndim} dimensions of {values.dtype} is not a list of numbers")
        return array.array("d", values.astype("float64").tobytes())
    return array.array("d", [as_number(value) for value in values])


def series_of(value: Any) -> Any:
    if hasattr(value, "xdata") and hasattr(value, "ydata"):
        times, values = as_doubles(value.xdata), as_doubles(value.ydata)
    elif is_list(value) and len(value) == 2:
        times, values = as_doubles(value[0]), as_doubles(value[1])
    else:
        raise TypeError(f"a value of type {type(value).__name__} is neither a series nor a pair of times and values")
    if len(times) != len(values):
        raise ValueError(f"{len(times)} times but {len(values)} values")
    for i, time in enumerate(times):
        if math.isnan(time):
            raise ValueError(f"time {i} is not a number")
        if i and time < times[i - 1]:
            raise ValueError(f"time {i} falls from {times[i - 1]!r} to {time!r}")
    return times, values


def elements_of(values: Any) -> Any:
    elements = []
    for value in values:
        tag, plain = typed(value)
        if tag == TEXT:
            raise TypeError("a text is not a number")
        elements.append((tag, plain))
    return elements


def array_of(value: Any) -> Any:
    """Rows, columns and the elements row by row."""
    if not is_list(value):
        raise TypeError(f"a value of type {type(value).__name__} is not a list of numbers")
    if len(value) == 0:
        raise ValueError("an empty list")
    nested = [is_list(row) for row in value]
    if not any(nested):
        return len(value), 1, elements_of(value)
    if not all(nested) or any(len(row) != len(value[0]) for row in value):
        raise ValueError("rows of unequal length")
    if len(value[0]) == 0:
        raise ValueError("an empty row")
    return len(value), len(value[0]), [element for row in value for element in elements_of(row)]


# ---- the operations


def answering(operation: Any) -> Any:
    @functools.wraps(operation)
    def answer(*arguments: Any) -> Any:
        try:
            return operation(*arguments)
        except BaseException as error:  # an expression can also raise SystemExit
            return None, said(error)

    return answer


def said(error: Any) -> Any:
    name = type(error).__name__
    text = error.msg if isinstance(error, SyntaxError) else error
    try:
        text = " ".join(str(text).split())
    except Exception:
        text = ""
    return f"{name}: {text}" if text else name


class Workspace:
    """The operations on one set of names."""

    def __init__(self, names: Any) -> None:
        self.names = names

    def scope_of(self, path: Any) -> Any:
        """The enclosing objects of a dotted path from the innermost outwards, then the workspace."""
        places = [self.names]
        place = self.names
        for name in path.split(".")[:-1]:
            if name not in place:
                break
            place = members_of(place[name])
            places.insert(0, place)
        return Scope(places)

    def find(self, path: Any) -> Any:
        """The object under a dotted name of the workspace."""
        first, *rest = path.split(".")
        if first not in self.names:
            raise NameError(f"name {first!r} is not defined")
        value = self.names[first]
        for name in rest:
            value = getattr(value, name)
        return value

    def bind(self, path: Any, value: Any) -> None:
        head, _, last = path.rpartition(".")
        if head:
            setattr(self.find(head), last, value)
        else:
            self.names[last] = value

    @answering
    def evaluate(self, scope: Any, text: Any) -> Any:
        return typed(eval(text.strip(), self.scope_of(scope)))

    @answering
    def evaluate_array(self, scope: Any, text: Any) -> Any:
        return array_of(eval(text.strip(), self.scope_of(scope)))

    @answering
    def find_series(self, text: Any) -> Any:
        return series_of(eval(text.strip(), self.scope_of("")))

    @answering
    def assign(self, name: Any, text: Any) -> Any:
        scope = self.scope_of("")
        scope.places.insert(0, {"zarn": zarn})  # whatever the workspace has made of the name
        self.bind(name, eval(text, scope))
        return True, ""

    @answering
    def set_attribute(self, name: Any, key: Any, value: Any) -> Any:
        setattr(self.find(name), key, value)
        return True, ""

    @answering
    def set_array(self, name: Any, view: Any) -> Any:
        head, _, _ = name.rpartition(".")
        wrapped_later = head and isinstance(self.find(head), zarn.TimeSeries)
        self.bind(name, view if wrapped_later else zarn._array(view))
        return True, ""


# the workspace of the command
main = Workspace(vars(__main__))
evaluate = main.evaluate
evaluate_array = main.evaluate_array
find_series = main.find_series
assign = main.assign
set_attribute = main.set_attribute
set_array = main.set_array


# ---- the user's own code


def run(source: Any, name: Any, hidden: Any) -> Any:
    """Runs a source text in the workspace. True if all is well, False after its traceback, None after Ctrl-C."""
    try:
        exec(compile(source, name, "exec"), vars(__main__))
    except KeyboardInterrupt:
        return None
    except SystemExit as leaving:
        if leaving.code in (None, 0):
            return True
        print(f"zarn: {name}: ended by SystemExit: {leaving.code}", file=sys.stderr)
        return False
    except BaseException as error:
        frames = error.__traceback__
        for _ in range(hidden):
            frames = frames and frames.tb_next
        traceback.print_exception(type(error), error, frames)
        return False
    finally:
        flush()
    return True


def run_file(path: Any) -> Any:
    import os

    with open(path, "rb") as file:
        source = file.read()
    folder = os.path.dirname(os.path.abspath(path))
    sys.path.insert(0, folder)
    _imports.user_places.add(folder)
    __main__.__file__ = path
    try:
        return run(source, path, 1)
    finally:
        vars(__main__).pop("__file__", None)


def run_code(text: Any) -> Any:
    if "" not in sys.path:
        sys.path.insert(0, "")
    return run(text, "<-e>", 1)


def interact() -> None:
    with _imports.own():
        import code
    try:
        with _imports.own():
            import readline
            import rlcompleter
        readline.set_completer(rlcompleter.Completer(vars(__main__)).complete)
        readline.parse_and_bind("tab: complete")
    except ImportError:
        pass
    try:
        code.interact("The workspace after the run; 'mainsys' holds the results. Ctrl-D leaves.", None, vars(__main__), "")
    except SystemExit:
        pass
    finally:
        flush()


def flush() -> None:
    for stream in (sys.stdout, sys.stderr):
        try:
            stream.flush()
        except (OSError, ValueError):
            pass


# ---- files


def require_plot() -> None:
    with _imports.own():
        from zarn import _plot

        _plot.require()


def save_plot(path: Any, form: Any, title: Any, signals: Any) -> None:
    with _imports.own():
        from zarn import _plot

        _plot.save(path, form, title, signals)

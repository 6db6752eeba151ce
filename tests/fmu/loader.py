"""Loads the library of an FMU and calls it as an importer does."""

from __future__ import annotations

import ctypes
import pathlib
import platform
import shutil
import tempfile
import weakref
import zipfile
from ctypes import POINTER, byref, c_bool, c_char, c_char_p, c_double, c_float, c_int, c_size_t, c_uint32, c_void_p
from typing import Any

from description import Description, Variable, parse

OK, WARNING, DISCARD, ERROR = range(4)

VALUE_TYPES: dict[int, dict[str, Any]] = {
    2: {"Real": c_double, "Integer": c_int, "Boolean": c_int},
    3: {
        "Float32": c_float, "Float64": c_double, "Int8": ctypes.c_int8, "UInt8": ctypes.c_uint8,
        "Int16": ctypes.c_int16, "UInt16": ctypes.c_uint16, "Int32": ctypes.c_int32, "UInt32": c_uint32,
        "Int64": ctypes.c_int64, "UInt64": ctypes.c_uint64, "Boolean": c_bool,
    },
}  # fmt: skip

LOGGER_2 = ctypes.CFUNCTYPE(None, c_void_p, c_char_p, c_int, c_char_p, c_char_p, c_char_p)
LOGGER_3 = ctypes.CFUNCTYPE(None, c_void_p, c_int, c_char_p, c_char_p)


class Callbacks2(ctypes.Structure):
    _fields_ = [
        ("logger", LOGGER_2),
        ("allocateMemory", c_void_p),
        ("freeMemory", c_void_p),
        ("stepFinished", c_void_p),
        ("componentEnvironment", c_void_p),
    ]


class Refused(Exception):
    """A call has not answered OK."""

    def __init__(self, call: str, status: int, text: str) -> None:
        super().__init__(f"{call}: status {status}: {text}")
        self.status = status
        self.text = text


def own_library(names: list[str], version: int) -> str | None:
    """The path in the archive of the library for this machine."""
    machine = platform.machine()
    folders = [f"{machine}-linux"] if version == 3 else ["linux64" if machine == "x86_64" else f"{machine}-linux"]
    return next((n for n in names if n.startswith("binaries/") and n.split("/")[1] in folders), None)


class Library:
    """The functions of an FMU's library, or of another one that was made of its sources."""

    def __init__(self, fmu: pathlib.Path, library: pathlib.Path | None = None) -> None:
        folder = tempfile.mkdtemp()
        weakref.finalize(self, shutil.rmtree, folder, True)
        with zipfile.ZipFile(fmu) as archive:
            self.description: Description = parse(archive.read("modelDescription.xml"))
            if library is None:
                name = own_library(archive.namelist(), self.description.version)
                if name is None:
                    raise FileNotFoundError("no library for this machine")
                library = pathlib.Path(archive.extract(name, folder))
        self.path = library
        self.version = self.description.version
        self._dll = ctypes.CDLL(str(library))
        self.prefix = f"fmi{self.version}"

    def function(self, name: str, result: Any = c_int) -> Any:
        found = getattr(self._dll, self.prefix + name)
        found.restype = result
        return found

    def instantiate(self, name: str = "one", token: str | None = None, **options: Any) -> Instance:
        return Instance(self, name, self.description.token if token is None else token, **options)


class Instance:
    """One instance. Each call raises `Refused` unless it answers OK; `log` has what it told, (status, text)."""

    def __init__(self, library: Library, name: str, token: str, logging: bool = False, **flags: Any) -> None:
        self.library, self.version = library, library.version
        self.description = library.description
        self.log: list[tuple[int, str]] = []
        self.point = 0.0  # communication point
        text, guid = name.encode(), token.encode()
        if self.version == 2:
            self._logger = LOGGER_2(lambda _e, _n, status, _c, _f, said: self._note(status, said))
            self._callbacks = Callbacks2(self._logger, None, None, None, None)
            make = library.function("Instantiate", c_void_p)
            kind = flags.get("kind", 1)
            self.handle = make(text, c_int(kind), guid, None, byref(self._callbacks), c_int(0), c_int(logging))
        else:
            self._logger3 = LOGGER_3(lambda _e, status, _c, said: self._note(status, said))
            make = library.function("InstantiateCoSimulation", c_void_p)
            self.handle = make(
                text, guid, None, c_bool(False), c_bool(logging), c_bool(flags.get("events", False)), c_bool(False),
                None, c_size_t(flags.get("intermediate", 0)), None, self._logger3, None,
            )  # fmt: skip
        if not self.handle:
            raise Refused("instantiate", ERROR, self.log[-1][1] if self.log else "")

    def _note(self, status: int, text: bytes | None) -> None:
        self.log.append((status, (text or b"").decode()))

    def call(self, name: str, *arguments: Any) -> None:
        said = len(self.log)
        status = self.library.function(name)(c_void_p(self.handle), *arguments)
        if status != OK:
            text = self.log[-1][1] if len(self.log) > said else ""
            raise Refused(name, status, text)

    def free(self) -> None:
        if self.handle:
            self.library.function("FreeInstance", None)(c_void_p(self.handle))
        self.handle = None

    def setup(self, start: float = 0.0, stop: float | None = None) -> None:
        """Tells the experiment and enters Initialization Mode."""
        self.point = start
        known = stop is not None
        if self.version == 2:
            self.call("SetupExperiment", c_int(0), c_double(0), c_double(start), c_int(known), c_double(stop or 0.0))
            self.call("EnterInitializationMode")
        else:
            self.call(
                "EnterInitializationMode", c_bool(False), c_double(0), c_double(start), c_bool(known),
                c_double(stop or 0.0),
            )  # fmt: skip

    def begin(self, start: float | None = None, stop: float | None = None) -> None:
        """Initializes with what is set."""
        self.setup(self.description.experiment["startTime"] if start is None else start, stop)
        self.call("ExitInitializationMode")

    def step(self, size: float, point: float | None = None) -> None:
        at = self.point if point is None else point
        if self.version == 2:
            self.call("DoStep", c_double(at), c_double(size), c_int(1))
        else:
            flags = [c_bool(True) for _ in range(3)]
            last = c_double(-1)
            self.call("DoStep", c_double(at), c_double(size), c_bool(True), *map(byref, flags), byref(last))
            assert not any(f.value for f in flags), "a step that returns early, or ends the simulation"
            assert last.value == at + size, f"last successful time {last.value} and not {at + size}"
        self.point = at + size

    def get(self, variable: Variable) -> Any:
        """Its value, a list where it has several."""
        kind = VALUE_TYPES[self.version][variable.type]
        values = (kind * variable.count)()
        references = (c_uint32 * 1)(variable.reference)
        count = [c_size_t(variable.count)] if self.version == 3 else []
        self.call(f"Get{variable.type}", references, c_size_t(1), values, *count)
        result = [bool(v) if variable.type == "Boolean" else v for v in values]
        return result[0] if variable.count == 1 else result

    def set(self, variable: Variable, value: Any) -> None:
        kind = VALUE_TYPES[self.version][variable.type]
        given = value if isinstance(value, (list, tuple)) else [value]
        values = (kind * len(given))(*given)
        references = (c_uint32 * 1)(variable.reference)
        count = [c_size_t(len(given))] if self.version == 3 else []
        self.call(f"Set{variable.type}", references, c_size_t(1), values, *count)

    def read(self, causality: str = "output") -> list[Any]:
        return [self.get(v) for v in self.description.of(causality)]

    # ---- saved states

    @property
    def _state(self) -> str:
        return "FMUstate" if self.version == 2 else "FMUState"

    def get_state(self) -> c_void_p:
        state = c_void_p()
        self.call(f"Get{self._state}", byref(state))
        return state

    def set_state(self, state: c_void_p) -> None:
        self.call(f"Set{self._state}", state)

    def free_state(self, state: c_void_p) -> None:
        self.call(f"Free{self._state}", byref(state))
        assert not state, "a state that was freed is not null"

    def serialize(self, state: c_void_p) -> bytes:
        size = c_size_t()
        self.call(f"Serialized{self._state}Size", state, byref(size))
        buffer = (c_char * size.value)()
        self.call(f"Serialize{self._state}", state, buffer, size)
        return bytes(buffer)

    def deserialize(self, data: bytes) -> c_void_p:
        state = c_void_p()
        buffer = (c_char * len(data)).from_buffer_copy(data)
        name = "DeSerialize" if self.version == 2 else "Deserialize"
        self.call(f"{name}{self._state}", buffer, c_size_t(len(data)), byref(state))
        return state


__all__ = ["DISCARD", "ERROR", "OK", "WARNING", "Instance", "Library", "POINTER", "Refused", "own_library"]

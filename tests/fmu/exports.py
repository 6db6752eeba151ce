"""Exports models by the command, and compares what their FMUs compute with runs."""

from __future__ import annotations

import ctypes
import json
import os
import pathlib
import subprocess
import sys
from typing import Any

from behaviour import bits
from description import Variable
from loader import Instance, Library

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "host" / "command"))
ZARN = os.environ.get("ZARN", str(ROOT / "build" / "release" / "zarn"))
EXAMPLES = sorted(p for p in (ROOT / "examples").glob("*/*.json") if (p.parent / "workspace.py").exists())


def zarn(*arguments: object, status: int = 0) -> subprocess.CompletedProcess[str]:
    answer = subprocess.run([ZARN, *map(str, arguments)], capture_output=True, text=True, check=False)
    assert answer.returncode == status, f"{arguments}: {answer.returncode}\n{answer.stdout}{answer.stderr}"
    return answer


def workspace(model: pathlib.Path) -> list[object]:
    script = model.parent / "workspace.py"
    return ["-w", script] if script.exists() else []


def export(model: pathlib.Path, fmu: pathlib.Path, version: int, *more: object) -> pathlib.Path:
    zarn("export", "fmu", model, fmu, "--fmi", version, *workspace(model), *more)
    return fmu


def run(model: pathlib.Path, *more: object) -> tuple[list[float], dict[str, tuple[dict[float, Any], str]]]:
    """The times of a run, and by signal its values by time and its type."""
    answer = json.loads(zarn("run", model, "--probe-all", "--json", *workspace(model), *more).stdout)
    shown = json.loads(zarn("run", model, "--json", *workspace(model), *more).stdout)
    times: set[float] = set()
    signals: dict[str, tuple[dict[float, Any], str]] = {}
    for found in answer, shown:
        for key, series in found["series"].items():
            name = found["signals"][key]["name"]
            times.update(series["t"])
            values = (dict(zip(series["t"], series["v"])), series["type"])
            # blocks of one path are told apart by their classes or ids
            path, _, number = name.split(".", 1)[1].partition("#")
            for known in [f"{path}_{found['signals'][key]['class']}", f"{path}_{number}"] if number else [path]:
                signals[known] = values
    return sorted(times), signals


def exact(value: Any, kind: str) -> Any:
    """A value of a run as its type has it."""
    if kind in ("flt32", "flt64"):
        number = float(value)  # "nan", "inf" too
        return ctypes.c_float(number).value if kind == "flt32" else number
    return bool(value) if kind == "bool" else int(value)


def differences(model: pathlib.Path, library: Library, stride: int = 1, *more: object) -> list[str]:
    """Where an FMU's values differ from those of a run, at the points that steps of `stride` steps of the model reach.
    Every output, and every local variable by the name of a signal, is compared; a signal that is not sampled holds."""
    times, signals = run(model, *more)
    variables = [v for v in library.description.variables if v.causality in ("output", "local")]
    found: list[str] = [f"{v.name}: no signal of the run" for v in variables if v.name not in signals]
    compared = [(v, *signals[v.name]) for v in variables if v.name in signals]
    size = library.description.experiment["stepSize"]
    one = library.instantiate()
    one.begin()
    held: dict[str, Any] = {}
    for i, time in enumerate(times):
        for variable, values, kind in compared:
            if time in values:
                held[variable.name] = exact(values[time], kind)
        if i % stride:
            continue
        if i:
            one.step(stride * size)
        found += look(one, time, [(v, held.get(v.name)) for v, _, _ in compared])
        if len(found) > 5:
            break
    one.free()
    return found


def look(one: Instance, time: float, wanted: list[tuple[Variable, Any]]) -> list[str]:
    found = []
    for variable, value in wanted:
        seen = one.get(variable)
        if value is not None and bits(seen) != bits(value):
            found.append(f"{variable.name} at t = {time}: {seen!r}, and {value!r} in the run")
    return found

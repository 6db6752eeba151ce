"""What must hold for the library of an FMU: its calls are made, in the orders that are allowed and in those that are
not. Each check answers with problems, one sentence each."""

from __future__ import annotations

import contextlib
import ctypes
import math
import pathlib
import struct
import subprocess
import sys
from collections.abc import Callable, Iterator
from ctypes import c_bool, c_double, c_int, c_size_t, c_uint32, c_void_p
from functools import partial
from typing import Any

from description import Description, Variable
from loader import ERROR, Instance, Library, Refused


def bits(value: Any) -> Any:
    """Equal for values that are equal as bits; any not-a-number equals any other."""
    if isinstance(value, list):
        return [bits(v) for v in value]
    if isinstance(value, float):
        return "nan" if math.isnan(value) else struct.pack("<d", value)
    return value


@contextlib.contextmanager
def instance(library: Library, **options: Any) -> Iterator[Instance]:
    made = library.instantiate(**options)
    try:
        yield made
    finally:
        made.free()


class Checks:
    """All checks of one library."""

    def __init__(self, library: Library) -> None:
        self.library = library
        self.description: Description = library.description
        self.version = library.version
        self.problems: list[str] = []
        flags = self.description.co_simulation
        self.size = float(flags.get("fixedInternalStepSize", self.description.experiment.get("stepSize", 1.0)))
        self.start = self.description.experiment.get("startTime", 0.0)

    def all(self) -> list[str]:
        for check in (
            self.check_instances, self.check_starts, self.check_order, self.check_steps, self.check_values,
            self.check_feedthrough, self.check_interleaved, self.check_states, self.check_serialized, self.check_reset,
            self.check_lacking,
        ):  # fmt: skip
            try:
                check()
            except Refused as error:
                self.problems.append(f"{check.__name__}: {error}")
        return self.problems

    def refuse(self, what: str, one: Instance, call: Callable[[], Any], wanted: str = "") -> None:
        """The call must be refused with a text, and leave all values as they are."""
        before = self.look(one)
        try:
            call()
            self.problems.append(f"{what}: is taken")
        except Refused as error:
            if error.status != ERROR:
                self.problems.append(f"{what}: status {error.status}")
            if not error.text or wanted not in error.text:
                self.problems.append(f"{what}: tells {error.text!r}")
        if bits(before) != bits(self.look(one)):
            self.problems.append(f"{what}: has changed values")

    def look(self, one: Instance) -> list[Any]:
        """All values, or nothing where they cannot be read now."""
        try:
            return [one.get(v) for v in self.description.variables]
        except Refused:
            return []

    # ---- instances

    def check_instances(self) -> None:
        """A wrong token, no name, another kind of instance, features that are not there: no instance, but a text."""
        wrong: list[tuple[str, dict[str, Any]]] = [("a wrong token", {"token": "{0}"}), ("no name", {"name": ""})]
        if self.version == 2:
            wrong.append(("model exchange", {"kind": 0}))
        else:
            wrong += [("event mode", {"events": True}), ("intermediate variables", {"intermediate": 1})]
        for what, options in wrong:
            try:
                self.library.instantiate(**options).free()
                self.problems.append(f"{what}: is taken")
            except Refused as error:
                if not error.text:
                    self.problems.append(f"{what}: is refused without a word")
        text = self.library.function("GetVersion", ctypes.c_char_p)().decode()
        if not text.startswith(f"{self.version}."):
            self.problems.append(f"GetVersion is {text}")

    def check_starts(self) -> None:
        """In Initialization Mode inputs and parameters have their start values."""
        with instance(self.library) as one:
            one.setup(self.start)
            for variable in self.description.variables:
                text = variable.attributes.get("start")
                if text is None:
                    continue
                values = [self.parsed(variable, word) for word in text.split()]
                found = one.get(variable)
                if bits(found if isinstance(found, list) else [found]) != bits(values):
                    self.problems.append(f"{variable.name}: starts as {found}, and not as {text}")

    @staticmethod
    def parsed(variable: Variable, word: str) -> Any:
        if variable.type == "Boolean":
            return word == "true"
        if variable.type in ("Real", "Float64"):
            return float(word.replace("INF", "inf"))
        if variable.type == "Float32":
            return ctypes.c_float(float(word.replace("INF", "inf"))).value
        return int(word)

    # ---- the sequence of calls

    def check_order(self) -> None:
        """Calls in every mode in which they are not allowed."""
        some = self.description.variables[0]
        with instance(self.library, logging=True) as one:
            early = [("ExitInitializationMode", lambda: one.call("ExitInitializationMode")),
                     ("DoStep", lambda: one.step(self.size)), ("Terminate", lambda: one.call("Terminate")),
                     ("Get", lambda: one.get(some))]  # fmt: skip
            for name, call in early:
                self.refuse(f"{name} before Initialization Mode", one, call, "before Initialization Mode")
            if self.version == 2:
                self.refuse("no experiment", one, lambda: one.call("EnterInitializationMode"), "fmi2SetupExperiment")
            self.refuse("a start time that is none", one, lambda: one.setup(math.nan))
            self.refuse("a stop before the start", one, lambda: one.setup(1.0, 0.5))
            one.setup(self.start)
            for name, call in (early[1], early[2], ("enter", lambda: one.setup(self.start))):
                self.refuse(f"{name} in Initialization Mode", one, call, "in Initialization Mode")
            one.call("ExitInitializationMode")
            for name, call in (early[0], ("enter", lambda: one.setup(self.start))):
                self.refuse(f"{name} between steps", one, call, "between steps")
            one.step(self.size)
            one.call("Terminate")
            self.look(one)
            for name, call in (early[0], early[1], early[2], ("enter", lambda: one.setup(self.start))):
                self.refuse(f"{name} once terminated", one, call, "once terminated")
            for variable in self.description.of("input")[:1] + self.description.of("parameter")[:1]:
                value = one.get(variable)
                self.refuse("Set once terminated", one, partial(one.set, variable, value), "once terminated")
            self.check_null()
            if not any("Initialization" in text for status, text in one.log if status == 0):
                self.problems.append("logging: says nothing of modes")

    def check_null(self) -> None:
        """Without an instance: an error, and no crash."""
        for name in ("ExitInitializationMode", "Terminate", "Reset"):
            if self.library.function(name)(c_void_p(None)) != ERROR:
                self.problems.append(f"{name} without an instance is taken")
        self.library.function("FreeInstance", None)(c_void_p(None))

    def check_steps(self) -> None:
        """Steps: what is no multiple of the internal step, at another point, or beyond the end."""
        size, start = self.size, self.start
        with instance(self.library) as one:
            one.begin(stop=start + 10 * size)
            for what, step, point in (
                ("half a step", 0.5 * size, None), ("one and a half", 1.5 * size, None), ("no step", 0.0, None),
                ("a step back", -size, None), ("not a number", math.nan, None), ("for ever", math.inf, None),
                ("a step that is a little long", 1.001 * size, None), ("1e300", 1e300, None),
                ("another point", size, start + 3 * size), ("a point that is none", size, math.nan),
                ("beyond the stop time", 11 * size, None),
            ):  # fmt: skip
                self.refuse(what, one, partial(one.step, step, point))
            with instance(self.library, name="two") as two:
                two.begin()
                one.step(4 * size)
                for _ in range(4):
                    two.step(size)
                if bits(one.read()) != bits(two.read()):
                    self.problems.append("a step of four is not four steps")
            one.step(6 * size)
            self.refuse("beyond the stop time, at it", one, lambda: one.step(size), "stop time")

    def check_values(self) -> None:
        """Values: unknown references, wrong types, what can only be read, counts, ranges."""
        with instance(self.library) as one:
            one.begin()
            for verb in ("Get", "Set"):
                for kind in sorted({v.type for v in self.description.variables}):
                    first = next(v for v in self.description.variables if v.type == kind)
                    stranger = Variable("?", 10**9, kind, "input", "", {}, [], first.element)
                    get, set_ = partial(one.get, stranger), partial(one.set, stranger, 0)
                    call: Callable[[], Any] = get if verb == "Get" else set_
                    self.refuse(f"{verb} of an unknown variable", one, call, "1000000000")
            for variable in self.description.variables:
                if variable.causality not in ("input", "parameter"):
                    value = one.get(variable)
                    self.refuse(f"Set of the {variable.causality}", one, partial(one.set, variable, value))
                other = "Boolean" if variable.type != "Boolean" else ("Real" if self.version == 2 else "Float64")
                alias = Variable("?", variable.reference, other, "input", "", {}, variable.dimensions, variable.element)
                self.refuse("Get of another type", one, partial(one.get, alias), "another type")
            self.check_count(one)
        with instance(self.library) as one:
            one.begin()
            self.check_ranges(one)
            for variable in self.description.of("parameter")[:1] + self.description.of("input")[:1]:
                one.set(variable, one.get(variable))
                try:
                    one.get(variable)
                    self.problems.append("Get behind Set, without a step between: is taken")
                except Refused:
                    one.step(self.size)
                    one.get(variable)

    def check_count(self, one: Instance) -> None:
        """Arrays of another length than the variables have (version 3), and none."""
        one.call("GetString", None, c_size_t(0), None, *([c_size_t(0)] if self.version == 3 else []))
        references = (c_uint32 * 1)(0)
        place = (c_double * 4)()
        if self.version == 3:
            self.refuse("two values of one variable", one,
                        lambda: one.call("GetFloat64", references, c_size_t(1), place, c_size_t(2)))  # fmt: skip
        name, count = ("GetReal", []) if self.version == 2 else ("GetFloat64", [c_size_t(1)])
        self.refuse("no array", one, lambda: one.call(name, None, c_size_t(1), place, *count))

    def check_ranges(self, one: Instance) -> None:
        """In version 2 an Integer holds more than a narrow type: what does not fit is refused."""
        if self.version == 3:
            return
        for variable in self.description.of("input") + self.description.of("parameter"):
            for key, beyond in ("min", -1), ("max", 1):
                if variable.type == "Integer" and key in variable.attributes:
                    value = int(variable.attributes[key]) + beyond
                    self.refuse(f"{variable.name} = {value}", one, partial(one.set, variable, value), "range")

    # ---- what depends on what

    def trials(self, variable: Variable) -> list[Any]:
        """Values far from each other, of the variable's type."""
        if variable.type == "Boolean":
            return [False, True]
        if variable.type in ("Real", "Float32", "Float64"):
            return [0.0, 1.0, -2.5, 3.25, 1000.0, -1e5]
        low, high = int(variable.attributes.get("min", -100)), int(variable.attributes.get("max", 100))
        if variable.type.startswith("UInt"):
            low = 0
        return [max(low, v) if v < 0 else min(high, v) for v in (0, 1, 2, -3, 77, 100)]

    def check_feedthrough(self) -> None:
        """Each input and parameter is changed in Initialization Mode: an output that moves must name it."""
        outputs = self.description.of("output")
        place = {id(v): i for i, v in enumerate(self.description.variables)}
        known = {
            u.position: None if u.on is None else set(u.on)
            for u in self.description.unknowns if u.element == "InitialUnknown"
        }  # fmt: skip
        known_later = {
            u.position: None if u.on is None else set(u.on)
            for u in self.description.unknowns if u.element == "Output"
        }  # fmt: skip
        if any(known.get(i, on) != on for i, on in known_later.items()):
            self.problems.append("Output and InitialUnknown tell different dependencies")
        for variable in self.description.of("input") + self.description.of("parameter"):
            if variable.count != 1:
                continue
            with instance(self.library) as one:
                one.setup(self.start)
                first = one.get(variable)
                before = [one.get(v) for v in outputs]
                moved: set[int] = set()
                for value in self.trials(variable):
                    one.set(variable, value)
                    if bits(one.get(variable)) != bits(value):
                        self.problems.append(f"{variable.name}: set to {value}, and is {one.get(variable)}")
                    moved |= {place[id(v)] for v, old in zip(outputs, before) if bits(one.get(v)) != bits(old)}
                one.set(variable, first)
                if bits([one.get(v) for v in outputs]) != bits(before):
                    self.problems.append(f"{variable.name}: set back, and outputs stay changed")
            for output in moved:
                on = known.get(output)
                if on is not None and place[id(variable)] not in on:
                    self.problems.append(
                        f"{self.description.variables[output].name} follows {variable.name}, and does not name it"
                    )

    # ---- several instances, states

    def drive(self, one: Instance, count: int, seed: int) -> list[Any]:
        """Steps with inputs that change; outputs of each point."""
        seen = []
        for i in range(count):
            for j, variable in enumerate(self.description.of("input")):
                trials = self.trials(variable)
                one.set(variable, trials[(i * 7 + j * 3 + seed) % len(trials)])
            one.step(self.size)
            seen.append(bits(one.read()))
        return seen

    def check_interleaved(self) -> None:
        """Two instances step by turns as each does alone."""
        alone = []
        for seed in 1, 2:
            with instance(self.library) as one:
                one.begin()
                alone.append(self.drive(one, 8, seed))
        with instance(self.library) as one, instance(self.library, name="two") as two:
            one.begin()
            two.begin()
            turns: list[list[Any]] = [[], []]
            for i in range(8):
                for which, (made, seed) in enumerate(((one, 1), (two, 2))):
                    turns[which] += self.drive_at(made, i, seed)
        if turns != alone:
            self.problems.append("two instances disturb each other")

    def drive_at(self, one: Instance, i: int, seed: int) -> list[Any]:
        for j, variable in enumerate(self.description.of("input")):
            trials = self.trials(variable)
            one.set(variable, trials[(i * 7 + j * 3 + seed) % len(trials)])
        one.step(self.size)
        return [bits(one.read())]

    def check_states(self) -> None:
        """A state that is taken brings back what follows it, in the same instance and in another; in each mode."""
        with instance(self.library) as one, instance(self.library, name="two") as two:
            early = one.get_state()
            one.setup(self.start)
            within = one.get_state()
            one.call("ExitInitializationMode")
            self.drive(one, 3, 1)
            state, point = one.get_state(), one.point
            wanted = self.drive(one, 5, 4)
            for made in one, two:
                made.set_state(state)
                made.point = point
                if self.drive(made, 5, 4) != wanted:
                    self.problems.append("a state that is set goes on otherwise")
            two.set_state(within)
            two.call("ExitInitializationMode")
            two.set_state(early)
            two.begin()
            for kept in early, within, state:
                one.free_state(kept)
            one.free_state(c_void_p())
            self.refuse("no state", one, lambda: one.set_state(c_void_p()))

    def check_serialized(self) -> None:
        """A state as bytes: goes on in another process; is refused when it was changed."""
        with instance(self.library) as one:
            one.begin()
            self.drive(one, 3, 1)
            state = one.get_state()
            data, point = one.serialize(state), one.point
            wanted = self.drive(one, 4, 2)
            again = one.deserialize(data)
            one.set_state(again)
            one.point = point
            if self.drive(one, 4, 2) != wanted:
                self.problems.append("a state that was serialized goes on otherwise")
            for place in 0, len(data) // 2, len(data) - 1:
                changed = data[:place] + bytes([data[place] ^ 1]) + data[place + 1 :]
                self.refuse(f"byte {place} changed", one, partial(one.deserialize, changed))
            self.refuse("a byte less", one, lambda: one.deserialize(data[:-1]))
            one.free_state(state)
            one.free_state(again)
        if self.elsewhere(data, point) != repr(wanted):
            self.problems.append("a state that was serialized goes on otherwise in another process")

    def elsewhere(self, data: bytes, point: float) -> str:
        """What follows a serialized state in a process of its own."""
        folder = str(pathlib.Path(__file__).resolve().parent)
        code = f"import sys; sys.path.insert(0, {folder!r}); import behaviour; behaviour.go_on()"
        question = repr((str(self.library_source), str(self.library.path), data, point))
        command = [sys.executable, "-c", code]
        answer = subprocess.run(command, input=question, capture_output=True, text=True, check=False)
        return answer.stdout.strip() or answer.stderr

    library_source: Any = None  # path of the archive

    def check_reset(self) -> None:
        """Reset: as right after the instantiation, from any mode."""
        with instance(self.library) as one:
            one.begin()
            wanted = self.drive(one, 4, 1)
            for terminates in False, True:
                if terminates:
                    one.call("Terminate")
                one.call("Reset")
                one.begin()
                if self.drive(one, 4, 1) != wanted:
                    self.problems.append("behind a reset it goes on otherwise")

    # ---- what there is not

    def check_lacking(self) -> None:
        """Functions that the description does not offer: an error with a text."""
        with instance(self.library) as one:
            one.begin()
            null = c_void_p(None)
            none = c_size_t(0)
            if self.version == 2:
                calls: list[tuple[str, list[Any]]] = [
                    ("CancelStep", []),
                    ("GetDirectionalDerivative", [null, none, null, none, null, null]),
                    ("SetRealInputDerivatives", [null, none, null, null]),
                    ("GetRealOutputDerivatives", [null, none, null, null]),
                ]
                time = c_double()
                one.call("GetRealStatus", c_int(2), ctypes.byref(time))
                if time.value != one.point:
                    self.problems.append(f"last successful time is {time.value}")
                for name in ("GetStatus", "GetIntegerStatus", "GetStringStatus"):
                    if self.library.function(name)(c_void_p(one.handle), c_int(0), null) == 0:
                        self.problems.append(f"{name}: is taken, and no step is pending")
            else:
                calls = [(name, [null] * 8) for name in (
                    "EnterEventMode", "EnterStepMode", "EnterConfigurationMode", "ExitConfigurationMode",
                    "EvaluateDiscreteStates", "UpdateDiscreteStates", "EnterContinuousTimeMode",
                    "GetNumberOfContinuousStates", "GetNumberOfEventIndicators", "GetIntervalDecimal",
                    "GetIntervalFraction", "GetShiftDecimal", "GetShiftFraction", "SetIntervalDecimal",
                    "SetIntervalFraction", "SetShiftDecimal", "SetShiftFraction", "GetDirectionalDerivative",
                    "GetAdjointDerivative", "GetNumberOfVariableDependencies", "GetVariableDependencies",
                    "GetOutputDerivatives", "GetContinuousStates", "SetContinuousStates", "CompletedIntegratorStep",
                    "GetContinuousStateDerivatives", "GetEventIndicators", "GetNominalsOfContinuousStates",
                )]  # fmt: skip
                calls += [("SetTime", [c_double(1.0)]), ("ActivateModelPartition", [c_uint32(0), c_double(0)])]
                for name in "InstantiateModelExchange", "InstantiateScheduledExecution":
                    make = self.library.function(name, c_void_p)
                    if make(b"x", b"y", None, c_bool(False), c_bool(False), *[null] * 6):
                        self.problems.append(f"{name}: is taken")
            for name, arguments in calls:
                self.refuse(name, one, partial(one.call, name, *arguments))


def go_on() -> None:
    """Reads archive, library, state and point; prints what follows the state."""
    import ast

    archive, path, data, point = ast.literal_eval(sys.stdin.read())
    library = Library(pathlib.Path(archive), pathlib.Path(path))
    with instance(library, name="elsewhere") as one:
        state = one.deserialize(data)
        one.set_state(state)
        one.free_state(state)
        one.point = point
        print(repr(Checks(library).drive(one, 4, 2)))

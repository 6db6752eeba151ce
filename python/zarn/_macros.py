"""What control engineers draw again and again, made of ordinary blocks in a subsystem of its own."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any, Optional

import numpy as np

from zarn._blocks import Blocks
from zarn._build import Feedback, Signal, SignalLike, Subsystem, Value
from zarn._errors import UsageError


class Macros(Blocks):
    """Functions that expand to a subsystem of ordinary blocks. Signals of them are flt64."""

    _ts: float

    def subsystem(self, name: Optional[str] = None, **inputs: SignalLike) -> Subsystem:
        raise NotImplementedError

    def signal(self, type: str = "flt64", name: Optional[str] = None) -> Feedback:
        raise NotImplementedError

    # ---- linear systems

    def sum(self, *terms: SignalLike, name: Optional[str] = None) -> Signal:
        """The sum of any number of signals."""
        if not terms:
            raise UsageError("sum: there is nothing to add")
        total = terms[0] if isinstance(terms[0], Signal) else self._as_signal(terms[0])
        rest = list(terms[1:])
        while rest:
            part, rest = rest[:2], rest[2:]
            total = self._operate("add", (total, *part), {}, name if not rest else None)
        return total

    def gain(self, u: SignalLike, factor: Value, name: Optional[str] = None) -> Signal:
        """u times a factor, which can be an expression of the workspace."""
        return self._operate("poly1st", (u,), {"coeffA": factor, "coeffB": "0.0"}, name)

    def transfer_function(
        self, u: SignalLike, numerator: Any, denominator: Any = None, name: str = "transfer_function"
    ) -> Signal:
        """A discrete transfer function b(z) / a(z), coefficients from the highest power of z on:

        a0 y[n] = b0 u[n] + b1 u[n-1] + ... - a1 y[n-1] - ...

        Takes arrays, a system of scipy.signal (dlti), or one of python-control. It is computed in the transposed direct
        form II, whose states start at 0.
        """
        b, a = _polynomials(numerator, denominator, self._ts)
        with self.subsystem(name) as part:
            return part.output("y", self._filter(part.input("u", u), b, a))

    def sos(self, u: SignalLike, sections: Any, name: str = "sos") -> Signal:
        """A cascade of second-order sections, rows b0 b1 b2 a0 a1 a2 as scipy.signal gives them."""
        rows = np.atleast_2d(np.asarray(sections, dtype=float))
        if rows.ndim != 2 or rows.shape[1] != 6:
            raise UsageError(f"{name}: sections are rows of six coefficients, not an array of shape {rows.shape}")
        with self.subsystem(name) as part:
            y = part.input("u", u)
            for row in rows:
                y = self._filter(y, row[:3], row[3:])
            return part.output("y", y)

    def _filter(self, u: Signal, b: Any, a: Any) -> Signal:
        b, a = np.atleast_1d(np.asarray(b, dtype=float)), np.atleast_1d(np.asarray(a, dtype=float))
        if a[0] == 0:
            raise UsageError("the first coefficient of the denominator is 0")
        b, a = b / a[0], a / a[0]
        order = max(len(a), len(b)) - 1
        b = np.concatenate([b, np.zeros(order + 1 - len(b))])
        a = np.concatenate([a, np.zeros(order + 1 - len(a))])
        states = [self.signal("flt64") for _ in range(order)]
        y = self.gain(u, b[0])
        if states:
            y = y + states[0]
        for n, state in enumerate(states, 1):
            terms = [self.gain(u, b[n]), self.gain(y, -a[n])]
            if n < order:
                terms.append(states[n])
            state.close(self.sum(*terms))
        return y

    def state_space(
        self, u: Any, a: Any, b: Any = None, c: Any = None, d: Any = None, name: str = "state_space"
    ) -> Any:
        """x[n+1] = A x[n] + B u[n], y[n] = C x[n] + D u[n] with x[0] = 0, from four matrices or one system of scipy.signal
        or python-control. Several inputs are a list of signals; several outputs come as a list."""
        if b is None:
            system = a
            _require_step(system, self._ts, name)
            if not all(hasattr(system, key) for key in "ABCD"):
                system = system.to_ss()
            a, b, c, d = system.A, system.B, system.C, system.D
        sources = list(u) if isinstance(u, (list, tuple)) else [u]
        a, b, c = (np.atleast_2d(np.asarray(matrix, dtype=float)) for matrix in (a, b, c))
        order, inputs, outputs = len(a), len(sources), len(c)
        if b.shape == (1, order) and (order, inputs) != b.shape:
            b = b.T
        d = np.zeros((outputs, inputs)) if d is None else np.atleast_2d(np.asarray(d, dtype=float))
        shapes = {"A": (a, (order, order)), "B": (b, (order, inputs)), "C": (c, (outputs, order)), "D": (d, (outputs, inputs))}
        for letter, (matrix, shape) in shapes.items():
            if matrix.shape != shape:
                raise UsageError(f"{name}: {letter} is of shape {matrix.shape}; expected {shape}")
        with self.subsystem(name) as part:
            us = [part.input(f"u{i}", source) for i, source in enumerate(sources)]
            xs = [self.signal("flt64", name=f"x{i}") for i in range(order)]
            ys = [self._row(c[i], xs, d[i], us) for i in range(outputs)]
            for i, x in enumerate(xs):
                x.close(self._row(a[i], xs, b[i], us))
            given = [part.output(f"y{i}", y) for i, y in enumerate(ys)]
        return given if outputs > 1 else given[0]

    def _row(self, xs_by: Any, xs: Sequence[Signal], us_by: Any, us: Sequence[Signal]) -> Signal:
        pairs = [*zip(xs_by, xs), *zip(us_by, us)]
        terms = [self.gain(signal, factor) for factor, signal in pairs if factor != 0]
        return self.sum(*terms) if terms else self._as_signal(0.0)

    # ---- control

    def pid(
        self,
        error: SignalLike,
        kp: Value,
        ki: Value = 0.0,
        kd: Value = 0.0,
        low: Optional[Value] = None,
        high: Optional[Value] = None,
        name: str = "pid",
    ) -> Signal:
        """kp e + integral of ki e + kd de/dt, within low to high. The integral is held while the output is limited and the
        error drives it further out, so that it doesn't wind up. Gains are numbers or expressions of the workspace;
        the step is that of the run."""
        if (low is None) != (high is None):
            raise UsageError(f"{name}: low and high go together")
        with self.subsystem(name) as part:
            e = part.input("error", error)
            terms = [self.multiply(e, self._number(kp, "kp"), name="P")]
            integral = None
            if not _is_zero(ki):
                integral = self.signal("flt64", name="integral")
                terms.append(integral)
            if not _is_zero(kd):
                slope = self.multiply(self.delta(e, name="change"), self._number(kd, "kd"), name="D_step")
                terms.append(self.divide(slope, self.constant("mainsys.ts", name="ts_D"), name="D"))
            wanted = self.sum(*terms)
            y = wanted
            if low is not None and high is not None:
                y = self.clamp(wanted, self._number(low, "low"), self._number(high, "high"), name="limit")
            if integral is not None:
                weighted = self.multiply(e, self._number(ki, "ki"), name="I_rate")
                gain = self.multiply(weighted, self.constant("mainsys.ts", name="ts_I"), name="I_step")
                grown = self.add(integral, gain, name="I_next")
                if low is not None:
                    above = self.logical(self.relational(wanted, y, operator="gt"), weighted > 0.0, name="windup_high")
                    below = self.logical(self.relational(wanted, y, operator="lt"), weighted < 0.0, name="windup_low")
                    held = self.logical(above, below, operator="or", name="windup")
                    grown = self.if_(held, integral, grown, name="anti_windup")
                integral.close(grown)
            return part.output("y", y)

    def pi(
        self,
        error: SignalLike,
        kp: Value,
        ki: Value,
        low: Optional[Value] = None,
        high: Optional[Value] = None,
        name: str = "pi",
    ) -> Signal:
        """`pid` without its derivative."""
        return self.pid(error, kp, ki, 0.0, low, high, name)

    def _number(self, value: Value, name: str) -> Signal:
        text: Value = value if isinstance(value, str) else float(value)  # type: ignore[arg-type]
        constant = self.constant(text, name=name)
        return constant if constant.type == "flt64" else self.cast(constant, "flt64", name=name + "_flt64")

    def moving_average(self, u: SignalLike, count: int, name: str = "moving_average") -> Signal:
        """The mean of the last `count` values; those ahead of the first step are 0."""
        if int(count) != count or count < 1:
            raise UsageError(f"{name}: a mean of {count} values")
        with self.subsystem(name) as part:
            taps = [part.input("u", u)]
            while len(taps) < count:
                taps.append(self.memory(taps[-1].astype("flt64") if len(taps) == 1 else taps[-1]))
            return part.output("y", self.gain(self.sum(*taps), 1.0 / count))

    def rate_limiter(self, u: SignalLike, rise: Value, fall: Optional[Value] = None, name: str = "rate_limiter") -> Signal:
        """u, which changes by no more than `rise` up and `fall` down in a second. It starts at 0."""
        with self.subsystem(name) as part:
            source = part.input("u", u)
            last = self.signal("flt64", name="last")
            ts = self.constant("mainsys.ts", name="ts")
            up = self.multiply(self._number(rise, "rise"), ts, name="most")
            if fall is None:
                down = self.gain(up, -1.0, name="least")
            else:
                down = self.gain(self.multiply(self._number(fall, "fall"), ts), -1.0, name="least")
            change = self.clamp(self.subtract(source, last, name="wanted"), down, up, name="change")
            y = self.add(last, change, name="limited")
            last.close(y)
            return part.output("y", y)

    # ---- logic

    def rising(self, u: SignalLike, name: str = "rising") -> Signal:
        """True in the step in which u becomes true; u is false ahead of the first one."""
        with self.subsystem(name) as part:
            source = part.input("u", u).astype("bool")
            return part.output("y", source & ~self.memory(source, name="before"))

    def falling(self, u: SignalLike, name: str = "falling") -> Signal:
        """True in the step in which u becomes false."""
        with self.subsystem(name) as part:
            source = part.input("u", u).astype("bool")
            return part.output("y", ~source & self.memory(source, name="before"))

    def counter(
        self, count: SignalLike, reset: Optional[SignalLike] = None, modulus: Optional[int] = None, name: str = "counter"
    ) -> Signal:
        """How many steps `count` was true, this one included: an int32, back to 0 where `reset` is true, and at `modulus`."""
        with self.subsystem(name) as part:
            counts = part.input("count", count).astype("bool")
            total = self.signal("int32", name="total")
            step = self.if_(counts, self.constant(1, name="one"), self.constant(0, name="none"), name="step")
            next_total = self.add(total, step, name="next")
            if modulus is not None:
                next_total = self.mod(next_total, self.constant(int(modulus), name="modulus"), name="wrapped")
            if reset is not None:
                back = part.input("reset", reset).astype("bool")
                next_total = self.if_(back, self.constant(0, name="zero"), next_total, name="kept")
            total.close(next_total)
            return part.output("y", next_total)


def _is_zero(value: Value) -> bool:
    return not isinstance(value, str) and float(value) == 0.0  # type: ignore[arg-type]


def _require_step(system: Any, ts: float, name: str) -> None:
    step = getattr(system, "dt", None)
    if step is None or step == 0:
        raise UsageError(f"{name}: the system is one of continuous time; make it discrete first")
    if step is not True and abs(step - ts) > 1e-9 * ts:
        raise UsageError(f"{name}: the system has steps of {step} s, the model of {ts} s")


def _polynomials(numerator: Any, denominator: Any, ts: float) -> tuple[Any, Any]:
    if denominator is not None:
        return np.ravel(numerator), np.ravel(denominator)
    system = numerator
    _require_step(system, ts, "transfer_function")
    if hasattr(system, "to_tf"):
        system = system.to_tf()
    num, den = system.num, system.den
    while isinstance(num, (list, tuple)) or getattr(num, "ndim", 1) > 1 or getattr(num, "dtype", None) == object:
        if len(num) != 1:
            raise UsageError("transfer_function: the system has several inputs or outputs")
        num, den = num[0], den[0]
    # powers of z: as long as the denominator
    num, den = np.ravel(num), np.ravel(den)
    if len(num) > len(den):
        raise UsageError("transfer_function: the numerator is of a higher order than the denominator")
    return np.concatenate([np.zeros(len(den) - len(num)), num]), den

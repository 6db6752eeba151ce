"""The classes of blocks as functions. Made by tools/make_python_blocks.py of what the library says of them."""

from __future__ import annotations

from collections.abc import Mapping
from typing import Literal, Optional

from zarn._build import Block, Builder, Rule, Signal, SignalLike, Value

RULES: Mapping[str, Rule] = {
    'abs': Rule(('u',), 1, False, 'same', ()),
    'acc': Rule(('u', 'reset_value', 'reset'), 1, False, 'same', (2,)),
    'acos': Rule(('u',), 1, False, 'same', ()),
    'add': Rule(('u0', 'u1', 'u2'), 1, True, 'highest', ()),
    'asin': Rule(('u',), 1, False, 'same', ()),
    'atan': Rule(('u',), 1, False, 'same', ()),
    'cast': Rule(('u',), 1, False, '', ()),
    'clamp': Rule(('u', 'lo', 'hi'), 1, False, 'same', ()),
    'constant': Rule((), 1, False, '', ()),
    'cos': Rule(('u',), 1, False, 'same', ()),
    'debounce': Rule(('u',), 1, False, 'bool', ()),
    'delta': Rule(('u',), 1, False, 'same', ()),
    'display': Rule(('u',), 0, False, '', ()),
    'divide': Rule(('u0', 'u1'), 1, False, 'highest', ()),
    'from': Rule((), 1, False, '', ()),
    'from_workspace': Rule((), 1, False, '', ()),
    'goto': Rule(('u',), 0, False, '', ()),
    'hysteresis': Rule(('u',), 1, False, 'bool', ()),
    'if': Rule(('condition', 'then', 'else_'), 1, False, 'same', (0,)),
    'lerp': Rule(('u',), 1, False, 'same', ()),
    'log': Rule(('u',), 1, False, 'same', ()),
    'logical': Rule(('u0', 'u1', 'u2', 'u3', 'u4', 'u5', 'u6', 'u7'), 1, True, 'bool', (0, 1, 2, 3, 4, 5, 6, 7)),
    'lut1d': Rule(('u',), 1, False, 'same', ()),
    'lut2d': Rule(('u0', 'u1'), 1, False, 'highest', ()),
    'max': Rule(('u',), 1, False, 'same', ()),
    'memory': Rule(('u',), 1, False, 'same', ()),
    'min': Rule(('u',), 1, False, 'same', ()),
    'mod': Rule(('u0', 'u1'), 1, False, 'highest', ()),
    'multiply': Rule(('u0', 'u1', 'u2'), 1, True, 'highest', ()),
    'not': Rule(('u',), 1, False, 'same', ()),
    'poly1st': Rule(('u',), 1, False, 'same', ()),
    'pow': Rule(('u0', 'u1'), 1, False, 'same', ()),
    'random': Rule((), 1, False, 'flt64', ()),
    'relational': Rule(('u0', 'u1'), 1, True, 'bool', ()),
    'sin': Rule(('u',), 1, False, 'same', ()),
    'sinewave': Rule((), 1, False, 'flt64', ()),
    'sqrt': Rule(('u',), 1, False, 'same', ()),
    'squarewave': Rule((), 1, False, 'flt64', ()),
    'step': Rule((), 1, False, 'flt64', ()),
    'subtract': Rule(('u0', 'u1', 'u2'), 1, True, 'highest', ()),
    'switch': Rule(('selector', 'otherwise', 'case_0', 'case_1', 'case_2', 'case_3', 'case_4', 'case_5'), 1, True, 'same', ()),
    'tan': Rule(('u',), 1, False, 'same', ()),
    'time': Rule((), 1, False, 'flt64', ()),
    'to_workspace': Rule(('u',), 0, False, '', ()),
    'unpack': Rule(('u',), 1, False, 'same', ()),
}


def _given(inputs: tuple[Optional[SignalLike], ...], least: int) -> tuple[Optional[SignalLike], ...]:
    """Without those at the end that are left out."""
    count = len(inputs)
    while count > least and inputs[count - 1] is None:
        count -= 1
    return inputs[:count]


class Blocks(Builder):
    """A function for each class. An input that is None is left open, for `wire` to feed it."""

    _rules = RULES

    def abs(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Absolute value of a signal

        ::

            y = |u|

        u: any type
        Gives type of u.
        """
        return self._operate('abs', (u,), {}, name)

    def acc(
        self,
        u: Optional[SignalLike],
        reset_value: Optional[SignalLike],
        reset: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Adds up a signal

        ::

            y = y + u          in the type of u; integers wrap, bool is "not 0"
            y = reset value    where reset holds

        u: any type
        reset_value: type of u
        reset: bool
        Gives type of u.
        """
        return self._operate('acc', (u, reset_value, reset), {}, name)

    def acos(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Arc cosine of a signal

        ::

            y = acos(u)                y in radians, 0 to pi; not-a-number where u is outside -1 to 1

        u: any type
        Gives type of u.
        """
        return self._operate('acos', (u,), {}, name)

    def add(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        u2: Optional[SignalLike] = None,
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Sum of two or three signals

        ::

            y = u0 + u1
            y = u0 + (u1 + u2)         folded from the right

        u0: any type
        u1: any type
        u2: any type
        Gives highest type among the inputs.
        """
        return self._operate('add', _given((u0, u1, u2), 2), {}, name)

    def asin(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Arc sine of a signal

        ::

            y = asin(u)                y in radians, -pi/2 to pi/2; not-a-number where u is outside -1 to 1

        u: any type
        Gives type of u.
        """
        return self._operate('asin', (u,), {}, name)

    def atan(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Arc tangent of a signal

        ::

            y = atan(u)                y in radians, -pi/2 to pi/2

        u: any type
        Gives type of u.
        """
        return self._operate('atan', (u,), {}, name)

    def cast(
        self,
        u: Optional[SignalLike],
        type: Literal['bool', 'int8', 'uint8', 'int16', 'uint16', 'int32', 'uint32', 'int64', 'uint64', 'flt32', 'flt64'] = 'flt64',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Names the type in which the next block reads a signal

        ::

            y = u      converted by the input that reads y

        type: type in which the next block reads the signal; bool, int8, uint8, int16, uint16, int32, uint32, int64, uint64, flt32 or flt64
        """
        return self._operate('cast', (u,), {'type': type}, name)

    def clamp(
        self,
        u: Optional[SignalLike],
        lo: Optional[SignalLike],
        hi: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Limits a signal to a range

        ::

            y = hi  where u > hi
                lo  where lo > u
                u   elsewhere          (not-a-number passes; lo above hi is not checked)

        u: any type
        lo: any type not ranked above that of u
        hi: any type not ranked above that of u
        Gives type of u.
        """
        return self._operate('clamp', (u, lo, hi), {}, name)

    def constant(
        self,
        expression: Value = '1.0',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """A fixed value

        ::

            y = value

        expression: the value; number or expression
        Gives any type.
        """
        return self._operate('constant', (), {'expression': expression}, name)

    def cos(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Cosine of a signal

        ::

            y = cos(u)                 u in radians

        u: any type
        Gives type of u.
        """
        return self._operate('cos', (u,), {}, name)

    def debounce(
        self,
        u: Optional[SignalLike],
        fall: Value = '1',
        rise: Value = '1',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Passes a condition on when it has held for some time

        ::

            y = true     at the first step at which u has been counted true for rise
                false    likewise false for fall

        u: any type
        fall: time for which the input must be false before the output falls; number or expression, in seconds
        rise: time for which the input must be true before the output rises; number or expression, in seconds
        Gives bool.
        """
        return self._operate('debounce', (u,), {'fall': fall, 'rise': rise}, name)

    def delta(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Change of a signal since the last step

        ::

            y(t) = u(t) - u(t - ts)      in the type of u; integers wrap, bool is "differs"

        u: any type
        Gives type of u.
        """
        return self._operate('delta', (u,), {}, name)

    def display(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Block:
        """Shows a value

        u: any type
        """
        return self._operate('display', (u,), {}, name).block

    def divide(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Quotient of two signals

        ::

            y = u0 / u1                integers truncate toward zero
            y = 0                      where u1 = 0, integers only: floats give an infinity or not-a-number

        u0: any type
        u1: any type
        Gives highest type among the inputs.
        """
        return self._operate('divide', (u0, u1), {}, name)

    def from_(
        self,
        target: str = '',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Delivers the signal of the goto block with the same target, without a drawn line

        target: name that joins the pair; any text
        """
        return self._operate('from', (), {'target': target}, name)

    def from_workspace(
        self,
        expression: str = '',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Plays a time series of the workspace

        ::

            y(t) = values[i]           i: first sample with t <= times[i]; no interpolation. Past the end the last value stays

        expression: names the series in the workspace; name of a series
        Gives any type.
        """
        return self._operate('from_workspace', (), {'expression': expression}, name)

    def goto(
        self,
        u: Optional[SignalLike],
        target: str = '',
        *,
        name: Optional[str] = None,
    ) -> Block:
        """Sends a signal to the from block with the same target, without a drawn line

        target: name that joins the pair; any text
        """
        return self._operate('goto', (u,), {'target': target}, name).block

    def hysteresis(
        self,
        u: Optional[SignalLike],
        valueOff: Value = '0.0',
        valueOn: Value = '1.0',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """A switch with two thresholds

        ::

            y = true      where u > valueOn
                false     where u < valueOff, unless u > valueOn
                as it was elsewhere

        u: any type
        valueOff: below this the output becomes false; number or expression
        valueOn: above this the output becomes true; number or expression
        Gives bool.
        """
        return self._operate('hysteresis', (u,), {'valueOff': valueOff, 'valueOn': valueOn}, name)

    def if_(
        self,
        condition: Optional[SignalLike],
        then: Optional[SignalLike],
        else_: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """One of two signals, by a condition

        ::

            y = u1  where u0
                u2  elsewhere

        condition: bool
        then: any type
        else_: type of then
        Gives type of then.
        """
        return self._operate('if', (condition, then, else_), {}, name)

    def lerp(
        self,
        u: Optional[SignalLike],
        coeffA: Value = '0.0',
        coeffB: Value = '2.0',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Goes from one value to another

        ::

            y = coeffA + u * (coeffB - coeffA)

        u: any type
        coeffA: output at 0; number or expression
        coeffB: output at 1; number or expression
        Gives type of u.
        """
        return self._operate('lerp', (u,), {'coeffA': coeffA, 'coeffB': coeffB}, name)

    def log(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Natural logarithm of a signal

        ::

            y = ln(u)                  -infinity where u = 0, not-a-number where u < 0

        u: any type
        Gives type of u.
        """
        return self._operate('log', (u,), {}, name)

    def logical(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        u2: Optional[SignalLike] = None,
        u3: Optional[SignalLike] = None,
        u4: Optional[SignalLike] = None,
        u5: Optional[SignalLike] = None,
        u6: Optional[SignalLike] = None,
        u7: Optional[SignalLike] = None,
        *,
        operator: Literal['and', 'or', 'nand', 'nor'] = 'and',
        name: Optional[str] = None,
    ) -> Signal:
        """Combines two to eight conditions

        ::

            y = u0 and u1 and ...      "and";  "nand" is its negation
            y = u0 or u1 or ...        "or";   "nor" is its negation

        u0: bool
        u1: bool
        u2: bool
        u3: bool
        u4: bool
        u5: bool
        u6: bool
        u7: bool
        operator: how the conditions are combined; and, or, nand or nor
        Gives bool.
        """
        return self._operate('logical', _given((u0, u1, u2, u3, u4, u5, u6, u7), 2), {'operator': operator}, name)

    def lut1d(
        self,
        u: Optional[SignalLike],
        bp1: Value = '[0.0, 1.0, 2.0]',
        out: Value = '[0.0, 1.0, 2.0]',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Linear interpolation in a table of points

        ::

            y = out[i-1] + (u - bp1[i-1]) / (bp1[i] - bp1[i-1]) * (out[i] - out[i-1])    for the first bp1[i] above u
                the first or last value of out                                          beyond the ends

        u: any type
        bp1: breakpoints of the input; list of numbers, or expression; each element above the one before
        out: table: the output at each breakpoint; list of numbers, or expression
        Gives type of u.
        """
        return self._operate('lut1d', (u,), {'bp1': bp1, 'out': out}, name)

    def lut2d(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        bp1: Value = '[0.0, 1.0]',
        bp2: Value = '[0.0, 1.0, 2.0]',
        out: Value = '[[0.0, 1.0, 2.0],[0.0, 1.0, 2.0]]',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Bilinear interpolation in a table

        ::

            y = (1 - w1) * ((1 - w2) * out[f1][f2] + w2 * out[f1][s2]) + w1 * ((1 - w2) * out[s1][f2] + w2 * out[s1][s2])
                f, s = breakpoints around u0 in bp1 and around u1 in bp2,  w = (u - bp[f]) / (bp[s] - bp[f])

        u0: any type
        u1: any type
        bp1: breakpoints of input 0: the rows of the table; list of numbers, or expression; each element above the one before
        bp2: breakpoints of input 1: its columns; list of numbers, or expression; each element above the one before
        out: table: a list of rows; list of numbers, or expression
        Gives highest type among the inputs.
        """
        return self._operate('lut2d', (u0, u1), {'bp1': bp1, 'bp2': bp2, 'out': out}, name)

    def max(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Largest value that a signal has had

        ::

            y = u   where u > y        (not-a-number leaves y)

        u: any type
        Gives type of u.
        """
        return self._operate('max', (u,), {}, name)

    def memory(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Delays a signal by one step

        ::

            y(t) = u(t - ts)

        u: any type
        Gives type of u.
        """
        return self._operate('memory', (u,), {}, name)

    def min(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Smallest value that a signal has had

        ::

            y = u   where u < y        (not-a-number leaves y)

        u: any type
        Gives type of u.
        """
        return self._operate('min', (u,), {}, name)

    def mod(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Remainder of a division, with the sign of the dividend

        ::

            y = u0 - u1 * trunc(u0 / u1)
            y = 0                      where u1 = 0, integers only: floats give not-a-number

        u0: any type but bool
        u1: any type but bool
        Gives highest type among the inputs.
        """
        return self._operate('mod', (u0, u1), {}, name)

    def multiply(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        u2: Optional[SignalLike] = None,
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Product of two or three signals

        ::

            y = u0 * u1
            y = u0 * (u1 * u2)         folded from the right

        u0: any type
        u1: any type
        u2: any type
        Gives highest type among the inputs.
        """
        return self._operate('multiply', _given((u0, u1, u2), 2), {}, name)

    def not_(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Logical negation of a signal

        ::

            y = 1   where u = 0
                0   elsewhere          (not-a-number is not 0)

        u: any type
        Gives type of u.
        """
        return self._operate('not', (u,), {}, name)

    def poly1st(
        self,
        u: Optional[SignalLike],
        coeffA: Value = '1.0',
        coeffB: Value = '1.0',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Polynomial of first order

        ::

            y = coeffA * u + coeffB

        u: any type
        coeffA: factor; number or expression
        coeffB: offset; number or expression
        Gives type of u.
        """
        return self._operate('poly1st', (u,), {'coeffA': coeffA, 'coeffB': coeffB}, name)

    def pow(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Power of two signals

        ::

            y = u0 ^ u1

        u0: any type
        u1: type of u0
        Gives type of u0.
        """
        return self._operate('pow', (u0, u1), {}, name)

    def random(
        self,
        max: Value = '1.0',
        min: Value = '0.0',
        seed: Value = '12345',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Whole steps above a lowest value, from a generator of 64 bits

        ::

            y = s mod range + min      range = whole part of max - min + 1; a range of 0 is a division by zero

        max: highest value; number or expression; not below the lowest
        min: lowest value; number or expression; not above the highest
        seed: start of the generator; number or expression; not 0
        Gives flt64.
        """
        return self._operate('random', (), {'max': max, 'min': min, 'seed': seed}, name)

    def relational(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        operator: Literal['eq', 'ne', 'lt', 'le', 'gt', 'ge'] = 'eq',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Compares two signals

        ::

            y = u0 op u1               with not-a-number "ne" is true and all others are false

        u0: any type
        u1: type of u0
        operator: the comparison; eq, ne, lt, le, gt or ge
        Gives bool.
        """
        return self._operate('relational', (u0, u1), {'operator': operator}, name)

    def sin(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Sine of a signal

        ::

            y = sin(u)                 u in radians

        u: any type
        Gives type of u.
        """
        return self._operate('sin', (u,), {}, name)

    def sinewave(
        self,
        frequency: Value = '10.0',
        phase: Value = '0.0',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """A sine of the time

        ::

            y = sin(w * t + p)          w = 2 pi frequency, p = phase in radians

        frequency: frequency; number or expression, in hertz; above 0
        phase: phase at time 0; number or expression, in degrees
        Gives flt64.
        """
        return self._operate('sinewave', (), {'frequency': frequency, 'phase': phase}, name)

    def sqrt(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Square root of a signal

        ::

            y = sqrt(u)                not-a-number where u < 0

        u: any type
        Gives type of u.
        """
        return self._operate('sqrt', (u,), {}, name)

    def squarewave(
        self,
        timeOff: Value = '1.0',
        timeOn: Value = '2.0',
        valueOff: Value = '-1.0',
        valueOn: Value = '1.0',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Alternates between two values

        ::

            y = valueOff for timeOff, then valueOn for timeOn, and so on

        timeOff: how long the value is valueOff; number or expression, in seconds; 0 or above
        timeOn: how long the value is valueOn; number or expression, in seconds; 0 or above
        valueOff: the value at first; number or expression
        valueOn: the other value; number or expression
        Gives flt64.
        """
        return self._operate('squarewave', (), {'timeOff': timeOff, 'timeOn': timeOn, 'valueOff': valueOff, 'valueOn': valueOn}, name)

    def step(
        self,
        initialValue: Value = '0.0',
        finalValue: Value = '1.0',
        stepTime: Value = '2.0',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """One value up to a time, another after it

        ::

            y = finalValue      where t > stepTime
                initialValue    elsewhere

        initialValue: value up to the step time; number or expression
        finalValue: value after it; number or expression
        stepTime: the time after which the value changes; number or expression, in seconds
        Gives flt64.
        """
        return self._operate('step', (), {'initialValue': initialValue, 'finalValue': finalValue, 'stepTime': stepTime}, name)

    def subtract(
        self,
        u0: Optional[SignalLike],
        u1: Optional[SignalLike],
        u2: Optional[SignalLike] = None,
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Difference of two or three signals

        ::

            y = u0 - u1
            y = u0 - (u1 - u2)         folded from the right: u0 - u1 + u2

        u0: any type
        u1: any type
        u2: any type
        Gives highest type among the inputs.
        """
        return self._operate('subtract', _given((u0, u1, u2), 2), {}, name)

    def switch(
        self,
        selector: Optional[SignalLike],
        otherwise: Optional[SignalLike],
        case_0: Optional[SignalLike],
        case_1: Optional[SignalLike] = None,
        case_2: Optional[SignalLike] = None,
        case_3: Optional[SignalLike] = None,
        case_4: Optional[SignalLike] = None,
        case_5: Optional[SignalLike] = None,
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """One of several signals, by an index

        ::

            y = u2, u3, ... u7         where u0 is 0, 1, ... 5, cut to int8, and such an input is there
                u1                     elsewhere

        selector: any type but bool
        otherwise: type of selector
        case_0: type of selector
        case_1: type of selector
        case_2: type of selector
        case_3: type of selector
        case_4: type of selector
        case_5: type of selector
        Gives type of selector.
        """
        return self._operate('switch', _given((selector, otherwise, case_0, case_1, case_2, case_3, case_4, case_5), 3), {}, name)

    def tan(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Tangent of a signal

        ::

            y = tan(u)                 u in radians

        u: any type
        Gives type of u.
        """
        return self._operate('tan', (u,), {}, name)

    def time(
        self,
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """The current time

        ::

            y = t      seconds

        Gives flt64.
        """
        return self._operate('time', (), {}, name)

    def to_workspace(
        self,
        u: Optional[SignalLike],
        *,
        name: Optional[str] = None,
    ) -> Block:
        """Records a signal and leaves it in the workspace as a time series

        ::

            times[n] = t, values[n] = u    one sample for each step in which the block runs

        u: any type
        """
        return self._operate('to_workspace', (u,), {}, name).block

    def unpack(
        self,
        u: Optional[SignalLike],
        lsb: Value = '0',
        msb: Value = '0',
        coeffA: Value = '1.0',
        coeffB: Value = '0.0',
        *,
        name: Optional[str] = None,
    ) -> Signal:
        """Takes a bit field out of a value and scales it

        ::

            y = coeffA * (bits lsb to msb of u) + coeffB      u as a 32-bit integer

        u: any type
        lsb: number of the lowest bit; number or expression; not above the highest
        msb: number of the highest bit; number or expression; at most 30
        coeffA: factor; number or expression
        coeffB: offset; number or expression
        Gives type of u.
        """
        return self._operate('unpack', (u,), {'lsb': lsb, 'msb': msb, 'coeffA': coeffA, 'coeffB': coeffB}, name)

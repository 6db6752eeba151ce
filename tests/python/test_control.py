"""Macros, against what scipy and plain Python compute."""

import math

import numpy as np
import pytest

import zarn

scipy_signal = pytest.importorskip("scipy.signal")
RANDOM = np.random.default_rng(1)
STEPS = 201
U = RANDOM.normal(size=STEPS)


def answer(build, u=U, ts=0.1, **more):
    """What a macro makes of a signal."""
    m = zarn.Model(ts=ts, tf=ts * (len(u) - 1) + ts / 2)
    m.output("y", build(m, m.input("u")))
    assert m.check(evaluate=True, workspace=more.get("workspace")).errors == []
    return np.asarray(m.run(inputs={"u": u}, **more)["y"])


@pytest.mark.parametrize("b, a", [([1.0], [1.0]), ([0.2], [1.0, -0.8]), ([0.1, 0.2, 0.3], [2.0, -1.0, 0.4]), ([0, 0, 1], [1, 0, 0])])
def test_transfer_functions(b, a):
    b = np.concatenate([np.zeros(len(a) - len(b)), b])
    assert np.allclose(answer(lambda m, u: m.transfer_function(u, b, a)), scipy_signal.lfilter(b, a, U), atol=1e-12)


def test_systems_of_scipy():
    system = scipy_signal.cont2discrete((np.array([1.0]), np.array([1.0, 0.6, 1.0])), 0.1)
    dlti = scipy_signal.dlti(system[0], system[1], dt=0.1)
    _, expected = scipy_signal.dlsim(dlti, U)[:2]
    assert np.allclose(answer(lambda m, u: m.transfer_function(u, dlti)), np.ravel(expected), atol=1e-10)
    space = dlti.to_ss()
    assert np.allclose(answer(lambda m, u: m.state_space(u, space)), np.ravel(expected), atol=1e-10)
    with pytest.raises(zarn.UsageError, match="steps of 0.1 s"):
        answer(lambda m, u: m.transfer_function(u, dlti), ts=0.2)
    with pytest.raises(zarn.UsageError, match="continuous"):
        answer(lambda m, u: m.transfer_function(u, scipy_signal.lti([1.0], [1.0, 1.0])))


def test_systems_as_python_control_has_them():
    class System:  # what of such a system is looked at
        dt, num, den = 0.1, [[np.array([0.2])]], [[np.array([1.0, -0.8])]]

    assert np.allclose(
        answer(lambda m, u: m.transfer_function(u, System())), scipy_signal.lfilter([0.0, 0.2], [1.0, -0.8], U), atol=1e-12
    )


def test_sections():
    sos = scipy_signal.butter(5, 0.3, output="sos")
    assert np.allclose(answer(lambda m, u: m.sos(u, sos)), scipy_signal.sosfilt(sos, U), atol=1e-12)


def test_state_space_of_several_signals():
    a, b = np.array([[0.9, 0.1], [-0.2, 0.8]]), np.array([[1.0, 0.0], [0.5, -1.0]])
    c, d = np.array([[1.0, 0.0], [1.0, 2.0]]), np.array([[0.0, 0.0], [0.0, 3.0]])
    m = zarn.Model(ts=0.1, tf=0.1 * (STEPS - 1) + 0.05)
    u = [m.input("a"), m.input("b")]
    for number, y in enumerate(m.state_space(u, a, b, c, d)):
        m.output(f"y{number}", y)
    both = np.stack([U, U[::-1]], axis=1)
    run = m.run(inputs={"a": both[:, 0], "b": both[:, 1]})
    x, expected = np.zeros(2), []
    for row in both:
        expected.append(c @ x + d @ row)
        x = a @ x + b @ row
    assert np.allclose(np.stack([run["y0"], run["y1"]], axis=1), expected, atol=1e-10)


def pid(e, kp, ki, kd, low, high, ts):
    total, last, ys = 0.0, 0.0, []
    for value in e:
        wanted = kp * value + total + kd * (value - last) / ts
        y = min(max(wanted, low), high)
        if not ((wanted > y and ki * value > 0) or (wanted < y and ki * value < 0)):
            total += ki * value * ts
        last = value
        ys.append(y)
    return ys


@pytest.mark.parametrize("limits", [(-math.inf, math.inf), (-0.5, 0.7)])
def test_pid(limits):
    given = {} if math.isinf(limits[0]) else {"low": limits[0], "high": limits[1]}
    e = np.cumsum(U) / 5
    expected = pid(e, 1.5, 0.8, 0.05, *limits, 0.1)
    assert np.allclose(answer(lambda m, u: m.pid(u, 1.5, 0.8, 0.05, **given), e), expected, atol=1e-9)
    names = answer(lambda m, u: m.pi(u, "kp", "ki", **given), e, workspace={"kp": 1.5, "ki": 0.8})
    assert np.allclose(names, pid(e, 1.5, 0.8, 0.0, *limits, 0.1), atol=1e-9)


def test_the_integral_does_not_wind_up():
    e = np.concatenate([np.full(500, 10.0), np.full(100, -1.0)])
    y = answer(lambda m, u: m.pi(u, 0.0, 1.0, -1.0, 1.0), e)
    assert y[499] == 1.0 and y[530] < 0


def test_moving_average():
    expected = np.convolve(U, np.ones(7) / 7)[:STEPS]
    assert np.allclose(answer(lambda m, u: m.moving_average(u, 7)), expected, atol=1e-12)
    assert np.allclose(answer(lambda m, u: m.moving_average(u, 1)), U)


def test_rate_limiter():
    y = answer(lambda m, u: m.rate_limiter(u, 2.0, 1.0), U * 3)
    change = np.diff(np.concatenate([[0.0], y]))
    assert change.max() <= 0.2 + 1e-12 and change.min() >= -0.1 - 1e-12
    slow = np.linspace(0, 1, STEPS)
    assert np.allclose(answer(lambda m, u: m.rate_limiter(u, 1.0), slow), slow)


def test_edges():
    u = (U > 0).astype(float)
    before = np.concatenate([[0.0], u[:-1]])
    assert np.array_equal(answer(lambda m, u: m.rising(u > 0.5), u), (u > before))
    assert np.array_equal(answer(lambda m, u: m.falling(u > 0.5), u), (u < before))


def test_counters():
    u = (U > 0).astype(float)
    assert np.array_equal(answer(lambda m, u: m.counter(u > 0.5), u), np.cumsum(u))
    assert np.array_equal(answer(lambda m, u: m.counter(u > 0.5, modulus=5), u), np.cumsum(u) % 5)
    reset = answer(lambda m, u: m.counter(u > 0.5, reset=u < 0.5), u)
    total, expected = 0, []
    for value in u:
        total = total + 1 if value else 0
        expected.append(total)
    assert np.array_equal(reset, expected) and reset.dtype == np.int32


def test_macros_stand_twice():
    m = zarn.Model(ts=0.1, tf=1.0)
    u = m.input("u")
    m.output("y", m.pi(m.pi(u, 1.0, 1.0), 1.0, 1.0))
    assert {block.name for block in m.blocks if block.block_class == "subsys"} == {"pi", "pi2"}
    assert m.check(evaluate=True).errors == []

"""Models made by program."""

import json
import math
import time

import numpy as np
import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st
from support import PATIENCE, command

import zarn


def value(build, probe="y", tf=1.0, **more):
    """What an expression gives in the last step."""
    m = zarn.Model(ts=1.0, tf=tf)
    m.output("y", build(m))
    return m.run(**more)[probe][-1]


@pytest.mark.parametrize(
    "build, expected",
    [
        (lambda m: m.constant(7.0) + 2, 9.0),
        (lambda m: 2 - m.constant(7.0), -5.0),
        (lambda m: m.constant(7.0) * 2.5, 17.5),
        (lambda m: 14 / m.constant(7.0), 2.0),
        (lambda m: m.constant(7) % 4, 3),
        (lambda m: m.constant(3.0) ** 2, 9.0),
        (lambda m: abs(-m.constant(3.0)), 3.0),
        (lambda m: +m.constant(3), 3),
        (lambda m: m.constant(3.0) < 4, True),
        (lambda m: m.constant(3.0) >= 4, False),
        (lambda m: 4 > m.constant(3.0), True),
        (lambda m: m.constant(3) == 3, True),
        (lambda m: m.constant(3) != 3, False),
        (lambda m: (m.constant(3) == 3) & True, True),
        (lambda m: ~(m.constant(3) == 3) | False, False),
        (lambda m: m.switch(m.constant(1.0) > 0, 5.0, m.constant(6.0)), 5.0),
        (lambda m: m.switch(m.constant(2), 50, 60, 70, 80), 80),
        (lambda m: m.constant(3.9).astype("int16"), 3),
        (lambda m: m.constant(200).astype(np.uint8) + np.uint8(100), 44),
        (lambda m: m.clamp(m.constant(30.0), -1, 1), 1.0),
        (lambda m: m.lut1d(m.constant(0.5), bp1=[0, 1.0], out=np.array([2.0, 4.0])), 3.0),
        (lambda m: m.unpack(m.constant(240.0), lsb=4, msb=7), 15),
        (lambda m: m.constant("math.pi * k"), 2 * math.pi),
        (lambda m: m.sum(*[m.constant(float(n)) for n in range(9)]), 36.0),
        (lambda m: m.constant(float("inf")), math.inf),
    ],
)
def test_operators(build, expected):
    assert value(build, workspace={"k": 2}) == expected


@pytest.mark.parametrize("name", ["int8", "uint8", "int16", "uint16", "int32", "uint32", "int64", "uint64", "flt32", "flt64"])
def test_numbers_take_the_type_beside_them(name):
    m = zarn.Model(ts=1.0, tf=1.0)
    x = m.constant(5).astype(name)
    for number, y in enumerate((x + 1, 3 - x, x * 2, x > 2, m.clamp(x, 0, 9))):
        m.output(f"y{number}", y)
    dtypes = [str(one.dtype) for one in m.run().values()]
    own = name.replace("flt", "float")
    assert dtypes == [own, own, own, "bool", own]


def test_feedback():
    m = zarn.Model(ts=1.0, tf=5.0)
    n = m.signal("int32", name="n")
    n.close(n + 1)
    m.output("n_out", n)
    assert m.run()["n_out"].tolist() == [0, 1, 2, 3, 4, 5] and m.run()["n_out"].dtype == np.int32
    with pytest.raises(zarn.UsageError, match="closed already"):
        n.close(n)
    open_loop = zarn.Model()
    open_loop.output("y", open_loop.signal())
    assert not open_loop.check().ok


def test_memories_in_a_row():
    m = zarn.Model(ts=1.0, tf=6.0)
    x = m.time()
    m.output("first", m.memory(x))
    with m.subsystem("part"):
        y = m.memory(m.memory(x).astype("flt64"))
    z = m.memory(m.memory(y))
    m.output("last", z)
    run = m.run()
    assert run["first"].tolist() == [0, 0, 1, 2, 3, 4, 5] and run["last"].tolist() == [0, 0, 0, 0, 0, 1, 2]
    space = {}
    exec(m.to_python(), space)
    assert space["m"].run()["last"].tolist() == run["last"].tolist()
    assert zarn.loads(m.to_json()).run()["last"].tolist() == run["last"].tolist()


def test_subsystems():
    m = zarn.Model(ts=1.0, tf=3.0)
    t = m.time(name="t")
    with m.subsystem("outer") as outer:
        doubled = t * 2.0  # led in by itself
        with m.subsystem("inner") as inner:
            u = inner.input("u", doubled)
            inner.output("v", u + 1.0)
        hidden = doubled + 100.0
        outer.output("w", inner["v"])
    m.output("w_out", outer["w"])
    m.output("led_out", hidden + t)
    run = m.run(probes=["*"])
    shown = m.run()
    assert shown["w_out"].tolist() == [1.0, 3.0, 5.0, 7.0]
    assert shown["led_out"].tolist() == [100.0, 103.0, 106.0, 109.0]
    assert "mainsys.outer.inner.add1" in run
    assert m.check().ok


def test_enable():
    m = zarn.Model(ts=1.0, tf=5.0)
    t = m.time(name="t")
    opens = m.step(stepTime=2.5)
    with m.subsystem("gated") as gated:
        gated.enable(opens)
        gated.output("y", t * 10.0)
    m.output("y", gated["y"])
    assert m.run()["y"].tolist() == [0.0, 0.0, 0.0, 30.0, 40.0, 50.0]


def test_functions_as_subsystems():
    @zarn.subsystem
    def mean(m, a, b, weight=0.5):
        return a * weight + b * (1 - weight)

    m = zarn.Model(ts=1.0, tf=1.0)
    m.output("y", mean(m, m.constant(2.0), m.constant(4.0), name="first"))
    m.output("z", mean(m, m.constant(2.0), m.constant(4.0), weight=0.25))
    run = m.run()
    assert (run["y"][0], run["z"][0]) == (3.0, 3.5)
    assert [block.path for block in m.blocks if block.block_class == "subsys"] == ["mainsys.first", "mainsys.mean"]


def pid_model():
    m = zarn.Model(ts=1e-2, tf=1.0)
    y = m.signal("flt64", name="y")
    y.close(y + 0.1 * m.pid(1.0 - y, 2.0, 1.0, 0.01, -5.0, 5.0))
    m.output("out", y)
    return m


def test_the_same_program_writes_the_same_bytes(tmp_path):
    for name in "ab":
        pid_model().save(tmp_path / name)
    assert (tmp_path / "a").read_bytes() == (tmp_path / "b").read_bytes()
    ids = [next(iter(block.values()))["id"] for block in json.loads((tmp_path / "a").read_text())["blocks"]]
    assert len(set(ids)) == len(ids) and all(10**15 <= number < 2**53 for number in ids)


def test_layout(tmp_path):
    pid_model().save(tmp_path / "m.json")
    data = json.loads((tmp_path / "m.json").read_text())
    boxes = {}
    for element in data["blocks"]:
        ((_, block),) = element.items()
        place = block["geometry"]
        assert 0 <= place["x"] <= 10000 and 0 <= place["y"] <= 10000 and place["width"] >= 1
        boxes.setdefault(block.get("parent", 0), []).append(place)
    for scope in boxes.values():
        for at, a in enumerate(scope):
            for b in scope[at + 1 :]:
                apart = (
                    a["x"] + a["width"] <= b["x"] or b["x"] + b["width"] <= a["x"]
                    or a["y"] + a["height"] <= b["y"] or b["y"] + b["height"] <= a["y"]
                )  # fmt: skip
                assert apart, (a, b)


def test_looking():
    m = pid_model()
    assert m.draw().svg.startswith("<svg") or "<svg" in m.draw().svg
    assert "<svg" in m._repr_svg_()
    order = m.explain(evaluate=True)
    assert len(order.blocks) > 10 and "memory" in order.text
    assert m.explain("pid", evaluate=True).blocks
    with pytest.raises(zarn.UsageError):
        m.explain("pidd")


def test_findings_are_objects():
    m = zarn.Model()
    m.subtract(m.constant(1.0), None, name="half")
    findings = m.check()
    assert not findings.ok
    found = findings.errors[0]
    assert found.code.startswith("Z") and found.path == "mainsys.half" and found.what and found.mend
    assert "mainsys.half" in repr(findings) and "<table>" in findings._repr_html_()
    with pytest.raises(zarn.ModelError) as caught:
        m.run()
    assert caught.value.code == found.code and caught.value.path == found.path


@pytest.mark.parametrize(
    "wrong",
    [
        lambda m: m.add("text", 1.0),
        lambda m: m.add(m.constant(1), None) + "text",
        lambda m: [m.constant(1, name="a"), m.constant(1, name="a")],
        lambda m: m.constant([object()]),
        lambda m: m.add(zarn.Model().constant(1), m.constant(1)),
        lambda m: m.find("nothing"),
        lambda m: m.subsystem("s", u=m.constant(1)).enable(m.find("s.u")[0]),
        lambda m: m.input("u", m.constant(1)),
        lambda m: m.subsystem("s")["y"],
        lambda m: m.pid(m.constant(1.0), 1.0, low=0.0),
        lambda m: m.state_space(m.constant(1.0), [[1, 2]], [[1]], [[1]]),
        lambda m: m.moving_average(m.constant(1.0), 0),
        lambda m: zarn.Model(ts="1"),
    ],
)
def test_mistakes(wrong):
    with pytest.raises(zarn.UsageError) as caught:
        wrong(zarn.Model())
    assert str(caught.value)


def test_a_signal_is_no_truth():
    m = zarn.Model()
    with pytest.raises(TypeError, match="no truth"):
        if m.constant(1.0) > 0:
            pass
    with pytest.raises(TypeError):
        m.constant(1.0).astype("complex")


# ---- random programs: the command makes of the file what the package makes of the model

NUMBERS = st.floats(-100, 100, allow_nan=False).map(lambda x: round(x, 3))
STEPS = st.one_of(
    st.tuples(st.sampled_from(["+", "-", "*", "<", "memory", "cast", "if", "abs", "sub"]), st.integers(0, 99), st.integers(0, 99)),
    st.tuples(st.just("constant"), NUMBERS, st.just(0)),
)


def build(steps):
    m = zarn.Model(ts=0.5, tf=3.0)
    signals = [m.time(), m.constant(2.0), m.sinewave(frequency=0.1)]
    loops = [m.signal("flt64")]
    signals.append(loops[0])
    for number, (what, a, b) in enumerate(steps):
        if what == "constant":
            signals.append(m.constant(a))
            continue
        x, y = signals[a % len(signals)], signals[b % len(signals)]
        if what == "+":
            made = x + y
        elif what == "-":
            made = x - y
        elif what == "*":
            made = 0.5 * x
        elif what == "<":
            made = m.switch(x < y, x, y)
        elif what == "memory":
            made = m.memory(x)
        elif what == "cast":
            made = m.clamp(x.astype("flt32"), -1e3, 1e3) + 0.0 * y
        elif what == "if":
            made = m.if_(x > 0.0, y, 1.0)
        elif what == "abs":
            made = abs(x)
        else:
            with m.subsystem(f"part{number}"):
                made = x + y
        signals.append(made)
    loops[0].close(m.clamp(signals[-1], -10.0, 10.0))
    m.output("last", signals[-1])
    return m


@settings(max_examples=12, deadline=None, database=None, suppress_health_check=list(HealthCheck))
@given(st.lists(STEPS, min_size=1, max_size=25))
def test_the_command_runs_what_programs_build(tmp_path_factory, steps):
    folder = tmp_path_factory.mktemp("model")
    m = build(steps)
    run = m.run(probes="*")
    m.save(folder / "m.json")
    command("run", folder / "m.json", "--probe-all", "-o", folder / "m.npz", "-q")
    told = np.load(folder / "m.npz")
    assert set(run) <= set(told)
    for name, one in run.items():
        assert told[name].tobytes() == one.tobytes(), name
    again = {}
    exec(m.to_python(), again)
    assert again["m"].meaning() == m.meaning() == zarn.load(folder / "m.json").meaning()
    with m.start() as stepper:
        for at in range(run.steps):
            stepper.step()
            assert all(stepper.value(name) == one[at] for name, one in run.items())


def test_a_large_model_is_built_quickly():
    m = zarn.Model()
    x = m.constant(1.0)
    begin = time.process_time()
    for _ in range(80_000):
        x = m.add(x, x)
    assert time.process_time() - begin < 1.0 * PATIENCE
    assert m.to_json().count("\n") > 240_000 - 80_000

"""Runs that their caller steps."""

import pickle
import time

import numpy as np
import pytest
from support import EXAMPLES, MOTOR, MOTOR_SPACE, NAMES, PATIENCE, python

import zarn


def sampled(stepper, paths):
    rows = []
    while not stepper.done:
        stepper.step()
        rows.append(stepper.values(paths))
    return list(zip(*rows))


@pytest.mark.parametrize("name", NAMES)
def test_steps_give_the_values_of_a_run(name):
    model, workspace = zarn.load(EXAMPLES / name / f"{name}.json"), EXAMPLES / name / "workspace.py"
    run = model.run(workspace=workspace, probes="*")
    whole = [path for path, one in run.items() if len(one) == run.steps]
    with model.start(workspace=workspace) as stepper:
        columns = sampled(stepper, whole)
    for path, column in zip(whole, columns):
        assert np.array(column, run[path].dtype).tobytes() == run[path].tobytes(), path


def loop():
    m = zarn.Model(ts=0.1, tf=100.0)
    y = m.signal("flt64", name="y")
    y.close(y + 0.1 * (m.input("u") - y))
    m.output("out", y)
    m.display(y, name="shown")
    m.output("noise", m.random(max=100.0, min=0.0, seed=7))
    m.output("bouncing", m.debounce(m.squarewave(timeOn=0.3, timeOff=0.4) > 0.0, rise=0.2, fall=0.0))
    m.output("least", m.min(m.sinewave(frequency=0.3)))
    return m


def test_inputs_are_written_between_steps():
    m = loop()
    values = np.sin(np.arange(1001) / 30.0)
    run = m.run(inputs={"u": values})
    with m.start() as s:
        assert s.inputs == ["mainsys.u"] and s["u"] == 0.0 and s.time == 0.0
        for at, value in enumerate(values):
            s["u"] = value
            assert s.step() == 1
            assert s.value("out") == run["out"][at] and s.value("shown") == run["shown"][at]
        assert s.done
        with pytest.raises(zarn.UsageError, match="ended"):
            s.step()


def test_many_steps_at_once():
    with loop().start() as s:
        s["u"] = 1.0
        assert s.step(400) == 400 and s.count == 400
        assert s.step(10**6) == 601


def test_snapshots():
    m = loop()
    paths = ["out", "noise", "bouncing", "least"]
    with m.start() as s:
        s["u"] = 1.0
        s.step(300)
        taken = s.snapshot()
        first = [s.values(paths) for _ in range(200) if s.step()]
        s["u"] = 5.0
        s.step(50)
        s.restore(taken)
        assert s.time == taken.time and s.count == 300
        assert [s.values(paths) for _ in range(200) if s.step()] == first
    with m.start() as other:
        other.restore(pickle.loads(pickle.dumps(taken)))
        assert [other.values(paths) for _ in range(200) if other.step()] == first


ELSEWHERE = """
import pickle, sys, zarn
model, workspace, taken = sys.argv[1:]
with zarn.load(model).start(workspace=workspace) as s:
    s.restore(pickle.load(open(taken, "rb")))
    s.step(500)
    print(*(s.value(path).hex() for path in ("mainsys.speed", "mainsys.current")))
"""


def test_a_snapshot_goes_on_in_another_process(tmp_path):
    with zarn.load(MOTOR).start(workspace=MOTOR_SPACE) as s:
        s.step(700)
        (tmp_path / "taken").write_bytes(pickle.dumps(s.snapshot()))
        s.step(500)
        expected = [s.value(path).hex() for path in ("mainsys.speed", "mainsys.current")]
    answer = python(ELSEWHERE, MOTOR, MOTOR_SPACE, tmp_path / "taken")
    assert answer.stdout.split() == expected, answer.stderr


def test_snapshots_of_another_model_are_refused():
    with loop().start() as s, zarn.load(MOTOR).start(workspace=MOTOR_SPACE) as other:
        with pytest.raises(zarn.UsageError, match="snapshot"):
            other.restore(s.snapshot())
        taken = s.snapshot()
        with pytest.raises(zarn.UsageError):
            s.restore(zarn.Snapshot(taken.data[:-1], 0.0))


def test_closed():
    s = loop().start()
    s.close()
    s.close()
    for use in (s.step, s.snapshot, lambda: s.value("out"), lambda: s["u"], lambda: s.time):
        with pytest.raises(zarn.UsageError, match="closed"):
            use()


def test_what_is_recorded_is_in_the_workspace_at_the_end():
    with zarn.load(MOTOR).start(workspace=MOTOR_SPACE) as s:
        s.step(100)
    assert len(s.workspace["mainsys"].speed) == 100


def test_a_model_that_changes_does_not_reach_a_run_under_way():
    m = loop()
    with m.start() as s:
        m.output("more", m.constant(1.0))
        s.step(10)
        with pytest.raises(zarn.UsageError):
            s.value("more")


@pytest.mark.parametrize("value", ["text", None, [1.0], 1j])
def test_wrong_values(value):
    with loop().start() as s:
        with pytest.raises(zarn.UsageError, match="is no flt64"):
            s["u"] = value
        with pytest.raises(zarn.UsageError):
            s["v"] = 1.0
        with pytest.raises(zarn.UsageError, match="signal nothing"):
            s.value("nothing")


def test_a_million_steps_in_a_second():
    m = zarn.Model(ts=1e-3, tf=1e4)
    x = m.signal("flt64")
    y = x
    for _ in range(18):
        y = m.poly1st(y, coeffA=0.5, coeffB=1.0)
    x.close(y)
    with m.start() as s:
        step, begin = s.step, time.process_time()
        for _ in range(1_000_000):
            step()
        assert time.process_time() - begin < 1.0 * PATIENCE

"""Models and values that were never meant well."""

import gc
import threading

import numpy as np
import pytest
from support import python

import zarn

EVIL = """{"blocks": [{"constant": {"name": "c", "id": 1000000000000001, "expression": "open('%s', 'w')"}},
 {"display": {"name": "d", "id": 1000000000000002}}],
 "links": [{"srcId": 1000000000000001, "dstId": 1000000000000002}], "model": {"ti": 0, "tf": 1, "ts": 0.5}}"""


def test_looking_executes_nothing(tmp_path):
    mark = tmp_path / "mark"
    m = zarn.loads(EVIL % mark)
    m.check()
    m.draw()
    m.to_python()
    m.meaning()
    m._understand()
    m.layout()
    m.save(tmp_path / "copy.json")
    repr(m), m._repr_svg_(), m.blocks
    with pytest.raises(zarn.Error):
        m.explain("nothing")
    assert not mark.exists()
    assert not m.check(evaluate=True).ok  # a file is no number
    assert mark.exists()


@pytest.mark.parametrize(
    "text",
    ["", "{", "[]", "5", '"blocks"', "null", "{}", '{"blocks": {}}', '{"blocks": [5]}', '{"blocks": [{"nothing": {}}]}',
     '{"blocks": [{"add": 5}]}', '{"blocks": [], "links": [{"srcId": 1}]}', '{"blocks": [], "model": {"ts": "x"}}',
     "\x00", "\ud800", '{"blocks": [{"constant": {"name": "c", "id": 1e300}}]}', "[" * 100000],
)  # fmt: skip
def test_files_that_are_no_models(text):
    m = zarn.loads(text)
    for ask in (m.check, m.draw, m.run, m.start, m.explain, m.meaning, m.to_python, m.layout, lambda: m.constant(1.0)):
        try:
            ask()
        except zarn.Error as error:
            assert str(error)


def test_names_of_any_kind():
    m = zarn.Model(ts=1.0, tf=1.0)
    for name in ("über", "two words", "class", "1st", 'quo"te', "dot.ted", "日本", "m", "zarn", "a" * 300):
        m.output(f"{name} out", m.constant(1.0, name=name))
    run = m.run()
    assert len(run) == 10 and all(one[-1] == 1.0 for one in run.values())
    space = {}
    exec(m.to_python(), space)
    assert space["m"].meaning() == m.meaning()


def test_parameters_that_are_no_numbers():
    m = zarn.Model(ts=1.0, tf=1.0)
    m.output("y", m.constant("k"))
    for k in (float("nan"), np.float32("inf")):
        assert not np.isfinite(m.run(workspace={"k": k})["y"][0])
    for k in (None, [1.0], object(), 1j, 2**70):
        with pytest.raises(zarn.ModelError) as caught:
            m.run(workspace={"k": k})
        assert caught.value.path == "mainsys.constant1"


def test_a_workspace_that_ends_the_process(tmp_path):
    file = tmp_path / "w.py"
    file.write_text("import sys\nsys.exit(3)\n")
    m = zarn.Model(ts=1.0, tf=1.0)
    m.output("y", m.constant("exit()"))
    with pytest.raises(zarn.WorkspaceError, match="SystemExit: 3"):
        m.run(workspace=file)
    with pytest.raises(zarn.ModelError):
        m.run()


def divides():
    m = zarn.Model(ts=1.0, tf=9.0)
    falling = m.switch(m.time() > 4.5, m.constant(-(2**31)), m.constant(8))
    m.output("y", m.divide(falling, m.switch(m.time() > 4.5, m.constant(-1), m.constant(2)), name="quotient"))
    return m


def test_a_divide_fault_is_an_exception():
    for _ in range(3):
        with pytest.raises(zarn.ModelError, match=r"divide fault at t = 5 s.*mainsys.quotient"):
            divides().run()
    with divides().start() as s:
        assert s.step(5) == 5 and s.value("y") == 4
        for _ in range(2):
            with pytest.raises(zarn.ModelError, match="divide fault"):
                s.step()
    with pytest.raises(zarn.ModelError, match="divide fault"):
        divides().start().step(100)
    m = zarn.Model(ts=1.0, tf=1.0)
    m.output("y", m.constant(1.0))
    assert m.run()["y"][0] == 1.0  # all is well behind it


def test_a_thousand_models():
    for number in range(1000):
        m = zarn.Model(ts=1.0, tf=2.0)
        m.output("y", m.constant(float(number)))
        assert m.run()["y"][-1] == number
    steppers = [m.start() for _ in range(200)]
    for stepper in steppers:
        stepper.step()
    assert all(stepper.value("y") == 999 for stepper in steppers)
    del steppers
    gc.collect()


def test_stepping_from_two_threads():
    m = zarn.Model(ts=1.0, tf=1e5)
    x = m.signal()
    x.close(x + 1.0)
    m.output("y", x)
    ends = []

    def work():
        with m.start() as s:
            while s.count < 5000:
                s.step(7)
            s.step(1)
            ends.append(s.value("y") - s.count)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60)
    assert ends == [-1.0] * 4


LEFT_OPEN = """
import zarn
m = zarn.Model(ts=1.0, tf=10.0)
m.output("y", m.constant(1.0))
s = m.start(workspace={"k": 1})
s.step()
held = [m.run()["y"], s.snapshot(), s]
print("well")
"""


def test_what_is_left_open_at_the_end():
    done = python(LEFT_OPEN)
    assert done.stdout == "well\n" and done.returncode == 0, done.stderr


def test_errors_are_pickled():
    import pickle

    m = zarn.Model()
    m.add(m.constant(1.0), None)
    with pytest.raises(zarn.ModelError) as caught:
        m.run()
    again = pickle.loads(pickle.dumps(caught.value))
    assert str(again) == str(caught.value) and again.code == caught.value.code

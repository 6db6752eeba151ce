"""Runs and their results."""

import os
import pickle
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import pytest
from support import EXAMPLES, MOTOR, MOTOR_SPACE, NAMES, PATIENCE, command

import zarn


def all_types():
    """A model with a signal of each type."""
    m = zarn.Model(ts=0.5, tf=4.0)
    t = m.time(name="t")
    for name in ("bool", "int8", "uint8", "int16", "uint16", "int32", "uint32", "int64", "uint64", "flt32", "flt64"):
        m.output(name, m.memory(t.astype(name), name=name + "_z"))
    return m


@pytest.mark.parametrize("name", NAMES)
def test_the_command_gives_the_same_bits(name, tmp_path):
    model, workspace = EXAMPLES / name / f"{name}.json", EXAMPLES / name / "workspace.py"
    out = tmp_path / "all.npz"
    command("run", model, "-w", workspace, "--probe-all", "-o", out, "-q")
    run = zarn.load(model).run(workspace=workspace, probes="*")
    told = np.load(out)
    assert {key for key in told if not key.endswith(".time") and key != "time"} == set(run)
    for key, one in run.items():
        assert one.dtype == told[key].dtype, key
        assert one.tobytes() == told[key].tobytes(), key


def test_a_signal_has_the_type_of_its_port_and_its_times():
    run = all_types().run()
    dtypes = [str(one.dtype) for one in run.values()]
    assert dtypes == ["bool", "int8", "uint8", "int16", "uint16", "int32", "uint32", "int64", "uint64", "float32", "float64"]
    assert run["flt64"].time.tolist() == [0.5 * n for n in range(9)]
    assert run["mainsys.int8"].tolist() == [0, 0, 0, 1, 1, 2, 2, 3, 3]
    assert run.steps == 9 and run.settings == {"ti": 0.0, "tf": 4.0, "ts": 0.5}


def test_memory_is_handed_over_and_outlives_the_run():
    run = zarn.load(MOTOR).run(workspace=MOTOR_SPACE)
    speed = run["mainsys.speed"]
    values = np.asarray(speed)
    assert not speed.flags.owndata and values.base is not None
    last = float(speed[-1])
    del run, speed
    assert float(values[-1]) == last


def test_gated_signals_have_the_times_at_which_they_ran():
    folder = EXAMPLES / "thermostat"
    run = zarn.load(folder / "thermostat.json").run(workspace=folder / "workspace.py", probes="heating.*.extra")
    one = next(iter(run.values()))
    assert 0 < len(one) < run.steps
    assert set(one.time) <= set(run.time) and np.all(np.diff(one.time) > 0)
    frame = run.to_pandas()
    assert len(frame) == run.steps and frame[one.name].count() == len(one)


def test_patterns():
    model = zarn.load(MOTOR)
    run = model.run(workspace=MOTOR_SPACE, probes=["controller.*", "motor:speed"])
    assert "mainsys.controller.error" in run and "mainsys.motor.i_next" not in run
    for wrong in ("nothing.*", "contoller.error", "#77", "controller.error:4"):
        with pytest.raises(zarn.UsageError, match="probe"):
            model.run(workspace=MOTOR_SPACE, probes=[wrong])
    with pytest.raises(zarn.UnknownSignalError, match="is it mainsys.controller.error"):
        run["controller.eror"]
    with pytest.raises(KeyError):
        run["nope"]


def test_workspaces(tmp_path):
    m = zarn.Model(ts=1.0, tf=2.0)
    m.output("y", m.constant("k * 2.0"))
    assert m.run(workspace={"k": 4})["y"][0] == 8.0
    module = type(sys)("space")
    module.k = 5
    assert m.run(workspace=module)["y"][0] == 10.0
    file = tmp_path / "space.py"
    file.write_text("import zarn\nk = 6\nkind = zarn.Result\n")
    run = m.run(workspace=file)
    assert run["y"][0] == 12.0 and run.workspace["kind"] is zarn.Result
    assert type(run.workspace["mainsys"]) is zarn.Result
    with pytest.raises(zarn.ModelError) as caught:
        m.run()
    assert caught.value.code == "Z401" and "k" in str(caught.value)
    file.write_text("1 / 0\n")
    with pytest.raises(zarn.WorkspaceError, match="ZeroDivisionError"):
        m.run(workspace=file)
    with pytest.raises(zarn.FileError):
        m.run(workspace=tmp_path / "missing.py")
    with pytest.raises(zarn.UsageError):
        m.run(workspace=5)


def test_results_for_the_workspace():
    run = zarn.load(MOTOR).run(workspace=MOTOR_SPACE)
    series = run.workspace["mainsys"].speed
    assert isinstance(series, zarn.TimeSeries)
    assert np.array_equal(series.ydata, run["speed"])


def integrator():
    m = zarn.Model(ts=0.25, tf=2.0)
    total = m.signal("flt64", name="total")
    u = m.input("u")
    total.close(total + u)
    m.output("y", total)
    m.output("u_out", u)
    return m


def test_inputs():
    m = integrator()
    values = np.arange(9.0) ** 2
    run = m.run(inputs={"u": values})
    assert run["u_out"].tolist() == values.tolist()
    assert run["y"].tolist() == [0.0, *np.cumsum(values)[:-1]]
    assert m.run(inputs={"mainsys.u": 2})["u_out"].tolist() == [2.0] * 9
    held = m.run(inputs={"u": ([0.0, 1.0], [3.0, 5.0])})["u_out"]
    assert held.tolist() == [3.0] * 4 + [5.0] * 5
    assert m.run(inputs={"u": run["u_out"]})["y"].tobytes() == run["y"].tobytes()
    assert m.run(inputs={"u": values}, engine="objects")["y"].tobytes() == run["y"].tobytes()


@pytest.mark.parametrize(
    "inputs, told",
    [
        ({"u": np.zeros(8)}, "8 values, but the run takes 9 steps"),
        ({"u": np.zeros((9, 2))}, "2 dimensions"),
        ({"u": ["a"] * 9}, "not numbers"),
        ({"v": 1.0}, "there is mainsys.u"),
        ({"u": ([0.0, 2.0, 1.0], [1.0, 2.0, 3.0])}, "times must rise"),
        ({"u": ([0.0, 1.0], [1.0])}, "2 times but 1 values"),
        ({"u": 1.0, "mainsys.u": 1.0}, "given twice"),
        ({"u": np.zeros(9, dtype=complex)}, "not numbers"),
    ],
)
def test_wrong_inputs(inputs, told):
    with pytest.raises(zarn.UsageError, match=told):
        integrator().run(inputs=inputs)


def test_files(tmp_path):
    folder = EXAMPLES / "thermostat"
    run = zarn.load(folder / "thermostat.json").run(workspace=folder / "workspace.py")
    command("run", folder / "thermostat.json", "-w", folder / "workspace.py", "-o", tmp_path / "c.csv", "-q")
    run.save(tmp_path / "p.csv")
    assert command("diff", tmp_path / "c.csv", tmp_path / "p.csv").returncode == 0
    run.save(tmp_path / "p.npz")
    command("run", folder / "thermostat.json", "-w", folder / "workspace.py", "-o", tmp_path / "c.npz", "-q")
    mine, theirs = np.load(tmp_path / "p.npz"), np.load(tmp_path / "c.npz")
    assert set(mine) == set(theirs)
    assert all(mine[key].tobytes() == theirs[key].tobytes() for key in mine)
    h5py = pytest.importorskip("h5py")
    run.save(tmp_path / "p.h5")
    with h5py.File(tmp_path / "p.h5") as file:
        assert all(np.array_equal(file[name][()], one) for name, one in run.items())
    with pytest.raises(zarn.UsageError):
        run.save(tmp_path / "p.txt")
    with pytest.raises(zarn.FileError):
        run.save(tmp_path / "missing" / "p.csv")
    assert not list(tmp_path.glob("*.part*"))


def test_comparison():
    a = integrator().run(inputs={"u": np.arange(9.0)})
    values = np.arange(9.0)
    values[4] += 1e-9
    b = integrator().run(inputs={"u": values})
    assert a.compare(a) and not a.compare(b)
    told = {row.name: row for row in a.compare(b)}
    assert told["mainsys.u_out"].at == 1.0 and told["mainsys.y"].at == 1.25
    assert a.compare(b, atol=1e-6)


def test_pictures_of_results(tmp_path):
    import matplotlib

    matplotlib.use("Agg")
    run = zarn.load(MOTOR).run(workspace=MOTOR_SPACE)
    assert len(run.plot().axes) == len(run)
    assert run["speed"].plot().get_lines()
    assert "<svg" in run._repr_html_() and "speed" in repr(run)


def test_results_are_pickled():
    run = zarn.load(MOTOR).run(workspace=MOTOR_SPACE)
    again = pickle.loads(pickle.dumps(run))
    assert again.compare(run) and again["speed"].name == "mainsys.speed"


def test_series_are_arrays():
    speed = zarn.load(MOTOR).run(workspace=MOTOR_SPACE)["speed"]
    assert len(speed[10:20].time) == 10 and speed[10:20].time[0] == speed.time[10]
    late = speed[speed > 50.0]
    assert len(late) == len(late.time)
    assert isinstance(float(speed.max()), float) and len((speed * 2).time) == len(speed)


def test_settings():
    model = zarn.load(MOTOR)
    assert model.run(0.5005, workspace=MOTOR_SPACE).steps == 501
    assert model.run(ti=0.25, tf=0.5, ts=0.01, workspace=MOTOR_SPACE).time[0] == 0.25
    with pytest.raises(zarn.ModelError):
        model.run(ts=0.0, workspace=MOTOR_SPACE)


def test_two_threads():
    expected = [zarn.load(MOTOR).run(workspace=MOTOR_SPACE), zarn.load(EXAMPLES / "replay" / "replay.json").run(workspace=EXAMPLES / "replay" / "workspace.py")]
    results = {}

    def work(number):
        for turn in range(8):
            if (number + turn) % 2:
                run = zarn.load(EXAMPLES / "replay" / "replay.json").run(workspace=EXAMPLES / "replay" / "workspace.py")
                results[number, turn] = bool(run.compare(expected[1]))
            else:
                results[number, turn] = bool(zarn.load(MOTOR).run(workspace=MOTOR_SPACE).compare(expected[0]))

    threads = [threading.Thread(target=work, args=(number,)) for number in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60)
        assert not thread.is_alive()
    assert len(results) == 24 and all(results.values())


def test_others_work_while_a_run_goes_on():
    m = integrator()
    ticks = []
    done = threading.Event()

    def tick():
        while not done.is_set():
            ticks.append(1)
            time.sleep(0.005)

    thread = threading.Thread(target=tick)
    thread.start()
    m.run(tf=1e6, probes="*")
    done.set()
    thread.join()
    assert len(ticks) > 3


INTERRUPTED = """
import sys, zarn
m = zarn.Model(ts=1e-9, tf=1e3)
m.output("y", m.time() * 2.0)
m2 = zarn.Model(ts=1e-3, tf=2e5)
x = m2.signal(); x.close(x + 1.0)
for n in range(200): x = x + 1.0
print("ready", flush=True)
try:
    m2.run(probes="add1")
except KeyboardInterrupt:
    print("interrupted")
r = zarn.Model(ts=1.0, tf=1.0)
r.output("y", r.time())
print(r.run().steps)
"""


def test_ctrl_c():
    process = subprocess.Popen([sys.executable, "-c", INTERRUPTED], stdout=subprocess.PIPE, text=True)
    assert process.stdout.readline() == "ready\n"
    time.sleep(0.7 * PATIENCE)
    begin = time.monotonic()
    os.kill(process.pid, signal.SIGINT)
    out, _ = process.communicate(timeout=60)
    assert out == "interrupted\n2\n" and time.monotonic() - begin < 5 * PATIENCE


def test_progress():
    told = []
    integrator().run(tf=3e6, probes="total", progress=told.append)
    assert told and told == sorted(told)

    class Enough(Exception):
        pass

    def stop(t):
        raise Enough

    with pytest.raises(Enough):
        integrator().run(tf=3e7, probes="total", progress=stop)


def test_a_large_result_is_not_copied():
    resource = pytest.importorskip("resource")
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    m = zarn.Model(ts=1e-6, tf=10.0)
    m.output("y", m.time(name="t"))
    y = m.run()["y"]
    grown = (resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before) / 1024
    assert len(y) >= 10**7 and grown < 2.6 * 80  # the values and their times

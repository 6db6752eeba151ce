"""Sweeps: every way of running one gives the same bits."""

import os
import pickle
import signal
import subprocess
import sys
import time

import numpy as np
import pytest
from support import MOTOR, MOTOR_SPACE, PATIENCE

import zarn

GAINS = {"kp": np.linspace(0.05, 0.4, 40), "ki": [0.5, 1.0, 2.0]}
KEPT = {"probes": ["mainsys.speed"], "measures": ["peak=max(mainsys.speed)", "last(mainsys.speed)"], "tf": 0.5}


def run(**more):
    return zarn.sweep(zarn.load(MOTOR), GAINS, workspace=MOTOR_SPACE, **{**KEPT, **more})


def same(a, b):
    for x, y in ((a.measures, b.measures), (a.signals, b.signals), (a.parameters, b.parameters)):
        assert set(x) == set(y)
        assert all(x[name].tobytes() == y[name].tobytes() for name in x)
    assert a.reasons == b.reasons and a.reduced == b.reduced


@pytest.fixture(scope="module")
def lanes():
    return run()


def test_rows_are_those_of_single_runs(lanes):
    assert len(lanes) == 120 and not lanes.failed.any()
    for row in (0, 1, 57, 119):
        space = zarn._workspace.make(MOTOR_SPACE).names
        space.update({name: float(values[row]) for name, values in lanes.parameters.items()})
        one = zarn.load(MOTOR).run(0.5, workspace=space)["speed"]
        assert lanes.signals["mainsys.speed"][row].tobytes() == one.tobytes()
        assert lanes.measures["peak"][row] == one.max()
    assert lanes.time.tobytes() == one.time.tobytes()


def test_grids_and_lists(lanes):
    assert lanes.parameters["ki"][:4].tolist() == [0.5, 1.0, 2.0, 0.5]
    pairs = zarn.sweep(
        zarn.load(MOTOR), {"kp": [0.1, 0.2], "ki": [1.0, 2.0]}, sample="zip", workspace=MOTOR_SPACE, measures="last(speed)", tf=0.1
    )
    assert len(pairs) == 2
    frame = lanes.to_pandas()
    assert list(frame.columns)[:2] == ["kp", "ki"] and len(frame) == 120 and "120 runs" in repr(lanes)


@pytest.mark.parametrize("sample", ["random", "sobol"])
def test_drawn(sample):
    values = {"kp": (0.1, 0.2), "ki": [0.5, 1.0]}
    a, b = (
        zarn.sweep(zarn.load(MOTOR), values, sample=sample, n=70, seed=3, workspace=MOTOR_SPACE, measures="last(speed)", tf=0.1)
        for _ in range(2)
    )
    same(a, b)
    assert len(a) == 70 and a.parameters["kp"].min() >= 0.1 and a.parameters["kp"].max() <= 0.2
    assert set(a.parameters["ki"]) == {0.5, 1.0}


def peak(row):
    return {"peak": float(row["speed"].max()), "kp2": row.parameters["kp"] * 2}


def test_reduce(lanes):
    reduced = run(reduce=peak)
    assert not reduced.signals
    assert [row["peak"] for row in reduced.reduced] == lanes.measures["peak"].tolist()
    assert "kp2" in reduced.to_pandas()

    def sometimes(row):
        return 1 / (row.number % 2)

    half = run(reduce=sometimes)
    assert half.failed.sum() == 60 and "ZeroDivisionError" in half.reasons[0] and half.reduced[1] == 1.0


def test_processes(lanes):
    same(lanes, run(executor="processes", workers=2))
    same(run(reduce=peak), run(reduce=peak, executor="processes", workers=1))


def test_a_worker_that_dies(lanes, tmp_path):
    mark = tmp_path / "died"
    script = f"""
import os, sys, signal
sys.path.insert(0, {os.path.dirname(os.path.abspath(__file__))!r})
import pickle, zarn, test_sweep
if __name__ == "__main__":
    result = test_sweep.run(executor="processes", workers=1, reduce=test_sweep.die_once)
    print(sum(result.reduced), result.failed.sum())
"""
    environment = {**os.environ, "DIED": str(mark)}
    file = tmp_path / "script.py"
    file.write_text(script)
    done = subprocess.run([sys.executable, str(file)], capture_output=True, text=True, env=environment, timeout=120)
    assert done.stdout.split() == ["120", "0"], done.stderr
    assert mark.exists()


def die_once(row):
    mark = os.environ["DIED"]
    if row.number == 64 and not os.path.exists(mark):
        open(mark, "w").close()
        os.kill(os.getpid(), signal.SIGKILL)
    return 1


def test_a_cluster(lanes):
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(
        n_workers=1, threads_per_worker=1, processes=True, dashboard_address=None
    ) as cluster, distributed.Client(cluster) as client:
        same(lanes, run(executor=client))


def test_folders(lanes, tmp_path):
    kept = run(out=tmp_path / "sweep")
    same(lanes, kept)
    assert isinstance(kept.signals["mainsys.speed"].base, np.memmap)
    with pytest.raises(zarn.UsageError, match="holds a sweep already"):
        run(out=tmp_path / "sweep")
    with pytest.raises(zarn.UsageError, match="another sweep"):
        run(out=tmp_path / "sweep", resume=True, tf=0.4)
    told = []
    same(lanes, run(out=tmp_path / "sweep", resume=True, progress=lambda done, all: told.append(done)))
    assert told == [120]


RESUMED = """
import sys, time, zarn
def slow(row):
    time.sleep(0.02)
    return row.parameters["kp"]
zarn.sweep(zarn.load(sys.argv[1]), {"kp": [0.01 * n for n in range(1, 301)]}, workspace=sys.argv[2], probes="speed", tf=0.05,
           reduce=slow, out=sys.argv[3], resume=True, progress=lambda done, all: print(done, flush=True))
"""


def test_a_sweep_goes_on_after_a_kill(tmp_path):
    arguments = [sys.executable, "-c", RESUMED, str(MOTOR), str(MOTOR_SPACE), str(tmp_path / "s")]
    process = subprocess.Popen(arguments, stdout=subprocess.PIPE, text=True)
    assert process.stdout.readline() == "0\n"
    first = int(process.stdout.readline())
    process.kill()
    process.wait()
    process.stdout.close()
    done = subprocess.run(arguments, capture_output=True, text=True, timeout=120, check=True)
    counts = list(map(int, done.stdout.split()))
    assert counts[0] >= first > 0 and counts[-1] == 300


def test_failed_runs_are_rows():
    m = zarn.Model(ts=1.0, tf=3.0)
    m.output("y", m.random(max="k", min=0.0, seed=5))
    result = zarn.sweep(m, {"k": [10.0, -5.0, 20.0]}, probes="y")
    assert result.reasons[0] == "" and result.reasons[2] == ""
    if result.reasons[1]:
        assert np.isnan(result.signals["mainsys.y"][1]).all()
    assert result.failed.tolist() == [False, bool(result.reasons[1]), False]


def test_parameters_of_blocks():
    m = zarn.Model(ts=1.0, tf=1.0)
    m.output("y", m.poly1st(m.constant(2.0), coeffA=1.0, coeffB=0.0, name="gain"))
    assert zarn.sweep(m, {"mainsys.gain.coeffA": [1.0, 3.0]}, probes="y").signals["mainsys.y"][:, 0].tolist() == [2.0, 6.0]


@pytest.mark.parametrize(
    "values, more",
    [
        ({}, {}),
        ({"kp": []}, {}),
        ({"kp": ["a"]}, {}),
        ({"kp": [np.nan]}, {}),
        ({"kp": [1.0, 2.0], "ki": [1.0]}, {"sample": "zip"}),
        ({"kp": (0.0, 1.0)}, {"sample": "random"}),
        ({"kp": [1.0]}, {"sample": "best"}),
        ({"kp": [1.0]}, {"probes": None, "measures": None}),
        ({"kp": [1.0]}, {"probes": ["nothing"]}),
        ({"kp": [1.0]}, {"measures": ["speed"]}),
        ({"kp": [1.0]}, {"executor": 5}),
        ({"nothing.coeffA": [1.0]}, {}),
    ],
)
def test_mistakes(values, more):
    with pytest.raises(zarn.Error):
        zarn.sweep(zarn.load(MOTOR), values, workspace=MOTOR_SPACE, **{**KEPT, **more})


def test_ctrl_c(tmp_path):
    code = RESUMED.replace("zarn.sweep(", "zarn.sweep(", 1)
    process = subprocess.Popen(
        [sys.executable, "-c", code, str(MOTOR), str(MOTOR_SPACE), str(tmp_path / "s")],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
    )  # fmt: skip
    assert process.stdout.readline() == "0\n"
    time.sleep(0.5 * PATIENCE)
    process.send_signal(signal.SIGINT)
    _, told = process.communicate(timeout=60)
    assert process.returncode != 0 and "KeyboardInterrupt" in told


def test_results_are_pickled(lanes):
    same(lanes, pickle.loads(pickle.dumps(lanes)))

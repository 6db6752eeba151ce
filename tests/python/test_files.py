"""Models from files, back into files, and as programs."""

import importlib.util
import json

import numpy as np
import pytest
from support import EXAMPLES, NAMES, ROOT, command

import zarn


def repository_models():
    """Every file of the repository that is a model which loads."""
    # what is in these is told apart by other tests: files that take all memory, and files that are none
    left_out = ("hazards", "fuzz", "bad", "attacks", "node_modules", "build")
    for folder in ("examples", "tests/data"):
        for path in sorted((ROOT / folder).rglob("*.json")):
            if any(part in path.parts for part in left_out) or path.stat().st_size > 200_000:
                continue
            try:
                data = json.loads(path.read_text())
            except ValueError:
                continue
            if isinstance(data, dict) and isinstance(data.get("blocks"), list):
                yield path


def meaning(model):
    try:
        return model.meaning()
    except zarn.Error:
        return None


MODELS = list(repository_models())


def test_there_are_models():
    assert len(MODELS) > 50


def test_load_and_save_keep_the_bytes(tmp_path):
    for path in MODELS:
        out = tmp_path / "out.json"
        zarn.load(path).save(out)
        assert out.read_bytes() == path.read_bytes(), path


def test_reading_and_writing_keep_the_meaning():
    compared = 0
    for path in MODELS:
        model = zarn.load(path)
        before = meaning(model)
        model._understand()
        if before is None or model._wrong:
            continue
        model._changed()
        assert zarn.loads(model.to_json(), str(path)).meaning() == before, path
        compared += 1
    assert compared > 50


def test_programs_mean_what_their_models_mean():
    neat = 0
    for path in MODELS:
        model = zarn.load(path)
        before = meaning(model)
        model._understand()
        if before is None or model._wrong:
            continue
        program = model.to_python()
        neat += "m.block(" not in program
        space = {}
        exec(compile(program, str(path), "exec"), space)
        assert space["m"].meaning() == before, f"{path}\n{program}"
    assert neat >= 10


def test_a_file_that_is_no_model_is_not_changed():
    model = zarn.loads('{"blocks": 5}')
    assert not model.check().ok
    with pytest.raises(zarn.ModelError, match="does not read as a model"):
        model.constant(1.0)
    with pytest.raises(zarn.FileError):
        zarn.load("/nowhere/model.json")


def test_a_loaded_model_goes_on(tmp_path):
    model = zarn.load(EXAMPLES / "motor" / "motor.json")
    model.output("doubled", model.find("motor")[0] * 2.0)
    model.set("ref", finalValue=50.0)
    run = model.run(workspace=EXAMPLES / "motor" / "workspace.py")
    assert run["doubled"][-1] == 2 * run["speed"][-1] and abs(run["speed"][-1] - 50) < 0.1
    model.save(tmp_path / "changed.json")
    assert command("check", tmp_path / "changed.json").returncode == 0


@pytest.mark.parametrize("name", NAMES)
def test_examples_as_programs(name, tmp_path):
    folder = EXAMPLES / name
    spec = importlib.util.spec_from_file_location(name, folder / f"{name}.py")
    program = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(program)
    workspace = folder / "workspace.py"
    built = program.model()
    ran, expected = (
        m.run(workspace=workspace) for m in (built, zarn.load(folder / f"{name}.json"))
    )
    assert bool(ran.compare(expected)), ran.compare(expected)
    assert built.meaning() == zarn.load(folder / f"{name}.json").meaning()
    table = np.genfromtxt(folder / "expected.csv", delimiter=",", names=True)
    assert len(table) > 0


def test_references(tmp_path):
    inner = zarn.Model(ts=0.5, tf=2.0)
    inner.output("y", inner.input("u") * 3.0)
    inner.save(tmp_path / "inner.json")
    m = zarn.Model(ts=0.5, tf=2.0, name=str(tmp_path / "outer.json"))
    t = m.time()
    part = m.reference("inner.json", {"u": t}, name="part")
    m.output("y", part[0])
    assert m.run()["y"].tolist() == [0.0, 1.5, 3.0, 4.5, 6.0]
    with pytest.raises(zarn.UsageError, match="no inport 'v'"):
        m.reference("inner.json", {"v": t})

"""The package as a whole: what is generated, typed, quick to import."""

import inspect
import os
import subprocess
import sys

import pytest
from support import PATIENCE, ROOT, command, python

import zarn
from zarn import _blocks, _core


@pytest.mark.parametrize("tool", ["make_python_blocks.py", "make_class_pages.py"])
def test_what_is_made_is_as_it_was_made(tool):
    done = subprocess.run([sys.executable, ROOT / "tools" / tool, "--check"], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr


def test_every_class_is_a_function():
    for facts in _core.classes():
        name = facts["name"]
        function = getattr(zarn.Model, name + "_" if name in ("if", "not", "from") else name, None)
        if name in ("enable", "subsystem"):
            function = function or zarn.Model.subsystem
        assert callable(function) and inspect.getdoc(function), name
        keys = inspect.signature(function).parameters
        for parameter in facts["parameters"] if name in _blocks.RULES else ():
            assert keys[parameter["name"]].default == parameter["default"]


def test_the_stub_has_all_of_the_module():
    import ast

    tree = ast.parse((ROOT / "python" / "zarn" / "_core.pyi").read_text())
    told = {}
    for node in tree.body:
        if isinstance(node, ast.ClassDef):
            told[node.name] = {item.name for item in node.body if isinstance(item, ast.FunctionDef)}
        elif isinstance(node, ast.FunctionDef):
            told[node.name] = set()
        elif isinstance(node, ast.AnnAssign):
            told[node.target.id] = set()
    there = {name for name in vars(_core) if not name.startswith("__")}
    assert there == set(told)
    for name, members in told.items():
        value = getattr(_core, name)
        if inspect.isclass(value):
            own = {key for key in vars(value) if not key.startswith("__")}
            assert own <= members, name
            assert {key for key in members if not key.startswith("__")} <= own, name


def test_types():
    mypy = pytest.importorskip("mypy.api")
    examples = [str(path) for path in sorted((ROOT / "examples").glob("*/*.py")) if path.name != "workspace.py"]
    out, told, status = mypy.run(
        ["--config-file", str(ROOT / "tools" / "mypy.ini"), "--cache-dir", os.devnull, str(ROOT / "python" / "zarn"), *examples]
    )
    assert status == 0, out + told


IMPORT = """
import sys, time
import numpy
begin = time.process_time()
import zarn
zarn.Model
zarn.load
print(time.process_time() - begin)
heavy = {"pandas", "matplotlib", "scipy", "h5py", "tqdm", "distributed", "asyncio", "multiprocessing"} & set(sys.modules)
print(*heavy)
"""


def test_the_import_is_quick():
    best = min(float(python(IMPORT).stdout.split()[0]) for _ in range(5))
    assert best < 0.060 * PATIENCE
    assert python(IMPORT).stdout.split("\n")[1] == ""


def test_all_that_is_offered_is_there():
    for name in zarn.__all__:
        assert getattr(zarn, name) is not None
    assert set(zarn.__all__) <= set(dir(zarn))
    with pytest.raises(AttributeError):
        zarn.nothing


def test_versions_agree():
    assert command("--version").stdout.split()[-1] == _core.version == zarn.__version__


def test_workspaces_of_the_command_can_use_the_package(tmp_path):
    script = tmp_path / "w.py"
    script.write_text(
        "import zarn\n"
        "inner = zarn.Model(ts=1.0, tf=3.0)\n"
        "inner.output('y', inner.time())\n"
        "last = float(inner.run()['y'][-1])\n"
    )
    m = zarn.Model(ts=1.0, tf=1.0)
    m.output("y", m.constant("last"))
    m.save(tmp_path / "m.json")
    assert "mainsys.y  3.0" in command("run", tmp_path / "m.json", "-w", script).stdout

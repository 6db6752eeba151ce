"""The wheel, in a virtual environment of its own."""

import os
import subprocess
import sys
from pathlib import Path

import pytest
from support import ROOT, ZARN


@pytest.fixture(scope="module")
def fresh(tmp_path_factory):
    folder = tmp_path_factory.mktemp("wheel")
    build = Path(ZARN).resolve().parent
    made = subprocess.run(
        [sys.executable, ROOT / "tools" / "make_wheel.py", build, folder], capture_output=True, text=True
    )
    assert made.returncode == 0, made.stderr
    # numpy and the tests' own packages are the machine's: nothing is fetched
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", folder / "venv"], check=True)
    python = folder / "venv" / "bin" / "python"
    environment = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
    subprocess.run(
        [python, "-m", "pip", "install", "-q", "--no-index", "--no-deps", made.stdout.strip()],
        check=True, env=environment,
    )  # fmt: skip
    return python, environment


def test_it_is_the_installed_one(fresh):
    python, environment = fresh
    code = "import zarn, zarn._core; print(zarn.__file__, zarn._core.__file__, open('/proc/self/maps').read().count('libblocks'))"
    told = subprocess.run([python, "-c", code], capture_output=True, text=True, env=environment)
    assert told.returncode == 0, told.stderr
    package, core, count = told.stdout.split()
    assert "venv" in package and "venv" in core and int(count) > 0
    code = "import zarn._core; print(*{line.split()[-1] for line in open('/proc/self/maps') if 'libblocks' in line})"
    told = subprocess.run([python, "-c", code], capture_output=True, text=True, env=environment)
    assert "venv" in told.stdout


@pytest.mark.parametrize("topic", ["step", "build"])
def test_the_tests_pass_with_it(fresh, topic):
    python, environment = fresh
    told = subprocess.run(
        [python, "-B", "-m", "pytest", "-q", "-x", "-p", "no:cacheprovider", f"test_{topic}.py"],
        cwd=Path(__file__).parent, env=environment, capture_output=True, text=True,
    )  # fmt: skip
    assert told.returncode == 0, told.stdout + told.stderr

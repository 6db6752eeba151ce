#!/usr/bin/python3
"""Makes a wheel of the package zarn, with the library in it, from a build folder.

    tools/make_wheel.py BUILD [OUT]
"""

from __future__ import annotations

import shutil
import subprocess
import sys
import sysconfig
import tempfile
from pathlib import Path

METADATA = """Metadata-Version: 2.1
Name: zarn
Version: {version}
Summary: Block diagrams in Python: build, run, look, sweep
Requires-Python: =={python}.*
Requires-Dist: numpy
Provides-Extra: all
Requires-Dist: pandas; extra == 'all'
Requires-Dist: matplotlib; extra == 'all'
Requires-Dist: scipy; extra == 'all'
Requires-Dist: h5py; extra == 'all'
Requires-Dist: tqdm; extra == 'all'
Requires-Dist: distributed; extra == 'all'
"""
WHEEL = "Wheel-Version: 1.0\nGenerator: zarn\nRoot-Is-Purelib: false\nTag: {tag}\n"


def main() -> int:
    build = Path(sys.argv[1]).resolve()
    out = Path(sys.argv[2] if len(sys.argv) > 2 else build / "wheel").resolve()
    out.mkdir(parents=True, exist_ok=True)
    (library,) = build.glob("libblocks.so.*.*")
    version = library.name.split(".so.")[1]
    python = f"{sys.version_info.major}.{sys.version_info.minor}"
    name = f"cp{python.replace('.', '')}"
    tag = f"{name}-{name}-{sysconfig.get_platform().replace('-', '_').replace('.', '_')}"
    with tempfile.TemporaryDirectory() as folder:
        stage = Path(folder) / "stage"
        subprocess.run(
            ["cmake", "--install", build, "--component", "python", "--prefix", stage, "--strip"],
            check=True, stdout=subprocess.DEVNULL,
        )  # fmt: skip
        (package,) = stage.rglob("zarn/__init__.py")
        root = package.parent.parent
        soname = f"libblocks.so.{version.split('.')[0]}"
        shutil.copy(library, root / "zarn" / soname)
        subprocess.run(["strip", "--strip-unneeded", root / "zarn" / soname], check=True)
        information = root / f"zarn-{version}.dist-info"
        information.mkdir()
        (information / "METADATA").write_text(METADATA.format(version=version, python=python))
        (information / "WHEEL").write_text(WHEEL.format(tag=tag))
        for cache in root.rglob("__pycache__"):
            shutil.rmtree(cache)
        subprocess.run([sys.executable, "-m", "wheel", "pack", root, "-d", out], check=True, stdout=subprocess.DEVNULL)
    print(next(out.glob(f"zarn-{version}-*.whl")))
    return 0


if __name__ == "__main__":
    sys.exit(main())

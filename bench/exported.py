#!/usr/bin/python3
"""The exported motor beside the one by hand: size of the code, room of an instance, time of a step.

    bench/exported.py ZARN
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
MOTOR = HERE.parent / "examples" / "motor"
COMPILERS = (("gcc",), ("clang",), ("arm-none-eabi-gcc", "-mcpu=cortex-m7", "-mfloat-abi=hard", "-mfpu=fpv5-d16", "-mthumb"))


def said(*command: object) -> str:
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True).stdout


def main() -> None:
    zarn = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        arguments = ["-w", MOTOR / "workspace.py", "--signals", "ports"]
        said(zarn, "export", "c", MOTOR / "motor.json", folder / "export", *arguments)
        print("| compiler | code by hand, bytes | exported | ratio | step by hand, ns | exported | ratio |")
        print("|---|---|---|---|---|---|---|")
        for compiler in COMPILERS:
            for level in "-O2", "-Os":
                if shutil.which(compiler[0]):
                    print(row(folder, (*compiler, level)))


def row(folder: pathlib.Path, compiler: tuple[str, ...]) -> str:
    options = (*compiler, "-std=c99", "-ffp-contract=off", f"-I{HERE}", f"-I{folder}")
    sizes, objects = [], []
    for source in HERE / "motor.c", folder / "export" / "motor.c":
        objects.append(folder / f"{source.parent.name}.o")
        said(*options, "-c", "-o", objects[-1], source)
        sizes.append(int(said("size", objects[-1]).splitlines()[1].split()[0]))  # code and constants
    cells = [" ".join(compiler), *map(str, sizes), f"{sizes[1] / sizes[0]:.2f}"]
    if "arm" in compiler[0]:
        return "| " + " | ".join([*cells, "", "", ""]) + " |"
    said(*options, "-o", folder / "exported", HERE / "exported.c", *objects)
    exported, hand = map(float, said(folder / "exported").split())
    return "| " + " | ".join([*cells, f"{hand:.2f}", f"{exported:.2f}", f"{exported / hand:.2f}"]) + " |"


if __name__ == "__main__":
    main()

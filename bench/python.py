#!/usr/bin/python3
"""The package of Python: a table of times, each of one process's processor time.

    PYTHONPATH=BUILD/python bench/python.py
"""

import subprocess
import sys
import time

IMPORT = "import time, numpy; t = time.process_time(); import zarn; zarn.Model; print(time.process_time() - t)"


def seconds(work):
    begin = time.process_time()
    work()
    return time.process_time() - begin


def build(count):
    import zarn

    m = zarn.Model(ts=1e-3, tf=10.0)
    x = m.constant(1.0)
    for _ in range(count):
        x = m.add(x, x)
    return m


def stepped(count):
    import zarn

    m = zarn.Model(ts=1e-3, tf=1e5)
    x = m.signal("flt64")
    y = x
    for _ in range(18):
        y = m.poly1st(y, coeffA=0.5, coeffB=1.0)
    x.close(y)
    with m.start() as s:
        step = s.step
        one = seconds(lambda: [step() for _ in range(count)])
        many = seconds(lambda: s.step(count))
    return one, many


def recorded(count):
    import zarn

    m = zarn.Model(ts=1.0, tf=float(count))
    m.output("y", m.time())
    return seconds(lambda: m.run())


def main():
    imports = min(
        float(subprocess.run([sys.executable, "-c", IMPORT], capture_output=True, text=True, check=True).stdout)
        for _ in range(5)
    )
    one, many = stepped(1_000_000)
    rows = [
        ("`import zarn` over bare numpy", f"{imports * 1e3:.0f} ms"),
        ("80,000 blocks by program", f"{seconds(lambda: build(80_000)):.2f} s"),
        ("1,000,000 single steps of 20 blocks", f"{one:.2f} s"),
        ("the same in one call, as a share of that", f"{many / one:.2f}"),
        ("10,000,000 steps recorded, to an array", f"{recorded(10_000_000):.2f} s"),
    ]
    print("| what | |\n|---|---|")
    for name, value in rows:
        print(f"| {name} | {value} |")


if __name__ == "__main__":
    main()

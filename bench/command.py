#!/usr/bin/env python3
"""Processor time and peak memory of the command, as whole processes, next to the library alone.

    bench/command.py BUILD [--quick] [--zarn FILE]

Prints a table for 80,000 and 1,000,000 blocks. Nothing of it asks the interpreter; every process is measured alone, by
what the system says it has used, so that what else the machine does counts little.
"""
import argparse
import os
import subprocess
import sys
import tempfile

VERBS = (
    ("run", ["run", "MODEL"]),
    ("check", ["check", "MODEL"]),
    ("explain", ["explain", "MODEL"]),
    ("inspect", ["inspect", "MODEL"]),
    ("draw, one level", ["draw", "MODEL", "-o", "FOLDER/level.svg"]),
    ("generate c", ["generate", "c", "MODEL", "FOLDER"]),
)
OF_A_MILLION = ("run", "check")
LONGEST_S = 300  # of processor time
MEBIBYTE = 1 << 10  # in the kibibytes of ru_maxrss


def usage(command):
    """Seconds of processor time, MiB at the peak, and whether all went well."""
    def limit():
        import resource
        resource.setrlimit(resource.RLIMIT_CPU, (LONGEST_S, LONGEST_S))

    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, preexec_fn=limit)
    _, status, used = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return used.ru_utime + used.ru_stime, used.ru_maxrss / MEBIBYTE, process.returncode == 0


def best(command, times):
    """The least of several measurements: what disturbs only ever adds."""
    rows = [usage(command) for _ in range(times)]
    return min(row[0] for row in rows), min(row[1] for row in rows), all(row[2] for row in rows)


def table(out, library, zarn, chains, steps, verbs, times):
    with tempfile.TemporaryDirectory() as folder:
        model = os.path.join(folder, "model.json")
        subprocess.run([library, "write", str(chains), str(steps), model], check=True)
        seconds, memory, _ = best([library, "run", model], times)
        print(f"\n{8 * chains:,} blocks, {steps} steps, a file of {os.path.getsize(model) >> 20} MiB:\n", file=out)
        print("| process | processor time s | times the library | peak MiB | times the library |", file=out)
        print("|---|---|---|---|---|", file=out)
        print(f"| library alone: load, compile, run | {seconds:.2f} | 1 | {memory:.0f} | 1 |", file=out)
        for name, arguments in verbs:
            line = [part.replace("MODEL", model).replace("FOLDER", folder) for part in arguments]
            own, peak, fine = best([zarn, *line], times)
            note = "" if fine else " (failed)"
            print(f"| zarn {name}{note} | {own:.2f} | {own / seconds:.1f} | {peak:.0f} | {peak / memory:.1f} |", file=out,
                  flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build")
    parser.add_argument("--quick", action="store_true", help="a tenth of the blocks, once")
    parser.add_argument("--zarn", help="the command, when it is not the build's")
    options = parser.parse_args()
    library = os.path.join(options.build, "bench", "bench_library")
    zarn = options.zarn or os.path.join(options.build, "zarn")
    part, times = (10, 1) if options.quick else (1, 3)
    table(sys.stdout, library, zarn, 10_000 // part, 100, VERBS, times)
    table(sys.stdout, library, zarn, 125_000 // part, 10, [verb for verb in VERBS if verb[0] in OF_A_MILLION], 1)


if __name__ == "__main__":
    main()

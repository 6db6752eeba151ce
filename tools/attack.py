#!/usr/bin/python3
"""Damaged models through every verb, within limits of memory and time, and against the library alone.

    tools/attack.py [--what KIND] [--zarn PATH] [--bare PATH] [--seconds N | --models N] [--seed N] [--jobs N] [--keep FOLDER]

What must hold of each model: no verb ends by a signal, a traceback or the limits; `check` finds an error exactly where
the library alone, a process of its own, refuses the model, hangs or leaves a block without a runnable form; `run` and
`generate` refuse exactly these; no finding is one about the checks themselves (Z901); what is asked as JSON is JSON.
Prints a line a failure and the totals; the models that failed are kept in FOLDER. Exit status 1 when there are any.
`--what` attacks with something else than models: workspaces, inputs (tables for exported programs) or protocol (messages to
`zarn serve`); see attack_others.py.
"""

import argparse
import collections
import concurrent.futures
import json
import math
import os
import pathlib
import random
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/host/command"))
import attack_others  # noqa: E402
import damage as damages  # noqa: E402

MEMORY = 1 << 30  # bytes of address space for one verb
SECONDS = 10  # of processor time for one verb
HANG = 2  # of processor time for the library alone, which does not end on a closed loop
MOST_STEPS = 10_000


def seeds():
    """The models that damage starts from, each with the files that it refers to beside it."""
    found = sorted((ROOT / "examples").glob("*/*.json"))
    found += sorted((ROOT / "tests/data/checks").glob("*_ok.json"))
    found += sorted((ROOT / "tests/data/vectors").glob("*/*.json"))
    found += sorted((ROOT / "tests/data/draw").glob("*.json"))
    models = []
    for file in found:
        if file.name.endswith((".inspect.json", ".run.json", ".expect.json")) or file.stat().st_size > 100_000:
            continue
        try:
            model = json.loads(file.read_text())
        except ValueError:
            continue
        if isinstance(model, dict) and "blocks" in model:
            models.append(file)
    return models


def steps_of(model):
    """How many steps the settings of a model ask for; 0 where they are no settings."""
    settings = model.get("model", {}) if isinstance(model, dict) else {}
    try:
        ti, tf, ts = (float(settings.get(key, other)) for key, other in (("ti", 0.0), ("tf", 10.0), ("ts", 1.0)))
        return (tf - ti) / ts if ts > 0 and math.isfinite(tf - ti) else 0
    except (TypeError, ValueError, AttributeError, OverflowError):
        return 0


def limits(seconds):
    def apply():
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 1))
        resource.setrlimit(resource.RLIMIT_FSIZE, (256 << 20, 256 << 20))

    return apply


class Attack:
    """One damaged model in a folder of its own."""

    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        self.problems = []

    def call(self, *arguments, seconds=SECONDS):
        try:
            return subprocess.run(
                arguments, cwd=self.folder, stdin=subprocess.DEVNULL, capture_output=True, timeout=6 * SECONDS,
                preexec_fn=limits(seconds),
            )
        except subprocess.TimeoutExpired:
            return subprocess.CompletedProcess(arguments, -signal.SIGXCPU, b"", b"")

    def verb(self, *arguments):
        """Calls the command; whatever the file holds, it ends by itself, with an answer."""
        run = self.call(self.options.zarn, *arguments)
        told = " ".join(arguments)
        if run.returncode not in (0, 1):
            self.problems.append(f"{told}: status {run.returncode}: {run.stderr[-200:]!r}")
        elif run.returncode == 1 and not run.stderr and not run.stdout:
            self.problems.append(f"{told}: refused without a word")
        for word in b"Traceback", b"terminate called", b"Z901":
            if word in run.stdout or word in run.stderr:
                self.problems.append(f"{told}: {word.decode()}")
        if "--json" in arguments and run.returncode in (0, 1):
            try:
                return run, json.loads(run.stdout)
            except ValueError:
                self.problems.append(f"{told}: no JSON: {run.stdout[:100]!r}")
        return run, None

    def judge(self, settings):
        """What the library alone makes of the model: "runs", "fault", or why it does not run."""
        run = self.call(self.options.bare, "m.json", *settings, seconds=HANG)
        if run.returncode == -signal.SIGFPE:
            return "fault"
        if run.returncode in (-signal.SIGXCPU, -signal.SIGKILL):
            return "hangs"
        if run.returncode < 0:
            return f"signal {-run.returncode}"
        return run.stdout.decode().strip()

    def attack(self, seed):
        chance = random.Random(seed)
        source = chance.choice(self.options.seeds)
        content, model = damaged(source, chance, self.options.classes)
        (self.folder / "m.json").write_bytes(content)
        for other in source.parent.glob("*.json"):
            if other.stat().st_size < 100_000 and other.name != "m.json":
                shutil.copy(other, self.folder)
        settings = [] if steps_of(model) <= MOST_STEPS else ["0", "1", "0.1"]
        how = ["--no-python"]
        for key, value in zip(("ti", "tf", "ts"), settings):
            how += ["--set", f"{key}={value}"]

        check, answer = self.verb("check", "m.json", "--json", *how)
        expected = self.judge(settings)
        fine = check.returncode == 0
        findings = answer.get("findings", []) if answer is not None else []
        if any(finding["code"] == "Z402" for finding in findings):  # not evaluated: the check does not know
            return "not evaluated", content, self.problems
        if answer is not None and expected != "fault" and fine != (expected == "runs"):
            codes = [finding["code"] for finding in findings if finding["severity"] == "error"]
            self.problems.append(f"check says {codes or 'fine'}, the library alone: {expected}")
        run, _ = self.verb("run", "m.json", "--probe-all", "--json", *how)
        if (run.returncode == 0) != fine and expected != "fault":
            self.problems.append(f"check says {'fine' if fine else 'errors'}, run ends with {run.returncode}: {run.stderr[-200:]!r}")
        generate, _ = self.verb("generate", chance.choice(["c", "py"]), "m.json", "out", *how)
        if (generate.returncode == 0) != fine:
            self.problems.append(f"check says {'fine' if fine else 'errors'}, generate ends with {generate.returncode}: {generate.stderr[-200:]!r}")
        self.verb("inspect", "m.json", "--json")
        self.verb("explain", "m.json", "--json", *how)
        self.verb("draw", "m.json", "-o", "m.svg", "--layout-time", "2")
        left = [name for name in os.listdir(self.folder) if name.endswith(".part")]
        if left:
            self.problems.append(f"files are left: {left}")
        return expected, content, self.problems


def damaged(source, chance, classes):
    """A damaged model as bytes, and as the document that it still is."""
    text = source.read_text()
    model = json.loads(text)
    kind = chance.randrange(10)
    if kind == 0:
        return damages.tear(text, chance), model
    if kind == 1:
        damages.damage(model, chance)
    else:
        damages.damage_diagram(model, chance, classes)
    return json.dumps(model, indent=1).encode(), model


def one(options, seed):
    with tempfile.TemporaryDirectory() as folder:
        attack = Attack(options, pathlib.Path(folder))
        if options.what == "models":
            return seed, *attack.attack(seed)
        outcome, content = attack_others.KINDS[options.what](attack, random.Random(seed))
        return seed, outcome, content, attack.problems


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--zarn", default=str(ROOT / "build/release/zarn"))
    parser.add_argument("--bare", default=str(ROOT / "build/release/tests/host/bare_host"))
    parser.add_argument("--seconds", type=float, default=0.0, help="how long to go on; 0 for --models")
    parser.add_argument("--models", type=int, default=1000)
    parser.add_argument("--seed", type=int, default=1, help="of the first model; each has the next")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--keep", type=pathlib.Path, default=ROOT / "build/attack")
    parser.add_argument("--what", choices=["models", *attack_others.KINDS], default="models")
    options = parser.parse_args()
    options.zarn = str(pathlib.Path(options.zarn).resolve())
    listed = json.loads(subprocess.run([options.zarn, "blocks", "--json"], capture_output=True, check=True).stdout)
    rows = listed if isinstance(listed, list) else next(value for value in listed.values() if isinstance(value, list))
    options.classes = sorted(row["class"] for row in rows)
    options.seeds = seeds()

    begin, outcomes, failures = time.monotonic(), collections.Counter(), 0
    seed, last = options.seed, options.seed + options.models
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        waiting = set()
        while True:
            elapsed = time.monotonic() - begin
            more = elapsed < options.seconds if options.seconds else seed < last
            while more and len(waiting) < 2 * options.jobs and (options.seconds or seed < last):
                waiting.add(pool.submit(one, options, seed))
                seed += 1
            if not waiting:
                break
            done, waiting = concurrent.futures.wait(waiting, return_when=concurrent.futures.FIRST_COMPLETED)
            for future in done:
                number, expected, content, problems = future.result()
                outcomes[expected] += 1
                if not problems:
                    continue
                failures += 1
                options.keep.mkdir(parents=True, exist_ok=True)
                (options.keep / f"{options.what}-{number}").write_bytes(content)
                for problem in problems:
                    print(f"{number}: {problem}", flush=True)
    print(f"{seed - options.seed} {options.what} in {time.monotonic() - begin:.0f} s, {failures} with a problem")
    for expected, count in outcomes.most_common():
        print(f"  {count:6} {expected}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

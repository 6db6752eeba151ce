#!/usr/bin/python3
"""Tests the tests: changes one place of the library's sources at a time and sees whether the suite notices.

    tools/mutants.py [--build FOLDER] [--mutants N] [--seed N] [--folders core,model,...] [--out FILE]

Works in the tree that it stands in, which must be clean, and puts every file back. A mutant is killed when a test fails,
crashes or does not end; one that does not compile counts for nothing. The programs of the mutant's own folder are tried
first, then the others. Prints a line a mutant and the share that was killed; the survivors go to FILE as well.
"""

import argparse
import collections
import pathlib
import random
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
FOLDERS = ["core", "framework", "model", "exec", "blocks", "files", "coder"]
WHOLE = ["properties", "model", "exec", "files", "coder", "diagnose", "framework", "blocks", "core",
         "reference"]
LONGEST = 120  # seconds that a test program may take, which takes a few

# what is changed: a pattern, and what may stand in its place
CHANGES = [
    (r" == ", [" != "]),
    (r" != ", [" == "]),
    (r" < ", [" <= ", " > "]),
    (r" <= ", [" < ", " > "]),
    (r" > ", [" >= ", " < "]),
    (r" >= ", [" > ", " < "]),
    (r" && ", [" || "]),
    (r" \|\| ", [" && "]),
    (r" \+ ", [" - "]),
    (r" - ", [" + "]),
    (r" \* ", [" + "]),
    (r" / ", [" * "]),
    (r"\btrue\b", ["false"]),
    (r"\bfalse\b", ["true"]),
    (r"\bresult_ok\b", ["result_failure"]),
    (r"\bresult_(?!ok|t|name)\w+\b", ["result_ok"]),
    (r"(?<=[ (\[,])0(?=[ ;,)\]])", ["1"]),
    (r"(?<=[ (\[,])1(?=[ ;,)\]])", ["0", "2"]),
    (r"!(?=[a-z_(])", [""]),
    (r"\bcontinue;", ["break;"]),
    (r"\breturn;", [";"]),
    (r"\+\+(?=\w)|(?<=\w)\+\+", ["--"]),
    (r"\bstd::min\b", ["std::max"]),
    (r"\bstd::max\b", ["std::min"]),
    (r"\bstable_sort\b", ["sort"]),
]
# a whole statement that goes
STATEMENT = re.compile(r"^\s+[\w:.\->\[\]()]+(\(.*\)| [-+|^&]?= .+);$")


def code_of(line):
    """The part of a line that is code, without texts and comments, and with the same columns."""
    line = re.sub(r'"(\\.|[^"\\])*"', lambda text: '"' + "_" * (len(text.group()) - 2) + '"', line)
    return re.sub(r"//.*", lambda text: " " * len(text.group()), line)


def places(file):
    """Every change that can be made to a file: line number, and the line as it becomes."""
    found = []
    for number, line in enumerate(file.read_text().splitlines()):
        code = code_of(line)
        if not code.strip() or code.lstrip().startswith(("#", "template", "static_assert", "using", "constexpr")):
            continue
        for pattern, others in CHANGES:
            for match in re.finditer(pattern, code):
                for other in others:
                    found.append((number, line[: match.start()] + other + line[match.end() :]))
        if STATEMENT.match(code) and not code.lstrip().startswith("return"):
            found.append((number, ""))
    return found


def equals():
    """Changes that are known to mean nothing: file and line."""
    lines = (ROOT / "tools/equal_mutants.txt").read_text().splitlines()
    return {tuple(line.split(": ", 1)) for line in lines if line.strip() and not line.startswith("#")}


def call(*command, seconds):
    """Whether a command ends well in time."""
    try:
        done = subprocess.run(command, cwd=ROOT, stdin=subprocess.DEVNULL, capture_output=True, timeout=seconds)
        return done.returncode == 0
    except subprocess.TimeoutExpired:
        return False


def killer_of(folder, build):
    """The test program that fails; "build" when there is none to run; empty when all pass."""
    for test in [folder] + [other for other in WHOLE if other != folder]:
        target = f"test_{test}"
        if not call("cmake", "--build", str(build), "--target", target, seconds=1200):
            return "build"
        if not call(str(build / "tests" / test / target), "--gtest_brief=1", "--gtest_fail_fast", seconds=LONGEST):
            return target
    return ""


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    parser.add_argument("--mutants", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--folders", default=",".join(FOLDERS))
    parser.add_argument("--out", type=pathlib.Path, default=ROOT / "build/mutants.txt")
    options = parser.parse_args()
    if subprocess.run(["git", "diff", "--quiet"], cwd=ROOT, check=False).returncode != 0:
        sys.exit("mutants: the tree has changes that are not committed")

    # every file as likely as its share of the changes within its folder, every folder as likely as another
    known = equals()
    sources = {}
    for folder in options.folders.split(","):
        changes = [(file, *place) for file in sorted((ROOT / folder).glob("*.cpp")) for place in places(file)]
        changes = [change for change in changes if (str(change[0].relative_to(ROOT)), change[2].strip()) not in known]
        if changes:
            sources[folder] = changes
    chance = random.Random(options.seed)
    outcomes = collections.Counter()
    begin = time.monotonic()
    for number in range(options.mutants):
        folder = chance.choice(sorted(sources))
        file, line, other = chance.choice(sources[folder])
        text = file.read_text()
        lines = text.splitlines(keepends=True)
        old = lines[line].rstrip("\n")
        lines[line] = other + "\n"
        try:
            file.write_text("".join(lines))
            killer = killer_of(folder, options.build)
        finally:
            file.write_text(text)
        outcome = "not built" if killer == "build" else "killed" if killer else "SURVIVED"
        outcomes[outcome] += 1
        report = f"{number + 1}: {outcome} {killer} {file.relative_to(ROOT)}:{line + 1}\n    {old.strip()}\n    {other.strip()}"
        print(report, flush=True)
        if outcome == "SURVIVED":
            with options.out.open("a") as out:
                out.write(report + "\n")
    built = outcomes["killed"] + outcomes["SURVIVED"]
    share = 100 * outcomes["killed"] / built if built else 0
    print(f"{outcomes['killed']} of {built} killed, {share:.1f} %, {outcomes['not built']} not built, "
          f"{(time.monotonic() - begin) / 60:.0f} min")


if __name__ == "__main__":
    main()

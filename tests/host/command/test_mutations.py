"""The example models, damaged in many ways: whatever a file holds, the command ends, with an answer."""

import json
import os
import pathlib
import random
import resource
import shutil
import subprocess
import unittest

from damage import damage, tear
from support import DATA, SANITIZERS, ZARN, CommandTest

EXAMPLES = sorted((DATA.parents[1] / "examples").glob("*/*.json"))
COUNT = int(os.environ.get("ZARN_MUTATIONS", "60"))  # damaged models
SEED = int(os.environ.get("ZARN_SEED", "1"))
MEMORY = 3 << 30
SECONDS = 60

# the verb, and whether its answer is on standard error
VERBS = [
    (["check", "m.json"], False),
    (["inspect", "m.json"], True),
    (["explain", "m.json"], True),
    (["run", "m.json", "--no-python", "--probe-all", "-o", "r.csv", "--set", "tf=0.5"], True),
    (["generate", "c", "m.json", "out", "--no-python"], True),
    (["draw", "m.json", "-o", "m.svg", "--layout-time", "2"], True),
]
MORE = [
    (["run", "m.json", "-w", "workspace.py", "--set", "tf=0.5"], True),
    (["run", "m.json", "-w", "workspace.py", "--set", "tf=0.5", "--json"], True),
    (["generate", "py", "m.json", "out", "-w", "workspace.py"], True),
    (["check", "m.json", "--json", "-w", "workspace.py"], False),
    (["check", "m.json", "--sarif"], False),
    (["inspect", "m.json", "--json", "-w", "workspace.py"], False),
    (["verify-engines", "m.json", "--no-python", "--set", "tf=0.5"], True),
]


# the address sanitizer takes address space without measure: there its runtime watches the memory
ENVIRONMENT = dict(os.environ)
if "address" in SANITIZERS:
    ENVIRONMENT["ASAN_OPTIONS"] = ENVIRONMENT.get("ASAN_OPTIONS", "") + f":hard_rss_limit_mb={MEMORY >> 20}"


def limits():
    if "address" not in SANITIZERS:
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_CPU, (SECONDS, SECONDS))


class Mutations(CommandTest):
    def answers(self, arguments, on_errors):
        """Runs the command within limits of memory and time, and compares nothing but how it ends."""
        run = subprocess.run(
            [ZARN, *arguments], cwd=self.folder, stdin=subprocess.DEVNULL, capture_output=True, timeout=2 * SECONDS,
            env=ENVIRONMENT, preexec_fn=limits,
        )
        told = (arguments, run.returncode, run.stderr[-500:])
        self.assertIn(run.returncode, (0, 1), told)
        if run.returncode != 0:
            self.assertTrue(run.stderr if on_errors else run.stdout, told)
        for text in run.stdout, run.stderr:
            self.assertNotIn(b"Traceback", text, told)
            self.assertNotIn(b"terminate called", text, told)
        if "--json" in arguments:
            json.loads(run.stdout)
        left = [name for name in os.listdir(self.folder) if name.endswith(".part")]
        self.assertEqual(left, [], told)
        if run.returncode != 0 and arguments[0] == "generate":
            self.assertFalse((self.folder / "out").exists(), told)

    def every_verb(self, name, seed, content, chance):
        for example in EXAMPLES:
            shutil.copy(example, self.folder)  # what references name
        shutil.copy(name.parent / "workspace.py", self.folder)
        (self.folder / "m.json").write_bytes(content)
        for arguments, on_errors in VERBS + chance.sample(MORE, 2):
            shutil.rmtree(self.folder / "out", ignore_errors=True)
            with self.subTest(seed=seed, example=name.name, verb=arguments):
                self.answers(arguments, on_errors)

    def test_values_that_are_changed_or_gone(self):
        for seed in range(SEED, SEED + COUNT):
            chance = random.Random(seed)
            name = EXAMPLES[seed % len(EXAMPLES)]
            model = json.loads(name.read_text())
            damage(model, chance)
            self.every_verb(name, seed, json.dumps(model).encode(), chance)

    def test_bytes_that_are_changed_or_gone(self):
        for seed in range(SEED, SEED + COUNT // 3):
            chance = random.Random(-seed)
            name = EXAMPLES[seed % len(EXAMPLES)]
            self.every_verb(name, seed, tear(name.read_text(), chance), chance)


if __name__ == "__main__":
    unittest.main()

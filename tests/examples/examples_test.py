"""Runs every example by the command and compares with the recurrences written out in recurrences.py.

    examples_test.py ZARN EXAMPLES
"""
import csv
import pathlib
import subprocess
import sys
import tempfile
import unittest

import recurrences

ZARN = EXAMPLES = None


def read_csv(path):
    with open(path, newline="", encoding="utf-8") as file:
        rows = list(csv.reader(file))
    return {name: [float(row[i]) for row in rows[1:]] for i, name in enumerate(rows[0])}


class Example(unittest.TestCase):
    def compare(self, name, expected, actual):
        self.assertEqual(sorted(expected), sorted(actual))
        for column, values in expected.items():
            self.assertEqual(len(values), len(actual[column]), f"{name}: length of {column}")
            for i, (e, a) in enumerate(zip(values, actual[column])):
                self.assertLessEqual(abs(e - a), 1e-12 * max(1.0, abs(e)), f"{name}: {column}, row {i}")

    def check(self, name):
        folder = EXAMPLES / name
        computed = recurrences.EXAMPLES[name]()
        self.compare(f"{name}: expected.csv", computed, read_csv(folder / "expected.csv"))
        for engine in ("objects", "plan"):
            with tempfile.TemporaryDirectory() as out:
                path = pathlib.Path(out) / "out.csv"
                result = subprocess.run(
                    [ZARN, "run", folder / f"{name}.json", "-w", folder / "workspace.py", "-o", path, "-q", "--engine", engine],
                    capture_output=True, text=True, check=False)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.compare(f"{name} by {engine}", computed, read_csv(path))

    def test_check_finds_no_error(self):
        for name in recurrences.EXAMPLES:
            folder = EXAMPLES / name
            result = subprocess.run([ZARN, "check", folder / f"{name}.json", "-w", folder / "workspace.py"],
                                    capture_output=True, text=True, check=False)
            self.assertEqual(result.returncode, 0, f"{name}: {result.stdout}{result.stderr}")

    def test_every_folder_is_run(self):
        self.assertEqual(sorted(p.name for p in EXAMPLES.iterdir() if p.is_dir()), sorted(recurrences.EXAMPLES))


for example in recurrences.EXAMPLES:
    setattr(Example, f"test_{example}", lambda self, example=example: self.check(example))

if __name__ == "__main__":
    EXAMPLES = pathlib.Path(sys.argv.pop()).resolve()
    ZARN = str(pathlib.Path(sys.argv.pop()).resolve())
    unittest.main()

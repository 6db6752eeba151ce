"""What the pages tell a reader to type works as it is written."""

import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import unittest

from support import DATA, ZARN, CommandTest

ROOT = DATA.parents[1]


def fenced(text):
    """Languages and contents of the fenced parts of a page."""
    return re.findall(r"^```(\w*)\n(.*?)^```", text, re.MULTILINE | re.DOTALL)


class Readme(CommandTest):
    def setUp(self):
        super().setUp()
        self.page = (ROOT / "README.md").read_text()
        (model,) = [content for language, content in fenced(self.page) if language == "json"]
        self.write("first_order.json", model)

    def shell(self, command, **options):
        path = str(pathlib.Path(ZARN).parent) + os.pathsep + os.environ["PATH"]
        return subprocess.run(
            ["sh", "-c", command], cwd=self.folder, env=os.environ | {"PATH": path}, stdin=subprocess.DEVNULL,
            capture_output=True, text=True, timeout=60, **options
        )

    def test_the_first_screen(self):
        shown = [content for _, content in fenced(self.page) if content.startswith("$ ")]
        self.assertEqual(len(shown), 1)
        command, _, answer = shown[0][2:].partition("\n")
        result = self.shell(command)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, answer, ""))

    def test_every_verb_of_the_table(self):
        verbs = re.findall(r"^\| `zarn ([^`]*)`", self.page, re.MULTILINE)
        self.assertEqual(
            [verb.split()[0] for verb in verbs],
            ["run", "check", "explain", "draw", "generate", "export", "export", "inspect", "blocks", "sweep", "tune", "studio",
             "serve", "verify", "cache", "diff", "schema", "help"],
        )
        options = dict.fromkeys(("run", "generate", "export", "inspect", "verify"), " -e 'k = 0.5'") | {
            "sweep": " --vary k=0.1:0.1:0.5 --measure 'top=max(mainsys.y)'",
            "tune": " --most 20 -e 'k = 0.5' --vary k=0.1:0.9 --minimise 'iae(mainsys.y, 1.0)'",
            "studio": " --help",  # which else goes on until it is ended
        }
        for verb in verbs:
            command = verb
            for word, stands_for in {
                "MODEL...": "MODEL", "MODEL": "first_order.json", " DIR": " out", "[CLASS]": "clamp", "[VERB]": "run",
                "c\\|py": "c", " FILE": " out.fmu", "A.csv": "y.csv", "B.csv": "y.csv",
            }.items():
                command = command.replace(word, stands_for)
            command += options.get(verb.split()[0], "")
            if verb.startswith("run"):
                command += " -o y.csv"
            if verb.startswith("verify"):
                command += " --ways plan,lanes"
            if verb.startswith("diff"):
                self.shell("zarn run first_order.json -q -e 'k = 0.5' -o y.csv")
            result = self.shell("zarn " + command)
            self.assertEqual(result.returncode, 0, (command, result.stderr))
            self.assertNotRegex(result.stdout + result.stderr, r"(?m)^(error|zarn: .* failed)")

    def test_every_verb_of_the_command_is_in_the_table(self):
        text = self.check("--help").stdout
        verbs = re.findall(r"^  ([a-z-]+)  ", text[text.index("Subcommands:") :], re.MULTILINE)
        for verb in set(verbs) - {"verify-engines"}:  # which is for those who work on the library
            self.assertRegex(self.page, rf"\| `zarn {verb}[ `]")

    def test_links_and_folders_exist(self):
        for target in re.findall(r"\]\(([^)#]+)\)", self.page):
            self.assertTrue((ROOT / target).exists(), target)
        for folder in re.findall(r"`([\w/]+/)`", self.page):
            self.assertTrue((ROOT / folder).is_dir(), folder)

    def test_commands_of_the_examples(self):
        commands = 0
        for page in sorted((ROOT / "examples").glob("*/readme.md")):
            shutil.copytree(page.parent, self.folder, dirs_exist_ok=True)
            for command in re.findall(r"^    (zarn .*)$", page.read_text(), re.MULTILINE):
                with self.subTest(example=page.parent.name, command=command):
                    commands += 1
                    result = self.shell(command)
                    self.assertEqual(result.returncode, 0, result.stderr)
                    words = shlex.split(command)
                    for option, file in zip(words, words[1:]):
                        if option in ("-o", "--plot"):
                            self.assertGreater((self.folder / file).stat().st_size, 0)
        self.assertGreaterEqual(commands, 6)

    def test_the_two_commands(self):
        """Both are there and can be called, each as a target of the Makefile; CI calls the second."""
        commands = [line.split() for _, part in fenced(self.page) for line in part.splitlines() if "make.sh" in line]
        self.assertEqual([command[:2] for command in commands], [["./make.sh", "run"], ["./make.sh", "test"]])
        self.assertTrue(os.access(ROOT / "make.sh", os.X_OK))
        for _, target, *_ in commands:
            self.assertRegex((ROOT / "Makefile").read_text(), rf"(?m)^{target}:")
        self.assertIn("{ ./make.sh test ||", (ROOT / ".ci/run").read_text())

    def test_what_make_run_runs(self):
        """A short table of last values, and a file."""
        (line,) = re.findall(r"^run: .*\n(?:\t@.*\n)*\t\$\(ZARN\) (.*)$", (ROOT / "Makefile").read_text(), re.MULTILINE)
        (self.folder / "out").mkdir()
        os.symlink(ROOT / "examples", self.folder / "examples")
        result = self.shell("zarn " + line)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        rows = result.stdout.splitlines()
        self.assertRegex(rows[0], r"^\d+ steps, the last at t = [\d.]{1,8} s$")
        self.assertTrue(2 <= len(rows) <= 12 and all(re.match(r"mainsys\.\S+ +\S+$", row) for row in rows[1:]), rows)
        self.assertTrue((self.folder / "out/motor.csv").read_text().startswith("time,mainsys."))

    def test_json_of_the_page_is_a_model_in_order(self):
        self.check("check", "first_order.json", "-e", "k = 0.5", out="no problem found")
        self.assertEqual(len(json.loads((self.folder / "first_order.json").read_text())["blocks"]), 6)


if __name__ == "__main__":
    unittest.main()

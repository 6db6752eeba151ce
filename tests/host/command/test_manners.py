"""How the command answers lines that it cannot read, and what it tells of itself."""

import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import unittest

from support import PATIENCE, ZARN, CommandTest, counter

SHARE = pathlib.Path(ZARN).parent / "share"  # what the build writes for an installation


class Lines(CommandTest):
    """Wrong use is told in one line, with the nearest thing that is right."""

    def test_lines_that_cannot_be_read(self):
        for line, answer in (
            ("", "a verb is missing; 'zarn help' lists the verbs"),
            ("chekc", "there is no verb 'chekc'; did you mean 'zarn check'?"),
            ("Run", "there is no verb 'Run'; did you mean 'zarn run'?"),
            ("verify-engine", "there is no verb 'verify-engine'; did you mean 'zarn verify-engines'?"),
            ("simulate", "there is no verb 'simulate'; 'zarn help' lists the verbs"),
            ("pump.json", "there is no verb 'pump.json'; did you mean 'zarn run pump.json'?"),
            ("models/pump", "there is no verb 'models/pump'; did you mean 'zarn run models/pump'?"),
            ("-", "there is no verb '-'; did you mean 'zarn run -'?"),
            ("help drw", "there is no verb 'drw'; did you mean 'zarn draw'?"),
            ("help help draw", "help: 'draw' is one word too many; 'zarn help help' tells what it takes"),
            ("--verison", "there is no option --verison; did you mean --version?"),
            ("--json run pump.json", "there is no option --json ahead of the verb; 'zarn help' lists the verbs"),
            ("run", "run: MODEL is required; 'zarn help run' tells what it takes"),
            ("run pump.json --proeb x", "run: there is no option --proeb; did you mean --probe?"),
            ("run pump.json --out=x.csv", "run: there is no option --out=x.csv; did you mean --output?"),
            ("run pump.json --fast", "run: there is no option --fast; 'zarn help run' tells what it takes"),
            ("run a.json b.json", "run: 'b.json' is one word too many; 'zarn help run' tells what it takes"),
            (
                "run a.json --engine steam",
                "run: --engine: steam not in {objects,plan,native}; 'zarn help run' tells what it takes",
            ),
            ("diff a.csv", "diff: B is required; 'zarn help diff' tells what it takes"),
            (
                "diff a.csv b.csv --rtol -1",
                "diff: --rtol: -1 is no number of 0 or more; 'zarn help diff' tells what it takes",
            ),
            ("blocks addd", "no block class 'addd'; did you mean add?"),
            ("blocks xyzzy", "no block class 'xyzzy'; 'zarn blocks' lists them"),
        ):
            with self.subTest(line=line):
                result = self.check(*line.split(), status=2, out="")
                self.assertEqual(result.stderr, f"zarn: {answer}\n")

    def test_an_empty_word_is_no_verb(self):
        result = self.check("", status=2, out="")
        self.assertEqual(result.stderr, "zarn: there is no verb ''; 'zarn help' lists the verbs\n")

    def test_a_line_of_no_printable_characters(self):
        result = self.check("\x1b[2J", status=2, out="")
        self.assertEqual(result.stderr, "zarn: there is no verb ' [2J'; 'zarn help' lists the verbs\n")


class Help(CommandTest):
    def test_help_is_a_verb_and_an_option(self):
        self.assertEqual(self.check("help", err="").stdout, self.check("--help", err="").stdout)
        for verb in ("run", "check", "help"):
            self.assertEqual(self.check("help", verb, err="").stdout, self.check(verb, "--help", err="").stdout)

    def test_help_that_nobody_gets_is_a_failure(self):
        for line in (["--help"], ["help"], ["run", "--help"], ["help", "run"], ["--version"]):
            with self.subTest(line=line), open("/dev/full", "w") as full:
                result = self.run_into(full, *line)
                self.assertEqual(result.returncode, 1)
                self.assertEqual(result.stderr, "zarn: standard output: No space left on device\n")


class Json(CommandTest):
    """Every object has a version, and tells a failure in the same words for all verbs."""

    def json(self, *line, status=0):
        return json.loads(self.check(*line, "--json", status=status).stdout)

    def test_every_verb_has_a_version(self):
        self.write("m.json", counter())
        self.write("a.csv", "time,x\n0,1\n")
        for line in (
            ["run", "m.json"],
            ["check", "m.json"],
            ["explain", "m.json"],
            ["inspect", "m.json"],
            ["generate", "c", "m.json", "out"],
            ["draw", "m.json", "-o", "m.svg"],
            ["blocks"],
            ["blocks", "clamp"],
            ["diff", "a.csv", "a.csv"],
        ):
            with self.subTest(line=line):
                answer = self.json(*line)
                self.assertEqual((answer["schema"], answer["result"]), (1, 0))

    def test_failures_have_one_shape(self):
        self.write("a.csv", "time,x\n0,1\n")
        self.write("b.csv", "time,x\n0,2\n")
        for line, status, what in (
            (["blocks", "addd"], 2, "no block class 'addd'; did you mean add?"),
            (["diff", "a.csv", "b.csv"], 1, "line 2, time 0, x: 1 and 2 differ by 1.0"),
            (["diff", "a.csv", "no.csv"], 2, "no.csv: No such file or directory"),
            (["draw", "no.json", "-o", "x.svg"], 1, None),
            (["check", "no.json"], 1, None),
            (["check", "no.json", "-w", "x.py", "--no-python"], 2, None),
            (["inspect", "no.json"], 1, None),
            (["generate", "c", "no.json", "out"], 1, None),
        ):
            with self.subTest(line=line):
                answer = self.json(*line, status=status)
                self.assertEqual((answer["schema"], answer["result"]), (1, -1))
                self.assertIsInstance(answer["findings"], list)
                if what is not None:
                    self.assertEqual(answer["error"], what)


class SeveralModels(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("good.json", counter())
        model = counter()
        del model.links[0]
        self.write("bad.json", model)

    def test_each_is_told_and_the_worst_is_the_status(self):
        result = self.check("check", "good.json", "bad.json", "good.json", status=1)
        lines = [line for line in result.stdout.splitlines() if ".json: " in line]
        self.assertEqual(lines[0], "good.json: no problem found")
        self.assertRegex(lines[-2], r"^bad\.json: \d+ error")
        self.assertEqual(lines[-1], "good.json: no problem found")
        self.check("check", "good.json", "good.json")

    def test_one_object_for_all(self):
        one = json.loads(self.check("check", "bad.json", "--json", status=1).stdout)
        all_of_them = json.loads(self.check("check", "good.json", "bad.json", "bad.json", "--json", status=1).stdout)
        self.assertEqual(list(all_of_them), ["errors", "models", "notes", "result", "schema", "warnings"])
        self.assertEqual([model["model"] for model in all_of_them["models"]], ["good.json", "bad.json", "bad.json"])
        self.assertEqual(all_of_them["models"][1], one)
        self.assertEqual(all_of_them["errors"], 2 * one["errors"])
        log = json.loads(self.check("check", "good.json", "bad.json", "--sarif", status=1).stdout)
        self.assertEqual(len(log["runs"][0]["results"]), len(one["findings"]))

    def test_all_share_one_workspace(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "gain"
        self.write("asks.json", model)
        self.check("check", "asks.json", "asks.json", "-e", "gain = 3.0", "-q", out="", err="")
        self.check("check", "good.json", "asks.json", "--python", status=1, out="NameError")


class StandardInput(CommandTest):
    """A model from a pipe; its references are relative to the current folder."""

    def piped(self, command, status=0):
        result = subprocess.run(
            ["bash", "-c", command], cwd=self.folder, env=os.environ | {"Z": ZARN}, capture_output=True, text=True,
            timeout=60 * PATIENCE,
        )
        self.assertEqual(result.returncode, status, result.stdout[-1000:] + result.stderr[-1000:])
        return result

    def test_every_verb_reads_it(self):
        self.write("m.json", counter())
        for verb in ("check", "explain", "inspect", "run", "draw", "run --no-python"):
            with self.subTest(verb=verb):
                want = self.check(*verb.split(), "m.json").stdout.replace("m.json", "-")
                self.assertEqual(self.piped(f'cat m.json | "$Z" {verb} -').stdout, want)
                self.assertEqual(self.piped(f'"$Z" {verb} - < m.json').stdout, want)
        self.assertEqual(self.piped('"$Z" run -q <(cat m.json) -o m.csv').stderr, "")
        self.piped('"$Z" generate c - out < m.json')

    def test_it_must_end(self):
        self.assertIn("not a regular file", self.piped('"$Z" check - < /dev/zero', status=1).stdout)
        self.assertEqual(self.piped('echo nonsense | "$Z" run -', status=1).stdout, "")


class Pages(CommandTest):
    """The manual and the completions are made of the command line itself."""

    def setUp(self):
        super().setUp()
        for name in ("pump.json", "gains.py", "notes.txt"):
            self.write(name, "")
        (self.folder / "models").mkdir()

    def verbs(self):
        text = self.check("--help").stdout
        return re.findall(r"^  ([a-z-]+)  ", text[text.index("Subcommands:") :], re.MULTILINE)

    def options(self, verb):
        return re.findall(r"^  (?:-\w,)?(--[a-z-]+)", self.check(verb, "--help").stdout, re.MULTILINE)

    def shell(self, *command):
        if shutil.which(command[0]) is None:
            self.skipTest(f"{command[0]} is not installed")
        result = subprocess.run(command, cwd=self.folder, capture_output=True, text=True, timeout=60)
        self.assertEqual((result.returncode, result.stderr), (0, ""), result.stdout)
        return result.stdout

    def bash(self, line):
        """What bash offers for the last word of a line."""
        words = line.split(" ")
        script = f"""
            source {shlex.quote(str(SHARE / "bash-completion/completions/zarn"))}
            COMP_WORDS=({" ".join(map(shlex.quote, words))}) COMP_CWORD={len(words) - 1}
            _zarn
            printf '%s\\n' "${{COMPREPLY[@]}}" """
        return self.shell("bash", "--norc", "-c", script).split()

    def test_bash_offers_verbs_options_and_values(self):
        self.assertEqual(self.bash("zarn "), [*self.verbs(), "--version", "--help"])
        self.assertEqual(self.bash("zarn ex"), ["explain", "export"])
        self.assertEqual(self.bash("zarn run "), ["models", "pump.json"])
        self.assertEqual(self.bash("zarn run pump.json -w "), ["gains.py", "models"])
        self.assertEqual(self.bash("zarn run pump.json --engine "), ["objects", "plan", "native"])
        self.assertEqual(self.bash("zarn run pump.json --probe "), [])
        self.assertEqual(self.bash("zarn run pump.json --pro"), ["--probe", "--probe-all"])
        self.assertEqual(self.bash("zarn run -q -w gains.py pu"), ["pump.json"])
        self.assertEqual(self.bash("zarn generate "), ["c", "py"])
        self.assertEqual(self.bash("zarn generate c "), ["models", "pump.json"])
        self.assertEqual(self.bash("zarn generate c pump.json "), ["models"])
        self.assertEqual(self.bash("zarn blocks cl"), ["clamp"])
        self.assertEqual(self.bash("zarn check --explain Z10")[:2], ["Z101", "Z102"])
        self.assertEqual(self.bash("zarn nonsense "), [])
        for verb in self.verbs():
            self.assertEqual(self.bash(f"zarn {verb} --"), self.options(verb), verb)

    def test_fish_offers_verbs_options_and_values(self):
        def offered(line):
            script = f"source {SHARE}/fish/vendor_completions.d/zarn.fish; complete -C {shlex.quote(line)}"
            return [row.split("\t")[0] for row in self.shell("fish", "--no-config", "-c", script).splitlines()]

        self.assertEqual(sorted(offered("zarn ")), sorted(self.verbs()))
        self.assertEqual(sorted(offered("zarn run pump.json --engine ")), ["native", "objects", "plan"])
        self.assertIn("pump.json", offered("zarn run "))
        for verb in self.verbs():
            self.assertLessEqual(set(self.options(verb)), set(offered(f"zarn {verb} --")), verb)

    def test_zsh_reads_its_functions(self):
        page = SHARE / "zsh/site-functions/_zarn"
        self.shell("zsh", "-n", str(page))
        for verb in self.verbs():
            self.assertRegex(page.read_text(), rf"(?m)^        {verb}\)$")

    def test_the_manual_has_every_verb_and_option(self):
        text = (SHARE / "man/man1/zarn.1").read_text()
        for verb in self.verbs():
            part = re.search(rf"(?s)^\.SS zarn {re.escape(verb.replace('-', chr(92) + '-'))}\n.*?(?=^\.S)", text, re.M)
            self.assertIsNotNone(part, verb)
            for option in self.options(verb):
                self.assertIn(f"\\fB{option}\\fR".replace("-", "\\-"), part.group(), verb)

    def test_the_manual_is_in_order(self):
        self.shell("mandoc", "-Tlint", "-W", "error", str(SHARE / "man/man1/zarn.1"))
        self.assertIn("zarn - check, run, translate", self.shell("mandoc", "-Tascii", str(SHARE / "man/man1/zarn.1")))


if __name__ == "__main__":
    unittest.main()

"""How the command answers lines that it cannot read, and what it tells of itself."""

import pathlib
import re
import shlex
import shutil
import subprocess
import unittest

from support import ZARN, CommandTest

SHARE = pathlib.Path(ZARN).parent / "share"  # what the build writes for an installation


class Lines(CommandTest):
    """Wrong use is told in one line, with the nearest thing that is right."""

    def test_lines_that_cannot_be_read(self):
        for line, answer in (
            ("", "a verb is missing; 'zarn help' lists the verbs"),
            ("chekc", "there is no verb 'chekc'; did you mean 'zarn check'?"),
            ("Run", "there is no verb 'Run'; did you mean 'zarn run'?"),
            ("verify", "there is no verb 'verify'; did you mean 'zarn verify-engines'?"),
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
                "run: --engine: steam not in {objects,plan}; 'zarn help run' tells what it takes",
            ),
            ("diff a.csv", "diff: B is required; 'zarn help diff' tells what it takes"),
            (
                "diff a.csv b.csv --rtol -1",
                "diff: --rtol: -1 is no number of 0 or more; 'zarn help diff' tells what it takes",
            ),
            ("blocks adder", "no block class 'adder'; did you mean add?"),
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
        self.assertEqual(self.bash("zarn ex"), ["explain"])
        self.assertEqual(self.bash("zarn run "), ["models", "pump.json"])
        self.assertEqual(self.bash("zarn run pump.json -w "), ["gains.py", "models"])
        self.assertEqual(self.bash("zarn run pump.json --engine "), ["objects", "plan"])
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
        self.assertEqual(offered("zarn run pump.json --engine "), ["objects", "plan"])
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

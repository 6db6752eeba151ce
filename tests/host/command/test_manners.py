"""How the command answers lines that it cannot read, and what it tells of itself."""

import unittest

from support import CommandTest


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


if __name__ == "__main__":
    unittest.main()

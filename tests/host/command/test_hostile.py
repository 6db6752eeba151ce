"""Files that were never meant to be models, and models that ask for too much."""

import json
import os
import subprocess
import unittest

from support import ZARN, CommandTest, Model, counter

VERBS = [["run"], ["inspect"], ["inspect", "--json"], ["check"], ["generate", "c"], ["verify-engines"]]


class Hostile(CommandTest):
    def every_verb(self, name, wanted=None, status=1):
        for verb in VERBS:
            with self.subTest(verb=verb, file=name):
                arguments = [*verb, name] + (["out"] if verb[0] == "generate" else [])
                result = self.check(*arguments, status=status, timeout=60)
                if wanted is not None:
                    self.assertIn(wanted, result.stderr + result.stdout)
                self.assertNotIn("terminate called", result.stderr)

    def test_no_file_and_no_regular_file(self):
        self.every_verb("no.json", "o such file")
        (self.folder / "folder").mkdir()
        self.every_verb("folder", "folder")
        self.every_verb("")
        os.mkfifo(self.folder / "pipe")
        self.every_verb("pipe", "pipe")
        self.every_verb("/dev/zero", "/dev/zero")

    def test_a_file_that_may_not_be_read(self):
        self.write("m.json", counter())
        (self.folder / "m.json").chmod(0)
        if os.access(self.folder / "m.json", os.R_OK):
            self.skipTest("this user may read everything")
        self.every_verb("m.json", "Permission denied")

    def test_texts_that_are_not_json(self):
        for i, content in enumerate(["", "{", "[", "nonsense", '{"blocks": [', "\0", "\ufeff"]):
            self.every_verb(self.write(f"{i}.json", content))
        (self.folder / "binary.json").write_bytes(bytes(range(256)) * 100)
        self.every_verb("binary.json")

    def test_json_that_is_no_model(self):
        for i, content in enumerate(
            ['{"blocks": 5}', '{"blocks": [5]}', '{"blocks": [{}]}', '{"blocks": [[]]}', '{"blocks": [{"add": 5}]}',
             '{"blocks": [{"adder": {}}]}', '{"blocks": [{"add": {"id": "x"}}]}', '{"blocks": [], "links": [5]}',
             '{"blocks": [], "links": [{"srcId": -1}]}', '{"blocks": [], "model": 5}', '{"blocks": [], "model": {"ti": "x"}}']
        ):
            self.write(f"{i}.json", content)
            for verb in VERBS:
                arguments = [*verb, f"{i}.json"] + (["out"] if verb[0] == "generate" else [])
                result = self.zarn(*arguments)
                self.assertIn(result.returncode, (0, 1), (content, verb, result.stderr))

    def test_deep_nesting(self):
        self.every_verb(self.write("deep.json", "[" * 200000), None)
        closed = '{"blocks": ' + "[" * 100000 + "]" * 100000 + "}"
        self.every_verb(self.write("closed.json", closed), None)
        objects = '{"a":' * 100000 + "1" + "}" * 100000
        for verb in VERBS:
            arguments = [*verb, self.write("objects.json", objects)] + (["out"] if verb[0] == "generate" else [])
            self.assertIn(self.zarn(*arguments).returncode, (0, 1))

    def test_deep_expressions(self):
        for text in "(" * 10000 + "1" + ")" * 10000, "-" * 100000 + "1", "[" * 10000:
            model = counter()
            model.blocks[1]["constant"]["expression"] = text
            self.write("m.json", model)
            for verb in ["run"], ["run", "--no-python"], ["inspect"], ["inspect", "--python"]:
                self.assertEqual(self.zarn(*verb, "m.json").returncode, 1, verb)

    def test_absurd_port_counts_are_refused_before_they_are_made(self):
        for count in -1, 65536, 10**9, 2**31 - 1, 2**31, 10**18, 2**64 - 1, 1e300, -2147483648:
            for key in "inputs", "outputs":
                model = counter()
                model.add("add", "wide", **{key: count})
                self.write("m.json", model)
                for verb in ["run"], ["generate", "c"]:
                    result = self.check(*verb, "m.json", *(["out"] if verb[0] == "generate" else []), status=1)
                    self.assertIn("wide", result.stderr, (count, key))
        model = counter()
        model.add("add", "wide", inputs=2**31 - 1)
        self.write("m.json", model)
        self.check("inspect", "m.json", status=1, err="'wide' (add)", out="")
        model = counter()
        for i in range(400):
            model.add("add", f"wide{i}", inputs=65535)
        self.write("m.json", model)
        self.check("inspect", "m.json", status=1, err="the model has more than 20000000 ports", out="")

    def test_port_counts_of_referenced_files_count_too(self):
        part = Model()
        part.add("add", "wide", inputs=2**31 - 1)
        self.write("part.json", part)
        model = counter()
        model.add("refsys", "part", path="part.json")
        self.write("m.json", model)
        self.check("inspect", "m.json", status=1, err="reference 'part.json': block 'wide'", out="")
        self.check("run", "m.json", status=1)

    def test_forty_thousand_inputs_are_a_bad_model_and_no_more(self):
        model = counter()
        model.add("add", "wide", inputs=40000)
        self.write("m.json", model)
        self.assertEqual(json.loads(self.check("inspect", "--json", "m.json", status=1).stdout)["result"], 6)

    def test_references_that_cannot_be_read(self):
        for path in "", "no.json", ".", "/dev/zero", "m.json", "../../../etc/passwd":
            model = counter()
            model.add("refsys", "part", path=path)
            self.write("m.json", model)
            for verb in VERBS:
                arguments = [*verb, "m.json"] + (["out"] if verb[0] == "generate" else [])
                result = self.zarn(*arguments, timeout=60)
                self.assertIn(result.returncode, (0, 1), (path, verb, result.stderr))

    def test_steps_without_end_are_refused_before_the_start(self):
        for settings in {"ts": 1e-300}, {"ti": 1e16, "tf": 2e16, "ts": 1.0}, {"tf": 1e300, "ts": 1.0}:
            self.write("m.json", counter(**settings))
            self.check("run", "m.json", status=1, timeout=20, out="")
        self.write("m.json", counter())
        for setting in "tf=inf", "ti=-inf", "tf=nan", "ts=nan", "ts=inf":
            self.check("run", "m.json", "--set", setting, status=2, timeout=20, out="", err="expected ti=NUMBER")

    def test_steps_without_a_solution_of_time(self):
        self.write("m.json", counter(ti=1.0, tf=1.0))
        self.check("run", "m.json", status=1)
        self.write("m.json", counter(ts=-1.0))
        self.check("run", "m.json", status=1)

    def test_names_of_all_kinds(self):
        for name in "", "\n", '"', "a,b", "a.b", "ä ö", "x" * 100000, "'", "%s{}", "../../x", "</script>":
            model = counter()
            model.blocks[2]["multiply"]["name"] = name
            self.write("m.json", model)
            result = self.zarn("run", "m.json", "--probe-all", "-o", "r.csv", "--set", "tf=0.5")
            self.assertEqual(result.returncode, 0, (name[:50], result.stderr[:500]))
            rows = self.csv("r.csv")
            self.assertTrue(all(len(row) == 5 for row in rows), name[:50])
            json.loads(self.check("inspect", "--json", "m.json").stdout)

    def test_duplicate_ids_do_not_crash(self):
        model = counter()
        model.blocks[1]["constant"]["id"] = model.blocks[0]["time"]["id"]
        self.write("m.json", model)
        for verb in VERBS:
            arguments = [*verb, "m.json"] + (["out"] if verb[0] == "generate" else [])
            self.assertIn(self.zarn(*arguments).returncode, (0, 1), verb)

    def test_a_closed_reader_ends_the_command(self):
        model = counter()
        for i in range(3000):
            model.add("constant", f"c{i}", expression="1")
        self.write("m.json", model)
        command = f"'{ZARN}' inspect --json m.json | head -c 10"
        result = subprocess.run(["sh", "-c", command], cwd=self.folder, capture_output=True, text=True, timeout=30)
        self.assertEqual(result.stdout, '{"result":')
        self.assertEqual(result.stderr, "")


if __name__ == "__main__":
    unittest.main()

"""Files that were never meant to be models, and models that ask for too much."""

import json
import os
import re
import resource
import subprocess
import unittest

from support import SANITIZERS, ZARN, CommandTest, Model, counter

VERBS = [["run"], ["inspect"], ["inspect", "--json"], ["check"], ["generate", "c"], ["verify-engines"]]
VERBS += [["explain"], ["draw", "-o", "m.svg", "--layout-time", "2"], ["run", "--no-python"]]
WRONG = [None, True, -1, 2**64, 1.5, "text", "", [], [1], {}, {"a": 1}]  # one of each JSON type and more


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
        self.write("closed.json", closed)
        self.ends("closed.json", verbs=[verb for verb in VERBS if verb[0] != "draw"], status=(1,))
        self.ends("closed.json", verbs=[["draw", "-o", "m.svg"]])
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

    def ends(self, name="m.json", verbs=VERBS, status=(0, 1)):
        """Every verb comes to an end, and says something where it is not content."""
        for verb in verbs:
            arguments = [*verb, name] + (["out"] if verb[0] == "generate" else [])
            result = self.zarn(*arguments)
            told = (verb, result.stderr[-500:])
            self.assertIn(result.returncode, status, told)
            self.assertNotIn("Traceback", result.stderr)
            if result.returncode != 0:
                self.assertTrue(result.stderr or result.stdout, told)

    def test_wrong_types_everywhere(self):
        verbs = [["run", "--no-python"], ["inspect"], ["draw", "-o", "m.svg"]]
        for key in "name", "id", "parent", "inportCount", "outportCount", "geometry", "bg", "expression":
            for value in WRONG:
                with self.subTest(key=key, value=value):
                    model = counter()
                    model.blocks[1]["constant"][key] = value
                    self.write("m.json", model)
                    self.ends(verbs=verbs)
        for key in "srcId", "dstId", "srcPort", "dstPort", "label", "breakpoints":
            for value in WRONG:
                with self.subTest(key=key, value=value):
                    model = counter()
                    model.links[0][key] = value
                    self.write("m.json", model)
                    self.ends(verbs=verbs[1:])
        for key in "ti", "tf", "ts":
            for value in WRONG:
                with self.subTest(key=key, value=value):
                    self.write("m.json", counter(**{key: value}))
                    self.ends(verbs=verbs[1:])
        for key in "blocks", "links", "model":
            for value in WRONG:
                with self.subTest(key=key, value=value):
                    content = json.loads(counter().text())
                    content[key] = value
                    self.write("m.json", json.dumps(content))
                    self.ends(verbs=verbs[1:])

    def test_a_wrong_type_is_told_with_its_place(self):
        model = counter()
        model.blocks[2]["multiply"]["parent"] = "top"
        self.write("m.json", model)
        for verb in ["run"], ["generate", "c"], ["verify-engines"], ["explain"]:
            arguments = [*verb, "m.json"] + (["out"] if verb[0] == "generate" else [])
            result = self.check(*arguments, status=1, out="", err="m.json:1:")
            self.assertIn("/blocks/2/multiply/parent", result.stderr)
            self.assertIn("mainsys.double (multiply)", result.stderr)
            self.assertRegex(result.stderr, "mend .+")

    def test_huge_numbers(self):
        for number in "1e400", "-1e400", "9" * 400, "0." + "0" * 400 + "1", "-0", "1E+9999999999", "18446744073709551616":
            for key in "id", "parent", "inportCount":
                model = counter()
                model.blocks[1]["constant"][key] = "@"
                self.write("m.json", model.text().replace('"@"', number))
                self.ends(verbs=[["run", "--no-python"], ["inspect"], ["draw", "-o", "m.svg"]])
            for key in "ti", "tf", "ts":
                self.write("m.json", counter(**{key: "@"}).text().replace('"@"', number))
                self.ends(verbs=[["check"], ["inspect"], ["draw", "-o", "m.svg"]])

    def test_bytes_that_are_no_utf_8(self):
        good = counter().text().encode()
        for bytes_ in b"\xff", b"\xc3", b"\xed\xa0\x80", b"\xf8\x88\x80\x80\x80", b"\xc0\xaf":
            (self.folder / "m.json").write_bytes(good.replace(b'"double"', b'"dou' + bytes_ + b'ble"'))
            self.ends(verbs=[verb for verb in VERBS if verb[0] != "draw"], status=(1,))
            self.check("check", "m.json", status=1, out="m.json:1:")
            self.ends(verbs=[["draw", "-o", "m.svg"]])

    def test_a_file_that_ends_early(self):
        text = counter().text()
        for length in range(0, len(text), 23):
            self.write("m.json", text[:length])
            self.check("run", "--no-python", "m.json", status=1, out="", err="the text is not JSON")
        self.write("m.json", text[: len(text) // 2])
        self.ends(status=(1,))

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

    def test_a_circle_of_references(self):
        for name, other in ("a", "b"), ("b", "a"):
            model = counter()
            model.add("refsys", "part", path=f"{other}.json")
            self.write(f"{name}.json", model)
        self.ends("a.json")
        self.check("check", "a.json", out="warning Z111 mainsys.part.part (refsys): ")
        model = counter()
        model.add("refsys", "part", path="m.json")
        self.write("m.json", model)
        self.ends()
        self.check("check", "m.json", out="warning Z112 mainsys.part (refsys): ")

    def test_one_file_referred_to_without_measure(self):
        """The copies would take far more memory than the files."""
        part = Model()
        for i in range(20000):
            part.add("add", f"a{i}", inputs=3)
        self.write("part.json", part)
        model = counter()
        for i in range(30000):
            model.add("refsys", f"r{i}", path="part.json")
        self.write("m.json", model)
        for verb in ["check"], ["inspect"], ["run", "--no-python"], ["explain"]:  # a drawing has a file once
            result = self.check(*verb, "m.json", status=1, timeout=60)
            told = result.stdout + result.stderr
            self.assertRegex(told, r" m.json: with reference 'part.json' the model takes about \S+ GiB")

    def limited(self, kilobytes, *arguments):
        """Runs with so much address space."""
        limit = kilobytes * 1024
        return self.zarn(*arguments, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))

    @unittest.skipIf("address" in SANITIZERS, "the sanitizer needs more address space than there would be")
    def test_a_file_larger_than_the_memory(self):
        with open(self.folder / "m.json", "wb") as file:
            file.truncate(1 << 40)
        with open(self.folder / "half.json", "wb") as file:
            file.truncate(1 << 29)
        for verb in ["run", "--no-python"], ["inspect"], ["check"], ["explain"], ["draw"]:
            result = self.limited(400_000, *verb, "m.json")
            self.assertEqual(result.returncode, 1, verb)
            self.assertRegex(result.stdout + result.stderr, r"m\.json: takes about 2.05e\+04 GiB once it is loaded")
            result = self.limited(400_000, *verb, "half.json")
            self.assertEqual(result.returncode, 1, verb)
            self.assertRegex(result.stdout + result.stderr, r"half\.json: .*(memory|machine has)")

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

    def test_names_and_texts_do_nothing_to_a_terminal(self):
        wild = "a\x1b[31m\x1b]0;title\x07b\nzarn: c\r\x9b5m\u202e\x7f"
        model = counter()
        for block in model.blocks:
            next(iter(block.values()))["name"] = wild
        broken, unknown = counter(), counter()
        broken.blocks[1]["constant"]["expression"] = wild
        broken.blocks[1]["constant"]["name"] = wild
        unknown.blocks.append({wild: {"name": wild, "id": 77}})
        reference = counter()
        reference.add("refsys", wild, path=wild)
        control = re.compile("[\x00-\x08\x0b-\x1f\x7f-\x9f\u202a-\u202e]")
        for kind in model, broken, unknown, reference:
            self.write("m.json", kind)
            for verb in [*VERBS, ["check", "--json"], ["run", "--json"], ["explain", "--json"], ["check", "--python"]]:
                arguments = [*verb, "m.json"] + (["out"] if verb[0] == "generate" else [])
                result = self.zarn(*arguments)
                self.assertEqual(control.findall(result.stderr), [], (verb, result.stderr))
                if "--json" not in verb:
                    self.assertEqual(control.findall(result.stdout), [], (verb, result.stdout))
                self.assertNotIn("\nzarn: c", result.stderr)

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
        self.assertEqual(result.stdout, '{"schema":')
        self.assertEqual(result.stderr, "")


if __name__ == "__main__":
    unittest.main()

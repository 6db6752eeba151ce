"""zarn inspect, generate, blocks, diff and verify-engines."""

import json
import os
import pathlib
import subprocess
import unittest

from support import DATA, ZARN, CommandTest, Model, counter, gated


class Inspect(CommandTest):
    def inspect(self, *arguments, status=0):
        return json.loads(self.check("inspect", "--json", *arguments, status=status).stdout)

    def test_the_object_has_all_members_in_order(self):
        self.write("m.json", gated())
        answer = self.inspect("m.json")
        self.assertEqual(
            list(answer), ["schema", "result", "result_name", "meaning", "console", "log", "blocks", "links", "enable_map"]
        )
        self.assertEqual((answer["result"], answer["result_name"], answer["console"]), (0, "result_ok", []))
        self.assertEqual(answer["log"][:2], ["validate [enter]", "validate [leave]"])
        block = next(b for b in answer["blocks"] if b["name"] == "gain")
        self.assertEqual(
            list(block),
            ["id", "class", "name", "parent", "path", "python_path", "tier", "zone", "failed", "signature", "struct_name"]
            + ["inputs", "outputs"],
        )
        self.assertEqual(block["path"], "mainsys.inside.gain")
        self.assertEqual(block["inputs"][0]["type"], "flt64")
        self.assertEqual(block["outputs"], [{"type": "flt64"}])
        self.assertEqual(list(answer["links"][0]), ["srcId", "dstId", "srcPort", "dstPort", "label"])
        enable = next(b["id"] for b in answer["blocks"] if b["class"] == "enable")
        self.assertEqual(answer["enable_map"][str(block["id"])], [enable, enable])

    def test_the_state_of_a_failed_compile_is_shown_as_far_as_it_came(self):
        model = counter()
        model.add("display", "open", inputs=1, outputs=0)
        self.write("m.json", model)
        answer = self.inspect("m.json", status=1)
        self.assertEqual((answer["result"], answer["result_name"]), (6, "result_source_missing"))
        self.assertEqual(answer["log"][-1], "check_links [leave]")
        block = next(b for b in answer["blocks"] if b["name"] == "double")
        self.assertIsNone(block["signature"])
        self.assertIsNone(block["struct_name"])
        self.assertIsNone(block["inputs"][0]["type"])
        block = next(b for b in answer["blocks"] if b["name"] == "open")
        self.assertEqual(block["inputs"], [{"type": None, "source": None, "index": 0}])

    def test_answers_of_an_independent_reading(self):
        models = sorted(DATA.glob("vectors/*/*.inspect.json"))
        self.assertTrue(models)
        for expected in models:
            with self.subTest(expected.name):
                answer = json.loads(expected.read_text())
                workspace = pathlib.Path(str(expected).replace(".inspect.json", ".ws.py"))
                extra = ["-w", workspace] if workspace.exists() else []
                got = self.inspect(str(expected).replace(".inspect.json", ".json"), "--python", *extra)
                for part in "result", "log", "links", "enable_map":
                    self.assertEqual(got[part], answer[part], part)
                by_id = lambda blocks: sorted(blocks, key=lambda block: block["id"])
                self.assertEqual(by_id(got["blocks"]), by_id(answer["blocks"]))

    def test_codes_of_faulty_models(self):
        models = sorted(DATA.glob("vectors/bad/*.expect.json"))
        self.assertTrue(models)
        for expected in models:
            with self.subTest(expected.name):
                answer = json.loads(expected.read_text())
                status = 0 if answer["result"] == 0 else 1
                got = self.inspect(str(expected).replace(".expect.json", ".json"), status=status)
                self.assertEqual(got["result"], answer["result"])
                if answer["stage"] == "compile":
                    failed = [block["id"] for block in got["blocks"] if block["failed"]]
                    self.assertEqual(sorted(failed), sorted(answer["failed"]))

    def test_looking_evaluates_nothing_unless_asked(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "1 + 1"
        self.write("m.json", model)
        answer = self.inspect("m.json", status=1)
        self.assertIn("'1 + 1' is no literal value", answer["console"][0])
        for option in ["--python"], ["-e", "pass"]:
            self.assertEqual(self.inspect("m.json", *option)["result"], 0)

    def test_a_loop_is_named_and_does_not_hang(self):
        model = Model()
        c = model.add("constant", "c", expression="1.0")
        a, b, s = model.add("add", "a", inputs=2), model.add("abs", "b", inputs=1), model.add("sin", "s", inputs=1)
        model.link(c, a, 0)
        model.chain(a, b, s)
        model.link(s, a, 1)
        cast = model.add("cast", "k", inputs=1)
        model.links[-1]["dstId"] = cast
        model.links[-1]["dstPort"] = 0
        model.link(cast, a, 1)
        model.chain(b, model.add("outport", "y", inputs=1, portNumber=0))
        self.write("m.json", model)
        result = self.check("inspect", "m.json", "--json", status=1, timeout=20)
        self.assertIn("algebraic loop: mainsys.", result.stderr)
        for name in "a", "b", "s", "k":
            self.assertIn(f"mainsys.{name}", result.stderr)
        answer = json.loads(result.stdout)
        self.assertEqual(answer["result"], -1)
        zones = {block["name"]: block["zone"] for block in answer["blocks"]}
        self.assertEqual((zones["c"], zones["a"], zones["y"]), (0, -1, -1))
        self.check("run", "m.json", status=1, timeout=20, out="")
        self.check("verify-engines", "m.json", status=1, timeout=20, out="")

    def test_a_memory_cuts_a_loop(self):
        model = Model()
        a, z = model.add("add", "a", inputs=2), model.add("memory", "z", inputs=1)
        model.link(model.add("constant", "c", expression="1.0"), a, 0)
        model.link(a, z)
        model.link(z, model.add("cast", "k", inputs=1, type="flt64"))
        model.link(model.blocks[-1]["cast"]["id"], a, 1)
        model.chain(a, model.add("outport", "y", inputs=1, portNumber=0))
        self.write("m.json", model)
        self.assertEqual(self.inspect("m.json")["result"], 0)
        self.assertEqual(self.series("m.json")["a"]["v"], [1, 2, 3, 4, 5])

    def test_the_text_form_lists_ports_with_sources(self):
        model = counter()
        self.write("m.json", model)
        result = self.check("inspect", "m.json", err="")
        self.assertTrue(result.stdout.startswith("result 0 (result_ok), 4 blocks, 3 links\n"))
        clock = model.blocks[0]["time"]["id"]
        self.assertIn(f"\n    in 0: flt64 <- #{clock}:0\n", result.stdout)

    def test_the_same_model_gives_the_same_bytes(self):
        self.write("m.json", gated())
        texts = {self.check("inspect", "--json", "m.json").stdout for _ in range(3)}
        self.assertEqual(len(texts), 1)


class Generate(CommandTest):
    def test_both_languages_write_their_project_folder(self):
        self.write("m.json", counter())
        self.check("generate", "c", "m.json", "out", out="out/zarn-ccoder\n")
        self.check("generate", "py", "m.json", "out", out="out/zarn-pcoder\n")
        self.assertEqual(
            sorted(os.listdir(self.folder / "out/zarn-ccoder")),
            ["CMakeLists.txt", "coder.c", "coder.h", "main.c", "model.c", "model.h"],
        )
        self.assertEqual(sorted(os.listdir(self.folder / "out/zarn-pcoder")), ["coder.py", "main.py", "model.py"])

    def test_a_gate_in_no_subsystem_stands_outside_of_the_step(self):
        model = DATA / "hazards/enable_without_subsystem.json"
        told = self.check("generate", "py", model, "out", out="out/zarn-pcoder\n").stderr
        self.assertIn("zarn: _106 (enable): does not run: the region of its subsystem stands at the level of 'def step' and "
                      "so outside of it, where there is no 'self'\n"
                      "zarn: _106 (enable): does not parse: the region of its subsystem has no statement\n", told)

    def test_missing_folders_are_made_and_bad_places_told(self):
        self.write("m.json", counter())
        self.check("generate", "py", "m.json", "a/b/c", out="a/b/c/zarn-pcoder\n")
        self.check("generate", "py", "m.json", "m.json/x", status=1, err="zarn: m.json/x: Not a directory", out="")
        self.check("generate", "py", "m.json", "/proc/none", status=1, err="zarn: /proc/none: ", out="")

    def test_a_project_appears_whole_or_not_at_all(self):
        self.write("m.json", counter())
        self.check("generate", "c", "m.json", "out")
        before = self.project("out/zarn-ccoder")
        self.write("m.json", counter(tf=0.5))
        limited = f"ulimit -f 2; trap '' XFSZ; exec '{ZARN}' generate c m.json out"
        result = subprocess.run(["sh", "-c", limited], cwd=self.folder, capture_output=True, text=True)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("zarn: out: File too large\n", result.stderr)
        self.assertEqual(self.project("out/zarn-ccoder"), before)
        for folder in "new", "deep/er/new":
            result = subprocess.run(["sh", "-c", limited.replace(" out", f" {folder}")], cwd=self.folder, capture_output=True)
            self.assertEqual(result.returncode, 1)
        self.assertEqual(sorted(os.listdir(self.folder)), ["m.json", "out"])

    def test_a_full_file_system(self):
        place = self.folder / "small"
        place.mkdir()
        mount = ["mount", "-t", "tmpfs", "-o", "size=16k", "tmpfs", str(place)]
        if os.geteuid() != 0 or subprocess.run(mount, capture_output=True).returncode != 0:
            self.skipTest("this user may not mount a file system")
        self.addCleanup(subprocess.run, ["umount", str(place)], check=True)
        self.write("m.json", counter(tf=10000))
        self.check("run", "m.json", "--set", "tf=1", "-q", "-o", "small/r.csv", err="")
        earlier = (place / "r.csv").read_text()
        (place / "pad").write_bytes(b"x" * 4096)
        self.check("run", "m.json", "-o", "small/r.csv", status=1, err="zarn: small/r.csv: No space left on device\n", out="")
        for language in "c", "py":
            full = ["generate", language, "m.json", "small/out", "-q"]
            self.check(*full, status=1, err="zarn: small/out: No space left on device\n", out="")
        self.assertEqual((place / "r.csv").read_text(), earlier)
        self.assertEqual(sorted(os.listdir(place)), ["pad", "r.csv"])

    def project(self, folder):
        return {path.name: path.read_bytes() for path in (self.folder / folder).iterdir()}

    def test_a_project_replaces_an_earlier_one_and_keeps_what_stands_beside_it(self):
        self.write("m.json", counter())
        self.write("out/zarn-pcoder/own.txt", "mine")
        self.write("out/zarn-pcoder/model.py", "earlier")
        self.check("generate", "py", "m.json", "out")
        files = self.project("out/zarn-pcoder")
        self.assertEqual(sorted(files), ["coder.py", "main.py", "model.py", "own.txt"])
        self.assertEqual(files["own.txt"], b"mine")
        self.assertIn(b"class ", files["model.py"])

    def test_a_folder_in_the_place_of_a_file(self):
        self.write("m.json", counter())
        (self.folder / "out/zarn-pcoder/model.py").mkdir(parents=True)
        self.check("generate", "py", "m.json", "out", status=1, err="zarn: out: Is a directory\n", out="")
        self.assertEqual(os.listdir(self.folder / "out/zarn-pcoder"), ["model.py"])

    def test_notes_tell_where_the_project_differs_from_a_run(self):
        model = counter()
        model.chain(model.blocks[0]["time"]["id"], model.add("to_workspace", "w", inputs=1, outputs=0))
        model.chain(model.add("from_workspace", "f", expression="([0], [1])"), model.add("display", "d", inputs=1, outputs=0))
        self.write("m.json", model)
        result = self.check("generate", "c", "m.json", "out")
        self.assertIn("zarn: ", result.stderr)
        self.check("generate", "c", "m.json", "out", "-q", out="", err="")
        answer = json.loads(self.check("generate", "c", "m.json", "out", "--json").stdout)
        self.assertEqual(list(answer), ["schema", "result", "project", "notes"])
        self.assertTrue(answer["notes"])

    def test_wrong_use_and_bad_models(self):
        self.write("m.json", counter())
        self.check("generate", "java", "m.json", "out", status=2)
        self.check("generate", "c", "m.json", status=2)
        model = counter()
        model.add("display", "open", inputs=1, outputs=0)
        self.write("bad.json", model)
        self.check("generate", "c", "bad.json", "out", status=1, err="mainsys.open", out="")
        self.assertFalse((self.folder / "out").exists())


class Blocks(CommandTest):
    # the list of the classes, one line each
    LISTED = (DATA.parents[1] / "framework/entries.h").read_text().count("\n    CLASS(") + 1  # and another name of one

    def test_every_class_is_listed_with_a_summary(self):
        lines = self.check("blocks", err="").stdout.splitlines()
        self.assertEqual(len(lines), self.LISTED)
        self.assertGreaterEqual(len(lines), 51)
        for line in lines:
            name, _, summary = line.partition(" ")
            self.assertTrue(summary.strip(), line)
            self.assertLess(len(line), 100)
            self.assertNotRegex(summary, r"\.|\b(a|the|compile|replaces)$")  # one whole sentence
        self.assertIn("goto            sends a signal to the from block with the same target, without a drawn line", lines)

    def test_every_class_is_described(self):
        for name in [line.split()[0] for line in self.check("blocks").stdout.splitlines()]:
            with self.subTest(name):
                text = self.check("blocks", name, err="").stdout
                self.assertTrue(text.startswith(f"{name}: ") or name == "subsystem", text)
                for part in "\nInput", "\nPorts      inputs: ", "\nState ", "\nTypes      ":
                    self.assertIn(part, text)
                self.assertRegex(text, r"(?s)[Oo]utputs? .*\nPorts .*, outputs: ")
                answer = json.loads(self.check("blocks", name, "--json").stdout)
                for key, parameter in answer["parameters"].items():
                    default = f"'{parameter['default']}'" if isinstance(parameter["default"], str) else parameter["default"]
                    self.assertIn(f"{key}{parameter['unit']}, default {default}\n", text)

    def test_a_class_shows_its_formula_ports_and_type_rule(self):
        text = self.check("blocks", "clamp", err="").stdout
        self.assertTrue(text.startswith("clamp: limits a signal to a range.\n\n  y = hi  where u > hi\n"), text)
        self.assertIn("\nInputs     0: u   1: lo   2: hi ", text)
        self.assertIn("u of any type; bounds of any type not ranked above it", text)
        self.assertIn("\nOutput     0: y                                type of u\n", text)
        self.assertIn("\nPorts      inputs: 3, outputs: 1\nIn a run   y = u > hi ? hi : lo > u ? lo : u\nTypes      506 combinations\n           bool;bool;bool -> bool\n", text)
        self.assertNotIn("int8;flt64;", self.check("blocks", "clamp", "--types").stdout)

    def test_one_class_shows_head_ports_parameters_and_types(self):
        text = self.check("blocks", "debounce", err="").stdout
        self.assertTrue(text.startswith("debounce: "))
        self.assertIn("\nPorts      inputs: 1, outputs: 1\n", text)
        self.assertIn("\nParameters fall [sec], default '1'\n           rise [sec], default '1'\n", text)
        self.assertIn(" -> bool\n", text)
        text = self.check("blocks", "add").stdout
        self.assertIn("Types      1452 combinations\n", text)
        self.assertIn("--types shows all", text)
        self.assertIn("           flt64;flt64;flt64 -> flt64\n", self.check("blocks", "add", "--types").stdout)
        self.assertIn("default 2047", self.check("blocks", "inport").stdout)
        self.assertIn("Types      none", self.check("blocks", "goto").stdout)

    def test_counts_of_combinations(self):
        counts = {b["class"]: len(b["types"]) for b in json.loads(self.check("blocks", "--json").stdout)["blocks"]}
        self.assertEqual(len(counts), self.LISTED)
        for name, count in {"abs": 11, "add": 1452, "clamp": 506, "divide": 121, "mod": 100, "switch": 60, "if": 11}.items():
            self.assertEqual(counts[name], count, name)

    def test_an_unknown_class_is_wrong_use(self):
        self.check("blocks", "addd", status=2, err="no block class 'addd'; did you mean add?", out="")

    def test_a_class_is_found_by_what_people_call_it(self):
        for word in "gain", "Gain", "GA-IN":
            self.check("blocks", word, err=f"no block class is named '{word}'; this is what people call so:",
                       out="multiply        product of two or three signals\n"
                           "poly1st         polynomial of first order\n")
        for word, name in {"saturation": "clamp", "unit delay": "memory", "scope": "display", "sum": "add"}.items():
            listed = self.check("blocks", word).stdout
            self.assertEqual([line.split()[0] for line in listed.splitlines()], [name], word)

    def test_a_class_tells_its_facts_in_words(self):
        text = self.check("blocks", "clamp", err="").stdout
        self.assertIn("\nIn words   u: any type\n           lo: any type not ranked above that of u\n", text)
        self.assertIn("\nDirectly   all inputs, in the same step\n", text)
        self.assertIn("\nAlso       saturation, saturate, limit, limiter, bound\n", text)
        self.assertIn("\nPorts      inputs: 2 or 3, outputs: 1\n", self.check("blocks", "add").stdout)
        self.assertIn("\nDirectly   none: it comes first in a step, and so can close a loop\n",
                      self.check("blocks", "memory").stdout)
        self.assertIn("\nFault      the lowest int32 or int64 by -1 is the processor's divide fault, which ends the "
                      "process\n", self.check("blocks", "divide").stdout)
        text = self.check("blocks", "sinewave").stdout
        self.assertIn("\nMeaning    frequency: frequency (number or expression, in hertz; above 0)\n", text)


class Diff(CommandTest):
    def diff(self, a, b, *options, status, out=None):
        self.write("a.csv", a)
        self.write("b.csv", b)
        return self.check("diff", "a.csv", "b.csv", *options, status=status, out=out)

    def test_equal_files(self):
        self.diff("time,x\n0.0,1\n", "time,x\n0.0,1\n", status=0, out="")
        self.diff("time,x\n0.0,1\n", "time,x\r\n0,1.0\r\n", status=0, out="")
        self.diff("time,x,y\n0,1,2\n", "time,y,x\n0,2,1\n", status=0, out="")
        self.diff("time,x\n0,nan\n1,\n", "time,x\n0,nan\n1,\n", status=0, out="")

    def test_the_first_difference_is_named(self):
        out = "line 3, time 0.5, x: 2 and 2.5 differ by 0.5\n"
        self.diff("time,x\n0,1\n0.5,2\n1,9\n", "time,x\n0,1\n0.5,2.5\n1,8\n", status=1, out=out)
        self.diff("time,x\n0,\n", "time,x\n0,3\n", status=1, out="x: nothing and 3\n")
        self.diff("time,x\n0,nan\n", "time,x\n0,3\n", status=1, out="x: nan and 3")
        self.diff("time,x\n0,inf\n", "time,x\n0,-inf\n", "--rtol", "1", status=1)
        self.diff("time,x\n0,1\n", "time,x\n0,2\n", "-q", status=1, out="")

    def test_tolerances(self):
        a, b = "time,x\n0,1000\n", "time,x\n0,1001\n"
        self.diff(a, b, status=1)
        self.diff(a, b, "--rtol", "1e-3", status=0)
        self.diff(a, b, "--rtol", "9e-4", status=1)
        self.diff(a, b, "--atol", "1", status=0)
        self.diff(a, b, "--atol", "0.99", status=1)
        self.diff(a, b, "--atol", "-1", status=2)

    def test_shapes_that_differ(self):
        self.diff("time,x\n0,1\n", "time,y\n0,1\n", status=1, out="column x is missing in b.csv")
        self.diff("time\n0\n", "time,y\n0,1\n", status=1, out="column y is missing in a.csv")
        self.diff("time,x\n0,1\n1,1\n", "time,x\n0,1\n", status=1, out="b.csv ends at line 2, and a.csv goes on")
        self.diff("time,x\n0,1\n", "time,x\n0,1\n1,1\n", status=1, out="a.csv ends at line 2, and b.csv goes on")

    def test_files_that_cannot_be_compared(self):
        self.write("a.csv", "time,x\n0,1\n")
        self.write("ragged.csv", "time,x\n0\n")
        self.write("empty.csv", "")
        self.check("diff", "a.csv", "no.csv", status=2, err="zarn: no.csv: No such file")
        self.check("diff", "a.csv", ".", status=2, err="zarn: .: Is a directory")
        self.check("diff", "a.csv", "ragged.csv", status=2, err="zarn: ragged.csv: line 2 has 1 cells, and the head has 2")
        self.check("diff", "a.csv", "/dev/zero", status=2, err="zarn: /dev/zero: a device, which may never come to an end")
        with open(self.folder / "long.csv", "wb") as file:
            file.truncate(3 << 28)
        self.check("diff", "a.csv", "long.csv", status=2, err="zarn: long.csv: line 1 has no end")
        self.check("diff", "a.csv", "empty.csv", status=2, err="zarn: empty.csv: an empty file")
        self.check("diff", "a.csv", status=2)

    def test_a_pipe_is_read_and_the_last_line_needs_no_end(self):
        self.write("a.csv", "time,x\n0,1\n1,2")
        command = f"cat a.csv | '{ZARN}' diff /dev/stdin a.csv"
        self.assertEqual(subprocess.run(["sh", "-c", command], cwd=self.folder).returncode, 0)
        self.diff("time,x\n0,1\n1,2", "time,x\n0,1\n1,3", status=1, out="line 3, time 1, x: 2 and 3 differ by 1")

    def test_two_runs_of_one_model_agree(self):
        self.write("m.json", gated(ts=0.01))
        for engine in "plan", "objects":
            self.check("run", "m.json", "--probe-all", "-o", f"{engine}.csv", "--engine", engine)
        self.check("diff", "plan.csv", "objects.csv", out="", err="")


class VerifyEngines(CommandTest):
    def test_engines_agree_on_models_of_all_kinds(self):
        for name, model in ("c", counter(ts=0.01)), ("g", gated(ts=0.01)):
            self.write(f"{name}.json", model)
            self.check("verify-engines", f"{name}.json", out=" ports agree in every bit over 100 steps\n", err="")
            self.check("verify-engines", f"{name}.json", "-q", out="", err="")
        for model in sorted(DATA.glob("vectors/*/*.run.json")):
            workspace = pathlib.Path(str(model).replace(".run.json", ".ws.py"))
            extra = ["-w", workspace] if workspace.exists() else []
            self.check("verify-engines", str(model).replace(".run.json", ".json"), *extra, out="agree in every bit")

    def test_a_model_that_changes_from_load_to_load_is_a_difference(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "next(numbers)"
        self.write("m.json", model)
        self.check(
            "verify-engines", "m.json", "-e", "import itertools; numbers = itertools.count()", status=1,
            out="step 0, t = 0.0 s: mainsys.two (constant) output 0: expected ",
        )


if __name__ == "__main__":
    unittest.main()

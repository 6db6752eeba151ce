"""zarn verify as its users run it."""

import json
import os
import pathlib
import unittest

from support import CommandTest, Model, counter, gated

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"
IN_PROCESS = "plan,unwatched,again,threads"


class Verify(CommandTest):
    def test_every_example_is_equal_every_way(self):
        for workspace in sorted(EXAMPLES.glob("*/workspace.py")):
            model = workspace.parent / (workspace.parent.name + ".json")
            with self.subTest(model.name):
                result = self.check("verify", model, "-w", workspace, "--ways", IN_PROCESS, err="")
                self.assertEqual(result.stdout.count(" equal\n"), 7, result.stdout)

    def test_the_object_has_a_row_for_each_way(self):
        self.write("m.json", gated(tf=3.0))
        answer = json.loads(self.check("verify", "m.json", "--json", "--ways", IN_PROCESS).stdout)
        self.assertEqual(
            list(answer), ["schema", "result", "model", "reference", "steps", "ports", "program_ports", "ways", "findings"]
        )
        self.assertEqual((answer["result"], answer["steps"], answer["reference"]), (0, 13, "objects"))
        self.assertEqual({way["verdict"] for way in answer["ways"]}, {"reference", "equal"})

    def test_steps_end_the_runs(self):
        self.write("m.json", counter(tf=100.0))
        self.check("verify", "m.json", "--ways", "plan", "--steps", "3", out=" ports, 3 steps\n")

    def test_a_difference_is_told_with_its_block(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "next(numbers)"
        self.write("m.json", model)
        code = "import itertools; numbers = itertools.count()"
        self.check("verify", "m.json", "-e", code, "--ways", "plan", status=1, out=" differs\n    step 0, t = 0.0 s: ")
        answer = json.loads(self.check("verify", "m.json", "-e", code, "--ways", "plan", "--json", status=1).stdout)
        difference = answer["ways"][1]["difference"]
        self.assertEqual(answer["result"], 1)
        self.assertEqual(
            (difference["kind"], difference["path"], difference["class"], difference["step"], difference["type"]),
            ("value", "mainsys.two", "constant", 0, "int32"),
        )

    def test_exported_programs_and_machine_code_are_equal(self):
        workspace = EXAMPLES / "thermostat/workspace.py"
        model = workspace.parent / "thermostat.json"
        result = self.check("verify", model, "-w", workspace, "--ways", "native,c,c++", err="", env=self.environment())
        rows = [line for line in result.stdout.splitlines() if " s  " in line or " -  " in line]
        self.assertGreaterEqual(sum(row.endswith(" equal") for row in rows), 2 + 3, result.stdout)  # native, gcc
        self.assertEqual(sum(" differs" in row or " failed" in row for row in rows), 0)

    def test_what_is_not_installed_is_skipped_by_name(self):
        self.write("m.json", counter())
        environment = self.environment() | {"PATH": str(self.folder)}
        result = self.check("verify", "m.json", "--ways", "native,c", env=environment)
        self.assertIn("gcc -O2                                -  skipped: gcc is not installed\n", result.stdout)
        self.assertIn("native                                 -  skipped: there is no C compiler", result.stdout)

    def test_the_rest_can_be_judged_alone(self):
        model = Model(tf=5.0, ts=0.01)
        wave = model.add("sinewave", "wave", frequency="0.3", phase="0.0")
        clock = model.add("time", "clock")
        model.chain(wave, model.add("abs", "behind", inputs=1), model.add("display", "shown", inputs=1, outputs=0))
        model.chain(clock, model.add("abs", "apart", inputs=1), model.add("display", "other", inputs=1, outputs=0))
        self.write("m.json", model)
        ports = {}
        for option in ([], ["--exact-only"]):
            answer = self.check("verify", "m.json", "--ways", "c", "--json", *option, env=self.environment()).stdout
            ports[len(option)] = json.loads(answer)["program_ports"]
        self.assertEqual(ports, {0: 6, 1: 3})

    def environment(self):
        return os.environ | {"XDG_CACHE_HOME": str(self.folder / "cache")}

    def test_a_model_with_a_problem_is_refused(self):
        model = Model()
        model.add("outport", "y", inputs=1, portNumber=0)
        self.write("m.json", model)
        self.check("verify", "m.json", status=1, out="")
        self.assertEqual(json.loads(self.check("verify", "m.json", "--json", status=1).stdout)["ways"], [])

    def test_a_way_that_is_not_there_is_wrong_use(self):
        self.write("m.json", counter())
        self.check("verify", "m.json", "--ways", "objects,luck", status=2, err="there is no way '")


class NativeEngine(CommandTest):
    """zarn run --engine native, and zarn cache."""

    def setUp(self):
        super().setUp()
        self.env = os.environ | {"XDG_CACHE_HOME": str(self.folder / "cache")}

    def test_results_are_those_of_the_plan(self):
        for workspace in sorted(EXAMPLES.glob("*/workspace.py")):
            model = workspace.parent / (workspace.parent.name + ".json")
            with self.subTest(model.name):
                texts = {}
                for engine in ("plan", "native"):
                    how = ["-w", workspace, "--probe-all", "--json", "--engine", engine]
                    texts[engine] = json.loads(self.check("run", model, *how, err=None, env=self.env).stdout)["series"]
                self.assertEqual(texts["native"], texts["plan"])

    def test_a_gated_probe_records_while_its_block_runs(self):
        model = gated(tf=3.0)
        inside = next(block["subsys"]["id"] for block in model.blocks if "subsys" in block)
        # stands ahead of the flag, which it therefore always finds down
        model.link(model.add("constant", "early", parent=inside, expression="3.0"), model.add("abs", "late", parent=inside, inputs=1))
        self.write("m.json", model)
        rows = {}
        for engine in ("plan", "native"):
            self.check("run", "m.json", "--probe", "*", "-o", f"{engine}.csv", "--engine", engine, env=self.env)
            rows[engine] = (self.folder / f"{engine}.csv").read_text()
        self.assertEqual(rows["native"], rows["plan"])

    def test_the_table_is_that_of_the_plan(self):
        self.write("m.json", counter(tf=10.0, ts=0.01))
        native = self.check("run", "m.json", "--engine", "native", err="", env=self.env)
        self.assertEqual(native.stdout, self.check("run", "m.json", err="").stdout)

    def test_without_a_compiler_the_plan_steps_and_it_is_said(self):
        self.write("m.json", counter())
        env = self.env | {"PATH": str(self.folder)}
        result = self.check("run", "m.json", "--engine", "native", env=env, err="no native engine, the plan steps instead")
        self.assertEqual(result.stdout, self.check("run", "m.json").stdout)
        self.check("run", "m.json", "--engine", "native", "-q", env=env, err="")

    def test_the_cache_is_shown_and_cleared(self):
        self.write("m.json", counter())
        for _ in range(2):
            self.check("run", "m.json", "--engine", "native", env=self.env)
        self.check("cache", out="1 compiled model, ", env=self.env)
        answer = json.loads(self.check("cache", "--json", env=self.env).stdout)
        self.assertEqual((answer["files"], answer["folder"]), (1, str(self.folder / "cache/zarn/native")))
        self.check("cache", "--clear", out="1 compiled model removed, ", env=self.env)
        self.check("cache", out="0 compiled models, ", env=self.env)

    def test_workspace_values_are_part_of_what_is_compiled(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "k"
        self.write("m.json", model)
        for k in ("2.0", "3.0"):
            self.check("run", "m.json", "-e", f"k = {k}", "--engine", "native", out=f"mainsys.out  {float(k)}\n", env=self.env)


if __name__ == "__main__":
    unittest.main()

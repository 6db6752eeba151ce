"""zarn verify as its users run it."""

import json
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
            list(answer), ["schema", "result", "model", "reference", "steps", "ports", "ways", "findings"]
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

    def test_a_model_with_a_problem_is_refused(self):
        model = Model()
        model.add("outport", "y", inputs=1, portNumber=0)
        self.write("m.json", model)
        self.check("verify", "m.json", status=1, out="")
        self.assertEqual(json.loads(self.check("verify", "m.json", "--json", status=1).stdout)["ways"], [])

    def test_a_way_that_is_not_there_is_wrong_use(self):
        self.write("m.json", counter())
        self.check("verify", "m.json", "--ways", "objects,luck", status=2, err="there is no way '")


if __name__ == "__main__":
    unittest.main()

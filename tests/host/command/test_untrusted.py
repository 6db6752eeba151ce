"""A model from somebody that nobody knows: nothing of it is executed where the command promises that."""

import json
import unittest

from support import CommandTest, Model

LOOKING = [["check"], ["check", "--json"], ["check", "--sarif"], ["explain"], ["inspect"], ["inspect", "--json"]]
LOOKING += [["draw", "-o", "m.svg"], ["draw", "-o", "m.svg", "--depth", "9"]]
WITHOUT = [["run"], ["run", "--json", "--probe-all"], ["run", "-o", "r.csv"], ["verify-engines"]]
WITHOUT += [["inspect"], ["check"], ["explain"], ["draw", "-o", "m.svg"]]


class Untrusted(CommandTest):
    def setUp(self):
        super().setUp()
        self.classes = json.loads(self.check("blocks", "--json").stdout)["blocks"]
        self.touched = self.folder / "touched"

    def attack(self, kind):
        """An expression that leaves a file behind when anybody evaluates it."""
        plain = f"__import__('os').system('touch {self.touched}') + 1"
        return {
            "value": plain,
            "list": f"[{plain}, {plain}]",
            "series": f"([0, 1], [{plain}, 1])",
            "in a list": f"[0.0, {plain}]",
            "in a text": f"'' + str({plain})",
            "formatted": f"f'{{{plain}}}'",
            "statement": f"0\n__import__('os').system('touch {self.touched}')",
            "indexed": f"[0.0, 1.0][{plain}]",
            "name": f"x__import__('os').system('touch {self.touched}')",
            "shell": f"$(touch {self.touched})",
            "quoted": f"'; touch {self.touched}; '",
        }[kind]

    def model(self, text):
        """Every class, with the text in every parameter, in every name and in every label."""
        model = Model()
        source = model.add("constant", "source", expression="1.0")
        for description in self.classes:
            name, inputs = description["class"], description["inputs"]
            count = 2 if inputs is None else inputs
            parameters = dict.fromkeys(description["parameters"], text)
            block = model.add(name, text, inputs=count, outputs=description["outputs"] or 0, **parameters)
            for port in range(count):
                model.link(source, block, port)
        for link in model.links:
            link["label"] = text
        self.write("m.json", model)
        return model

    def one_class(self, description, text):
        """One block of the class, in order but for its parameters, so that a compile gets as far as to evaluate them."""
        model = Model()
        count = description["inputs"] if description["inputs"] is not None else 2
        block = model.add(description["class"], "b", inputs=count, outputs=description["outputs"] or 0,
                          **dict.fromkeys(description["parameters"], text))
        source = model.add("constant", "source", expression="1.0")
        for port in range(count):
            model.link(source, block, port)
        self.write("m.json", model)

    def nothing_ran(self, *arguments):
        result = self.zarn(*arguments)
        self.assertIn(result.returncode, (0, 1, 2), (arguments, result.stderr[-1000:]))
        self.assertFalse(self.touched.exists(), arguments)
        return result

    def test_the_attack_works_where_expressions_are_evaluated(self):
        model = Model()
        model.chain(model.add("constant", "c", expression=self.attack("value")), model.add("display", "d", inputs=1))
        self.write("m.json", model)
        self.check("run", "m.json")
        self.assertTrue(self.touched.exists())

    def test_looking_executes_nothing(self):
        for kind in "value", "list", "series", "in a text", "statement", "name", "shell", "quoted":
            self.model(self.attack(kind))
            for verb in LOOKING:
                self.nothing_ran(verb[0], "m.json", *verb[1:])

    def test_without_the_interpreter_nothing_is_executed(self):
        for kind in "value", "in a list", "formatted", "indexed", "shell", "quoted":
            self.model(self.attack(kind))
            for verb in WITHOUT:
                self.nothing_ran(verb[0], "m.json", "--no-python", *verb[1:])
            for language in "c", "py":
                self.nothing_ran("generate", language, "m.json", "out", "--no-python")

    def test_every_parameter_of_every_class(self):
        for description in self.classes:
            if not description["parameters"]:
                continue
            for kind in "value", "list":
                self.one_class(description, self.attack(kind))
                for verb in ["inspect"], ["check"], ["run", "--no-python"], ["draw", "-o", "m.svg"]:
                    self.nothing_ran(verb[0], "m.json", *verb[1:])

    def test_a_refused_run_names_the_expression(self):
        model = Model()
        model.chain(model.add("constant", "c", expression=self.attack("value")), model.add("display", "d", inputs=1))
        self.write("m.json", model)
        result = self.check("run", "m.json", "--no-python", status=1, out="", err="mainsys.c (constant)")
        self.assertIn("__import__", result.stderr)
        self.assertFalse(self.touched.exists())

    def test_references_execute_nothing_either(self):
        self.model(self.attack("value"))
        (self.folder / "m.json").rename(self.folder / "part.json")
        model = Model()
        model.add("refsys", "part", inputs=0, outputs=0, path="part.json")
        self.write("m.json", model)
        for verb in LOOKING:
            self.nothing_ran(verb[0], "m.json", *verb[1:])
        self.nothing_ran("run", "m.json", "--no-python")

    def test_files_that_the_interpreter_would_read_are_not(self):
        for name in "sitecustomize.py", "usercustomize.py", "math.py", "zarn.py", "numpy.py", "matplotlib.py":
            self.write(name, f"open({str(self.touched)!r}, 'w')")
        model = Model()
        model.chain(model.add("constant", "c", expression="1.0"), model.add("outport", "o", inputs=1, portNumber=0))
        self.write("m.json", model)
        for arguments in ["run", "m.json"], ["run", "m.json", "-o", "r.npz"], ["run", "m.json", "--plot", "p.svg"]:
            self.nothing_ran(*arguments)
        self.nothing_ran("generate", "py", "m.json", "out")

    def test_results_and_pages_execute_nothing(self):
        text = self.attack("value")
        self.write("a.csv", f"time,{text}\n0,{text}\n")
        self.write("b.csv", f"time,{text}\n0,1\n")
        self.nothing_ran("diff", "a.csv", "b.csv")
        self.nothing_ran("blocks", text)
        self.nothing_ran("check", "--explain", text)

    def test_a_name_that_could_be_code_in_a_project_is_told(self):
        """Projects hold names as they are: nothing runs until somebody builds one, and that person is warned."""
        for name in "a\n" + self.attack("value"), self.attack("statement"), 'x"; system("touch touched"); //':
            model = Model()
            model.chain(model.add("constant", name, expression="1.0"), model.add("outport", "o", inputs=1, portNumber=0))
            self.write("m.json", model)
            for language in "c", "py":
                result = self.nothing_ran("generate", language, "m.json", "out", "--no-python")
                self.assertEqual(result.returncode, 0)
                self.assertIn("is no identifier", result.stderr)


if __name__ == "__main__":
    unittest.main()

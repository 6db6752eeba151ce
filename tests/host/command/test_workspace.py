"""The bridge to the interpreter: what expressions see, which types they give, and what a run leaves behind."""

import json
import os
import subprocess
import unittest

from support import ZARN, CommandTest, Model, counter, evaluate, gated


class Types(CommandTest):
    def test_plain_values(self):
        for expression, wanted in {
            "True": ("bool", 1),
            "1 > 2": ("bool", 0),
            "2": ("int32", 2),
            "2**31-1": ("int32", 2**31 - 1),
            "-2**31": ("int32", -(2**31)),
            "2**31": ("int64", 2**31),
            "-2**63": ("int64", -(2**63)),
            "2**63-1": ("int64", 2**63 - 1),
            "2**63": ("uint64", 2**63),
            "2**64-1": ("uint64", 2**64 - 1),
            "1.5": ("flt64", 1.5),
            "1e400": ("flt64", "inf"),
            " 3 ": ("int32", 3),
            "[i for i in (4,)][0]": ("int32", 4),
        }.items():
            with self.subTest(expression):
                self.assertEqual(evaluate(self, expression), wanted)

    def test_numpy_scalars_keep_their_type(self):
        for name, wanted in {
            "bool_": "bool",
            "int8": "int8",
            "uint8": "uint8",
            "int16": "int16",
            "uint16": "uint16",
            "int32": "int32",
            "uint32": "uint32",
            "int64": "int64",
            "uint64": "uint64",
            "float32": "flt32",
            "float64": "flt64",
        }.items():
            self.assertEqual(evaluate(self, f"numpy.{name}(1)", code="import numpy"), (wanted, 1), name)
        self.assertEqual(evaluate(self, "numpy.uint64(2**64-1)", code="import numpy"), ("uint64", 2**64 - 1))

    def test_what_is_no_value_is_one_line_with_path_expression_and_reason(self):
        for expression, reason in {
            "missing": "NameError: name 'missing' is not defined",
            "1/0": "ZeroDivisionError: division by zero",
            "1 +": "SyntaxError: invalid syntax",
            "": "SyntaxError",
            "[1]": "TypeError: a value of type list is neither a number nor a text",
            "None": "TypeError: a value of type NoneType",
            "1j": "TypeError: a value of type complex",
            "2**64": "OverflowError: an integer beyond 64 bits",
            "-2**63-1": "OverflowError: an integer beyond 64 bits",
            "exit()": "SystemExit",
            "(lambda: (_ for _ in ()).throw(KeyError('a\\nb')))()": "KeyError",
            "numpy.float16(1)": "TypeError: a value of type float16",
            "numpy.zeros(2)": "TypeError: a value of type ndarray",
            "open('/none/such')": "FileNotFoundError",
        }.items():
            with self.subTest(expression):
                model = Model(tf=0.25)
                constant = model.add("constant", "c", expression=expression)
                model.chain(constant, model.add("display", "d", inputs=1, outputs=0))
                self.write("m.json", model)
                result = self.check("inspect", "m.json", "--json", "-e", "import numpy", status=1, err="")
                answer = json.loads(result.stdout)
                self.assertEqual(answer["result"], -1)
                self.assertEqual(len(answer["console"]), 1, answer["console"])
                line = answer["console"][0]
                shown = " ".join(expression.split("\n"))
                self.assertTrue(line.startswith(f"mainsys.c: '{shown}': {reason}"), line)
                self.assertNotIn("\n", line)

    def test_the_message_names_the_block_and_not_the_parameter(self):
        model = Model(tf=0.25)
        step = model.add("step", "jump", initialValue="missing")
        model.chain(step, model.add("display", "d", inputs=1, outputs=0))
        self.write("m.json", model)
        answer = json.loads(self.check("inspect", "m.json", "--json", "--python", status=1).stdout)
        self.assertTrue(answer["console"][0].startswith("mainsys.jump: 'missing': NameError"), answer["console"])


class Scopes(CommandTest):
    def model(self, expression):
        """A constant two subsystems deep."""
        model = Model(tf=0.25)
        outer = model.add("subsys", "motor")
        inner = model.add("subsys", "pump", parent=outer)
        model.add("constant", "c", parent=inner, expression=expression)
        model.chain(model.blocks[2]["constant"]["id"], model.add("display", "d", parent=inner, inputs=1, outputs=0))
        self.write("m.json", model)

    def value(self, expression, code=""):
        self.model(expression)
        return self.series("m.json", "-e", code or "pass")["c"]["v"][0]

    def test_math_zarn_and_builtins_are_there(self):
        self.assertEqual(self.value("math.floor(2.5)"), 2)
        self.assertEqual(self.value("len(zarn.__name__)"), 4)
        self.assertEqual(self.value("max(1, 2)"), 2)

    def test_the_workspace_stands_before_the_builtins(self):
        self.assertEqual(self.value("max", "max = 7"), 7)

    def test_settings_of_the_model_are_found_in_the_root(self):
        self.assertEqual(self.value("tf"), 0.25)
        self.assertEqual(self.value("mainsys.tf + ts", "ts = 100"), 0.5)

    def test_the_innermost_subsystem_wins(self):
        # each Result gets a name of its own and one that all have, counted from the root inwards
        code = (
            "made = 0\n"
            "class Result(zarn.Result):\n"
            "    def __init__(self):\n"
            "        global made\n"
            "        self.level = made % 3 + 1\n"
            "        setattr(self, 'only%d' % self.level, self.level)\n"
            "        made += 1\n"
            "zarn.Result = Result\n"
            "level = 99\n"
        )
        self.assertEqual(self.value("level * 1000 + only1 * 100 + only2 * 10 + only3", code), 3123)

    def test_names_in_comprehensions_and_lambdas_are_found_too(self):
        self.assertEqual(self.value("sum(k * i for i in range(3))", "k = 2"), 6)
        self.assertEqual(self.value("(lambda: tf)()"), 0.25)
        self.assertEqual(self.value("[tf for _ in range(2)][1]"), 0.25)

    def test_an_expression_binds_nothing_in_the_workspace(self):
        self.assertEqual(self.value("(leak := 3)"), 3)
        self.model("(leak := 3)")
        self.check("run", "m.json", "-i", input="print('leak' in globals())\n", out="False\n")

    def test_a_workspace_that_takes_the_name_zarn_does_no_harm(self):
        self.assertEqual(self.value("zarn", "zarn = 3"), 3)


class Arrays(CommandTest):
    def lookup(self, breakpoints, table, code="import numpy", status=0):
        model = Model(tf=1.0, ts=0.5)
        lut = model.add("lut1d", "l", inputs=1, bp1=breakpoints, out=table)
        model.chain(model.add("time", "t"), lut, model.add("outport", "o", inputs=1, portNumber=0))
        self.write("m.json", model)
        if status == 0:
            return self.series("m.json", "-e", code)["l"]
        answer = json.loads(self.check("inspect", "m.json", "--json", "-e", code, status=status).stdout)
        return answer["result"], answer["console"]

    def test_lists_tuples_ranges_and_arrays(self):
        for table in "[0.0, 2.0]", "(0.0, 2.0)", "numpy.array([0.0, 2.0])", "numpy.linspace(0, 2, 2)":
            self.assertEqual(self.lookup("range(2)", table), {"t": [0, 0.5, 1], "v": [0, 1, 2], "type": "flt64"})

    def test_the_type_is_that_of_the_first_element(self):
        self.assertEqual(self.lookup("[0, 1]", "[0, 10]")["type"], "int32")
        self.assertEqual(self.lookup("[0, 1]", "numpy.array([0, 10], 'float32')")["type"], "flt32")
        self.assertEqual(self.lookup("[0, 1]", "[0.0, 10]")["type"], "flt64")

    def test_failures_are_told(self):
        for table, reason in {
            "[]": "ValueError: an empty list",
            "5": "TypeError: a value of type int is not a list of numbers",
            "'ab'": "TypeError: a value of type str is not a list of numbers",
            "['a', 'b']": "TypeError: a text is not a number",
            "[[1, 2], [3]]": "ValueError: rows of unequal length",
            "[1, [2]]": "ValueError: rows of unequal length",
            "[[], []]": "ValueError: an empty row",
            "[None]": "TypeError: a value of type NoneType",
            "numpy.array(5)": "TypeError: a value of type ndarray is not a list of numbers",
            "numpy.zeros((2, 2, 2))": "TypeError: a value of type ndarray is neither",
        }.items():
            with self.subTest(table):
                result, console = self.lookup("[0, 1]", table, status=1)
                self.assertNotEqual(result, 0)
                self.assertIn(f"mainsys.l: '{table}': {reason}", console[0])

    def test_two_dimensions(self):
        model = Model(tf=1.0, ts=0.5)
        lut = model.add("lut2d", "l", inputs=2, bp1="[0, 1]", bp2="[0, 1, 2]", out="numpy.arange(6.0).reshape(2, 3)")
        time = model.add("time", "t")
        model.link(time, lut, 0)
        model.link(time, lut, 1)
        model.chain(lut, model.add("outport", "o", inputs=1, portNumber=0))
        self.write("m.json", model)
        self.assertEqual(self.series("m.json", "-e", "import numpy")["l"]["v"], [0, 2, 4])


class Series(CommandTest):
    def replay(self, expression, code="pass", status=0):
        model = Model(tf=4.0, ts=1.0)
        source = model.add("from_workspace", "source", expression=expression)
        model.chain(source, model.add("outport", "o", inputs=1, portNumber=0))
        self.write("m.json", model)
        if status == 0:
            return self.series("m.json", "-e", code)["source"]["v"]
        answer = json.loads(self.check("inspect", "m.json", "--json", "-e", code, status=1).stdout)
        self.assertEqual(answer["result"], 11)
        return answer["console"]

    def test_series_objects_pairs_and_what_has_xdata_and_ydata(self):
        wanted = [10, 20, 30, 30, 30]  # past the end the last value stays
        code = "s = zarn.TimeSeries('s'); s.xdata = [0, 1, 2]; s.ydata = [10, 20, 30]"
        self.assertEqual(self.replay("s", code), wanted)
        self.assertEqual(self.replay("([0, 1, 2], [10, 20.0, 30])"), wanted)
        self.assertEqual(self.replay("numpy.array([[0, 1, 2], [10, 20, 30]])", "import numpy"), wanted)
        code = "import numpy\nclass S: xdata = numpy.arange(3, dtype='int8'); ydata = range(10, 31, 10)"
        self.assertEqual(self.replay("S", code), wanted)
        self.assertEqual(self.replay("S()", code), wanted)

    def test_an_empty_series_holds_0(self):
        self.assertEqual(self.replay("([], [])"), [0] * 5)
        self.assertEqual(self.replay("zarn.TimeSeries('e')"), [0] * 5)

    def test_values_may_be_anything_that_is_a_number(self):
        self.assertEqual(self.replay("([0, 1], [True, float('nan')])"), [1, "nan", "nan", "nan", "nan"])
        self.assertEqual(self.replay("([0, 0, 1], [1, 2, 3])"), [1, 3, 3, 3, 3])

    def test_what_is_no_series_is_told(self):
        for expression, reason in {
            "missing": "NameError: name 'missing' is not defined",
            "5": "TypeError: a value of type int is neither a series nor a pair",
            "([0, 1], [1])": "ValueError: 2 times but 1 values",
            "([0, 2, 1], [1, 2, 3])": "ValueError: time 2 falls from 2.0 to 1.0",
            "([0, float('nan')], [1, 2])": "ValueError: time 1 is not a number",
            "([0, 1], ['1', '2'])": "TypeError: a value of type str is not a number",
            "([0, 1], [1, None])": "TypeError: a value of type NoneType is not a number",
            "([0, 1], 5)": "TypeError: a value of type int is not a list",
            "": "SyntaxError",
        }.items():
            with self.subTest(expression):
                console = self.replay(expression, status=1)
                self.assertEqual(len(console), 1)
                self.assertTrue(console[0].startswith(f"'{expression}': {reason}"), console)


class Results(CommandTest):
    def record(self, name="w", **settings):
        model = counter(**settings)
        model.chain(model.blocks[2]["multiply"]["id"], model.add("to_workspace", name, inputs=1, outputs=0))
        self.write("m.json", model)

    def talk(self, text, *arguments, **options):
        return self.check("run", "m.json", "-q", "-i", *arguments, input=text, **options).stdout

    def test_to_workspace_leaves_a_series_in_the_tree(self):
        self.record()
        said = self.talk(
            "s = mainsys.w\nprint(type(s) is zarn.TimeSeries, s.path, len(s))\n"
            "print(list(s.xdata), list(s.ydata))\nprint(s)\nprint(type(s.xdata))\nprint(mainsys.ti, mainsys.tf, mainsys.ts)\n"
        )
        self.assertIn("True mainsys.w 5\n", said)
        self.assertIn("[0.0, 0.25, 0.5, 0.75, 1.0] [0.0, 0.5, 1.0, 1.5, 2.0]\n", said)
        self.assertIn("TimeSeries('mainsys.w', 5 samples from 0 s to 1 s, last value 2)\n", said)
        self.assertIn("<class 'numpy.ndarray'>\n", said)
        self.assertIn("0.0 1.0 0.25\n", said)

    def test_numpy_wraps_the_memory_without_a_copy(self):
        self.record()
        said = self.talk("a = mainsys.w.ydata\nprint(a.flags.owndata, a.base is not None, a is mainsys.w.ydata)\na[0] = 5\nprint(mainsys.w.ydata[0])\n")
        self.assertIn("False True True\n", said)
        self.assertIn("5.0\n", said)

    def test_a_run_does_not_import_numpy_by_itself(self):
        self.record()
        said = self.talk("import sys\nprint('numpy' in sys.modules, 'matplotlib' in sys.modules)\n")
        self.assertIn("False False\n", said)

    def test_a_gate_that_never_opens_leaves_a_series_without_samples(self):
        model = gated(tf=0.25)
        inside = model.blocks[2]["subsys"]["id"]
        model.chain(model.blocks[5]["abs"]["id"], model.add("to_workspace", "w", parent=inside, inputs=1, outputs=0))
        self.write("m.json", model)
        said = self.talk("print(mainsys.inside.w, len(mainsys.inside.w.xdata), bool(mainsys.inside.w))\n")
        self.assertIn("TimeSeries('mainsys.inside.w', no samples) 0 True\n", said)

    def test_results_show_their_members(self):
        self.write("m.json", gated())
        said = self.talk("print(mainsys)\nprint(zarn.Result(a=1, b='x'))\n")
        self.assertIn("ti=0.0, tf=1.0, ts=0.25", said)
        self.assertIn("inside=Result(...)", said)
        self.assertIn("Result(a=1, b='x')", said)

    def test_series_plot_themselves(self):
        self.record()
        said = self.talk(
            "import matplotlib; matplotlib.use('Agg')\naxes = mainsys.w.plot()\n"
            "print(len(axes.lines), axes.lines[0].get_label())\nprint(mainsys.w.plot(axes) is axes, len(axes.lines))\n"
        )
        self.assertIn("1 mainsys.w\n", said)
        self.assertIn("True 2\n", said)

    def test_many_series_come_from_the_pool(self):
        """Wide enough for a parallel run, whose objects finish on pool threads."""
        model = Model(tf=2.0, ts=1.0)
        for column in range(1030):
            last = model.add("constant", f"c{column}", expression=str(column))
            for row in range(32):
                block = model.add("abs", f"a{column}_{row}", inputs=1)
                model.link(last, block)
                last = block
            model.link(last, model.add("to_workspace", f"w{column}", inputs=1, outputs=0))
        self.write("m.json", model)
        said = self.talk(
            "print(all(list(getattr(mainsys, f'w{i}').ydata) == [i] * 3 for i in range(1030)))\n", timeout=280
        )
        self.assertIn("True\n", said)


class Isolation(CommandTest):
    def test_the_interpreter_is_the_systems_own(self):
        self.write("m.json", counter())
        result = self.check(
            "run", "m.json", "-q", "-e", "import sys; print(sys.executable, sys.prefix, sys.path)",
            env={"PYTHONHOME": "/nowhere", "PYTHONPATH": "/somewhere", "PYTHONSTARTUP": "/else"},
        )
        self.assertTrue(result.stdout.startswith("/usr/bin/python3 /usr "), result.stdout)
        self.assertNotIn("somewhere", result.stdout)
        self.assertNotIn("pyenv", result.stdout)

    def test_without_python_nothing_is_executed(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "open('touched', 'w').write('x')"
        self.write("m.json", model)
        self.check("run", "m.json", "--no-python", status=1, err="open('touched', 'w').write('x')")
        for verb in ["inspect", "m.json"], ["check", "m.json"], ["generate", "c", "m.json", "out", "--no-python"]:
            self.check(*verb, status=None)
            self.assertFalse((self.folder / "touched").exists(), verb)

    def check(self, *arguments, status=0, **options):
        if status is None:
            return self.zarn(*arguments)
        return super().check(*arguments, status=status, **options)

    def test_without_python_literals_run(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "--no-python", out="mainsys.out  2.0\n", err="")

    def test_options_that_need_the_interpreter_do_not_go_without(self):
        self.write("m.json", counter())
        for extra in ["-w", "x.py"], ["-e", "1"], ["-i"], ["--plot", "p.png"], ["--python"]:
            self.check("run", "m.json", "--no-python", *extra, status=2, out="")

    def test_a_run_works_without_numpy_and_matplotlib(self):
        block = (
            "import sys\nclass Block:\n"
            "    def find_spec(self, name, path=None, target=None):\n"
            "        if name.split('.')[0] in ('numpy', 'matplotlib'): raise ImportError(f'{name} is not here')\n"
            "sys.meta_path.insert(0, Block())\n"
        )
        self.write("block.py", block)
        model = counter()
        model.chain(model.blocks[2]["multiply"]["id"], model.add("to_workspace", "w", inputs=1, outputs=0))
        lut = model.add("lut1d", "l", inputs=1)
        model.chain(model.blocks[0]["time"]["id"], lut)
        model.chain(model.add("from_workspace", "f", expression="([0, 1], [1, 2])"), model.add("display", "d", inputs=1))
        self.write("m.json", model)
        said = self.check(
            "run", "m.json", "-q", "-w", "block.py", "-i", "-o", "r.csv", err=None,
            input="print(type(mainsys.w.ydata), list(mainsys.w.ydata))\n",
        ).stdout
        self.assertIn("<class 'array.array'> [0.0, 0.5, 1.0, 1.5, 2.0]\n", said)
        self.check("run", "m.json", "-w", "block.py", "-o", "r.npz")
        self.check("run", "m.json", "-w", "block.py", "--plot", "p.svg", status=1, err="zarn: p.svg: matplotlib is not here")
        self.assertEqual(sorted(os.listdir(self.folder)), ["block.py", "m.json", "r.csv", "r.npz"])


class Scripts(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("m.json", counter())

    def test_files_run_in_order_before_statements(self):
        self.write("a.py", "order = ['a']")
        self.write("b.py", "order.append('b')")
        self.check("run", "m.json", "-q", "-e", "print(order)", "-w", "a.py", "-w", "b.py", out="['a', 'b']\n")

    def test_a_file_knows_itself_and_finds_its_neighbours(self):
        self.write("lib/helper.py", "value = 42")
        self.write("lib/ws.py", "import helper\nprint(helper.value, __file__, __name__)")
        self.check("run", "m.json", "-q", "-w", "lib/ws.py", out="42 lib/ws.py __main__\n")

    def test_failing_code_ends_the_command_with_its_traceback(self):
        self.write("ws.py", "x = 1\nprint(undefined)\n")
        result = self.check("run", "m.json", "-w", "ws.py", status=1, out="")
        self.assertIn('File "ws.py", line 2', result.stderr)
        self.assertIn("NameError: name 'undefined' is not defined", result.stderr)
        self.assertNotIn("_bridge", result.stderr)
        self.assertTrue(result.stderr.endswith("zarn: ws.py: the workspace code failed\n"))
        self.check("run", "m.json", "-e", "1 +", status=1, err="SyntaxError")
        self.check("run", "m.json", "-e", "import sys; sys.exit(3)", status=1, err="SystemExit: 3")
        self.check("run", "m.json", "-q", "-e", "import sys; sys.exit()", status=0)

    def test_a_file_that_cannot_be_read(self):
        self.check("run", "m.json", "-w", "no.py", status=1, err="zarn: no.py: No such file or directory")
        self.check("run", "m.json", "-w", ".", status=1, err="zarn: .: Is a directory")
        (self.folder / "binary.py").write_bytes(b"\x00\xff")
        self.check("run", "m.json", "-w", "binary.py", status=1)

    def test_the_interpreter_stays_when_asked(self):
        self.check("run", "m.json", "-i", input="print(6 * 7)\nexit()\n", out="42\n", err=None)

    def test_an_options_value_is_one_word(self):
        self.check("run", "-e", "x = 1", "m.json", "-q", out="")


if __name__ == "__main__":
    unittest.main()

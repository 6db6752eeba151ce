"""zarn sweep: the same numbers as runs of their own, whatever ends a sweep in the middle."""

import csv
import itertools
import json
import math
import signal
import statistics
import subprocess
import time
import unittest

from support import DATA, ZARN, CommandTest, Model

MOTOR = DATA.parents[1] / "examples" / "motor"


def gain(expression="k", **settings):
    """time * k -> out"""
    model = Model(**settings)
    clock, factor = model.add("time", "clock"), model.add("constant", "factor", expression=expression)
    product = model.add("multiply", "product", inputs=2)
    model.link(clock, product, 0)
    model.link(factor, product, 1)
    model.link(product, model.add("outport", "out", inputs=1, portNumber=0))
    return model


class SweepTest(CommandTest):
    def rows(self, name):
        with open(self.path(name), newline="") as file:
            return list(csv.DictReader(file))

    def path(self, name):
        return self.folder / name

    def sweep(self, *arguments, status=0):
        return self.check("sweep", *arguments, status=status)


class Values(SweepTest):
    def setUp(self):
        super().setUp()
        self.write("m.json", gain().text())

    def swept(self, *arguments):
        self.sweep("m.json", "-q", *arguments, "--measure", "y=last(out)", "-o", "o.csv")
        return self.rows("o.csv")

    def test_a_list_and_a_range_are_a_grid(self):
        self.write("m.json", gain("k + j").text())
        rows = self.swept("--vary", "k=1,2.5", "--vary", "j=0:0.5:1")
        self.assertEqual([(float(r["k"]), float(r["j"])) for r in rows],
                         [(k, j) for k in (1, 2.5) for j in (0, 0.5, 1)])
        for r in rows:
            self.assertEqual(float(r["y"]), float(r["k"]) + float(r["j"]))

    def test_zip_and_a_table_go_row_by_row(self):
        self.write("m.json", gain("k + j").text())
        rows = self.swept("--zip", "--vary", "k=1,2", "--vary", "j=10,20")
        self.assertEqual([float(r["y"]) for r in rows], [11, 22])
        self.write("t.csv", "k,j\n1,2\n3,4\n5,6\n")
        rows = self.swept("--vary", "@t.csv")
        self.assertEqual([float(r["y"]) for r in rows], [3, 7, 11])

    def test_draws_follow_their_distribution_and_do_not_depend_on_their_number(self):
        few = self.swept("--vary", "k~normal(4,0.5)", "--random", "100", "--seed", "3")
        many = self.swept("--vary", "k~normal(4,0.5)", "--random", "1000", "--seed", "3")
        self.assertEqual([r["k"] for r in few], [r["k"] for r in many[:100]])
        values = [float(r["k"]) for r in many]
        self.assertAlmostEqual(statistics.mean(values), 4, delta=0.06)
        self.assertAlmostEqual(statistics.stdev(values), 0.5, delta=0.04)
        other = self.swept("--vary", "k~normal(4,0.5)", "--random", "100", "--seed", "4")
        self.assertNotEqual([r["k"] for r in few], [r["k"] for r in other])

    def test_a_parameter_of_a_block_varies_by_its_path(self):
        self.write("m.json", gain("2.0").text())
        rows = self.swept("--vary", "mainsys.factor.expression=1.5,3.5")
        self.assertEqual([float(r["y"]) for r in rows], [1.5, 3.5])
        self.write("m.json", gain("2").text())
        rows = self.swept("--vary", "factor.expression=1,3")
        self.assertEqual([float(r["y"]) for r in rows], [1, 3])

    def test_expressions_follow_the_names_in_them(self):
        self.write("m.json", gain("twice(k) + other").text())
        self.write("w.py", "k = 1.0\nother = 100.0\ndef twice(x): return 2 * x + 0 * k\n")
        rows = self.swept("-w", "w.py", "--vary", "k=1,2,3")
        self.assertEqual([float(r["y"]) for r in rows], [102, 104, 106])

    def test_a_variant_that_changes_a_type_is_of_a_kind_of_its_own(self):
        self.write("m.json", gain("k if k > 2 else int(k)").text())
        self.sweep("m.json", "--json", "--vary", "k=1.5,2.5,0.5,3.5", "--measure", "y=last(out)", "-o", "o.csv")
        self.assertEqual([float(r["y"]) for r in self.rows("o.csv")], [1, 2.5, 0, 3.5])
        said = json.loads(self.sweep("m.json", "--json", "--vary", "k=1.5,2.5", "--measure", "y=last(out)").stdout)
        self.assertEqual(said["kinds"], 2)

    def test_tables_vary_and_change_their_size(self):
        model = Model()
        clock = model.add("time", "clock")
        table = model.add("lut1d", "table", inputs=1, bp1="[0.0, 1.0, 2.0][:n]", out="[k, 2 * k, 9.0][:n]")
        model.chain(clock, table, model.add("outport", "out", inputs=1, portNumber=0))
        self.write("m.json", model.text())
        self.write("t.csv", "k,n\n1.0,2\n2.0,2\n3.0,3\n4.0,1\n")
        rows = self.swept("--vary", "@t.csv")
        self.assertEqual([float(r["y"]) for r in rows], [2, 4, 6, 4])


    def test_many_kinds_of_models_on_several_threads_keep_apart(self):
        model = Model(tf=40.0, ts=1.0)
        clock = model.add("time", "clock")
        points = "list(range(int(n)))"
        table = model.add("lut1d", "table", inputs=1, bp1=f"[float(i) for i in {points}]",
                          out=f"[k * i for i in {points}]")
        model.chain(clock, table, model.add("outport", "out", inputs=1, portNumber=0))
        self.write("m.json", model.text())
        pairs = [(1.0 + i // 7, 2 + i % 37) for i in range(700)]
        self.write("t.csv", "k,n\n" + "".join(f"{k},{n}\n" for k, n in pairs))
        rows = self.swept("--vary", "@t.csv", "--jobs", "3")
        self.assertEqual([float(r["y"]) for r in rows], [k * (n - 1) for k, n in pairs])


class Measures(SweepTest):
    def test_are_those_of_the_signal(self):
        self.write("m.json", gain(tf=2.0, ts=0.5).text())
        texts = {"last": "last(out)", "min": "min(out)", "max": "max(out)", "mean": "mean(out)", "rms": "rms(out)",
                 "at": "crossing(out, 3)", "area": "integral(out)", "iae": "iae(out, 2)", "ise": "ise(out,2)"}
        measures = [word for name, text in texts.items() for word in ("--measure", f"{name}={text}")]
        self.sweep("m.json", "-q", "--vary", "k=1.0,2.0,-1.0", *measures, "-o", "o.csv")
        for row, k in zip(self.rows("o.csv"), (1.0, 2.0, -1.0)):
            y = [k * 0.5 * i for i in range(5)]
            wanted = {"last": y[-1], "min": min(y), "max": max(y), "mean": sum(y) / 5,
                      "rms": math.sqrt(sum(v * v for v in y) / 5), "area": sum(y) * 0.5,
                      "iae": sum(abs(v - 2) for v in y) * 0.5, "ise": sum((v - 2) ** 2 for v in y) * 0.5}
            for name, value in wanted.items():
                self.assertAlmostEqual(float(row[name]), value, places=12, msg=name)
            self.assertEqual(row["at"], "1.5" if k == 2.0 else "")

    def test_where_keeps_some_rows(self):
        self.write("m.json", gain().text())
        self.sweep("m.json", "-q", "--vary", "k=1,2,3,4", "--measure", "y=last(out)", "--where", "y > 3 or k == 1",
                   "-o", "o.csv")
        self.assertEqual([r["variant"] for r in self.rows("o.csv")], ["0", "3"])

    def test_a_fault_ends_its_lane_alone(self):
        model = Model(tf=3.0, ts=1.0)
        a = model.add("constant", "a", expression="-2147483648")
        b = model.add("constant", "b", expression="k")
        quotient = model.add("divide", "quotient", inputs=2)
        model.link(a, quotient, 0)
        model.link(b, quotient, 1)
        model.link(quotient, model.add("outport", "out", inputs=1, portNumber=0))
        self.write("m.json", model.text())
        self.sweep("m.json", "-q", "--vary", "k=-2,-1,1", "--measure", "y=last(out)", "-o", "o.csv")
        rows = self.rows("o.csv")
        self.assertEqual([r["y"] for r in rows], ["1073741824.0", "", "-2147483648.0"])
        self.assertEqual(rows[1]["ended"], "mainsys.quotient: the lowest integer divided by -1 at t = 0.0 s")


class Whole(SweepTest):
    def test_variants_of_the_motor_are_runs_of_their_own(self):
        model, script = str(MOTOR / "motor.json"), str(MOTOR / "workspace.py")
        common = [model, "-w", script, "--vary", "J~lognormal(-6,0.3)", "--vary", "R~normal(1,0.1)", "--random", "70",
                  "--measure", "peak=max(mainsys.motor.speed)", "--measure", "end=last(mainsys.motor.speed)"]
        self.sweep(*common, "-q", "-o", "o.csv")
        rows = self.rows("o.csv")
        for variant in (0, 63, 64, 69):
            code = self.sweep(*common, "--replay", str(variant)).stdout.strip()
            self.check("run", model, "-q", "-w", script, "-e", code, "--probe", "mainsys.motor.speed", "-o", "r.csv")
            speed = [float(list(r.values())[1]) for r in self.rows("r.csv")]
            self.assertEqual(float(rows[variant]["peak"]), max(speed))
            self.assertEqual(float(rows[variant]["end"]), speed[-1])

    def test_memories_in_a_row_delay_as_in_a_run(self):
        for order in itertools.permutations(range(3)):
            model = Model(tf=1.0, ts=0.1)
            clock = model.add("time", "clock")
            made = {place: model.add("memory", f"z{place}", inputs=1) for place in order}
            factor = model.add("constant", "factor", expression="k")
            product = model.add("multiply", "product", inputs=2)
            total = model.add("add", "total", inputs=2)
            model.chain(clock, made[0], made[1], made[2], product)
            model.link(factor, product, 1)
            model.link(product, total, 0)
            model.link(made[1], total, 1)
            model.link(total, model.add("outport", "out", inputs=1, portNumber=0))
            self.write("m.json", model.text())
            self.sweep("m.json", "-q", "--vary", "k=2.0,3.0", "--measure", "y=integral(out)", "-o", "o.csv")
            for row in self.rows("o.csv"):
                self.check("run", "m.json", "-q", "-e", f"k = {row['k']}", "--probe", "out", "-o", "r.csv")
                wanted = 0.0
                for r in self.rows("r.csv"):
                    wanted += float(r["mainsys.out"]) * 0.1
                self.assertEqual(float(row["y"]), wanted, order)

    def test_signals_go_to_npz(self):
        import numpy

        self.write("m.json", gain(tf=1.0, ts=0.25).text())
        self.sweep("m.json", "-q", "--vary", "k=1:1:70", "--probe", "out", "--every", "2", "--measure", "y=last(out)",
                   "-o", "o.npz")
        with numpy.load(self.path("o.npz")) as file:
            self.assertEqual(file["mainsys.out"].shape, (70, 3))
            self.assertEqual(list(file["time"]), [0, 0.5, 1])
            self.assertEqual(list(file["mainsys.out"][69]), [0, 35, 70])
            self.assertEqual(list(file["y"]), list(range(1, 71)))

    def test_pictures_are_of_signals_or_measures(self):
        self.write("m.json", gain("k + j", tf=1.0, ts=0.25).text())
        common = ["m.json", "-q", "--vary", "k=1:1:5", "--vary", "j=0,1"]
        self.sweep(*common, "--probe", "out", "-o", "o.npz", "--plot", "bands.svg")
        self.assertIn("<svg", self.path("bands.svg").read_text())
        self.sweep(*common, "--measure", "y=last(out)", "-o", "o.csv", "--plot", "map.png")
        self.assertEqual(self.path("map.png").read_bytes()[:4], b"\x89PNG")
        self.assertFalse(self.path("o.csv.part").exists())
        said = self.sweep(*common, "-o", "o.csv", "--plot", "map.png", status=2).stderr
        self.assertIn("neither a measure nor a signal", said)

    def test_a_sweep_that_was_killed_goes_on_to_the_same_bytes(self):
        self.write("m.json", gain(tf=20.0, ts=0.01).text())
        common = ["m.json", "-q", "--vary", "k~uniform(0,1)", "--random", "40000", "--measure", "y=max(out)"]
        self.sweep(*common, "-o", "whole.csv")
        for kill_after in (0.15, 0.3, 0.45):
            process = subprocess.Popen([ZARN, "sweep", *common, "-o", "cut.csv", "--resume"], cwd=self.folder)
            time.sleep(kill_after)
            process.send_signal(signal.SIGKILL)
            process.wait()
            if self.path("cut.csv").exists():
                break
        self.sweep(*common, "-o", "cut.csv", "--resume")
        self.assertEqual(self.path("cut.csv").read_bytes(), self.path("whole.csv").read_bytes())
        self.assertFalse(self.path("cut.csv.part").exists())

    def test_an_interrupt_leaves_what_there_is(self):
        self.write("m.json", gain(tf=20.0, ts=0.01).text())
        common = ["sweep", "m.json", "-q", "--vary", "k~uniform(0,1)", "--random", "100000000", "--measure", "y=max(out)",
                  "-o", "o.csv"]
        process = subprocess.Popen([ZARN, *common], cwd=self.folder, stderr=subprocess.PIPE, text=True)
        while not self.path("o.csv.part").exists():
            time.sleep(0.01)
        time.sleep(0.2)
        process.send_signal(signal.SIGINT)
        said = process.communicate(timeout=30)[1]
        self.assertEqual(process.returncode, 130, said)
        self.assertRegex(said, "interrupted after [1-9][0-9]* variants; --resume goes on")
        self.assertFalse(self.path("o.csv").exists())

    def test_the_number_of_threads_changes_nothing(self):
        self.write("m.json", gain().text())
        for jobs in ("1", "3"):
            self.sweep("m.json", "-q", "--vary", "k~normal(0,1)", "--random", "1000", "--measure", "y=last(out)",
                       "--jobs", jobs, "-o", f"{jobs}.csv")
        self.assertEqual(self.path("1.csv").read_bytes(), self.path("3.csv").read_bytes())


class Tuning(SweepTest):
    def setUp(self):
        super().setUp()
        model = Model()
        model.chain(model.add("constant", "c", expression="(k - 2.0) ** 2 + (j + 1.0) ** 2"),
                    model.add("outport", "out", inputs=1, portNumber=0))
        self.write("m.json", model.text())
        self.common = ["tune", "m.json", "--vary", "k=-10:10", "--vary", "j=-8:8", "--minimise", "last(out)"]

    def test_both_methods_find_the_bottom_of_a_bowl(self):
        for method in "de", "nelder-mead":
            self.check(*self.common, "--method", method, "-q", "-o", "best.py", "--plot", "way.png")
            found = {}
            exec(self.path("best.py").read_text(), found)
            self.assertAlmostEqual(found["k"], 2, delta=1e-2, msg=method)
            self.assertAlmostEqual(found["j"], -1, delta=1e-2, msg=method)
            self.assertEqual(self.path("way.png").read_bytes()[:4], b"\x89PNG")

    def test_the_same_seed_finds_the_same_numbers(self):
        first, second = (json.loads(self.check(*self.common, "--json", "--most", "500", "--jobs", jobs).stdout)
                         for jobs in "12")
        self.assertEqual(first, second)
        self.assertLessEqual(first["least"], 1e-1)

    def test_refuses_what_makes_no_sense(self):
        self.check("tune", "m.json", "--vary", "k=2:1", "--minimise", "last(out)", status=2, err="NAME=LOW:HIGH")
        self.check(*self.common[:-1], "top(out)", status=2, err="no measure 'top'")


class Refusals(SweepTest):
    def setUp(self):
        super().setUp()
        self.write("m.json", gain().text())

    def refused(self, status, *arguments):
        done = self.sweep("m.json", *arguments, status=status)
        self.assertNotIn("Traceback", done.stderr)
        return done.stderr

    def test_name_what_is_wrong(self):
        for arguments, text in (
            (["--vary", "k"], "expected NAME=1,2,5"),
            (["--vary", "k=a"], "'a' is no number"),
            (["--vary", "k=1:0:2"], "the range is empty"),
            (["--vary", "k=1", "--vary", "k=2"], "the name varies already"),
            (["--vary", "k~normal(1,1)"], "--random N"),
            (["--vary", "k~gamma(1,1)", "--random", "3"], "expected normal"),
            (["-e", "k = 1.0", "--vary", "no.such=1"], "no block has the path no"),
            (["--vary", "k=1,2", "--vary", "j=1", "--zip"], "k has 2 values and j has 1"),
            (["--vary", "k=1", "--measure", "y=top(out)"], "no measure 'top'"),
            (["--vary", "k=1", "--where", "z > 1"], "nothing is called 'z'"),
            (["--vary", "k=1", "-o", "o.txt"], ".csv, .npz or .h5"),
            (["--vary", "k=1", "--resume"], "with -o"),
        ):
            self.assertIn(text, self.refused(2, *arguments), arguments)

    def test_what_is_there_of_another_sweep_is_not_gone_on_with(self):
        self.write("o.csv.part", "something else\n")
        said = self.refused(1, "--vary", "k=1", "--measure", "y=last(out)", "-o", "o.csv", "--resume")
        self.assertIn("of another sweep", said)
        self.assertEqual(self.path("o.csv.part").read_text(), "something else\n")

    def test_a_value_that_a_block_cannot_have_is_told_in_its_row(self):
        model = Model()
        model.chain(model.add("sinewave", "sine", frequency="f", phase="0"),
                    model.add("outport", "out", inputs=1, portNumber=0))
        self.write("m.json", model.text())
        self.sweep("m.json", "-q", "--vary", "f=1.0,-1.0,2.0", "--measure", "y=last(out)", "-o", "o.csv")
        rows = self.rows("o.csv")
        self.assertEqual([r["ended"] != "" for r in rows], [False, True, False])
        self.assertIn("mainsys.sine", rows[1]["ended"])


if __name__ == "__main__":
    unittest.main()

"""Small files that once took all memory, read before a buffer, ended by chance, or were told otherwise than they ran."""

import os
import pathlib
import resource
import shutil
import signal
import subprocess
import time
import unittest

from support import DATA, PATIENCE, SANITIZERS, ZARN, CommandTest, Model, counter

HOSTILE = DATA / "hostile"
GIBIBYTE = 1 << 30


class Attacks(CommandTest):
    def take(self, name, to="m.json"):
        shutil.copy(HOSTILE / name, self.folder / to)

    def within(self, *arguments, memory=GIBIBYTE, seconds=10):
        """Runs the command within limits of memory and processor time."""
        def limit():
            if not any(SANITIZERS):
                resource.setrlimit(resource.RLIMIT_AS, (memory, memory))
            resource.setrlimit(resource.RLIMIT_CPU, (int(seconds * PATIENCE), int(seconds * PATIENCE) + 1))

        return subprocess.run([ZARN, *arguments], cwd=self.folder, capture_output=True, text=True, preexec_fn=limit)

    def assert_agree(self, fine):
        """Check, run and the generators come to the same."""
        status = 0 if fine else 1
        self.check("check", "m.json", status=status)
        self.check("run", "m.json", "--no-python", "-q", status=status)
        for language in "c", "py":
            self.check("generate", language, "m.json", language, "--no-python", status=status)

    def test_generated_python_of_a_lone_enable(self):
        self.take("lone_enable.json")
        self.assert_agree(True)

    def test_a_ring_with_an_expression_that_waits_for_a_workspace(self):
        self.take("ring_of_an_expression.json")
        self.assert_agree(False)
        for arguments in ["check", "m.json"], ["run", "m.json", "--no-python"]:
            result = self.zarn(*arguments)
            self.assertIn("Z224", result.stdout + result.stderr)
            self.assertNotIn("Z901", result.stdout + result.stderr)

    def test_a_file_that_refers_to_itself_comes_to_the_same_each_time(self):
        self.take("refers_to_itself.json")
        told = {(done.returncode, done.stdout) for done in (self.zarn("check", "m.json", "--json") for _ in range(20))}
        self.assertEqual(len(told), 1)

    def test_casts_of_one_id_that_a_from_has_exchanged(self):
        """The from goes, and the last block takes its place: what is linked to the id leads to that one then."""
        model = Model()
        source = model.add("constant", "source", expression="1")
        model.add("from", "unread", target="nobody")
        first = model.add("cast", "first", inputs=1, type="int8")
        model.add("constant", "other", expression="2")
        model.add("cast", "second", inputs=1, type="int8")
        model.blocks[-1]["cast"]["id"] = first
        model.link(source, first)
        model.link(first, 8442203739192231)
        self.write("m.json", model)
        self.assert_agree(False)
        said = self.zarn("check", "m.json").stdout
        self.assertNotIn("Z901", said)
        self.assertIn("error Z215 mainsys.first (cast): no link leads into this cast", said)

    def test_a_second_link_into_a_goto_from_no_block(self):
        model = Model()
        source, goto = model.add("constant", "source", expression="1"), model.add("goto", "goto", inputs=1, outputs=0, target="T")
        reader = model.add("display", "shown", inputs=1, outputs=0)
        model.link(source, goto)
        model.link(model.add("from", "from", target="T"), reader)
        model.link(7, goto, -1)
        self.write("m.json", model)
        self.assert_agree(True)
        self.check("check", "m.json", out="warning Z209 mainsys.goto (goto): a second link leads into this goto")

    def test_short_ids_in_a_reference_give_one_number_and_are_told(self):
        for name in "ref_main.json", "r.json":
            shutil.copy(DATA / "attacks" / name, self.folder)
        shown = [self.check("run", "ref_main.json", "--no-python", "--probe-all", "-o", "-", err="Z113").stdout for _ in range(3)]
        self.assertEqual(len(set(shown)), 1)

    def test_more_samples_than_memory_are_refused_in_a_line(self):
        self.take("billion_samples.json")
        result = self.within("run", "m.json", "--no-python", "-q")
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertRegex(result.stderr, r"^zarn: m\.json: 1e\+09 steps take 29\.8 GiB in 1 to_workspace block, ")
        self.assertEqual(result.stderr.count("\n"), 1)

    def test_columns_of_blocks_of_one_id_are_told_apart(self):
        self.take("dup_ids.json")
        head = self.check("run", "m.json", "--no-python", "-q", "--probe-all", "-o", "-").stdout.splitlines()[0].split(",")
        self.assertEqual(len(head), len(set(head)))

    def test_a_long_name_around_many_blocks(self):
        model = Model()
        around = model.add("subsys", "x" * 1_000_000)
        for number in range(2000):
            model.add("time", f"t{number}", parent=around)
        self.write("m.json", model)
        for verb in ["check"], ["run", "--no-python"], ["inspect"], ["explain"], ["generate", "c"]:
            result = self.within(*verb, "m.json", *(["out"] if verb[0] == "generate" else []))
            self.assertEqual(result.returncode, 1, verb)
            self.assertIn("the paths of its blocks", result.stdout + result.stderr, verb)

    def test_ten_thousand_subsystems_inside_each_other(self):
        model, around = Model(), 0
        for number in range(10_000):
            around = model.add("subsys", f"s{number}", parent=around)
        model.add("time", "t", parent=around)
        self.write("m.json", model)
        for verb in ["check"], ["run", "--no-python"], ["inspect"]:
            result = self.within(*verb, "m.json")
            self.assertEqual(result.returncode, 1, verb)
            self.assertIn("the paths of its blocks", result.stdout + result.stderr, verb)

    def test_a_block_of_a_million_inputs_is_looked_at_once(self):
        model = Model()
        model.chain(model.add("time", "t"), model.add("add", "sum", inputs=1_000_000))
        self.write("m.json", model)
        result = self.within("check", "m.json", seconds=4)
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertIn("Z220", result.stdout)

    def test_a_model_without_a_name(self):
        for verb in ["check"], ["run"], ["inspect"], ["explain"], ["draw"], ["generate", "c"]:
            with self.subTest(verb=verb):
                result = self.zarn(*verb, "", *(["out"] if verb[0] == "generate" else []))
                self.assertEqual((result.returncode, result.stderr), (1, "zarn: the name of the model file is empty\n"))

    def test_breakpoints_without_end_are_told(self):
        for bp1, bp2 in ("[0.0, float('inf')]", "[0.0, 1.0]"), ("[0.0, 1.0]", "[-float('inf'), 0.0]"):
            model = Model()
            clock = model.add("time", "t")
            table = model.add("lut2d", "table", inputs=2, bp1=bp1, bp2=bp2, out="[[1.0, 2.0], [3.0, 4.0]]")
            model.link(clock, table, 0)
            model.link(clock, table, 1)
            self.write("m.json", model)
            key = "bp1" if "inf" in bp1 else "bp2"
            self.check("check", "m.json", "--python", out=f'the breakpoints in "{key}" are not all finite')
            self.check("run", "m.json", err="Z405")

    @unittest.skipIf(any(SANITIZERS), "a sanitizer's memory is not the command's")
    def test_memory_that_is_short_at_any_place_is_a_line(self):
        model = Model(tf=10.0)
        last = model.add("time", "t")
        for number in range(20_000):
            model.link(last, block := model.add("sin", f"s{number}", inputs=1))
            last = block
        self.write("m.json", model)
        told = set()
        for megabytes in range(24, 120, 8):
            result = self.within("run", "m.json", "--no-python", "-q", "--probe-all", memory=megabytes << 20, seconds=20)
            self.assertIn(result.returncode, (0, 1, 127), (megabytes, result.stderr))  # 127: no room to load the libraries
            if result.returncode == 1:
                self.assertEqual(result.stderr.count("\n"), 1, result.stderr)
                self.assertIn("memory", result.stderr)
            told.add(result.returncode)
        self.assertLessEqual({0, 1}, told)

    @unittest.skipIf(any(SANITIZERS), "a sanitizer's memory is not the command's")
    def test_a_picture_takes_no_second_copy_of_the_recording(self):
        def most(steps, *more):
            self.write("m.json", counter(tf=float(steps), ts=1.0))
            subject = [ZARN, "run", "m.json", "-q", "--probe", "double", *more]
            process = subprocess.Popen(subject, cwd=self.folder)
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            self.assertEqual(process.returncode, 0)
            return usage.ru_maxrss / 1024  # megabytes

        few, many = 10_000, 6_000_000
        recording = 8 * many / 1e6  # of the one signal
        for more in ["--plot", "p.png"], ["-o", "r.npz"]:
            self.assertLess(most(many, *more) - most(few, *more), 1.5 * recording, more)

    def test_a_picture_in_the_making_can_be_interrupted(self):
        model = Model(tf=2000.0, ts=0.01)
        clock = model.add("time", "clock")
        for number in range(40):
            model.link(clock, model.add("sin", f"s{number}", inputs=1))
        self.write("m.json", model)
        ended = set()
        for after in 0.2, 0.6, 1.0, 1.4, 1.8, 2.4:
            process = subprocess.Popen([ZARN, "run", "m.json", "-q", "--probe", "s*", "--plot", "p.png"],
                                       cwd=self.folder, stderr=subprocess.DEVNULL)
            time.sleep(after)
            begin = time.monotonic()
            process.send_signal(signal.SIGINT)
            self.assertIn(process.wait(60 * PATIENCE), (0, 130))
            self.assertLess(time.monotonic() - begin, 5 * PATIENCE, after)
            ended.add(process.returncode)
            self.assertEqual([name for name in os.listdir(self.folder) if "part" in name], [])
        self.assertIn(130, ended)


if __name__ == "__main__":
    unittest.main()

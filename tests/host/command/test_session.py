"""What a session promises: each file once, each expression once, files that appear whole or not at all."""

import ctypes
import json
import os
import select
import signal
import struct
import subprocess
import time
import unittest

from support import PATIENCE, SANITIZERS, ZARN, CommandTest, Model, counter


class Opens:
    """Counts how often files are opened."""

    IN_OPEN = 0x20

    def __init__(self, *paths):
        self.libc = ctypes.CDLL(None)
        self.descriptor = self.libc.inotify_init1(os.O_NONBLOCK)
        self.names = {}
        for path in paths:
            watch = self.libc.inotify_add_watch(self.descriptor, os.fsencode(path), self.IN_OPEN)
            self.names[watch] = os.path.basename(path)

    def counts(self):
        counts = dict.fromkeys(self.names.values(), 0)
        while select.select([self.descriptor], [], [], 0)[0]:
            data = os.read(self.descriptor, 1 << 16)
            while data:
                watch, _, _, length = struct.unpack_from("iIII", data)
                counts[self.names[watch]] += 1
                data = data[16 + length :]
        os.close(self.descriptor)
        return counts


def nested():
    """A model that refers to part.json twice."""
    part = Model()
    part.chain(part.add("inport", "u", inputs=1, portNumber=0), part.add("outport", "y", inputs=1, portNumber=0))
    model = Model()
    source = model.add("constant", "c", expression="1.0")
    for i in range(2):
        sub = model.add("refsys", f"sub{i}", inputs=1, outputs=1, path="part.json")
        model.link(source, sub)
        model.chain(sub, model.add("outport", f"y{i}", inputs=1, portNumber=i))
    return model, part


class Once(CommandTest):
    def test_each_file_is_opened_once(self):
        model, part = nested()
        self.write("m.json", model)
        self.write("part.json", part)
        for verb in ["run", "m.json"], ["generate", "c", "m.json", "out"], ["inspect", "m.json"], ["explain", "m.json"]:
            opens = Opens(self.folder / "m.json", self.folder / "part.json")
            self.check(*verb, "--no-python")
            self.assertEqual(opens.counts(), {"m.json": 1, "part.json": 1}, verb)

    def test_each_expression_is_evaluated_once(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "f('two')"
        lut = model.add("lut1d", "l", inputs=1, bp1="f([0.0, 1.0])", out="f([2.0, 3.0])")
        model.chain(model.blocks[0]["time"]["id"], lut, model.add("display", "d", inputs=1, outputs=0))
        series = model.add("from_workspace", "s", expression="f(([0, 1], [1, 2]))")
        model.chain(series, model.add("display", "e", inputs=1, outputs=0))
        self.write("m.json", model)
        self.write(
            "w.py",
            "import atexit\ncalls = []\n"
            "def f(x):\n    calls.append(x)\n    return 2.0 if x == 'two' else x\n"
            "atexit.register(lambda: open('calls', 'w').write(repr(sorted(map(str, calls)))))\n",
        )
        self.check("run", "m.json", "-w", "w.py", err="", out="mainsys.out  2.0\n")
        self.assertEqual(
            (self.folder / "calls").read_text(),
            repr(sorted(["two", "[0.0, 1.0]", "[2.0, 3.0]", "([0, 1], [1, 2])"])),
        )

    def test_the_value_that_is_checked_is_the_value_that_runs(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "float(next(numbers))"
        self.write("m.json", model)
        self.check("run", "m.json", "-e", "numbers = iter(range(7, 100))", out="mainsys.out  7.0\n", err="")

    def test_a_generated_project_is_the_same_in_every_process(self):
        model, part = nested()
        self.write("m.json", model)
        self.write("part.json", part)
        texts = []
        for folder in "a", "b":
            self.check("generate", "c", "m.json", folder, "-q")
            project = self.folder / folder / "zarn-ccoder"
            texts.append({path.name: path.read_bytes() for path in project.iterdir()})
        self.assertEqual(*texts)


class Warnings(CommandTest):
    def model(self, count):
        """So many inputs that are wide open for a text where a number belongs: each a warning."""
        model = counter()
        for i in range(count):
            model.add("constant", f"unused {i}", expression="1.0")
        return model

    def test_a_few_warnings_are_shown_and_many_are_counted(self):
        for count, text in (2, "warning Z"), (5, None):
            self.write("m.json", self.model(count))
            found = json.loads(self.zarn("check", "m.json", "--json").stdout)["warnings"]
            err = self.check("run", "m.json").stderr
            if found > 3:
                self.assertEqual(err, f"zarn: m.json: {found} warnings; 'zarn check', or -v here, shows them\n")
            elif found:
                self.assertEqual(err.count("warning Z"), found)
            self.check("run", "m.json", "-q", err="")
        self.assertGreater(found, 3)


class Imports(CommandTest):
    def test_own_imports_never_look_into_the_current_folder(self):
        self.write("m.json", counter())
        for name in "numpy", "matplotlib", "readline", "code":
            self.write(f"{name}.py", f"open('{name}-ran', 'w')\nraise ImportError('planted')\n")
        self.write("matplotlibrc", "figure.facecolor: nonsense that is told\n")
        self.check("run", "m.json", "-q", "-e", "gain = 2.0", "-o", "r.npz", err="")
        self.check("run", "m.json", "-q", "-e", "gain = 2.0", "--plot", "r.svg", err="")
        self.check("run", "m.json", "-q", "-e", "gain = 2.0", "-i", input="")
        self.assertEqual([name for name in os.listdir(self.folder) if name.endswith("-ran")], [])

    def test_the_code_of_a_user_does(self):
        self.write("m.json", counter())
        self.write("gains.py", "two = 2.0\n")
        self.check("run", "m.json", "-q", "-e", "from gains import two; print(two)", out="2.0\n", err="")


class Files(CommandTest):
    def test_links_stay_links(self):
        self.write("m.json", counter())
        (self.folder / "there").mkdir()
        for target in "there/old.csv", "there/new.csv":
            (self.folder / "r.csv").symlink_to(target)
            if "old" in target:
                self.write(target, "old\n")
            self.check("run", "m.json", "-q", "-o", "r.csv", err="")
            self.assertTrue((self.folder / "r.csv").is_symlink())
            self.assertTrue((self.folder / target).read_text().startswith("time,"))
            (self.folder / "r.csv").unlink()

    def test_leftovers_of_killed_runs_are_removed(self):
        self.write("m.json", counter(tf=1e9, ts=1e-3))
        killed = subprocess.Popen([ZARN, "run", "m.json", "-o", "r.csv", "-q"], cwd=self.folder)
        parts = lambda: [name for name in os.listdir(self.folder) if name.endswith(".part")]
        deadline = time.monotonic() + 20 * PATIENCE
        while not parts() and time.monotonic() < deadline:
            time.sleep(0.02)
        # while it runs, its file is not taken for a leftover
        self.check("run", "m.json", "--set", "tf=0.01", "-q", "-o", "r.csv", err="")
        self.assertEqual(len(parts()), 1)
        killed.send_signal(signal.SIGKILL)
        killed.wait()
        self.assertEqual(len(parts()), 1)
        self.check("run", "m.json", "--set", "tf=0.01", "-q", "-o", "r.csv", err="")
        self.assertEqual(parts(), [])

    def test_a_planted_link_is_not_written_through(self):
        self.write("m.json", counter())
        self.write("victim", "precious\n")
        # the process id of the next run is not known: all that are likely are planted
        begin = subprocess.Popen(["true"])
        begin.wait()
        for number in range(begin.pid, begin.pid + 200):
            (self.folder / f"r.csv.{number}.part").symlink_to("victim")
        self.check("run", "m.json", "-q", "-o", "r.csv", err="")
        self.assertEqual((self.folder / "victim").read_text(), "precious\n")


class Streams(CommandTest):
    def peak(self, *arguments):
        """Bytes that a run has at most in memory."""
        process = subprocess.Popen([ZARN, *arguments], cwd=self.folder)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = status
        self.assertEqual(status, 0)
        return usage.ru_maxrss * 1024

    def test_recordings_take_no_memory(self):
        for ending in "csv", "npz":
            peaks = []
            for steps in 1e4, 2e6:
                self.write("m.json", counter(tf=steps - 1, ts=1.0))
                peaks.append(self.peak("run", "m.json", "--no-python", "-q", "--probe-all", "-o", f"r.{ending}"))
            self.assertLess(peaks[1], peaks[0] + 8e6, ending)

    def test_what_the_model_itself_records_must_fit(self):
        model = counter(tf=2e9, ts=1.0)
        for i in range(8):
            model.chain(model.blocks[2]["multiply"]["id"], model.add("to_workspace", f"w{i}", inputs=1, outputs=0))
        self.write("m.json", model)
        result = self.check("run", "m.json", "--no-python", status=1, out="")
        self.assertRegex(
            result.stderr,
            r"^zarn: m\.json: 2e\+09 steps take 477 GiB in 8 to_workspace blocks, and the machine has \S+ GiB to "
            r"give; end sooner, take longer steps, or record with -o FILE\n$",
        )

    def test_failures_are_json_where_json_is_asked_for(self):
        model = Model()
        model.add("display", "d", inputs=1, outputs=0)
        self.write("m.json", model)
        for verb in ["run", "m.json"], ["generate", "c", "m.json", "out"], ["explain", "m.json"]:
            answer = json.loads(self.check(*verb, "--json", "--no-python" if verb[0] != "explain" else "-q", status=1).stdout)
            self.assertNotEqual(answer["result"], 0)
            self.assertTrue(answer["error"].startswith("m.json: "))
            self.assertEqual({finding["severity"] for finding in answer["findings"]} - {"warning", "note"}, {"error"})

    @unittest.skipIf("undefined" in SANITIZERS, "the sanitizer is before the processor and ends the process itself")
    def test_a_divide_fault_is_json_too(self):
        model = Model(tf=0.25)
        low = model.add("constant", "low", expression="-2147483648")
        step = model.add("step", "falls", initialValue="1", finalValue="-1", stepTime="0.1")
        minus = model.add("cast", "cast", inputs=1, type="int32")
        model.link(step, minus)
        quotient = model.add("divide", "q", inputs=2)
        model.link(low, quotient, 0)
        model.link(minus, quotient, 1)
        model.chain(quotient, model.add("outport", "out", inputs=1, portNumber=0))
        self.write("m.json", model)
        result = self.check("run", "m.json", "--json", "--no-python", status=1)
        self.assertEqual(
            json.loads(result.stdout)["error"],
            "m.json: divide fault in a step: mainsys.q (divide): the lowest integer divided by -1 does not fit its type",
        )


if __name__ == "__main__":
    unittest.main()

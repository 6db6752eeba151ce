"""Manners on a terminal: colours, progress, Ctrl-C, and how a fault in a step ends."""

import json
import os
import pty
import re
import select
import signal
import time
import unittest

from support import SANITIZERS, ZARN, CommandTest, Model, counter

ERASE = b"\r\x1b[K"
ENDLESS = {"tf": 1e9, "ts": 1e-3}


class Terminal:
    """The command on a terminal of its own, which is its standard input, output and error."""

    def __init__(self, test, *arguments, env=None):
        self.seen = b""
        self.status = None
        self.pid, self.master = pty.fork()
        if self.pid == 0:  # the command
            try:
                os.chdir(test.folder)
                kept = {k: v for k, v in os.environ.items() if k != "NO_COLOR"} | {"TERM": "xterm"} | (env or {})
                os.execve(ZARN, [ZARN, *arguments], kept)
            finally:
                os._exit(99)
        test.addCleanup(self.close)

    def read(self, seconds):
        """Reads what comes within some time; false at the end."""
        if not select.select([self.master], [], [], seconds)[0]:
            return True
        try:
            more = os.read(self.master, 65536)
        except OSError:  # the last user of the other side is gone
            more = b""
        self.seen += more
        return bool(more)

    def wait_for(self, pattern, seconds=60):
        deadline = time.monotonic() + seconds
        while not re.search(pattern, self.seen):
            if time.monotonic() > deadline or not self.read(0.1):
                raise AssertionError(f"no {pattern} in {self.seen[-500:]}")

    def type(self, keys):
        os.write(self.master, keys)

    def end(self, seconds=60):
        """Waits for the end and answers the exit status."""
        deadline = time.monotonic() + seconds
        while self.read(0.05):
            if time.monotonic() > deadline:
                raise AssertionError(f"no end; {self.seen[-500:]}")
        self.status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        return self.status

    def close(self):
        if self.status is None:
            try:
                os.kill(self.pid, signal.SIGKILL)
                os.waitpid(self.pid, 0)
            except OSError:
                pass
        os.close(self.master)


class TerminalTest(CommandTest):
    def terminal(self, *arguments, **options):
        return Terminal(self, *arguments, **options)

    def long_enough(self):
        """A number of steps for which the object engine takes some seconds with the model at hand."""
        steps = 3_000_000
        begin = time.monotonic()
        self.check("run", "m.json", "-q", "--set", f"tf={steps}", "--set", "ts=1", "--engine", "objects", timeout=300)
        spent = max(time.monotonic() - begin - 0.1, 0.05)  # without the start of the interpreter
        return int(steps * max(4.0 / spent, 1.0))

    def on_screen(self, seen):
        """What is left of a text on the screen, where each line of progress was erased."""
        lines = []
        for line in seen.replace(b"\r\n", b"\n").split(b"\n"):
            lines.append(re.sub(rb"\x1b\[[0-9;]*m", b"", line.split(ERASE)[-1]))
        return b"\n".join(lines).decode()


class Colors(TerminalTest):
    """Colours mark severities, on a terminal only, and never against the wish of its user."""

    def setUp(self):
        super().setUp()
        model = Model()
        model.add("display", "open", inputs=1, outputs=0)
        model.chain(model.add("constant", "same", expression="1.0"), model.add("display", "same", inputs=1, outputs=0))
        self.write("bad.json", model)

    verbs = ("check", "run")

    def test_a_terminal_shows_severities_in_colour(self):
        for verb in self.verbs:
            terminal = self.terminal(verb, "bad.json")
            self.assertEqual(terminal.end(), 1)
            self.assertIn(b"\x1b[31merror Z201\x1b[0m mainsys.open (display)", terminal.seen)
        terminal = self.terminal("check", "bad.json")
        terminal.end()
        self.assertIn(b"\x1b[36mnote Z502\x1b[0m mainsys.same (display)", terminal.seen)

    def test_colours_change_nothing_but_colours(self):
        terminal = self.terminal("check", "bad.json")
        terminal.end()
        self.assertEqual(self.on_screen(terminal.seen), self.zarn("check", "bad.json").stdout)

    def test_no_color_is_obeyed_whatever_its_value(self):
        for value in "1", "0", "":
            for verb in self.verbs:
                terminal = self.terminal(verb, "bad.json", env={"NO_COLOR": value})
                self.assertEqual(terminal.end(), 1)
                self.assertIn(b"error Z201 mainsys.open", terminal.seen)
                self.assertNotIn(b"\x1b", terminal.seen)

    def test_a_terminal_that_has_no_colours_gets_none(self):
        terminal = self.terminal("check", "bad.json", env={"TERM": "dumb"})
        terminal.end()
        self.assertNotIn(b"\x1b", terminal.seen)

    def test_pipes_and_files_get_none(self):
        for verb in self.verbs:
            result = self.zarn(verb, "bad.json")
            self.assertNotIn("\x1b", result.stdout + result.stderr)

    def test_names_in_a_file_give_the_terminal_no_orders(self):
        order = "\x1b]0;owned\x07\x1b[2J\x7f"
        text = json.dumps({"blocks": [{"constant": {"name": order, "id": 1, order: 1, "expression": order}}, {order: {}},
                                      {"from_workspace": {"id": 2, "expression": order, "nam" + order: order}}],
                           "links": [{"srcId": 1, "dstId": 3, "label": order}], order: order})
        for name, content in ("orders.json", text), ("raw.json", text.replace("\\u001b", "\x1b")):
            self.write(name, content)
            for verb in "check", "run", "explain", "inspect", "draw":
                result = self.zarn(verb, name, "--no-python")
                self.assertNotIn("\x1b", result.stderr + result.stdout, (verb, name))
                self.assertNotIn("\x07", result.stderr + result.stdout, (verb, name))

    def test_what_programs_read_has_none(self):
        for option in "--json", "--sarif":
            terminal = self.terminal("check", "bad.json", option)
            terminal.end()
            self.assertNotIn(b"\x1b", terminal.seen)


class Progress(TerminalTest):
    def test_a_long_run_shows_time_share_and_time_left(self):
        self.write("m.json", counter(**ENDLESS))
        terminal = self.terminal("run", "m.json")
        shown = rb"\r\x1b\[Kt = ([0-9.e+]+) s, ([0-9]+) %, ([^\r\n]+) left"
        terminal.wait_for(shown + rb".*" + shown)
        times = [float(match[0]) for match in re.findall(shown, terminal.seen)]
        self.assertEqual(times, sorted(times))
        self.assertLess(times[0], times[-1])
        terminal.type(b"\x03")
        self.assertEqual(terminal.end(), 130)

    def test_the_line_is_erased_in_the_end(self):
        self.write("m.json", counter(tf=1.0, ts=1.0))
        steps = self.long_enough()
        for _ in range(4):
            terminal = self.terminal("run", "m.json", "--set", f"tf={steps}", "--set", "ts=1", "--engine", "objects")
            self.assertEqual(terminal.end(300), 0)
            if b"left" in terminal.seen:
                break
            steps *= 3
        self.assertIn(b"left", terminal.seen)
        self.assertEqual(
            self.on_screen(terminal.seen),
            f"{steps + 1} steps, the last at t = {steps}.0 s\nmainsys.out  {2 * steps}.0\n",
        )

    def test_quiet_runs_and_short_runs_show_none(self):
        self.write("m.json", counter())
        terminal = self.terminal("run", "m.json")
        self.assertEqual(terminal.end(), 0)
        self.assertNotIn(b"left", terminal.seen)
        self.write("m.json", counter(**ENDLESS))
        terminal = self.terminal("run", "m.json", "-q")
        time.sleep(2.5)
        terminal.type(b"\x03")
        self.assertEqual(terminal.end(), 130)
        self.assertNotIn(b"left", terminal.seen)

    def test_a_pipe_sees_none(self):
        self.write("m.json", counter(tf=1.0, ts=1.0))
        long = ["--set", f"tf={self.long_enough()}", "--set", "ts=1", "--engine", "objects"]
        self.check("run", "m.json", *long, err="", timeout=300)


class Interrupts(TerminalTest):
    def interrupt(self, *arguments, wait=b"left"):
        """Types Ctrl-C once the run shows where it is, and answers the status and the seconds until the end."""
        terminal = self.terminal("run", "m.json", *arguments)
        terminal.wait_for(wait)
        begin = time.monotonic()
        terminal.type(b"\x03")
        status = terminal.end()
        return terminal, status, time.monotonic() - begin

    def test_ctrl_c_ends_a_run_within_a_second(self):
        self.write("m.json", counter(**ENDLESS))
        for engine in "plan", "objects":
            terminal, status, spent = self.interrupt("--engine", engine)
            self.assertEqual(status, 130)
            self.assertLess(spent, 3.0)  # one second on a machine with nothing else to do
            self.assertRegex(self.on_screen(terminal.seen), r"zarn: interrupted at t = [0-9.e+]+ s\n$")
            self.assertNotIn(b"Traceback", terminal.seen)

    def slow(self):
        """A counter among so many blocks that its recordings stay small."""
        model = counter(tf=1e9, ts=1.0)
        last = model.blocks[0]["time"]["id"]
        for number in range(3000):
            model.link(last, model.add("sin", f"s{number}", inputs=1))
            last = model.blocks[-1]["sin"]["id"]
        return model

    def test_what_was_recorded_is_kept(self):
        self.write("m.json", self.slow())
        terminal, status, _ = self.interrupt("-o", "r.csv", "--probe", "double", "--probe", "two")
        self.assertEqual(status, 130)
        rows = self.csv("r.csv")
        self.assertEqual(rows[0], ["time", "mainsys.double", "mainsys.two"])
        self.assertGreater(len(rows), 100)
        for i, row in enumerate(rows[1:]):
            self.assertEqual([float(cell) for cell in row], [i, 2.0 * i, 2.0])
        (told,) = re.findall(r"interrupted at t = ([0-9.e+]+) s", self.on_screen(terminal.seen))
        self.assertEqual(float(told), float(rows[-1][0]))
        self.assertEqual(sorted(os.listdir(self.folder)), ["m.json", "r.csv"])

    def test_plots_and_arrays_are_kept_too(self):
        import numpy

        self.write("m.json", self.slow())
        _, status, _ = self.interrupt("-o", "r.npz", "--plot", "p.png", "--probe", "double")
        self.assertEqual(status, 130)
        data = numpy.load(self.folder / "r.npz")
        self.assertTrue((data["mainsys.double"] == 2 * data["time"]).all())
        self.assertEqual((self.folder / "p.png").read_bytes()[:4], b"\x89PNG")

    def test_workspace_code_ends_too(self):
        self.write("m.json", counter())
        self.write("ws.py", "print('ready', flush=True)\nwhile True: pass\n")
        terminal, status, spent = self.interrupt("-w", "ws.py", wait=b"ready")
        self.assertEqual(status, 130)
        self.assertLess(spent, 3.0)
        self.assertNotIn(b"Traceback", terminal.seen)


class Faults(TerminalTest):
    def model(self, late):
        """-2^31 over a divisor that falls from 1 to -1, some steps after the start."""
        model = Model(tf=1e9, ts=1.0)
        low = model.add("constant", "low", expression="-2**31")
        falls = model.add("step", "falls", initialValue="1", finalValue="-1", stepTime=str(late))
        cast = model.add("cast", "cast", inputs=1, type="int32")
        inside = model.add("subsys", "pump", inputs=2)
        for port, name in enumerate(("a", "b")):
            model.add("inport", name, parent=inside, inputs=1, portNumber=port)
        guilty = model.add("divide", "guilty", parent=inside, inputs=2)
        model.link(falls, cast)
        model.link(low, inside, 0)
        model.link(cast, inside, 1)
        model.link(inside + 1, guilty, 0)
        model.link(inside + 2, guilty, 1)
        return model

    @unittest.skipIf("undefined" in SANITIZERS, "the sanitizer is before the processor and ends the process itself")
    def test_the_message_names_cause_and_block_on_a_line_of_its_own(self):
        self.write("m.json", self.model(late=1e12))
        late = self.long_enough()
        for _ in range(4):  # other work on the machine may have misled the measurement
            self.write("m.json", self.model(late))
            terminal = self.terminal("run", "m.json", "--engine", "objects")
            self.assertEqual(terminal.end(300), 1)
            if b"left" in terminal.seen:
                break
            late *= 3
        self.assertIn(b"left", terminal.seen)
        self.assertEqual(
            self.on_screen(terminal.seen),
            "zarn: m.json: divide fault in a step: mainsys.pump.guilty (divide): "
            "the lowest integer divided by -1 does not fit its type\n",
        )

    def test_a_random_block_without_a_range_is_refused_before_it_can_fault(self):
        model = Model()
        model.chain(
            model.add("random", "r", min="2.0", max="1.0", seed="7"), model.add("outport", "y", inputs=1, portNumber=0)
        )
        self.write("m.json", model)
        terminal = self.terminal("run", "m.json")
        self.assertEqual(terminal.end(), 1)
        self.assertIn(b"Z403", terminal.seen)


if __name__ == "__main__":
    unittest.main()

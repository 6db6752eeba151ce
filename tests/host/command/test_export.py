"""zarn export: the programs of models, built and run beside the models."""

import csv
import filecmp
import json
import math
import pathlib
import shutil
import struct
import subprocess
import unittest

from support import DATA, ZARN, CommandTest, Model, counter, gated

EXAMPLES = pathlib.Path(__file__).resolve().parents[3] / "examples"
WARNINGS = "-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wdouble-promotion -Werror".split()
FLAGS = ["-ffp-contract=off"]


def run(*command, **options):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False, **options)


def number(text):
    return float(text) if any(c in text for c in ".en") else int(text)


def same(a, b):
    """Equal as bits; one not-a-number is as good as another."""
    if isinstance(a, int) and isinstance(b, int):
        return a == b
    a, b = float(a), float(b)
    return (math.isnan(a) and math.isnan(b)) or struct.pack("d", a) == struct.pack("d", b)


def table(text):
    rows = list(csv.reader(text.splitlines()))
    return {name: [row[i] for row in rows[1:]] for i, name in enumerate(rows[0])}


class ExportTest(CommandTest):
    def export(self, model, *options, folder="out", status=0):
        """Writes the program and answers its folder."""
        done = run(ZARN, "export", "c", model, self.folder / folder, *options)
        self.assertEqual(done.returncode, status, done.stderr)
        self.said = done.stderr + done.stdout
        return self.folder / folder

    def example(self, name, *options, **more):
        folder = EXAMPLES / name
        return self.export(folder / f"{name}.json", "-w", folder / "workspace.py", *options, **more)

    def model(self, model, name="model.json"):
        (self.folder / name).write_text(model.text())
        return self.folder / name

    def build(self, folder, name, program="main", compiler=("gcc", "-std=c99", "-O2")):
        binary = folder / f"{name}_{program}"
        done = run(*compiler, *FLAGS, *WARNINGS, "-o", binary, folder / f"{name}.c", folder / f"{name}_{program}.c", "-lm")
        self.assertEqual(done.returncode, 0, done.stderr)
        return binary

    def assert_same_tables(self, run_csv, program_csv):
        """The run's table has no value where a block did not run; the program's holds the last one."""
        reference, own = table(run_csv), table(program_csv)
        compared = 0
        for name, values in reference.items():
            self.assertTrue(name in own, name)
            self.assertEqual(len(values), len(own[name]), name)
            for step, (expected, got) in enumerate(zip(values, own[name])):
                if expected != "":
                    self.assertTrue(same(number(expected), number(got)), f"{name}, step {step}: {expected}, {got}")
                    compared += 1
        return compared

    def reference(self, model, *options):
        done = run(ZARN, "run", model, "--probe-all", "-o", "-", *options)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout


class Examples(ExportTest):
    def check(self, name, *options):
        """Builds the example's program by both compilers, as C and C++, and runs it beside the model."""
        folder = self.example(name, *options)
        for compiler in (("gcc", "-std=c99", "-O2"), ("clang", "-std=c99", "-O2")):
            test = self.build(folder, name, "test", compiler)
            done = run(test)
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertIn(" 0 differences", done.stdout)
            main = self.build(folder, name, "main", compiler)
            program = run(main)
            self.assertEqual(program.returncode, 0, program.stderr)
            model = EXAMPLES / name / f"{name}.json"
            compared = self.assert_same_tables(
                self.reference(model, "-w", EXAMPLES / name / "workspace.py"), program.stdout
            )
            self.assertGreater(compared, 200)
        for compiler, standard in (("g++", "c++17"), ("g++", "c++20"), ("clang++", "c++17")):
            for part in ("", "_main", "_test"):
                done = run(compiler, "-x", "c++", f"-std={standard}", *WARNINGS, "-fsyntax-only", folder / f"{name}{part}.c")
                self.assertEqual(done.returncode, 0, done.stderr)
        done = run("gcc", "-std=c11", *WARNINGS, "-fsyntax-only", folder / f"{name}.c")
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_motor(self):
        self.check("motor")

    def test_thermostat(self):
        self.check("thermostat")

    def test_filter(self):
        self.check("filter")

    def test_mixed_types(self):
        self.check("mixed_types")

    def test_inlined_parameters_give_the_same(self):
        for signals in ("all", "ports"):
            folder = self.example("mixed_types", "--inline-parameters", "--signals", signals)
            done = run(self.build(folder, "mixed_types", "test"))
            self.assertEqual(done.returncode, 0, done.stdout)

    def test_replay(self):
        self.check("replay")

    def test_two_tanks(self):
        self.check("two_tanks")

    def test_parts_are_tested_with_what_crosses_their_border(self):
        folder = self.example("motor", "--subsystem", "controller", "--name", "controller", "--signals", "ports")
        done = run(self.build(folder, "controller", "test"))
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("controller: 2001 steps, 0 differences", done.stdout)

    @unittest.skipUnless(
        shutil.which("arm-none-eabi-gcc") and shutil.which("qemu-system-arm"), "no arm-none-eabi-gcc, no qemu-system-arm"
    )
    def test_a_controller_computes_on_its_processor_what_it_computes_in_the_model(self):
        folder = self.example("motor", "--subsystem", "controller", "--name", "controller", "--signals", "ports")
        bare = EXAMPLES.parent / "host" / "verify" / "program"
        options = "-std=c99 -O2 -mthumb -mcpu=cortex-m7 -mfloat-abi=hard -mfpu=fpv5-d16 --specs=rdimon.specs".split()
        sources = [bare / "bare.c", folder / "controller.c", folder / "controller_test.c"]
        done = run("arm-none-eabi-gcc", *options, *FLAGS, "-T", bare / "bare.ld", *sources, "-o", folder / "test.elf", "-lm")
        self.assertEqual(done.returncode, 0, done.stderr)
        board = "-M mps2-an500 -nographic -monitor none -serial none -semihosting-config enable=on,target=native".split()
        done = run("qemu-system-arm", *board, "-kernel", folder / "test.elf", timeout=120)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("controller: 2001 steps, 0 differences", done.stdout)

    def test_a_broken_program_fails_its_test(self):
        folder = self.example("motor")
        source = folder / "motor.c"
        text = source.read_text()
        source.write_text(text.replace("m->signals.controller.ref - m->", "m->signals.controller.ref + m->"))
        self.assertNotEqual(text, source.read_text())
        done = run(self.build(folder, "motor", "test"))
        self.assertEqual(done.returncode, 1)
        self.assertIn("mainsys.controller.error differs", done.stdout)

    def test_the_makefile_builds_tests_and_reports(self):
        folder = self.example("thermostat")
        done = run("make", "-s", "-C", folder, "test", "report")
        self.assertEqual(done.returncode, 0, done.stderr)
        for text in ("thermostat: 121 steps, 0 differences", "thermostat_step", "sizeof(thermostat_t) = "):
            self.assertIn(text, done.stdout)


class Programs(ExportTest):
    def doubler(self):
        """out = 2 * in, of an input at the root."""
        model = Model()
        source = model.add("inport", "in", inputs=1, portNumber=0)
        twice = model.add("add", "twice", inputs=2)
        out = model.add("outport", "out", inputs=1, portNumber=0)
        model.link(source, twice, 0)
        model.link(source, twice, 1)
        model.link(twice, out)
        return self.model(model)

    def test_read_their_inputs_from_a_table(self):
        folder = self.export(self.doubler())
        main = self.build(folder, "model")
        (self.folder / "in.csv").write_text("time,in\n0,1.5\n1,-2\n\n2,nan\n")
        done = run(main, self.folder / "in.csv")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(table(done.stdout)["mainsys.out"], ["3", "-4", "-4", "nan", "nan"])

    def test_name_what_is_wrong_in_a_table(self):
        main = self.build(self.export(self.doubler()), "model")
        for text, told in (
            ("speed\n1\n", "there is no input 'speed'"), ("in\n1\nx\n", "step 1, in: 'x' is no number of double"),
            ("in\n1\n2,3\n", "step 1: more cells than the first line has names"),
            ("in\n1e400\n", "step 0, in: '1e400' does not fit into double"),
        ):  # fmt: skip
            (self.folder / "in.csv").write_text(text)
            done = run(main, self.folder / "in.csv")
            self.assertEqual(done.returncode, 2)
            self.assertIn(told, done.stderr)
        self.assertEqual(run(main, self.folder / "none.csv").returncode, 2)
        done = run(main, self.folder)
        self.assertEqual((done.returncode, done.stderr), (2, "model_main: the table: Is a directory\n"))

    def test_take_what_fits_into_a_type(self):
        limits = {"int8": (-(2**7), 2**7 - 1), "uint8": (0, 2**8 - 1), "int16": (-(2**15), 2**15 - 1),
                  "uint16": (0, 2**16 - 1), "int32": (-(2**31), 2**31 - 1), "uint32": (0, 2**32 - 1),
                  "int64": (-(2**63), 2**63 - 1), "uint64": (0, 2**64 - 1)}  # fmt: skip

        def program(kinds):
            model = Model(tf=1.0, ts=1.0)
            part = model.add("subsys", "part", inputs=len(kinds), outputs=len(kinds))
            clock = model.add("time", "clock")
            for port, kind in enumerate(kinds):
                cast = model.add("cast", f"c{port}", inputs=1, type=kind)
                model.chain(clock, cast)
                model.link(cast, part, port)
                inside = model.add("inport", kind, parent=part, inputs=1, portNumber=port)
                model.chain(inside, model.add("outport", f"o_{kind}", parent=part, inputs=1, portNumber=port))
            options = "--subsystem", "mainsys.part", "--name", "part"
            return self.build(self.export(self.model(model), *options, folder=kinds[0]), "part")

        whole, real = program(list(limits)), program(["flt32"])

        def read(kind, *cells):
            (self.folder / "in.csv").write_text("\n".join([kind, *map(str, cells)]) + "\n")
            done = run(real if kind == "flt32" else whole, self.folder / "in.csv")
            if done.returncode != 0:
                return done.stderr
            return [number(cell) for cell in table(done.stdout)[f"mainsys.part.{kind}"]]

        for kind, (low, high) in limits.items():
            with self.subTest(kind=kind):
                self.assertEqual(read(kind, low, high), [low, high])
                for beyond in low - 1, high + 1, 2**65, -(2**65):
                    told = f"part_main: step 0, {kind}: '{beyond}' does not fit into {kind}\n"
                    self.assertEqual(read(kind, beyond), told)
                for none in "1.5", "x", "1 ", "0x1":
                    self.assertEqual(read(kind, none), f"part_main: step 0, {kind}: '{none}' is no number of {kind}\n")
        self.assertEqual(read("flt32", "1e39"), "part_main: step 0, flt32: '1e39' does not fit into float\n")
        self.assertEqual(read("flt32", "inf", "1e-46"), [math.inf, 0.0])

    def test_hold_what_is_switched_off(self):
        model = self.model(gated())
        main = self.build(self.export(model), "model")
        compared = self.assert_same_tables(self.reference(model), run(main).stdout)
        self.assertGreater(compared, 10)

    def test_two_stand_in_one_program(self):
        first, second = self.model(counter(), "one.json"), self.model(gated(), "two.json")
        self.export(first)
        folder = self.export(second)
        (folder / "both.c").write_text(
            '#include "one.c"\n#include "two.c"\n'
            "int main(void) { static one_t a, b; static two_t c; one_init(&a); one_init(&b); two_init(&c);\n"
            "one_run(&a, 3u); one_step(&b); two_run(&c, 3u); return a.tick == 3u && b.tick == 1u && c.tick == 3u ? 0 : 1; }\n"
        )
        done = run("gcc", "-std=c99", *FLAGS, *WARNINGS, "-o", folder / "both", folder / "both.c", "-lm")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(run(folder / "both").returncode, 0)


class Files(ExportTest):
    def test_are_the_same_wherever_they_are_written(self):
        model = self.model(counter())
        first, second = self.export(model), self.export(model, folder="deeper/other")
        names = sorted(path.name for path in first.iterdir())
        self.assertEqual(
            names,
            ["CMakeLists.txt", "Makefile", "README.md", "model.a2l", "model.c", "model.h", "model.json", "model.svg",
             "model_main.c", "model_test.c"],
        )
        self.assertEqual(filecmp.cmpfiles(first, second, names, shallow=False)[0], names)

    def test_are_checked(self):
        model = self.model(counter())
        folder = self.export(model)
        self.export(model, "--check")
        self.assertEqual(self.said, "")
        (folder / "model.c").write_text("old")
        self.export(model, "--check", status=1)
        self.assertIn("model.c: stale", self.said)
        self.assertEqual((folder / "model.c").read_text(), "old")
        self.export(model, "--check", folder="nowhere", status=1)
        self.assertFalse((self.folder / "nowhere").exists())

    def test_of_an_earlier_export_stay_when_a_new_one_fails(self):
        model = self.model(counter())
        folder = self.export(model)
        before = {path.name: path.read_bytes() for path in folder.iterdir()}
        changed = counter(tf=2.0)
        self.model(changed)
        (folder / "model.svg").unlink()
        (folder / "model.svg").mkdir()
        self.export(model, status=1)
        del before["model.svg"]
        self.assertEqual({path.name: path.read_bytes() for path in folder.iterdir() if path.is_file()}, before)

    def test_are_not_written_of_what_is_refused(self):
        model = self.model(counter())
        for options in (("--subsystem", "none"), ("--name", "int"), ("--name", "a/b")):
            folder = self.export(model, *options, status=1)
            self.assertIn("model.json: ", self.said)
            self.assertFalse(folder.exists())

    def test_tell_blocks_and_symbols(self):
        folder = self.export(self.model(counter()))
        trace = json.loads((folder / "model.json").read_text())
        block = next(block for block in trace["blocks"] if block["path"] == "mainsys.double")
        line = (folder / "model.c").read_text().splitlines()[block["line"] - 1]
        self.assertEqual(line.strip(), "m->signals.double_ = m->signals.clock * m->parameters.two;")
        self.assertEqual(block["symbols"][0]["symbol"], "signals.double_")
        self.assertIn("CHARACTERISTIC model.parameters.two", (folder / "model.a2l").read_text())
        self.assertIn("| `parameters.two` | double | 2.0 | mainsys.two, value |", (folder / "README.md").read_text())

    def test_are_named_with_json(self):
        done = run(ZARN, "export", "c", self.model(counter()), self.folder / "out", "--json")
        answer = json.loads(done.stdout)
        self.assertEqual(answer["result"], 0)
        self.assertIn("model.c", answer["files"])


class Models(ExportTest):
    """The models of the other tests: each is exported, or the message says why not."""

    def test_of_the_tests_export_or_say_why_not(self):
        exported = refused = 0
        for model in sorted([*DATA.glob("agree/*.json"), *DATA.glob("vectors/*.json"), *DATA.glob("checks/Z4*.json")]):
            with self.subTest(model.name):
                folder = self.folder / model.stem
                done = run(ZARN, "export", "c", model, folder, "--name", "program", "-q")
                self.assertIn(done.returncode, (0, 1), done.stderr)
                if done.returncode != 0:
                    self.assertIn(model.name, done.stderr)
                    self.assertFalse(folder.exists())
                    refused += 1
                    continue
                exported += 1
                for part in ("", "_main", "_test"):
                    check = run("gcc", "-std=c99", *WARNINGS, "-fsyntax-only", folder / f"program{part}.c")
                    self.assertEqual(check.returncode, 0, check.stderr)
        self.assertGreater(exported, 20)
        self.assertGreater(refused, 5)


if __name__ == "__main__":
    unittest.main()

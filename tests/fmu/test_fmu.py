"""FMUs of this project under the checker, and the checker under FMUs with faults."""

from __future__ import annotations

import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest
import zipfile
from collections.abc import Callable

from check_fmu import check
from description import read
from exports import EXAMPLES, ROOT, ZARN, differences, export, workspace, zarn
from loader import Library
from rules import check_files

COUNT = int(os.environ.get("ZARN_FMU_MODELS", "6"))  # random models; `make verify` takes a hundred
SEED = int(os.environ.get("ZARN_SEED", "1"))
MOTOR = ROOT / "examples" / "motor" / "motor.json"
WARNINGS = "-std=c99 -Wall -Wextra -Wpedantic -Wconversion -Werror -ffp-contract=off".split()
TYPES = "bool int8 uint8 int16 uint16 int32 uint32 int64 uint64 flt32 flt64".split()

os.environ.setdefault("ZARN", ZARN)
from support import Model  # noqa: E402


def part_of(types: list[str]) -> Model:
    """A subsystem "part" with an input of each type, one output behind it and one a step late."""
    model = Model(ti=0.5, tf=3.0, ts=0.25)
    part = model.add("subsys", "part", inputs=len(types), outputs=2 * len(types))
    clock = model.add("time", "clock")
    for i, kind in enumerate(types):
        cast = model.add("cast", f"cast_{kind}", inputs=1, type=kind)
        model.chain(clock, cast)
        model.link(cast, part, i)
        inport = model.add("inport", f"in_{kind}", parent=part, inputs=1, portNumber=i)
        memory = model.add("memory", f"mem_{kind}", parent=part, inputs=1)
        one = {"bool": "True", "flt32": "1.0", "flt64": "1.0"}.get(kind, "1")
        more = model.add("constant", f"more_{kind}", parent=part, expression=one)
        both = model.add("add", f"sum_{kind}", parent=part, inputs=2)
        model.chain(inport, both, model.add("outport", f"out_{kind}", parent=part, inputs=1, portNumber=i))
        model.link(more, both, 1)
        late = model.add("outport", f"late_{kind}", parent=part, inputs=1, portNumber=len(types) + i)
        model.chain(inport, memory, late)
        for port in i, len(types) + i:
            shown = model.add("display", f"shown_{port}", inputs=1, outputs=0)
            model.link(part, shown, 0, port)
    return model


def with_inputs() -> Model:
    """Two inputs of which the sum, a late one, a gated one and a table are put out."""
    model = Model(ti=0.5, tf=3.0, ts=0.25)
    a, b = (model.add("inport", name, portNumber=i) for i, name in enumerate("ab"))
    total = model.add("add", "total", inputs=2)
    model.link(a, total, 0)
    model.link(b, total, 1)
    table = model.add("lut1d", "table", inputs=1, bp1="[0.0, 1.0, 2.0]", out="[0.0, 10.0, 40.0]")
    model.link(b, table)
    late = model.add("memory", "delay", inputs=1)
    model.link(a, late)
    line = model.add("poly1st", "line", inputs=1, coeffA="2.0", coeffB="0.5")
    model.link(late, line)
    gate = model.add("relational", "positive", inputs=2, operator="gt")
    zero = model.add("constant", "zero", expression="0.0")
    model.link(b, gate, 0)
    model.link(zero, gate, 1)
    inside = model.add("subsys", "inside", inputs=1, outputs=1)
    model.add("enable", "enable", parent=inside, inputs=1, outputs=0)
    inport = model.add("inport", "u", parent=inside, inputs=1, portNumber=0)
    gain = model.add("abs", "gain", parent=inside, inputs=1)
    model.chain(inport, gain, model.add("outport", "y", parent=inside, inputs=1, portNumber=0))
    model.link(a, inside, 0)
    model.link(gate, inside, -1)
    wave = model.add("sinewave", "wave", frequency="1.0", phase="90.0")
    for i, (name, source) in enumerate(
        {"sum": total, "curve": table, "late": line, "held": inside, "tone": wave, "sign": gate}.items()
    ):
        out = model.add("outport", name, inputs=1, portNumber=i)
        model.link(source, out)
    return model


class Files(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def write(self, name: str, model: Model) -> pathlib.Path:
        path = self.folder / name
        path.write_text(model.text())
        return path

    def export(self, model: pathlib.Path, version: int, *more: object) -> pathlib.Path:
        return export(model, self.folder / f"{model.stem}-{version}.fmu", version, *more)

    def changed(self, fmu: pathlib.Path, change: Callable[[dict[str, bytes]], object]) -> pathlib.Path:
        """The archive with other content."""
        with zipfile.ZipFile(fmu) as archive:
            files = {name: archive.read(name) for name in archive.namelist()}
        change(files)
        path = self.folder / "changed.fmu"
        with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
            for name, content in files.items():
                archive.writestr(name, content)
        return path


class Rules(Files):
    def test_examples_are_good(self) -> None:
        self.assertTrue(EXAMPLES)
        for model in EXAMPLES:
            for version in 2, 3:
                with self.subTest(model=model.stem, version=version):
                    self.assertEqual(check_files(self.export(model, version, "--sources-only")), [])

    def test_units_are_those_of_the_numbers(self) -> None:
        description = Library(self.export(self.write("m.json", with_inputs()), 3)).description
        wave = {v.name: v for v in description.of("parameter")}
        self.assertAlmostEqual(float(wave["wave.freq"].attributes["start"]), 6.283185307179586)
        self.assertEqual(wave["wave.freq"].attributes["unit"], "rad/s")
        self.assertAlmostEqual(float(wave["wave.phase"].attributes["start"]), 1.5707963267948966)
        self.assertEqual(wave["wave.phase"].attributes["unit"], "rad")
        self.assertIn("frequency", wave["wave.freq"].attributes["description"])

    def test_dependencies_are_those_of_the_diagram(self) -> None:
        description = Library(self.export(self.write("m.json", with_inputs()), 3)).description
        names = [v.name for v in description.variables]
        on = {
            names[u.position]: {names[i] for i in u.on or []}
            for u in description.unknowns if u.element == "Output"
        }  # fmt: skip
        self.assertEqual(on["sum"], {"a", "b"})
        self.assertEqual(on["late"], {"line.a", "line.b"})
        self.assertEqual(on["held"], {"a", "b", "zero"})
        self.assertEqual(on["sign"], {"b", "zero"})
        self.assertEqual(on["curve"], {"b", "table.bp", "table.out"})
        self.assertEqual(on["tone"], {"time", "wave.freq", "wave.phase"})


class Libraries(Files):
    """Behaviour: the calls in all orders, feedthrough by trial, states."""

    def test_motor_with_all_signals(self) -> None:
        for version in 2, 3:
            with self.subTest(version=version):
                self.assertEqual(check(self.export(MOTOR, version, "--all-signals")), [])

    def test_inputs(self) -> None:
        model = self.write("m.json", with_inputs())
        for version in 2, 3:
            with self.subTest(version=version):
                self.assertEqual(check(self.export(model, version)), [])

    def test_every_type(self) -> None:
        for types in TYPES[:6], TYPES[6:], TYPES[:6] + TYPES[9:]:
            model = self.write("m.json", part_of(types))
            for version in (2, 3) if not set(types) & {"uint32", "int64", "uint64"} else (3,):
                with self.subTest(types=types, version=version):
                    self.assertEqual(check(self.export(model, version, "--subsystem", "mainsys.part")), [])

    def test_what_is_set_is_what_is_read(self) -> None:
        model = self.write("m.json", part_of(TYPES[6:]))
        fmu = Library(self.export(model, 3, "--subsystem", "mainsys.part"))
        values = {"in_uint32": 2**32 - 2, "in_int64": -(2**63), "in_uint64": 2**64 - 2}
        values |= {"in_flt32": 0.1, "in_flt64": 0.1}  # type: ignore[dict-item]
        one = fmu.instantiate()
        one.setup(0.5)
        for name, value in values.items():
            one.set(fmu.description.named(name), value)
        for name, value in values.items():
            found = one.get(fmu.description.named(name))
            self.assertEqual(found, 0.10000000149011612 if name == "in_flt32" else value, name)
        self.assertEqual(one.get(fmu.description.named("out_uint32")), 2**32 - 1)
        self.assertEqual(one.get(fmu.description.named("out_int64")), -(2**63) + 1)
        one.free()

    def test_the_start_time_takes_the_place_of_ti(self) -> None:
        model = Model(ti=0.0, tf=2.0, ts=0.25)
        model.chain(model.add("time", "clock"), model.add("outport", "out", inputs=1, portNumber=0))
        for version in 2, 3:
            fmu = Library(self.export(self.write("m.json", model), version))
            one = fmu.instantiate()
            one.begin(start=10.0)
            self.assertEqual(one.read(), [10.0])
            one.step(0.5)
            self.assertEqual(one.read(), [10.5])
            one.free()

    def test_a_tuned_parameter_counts_from_the_next_step_on(self) -> None:
        fmu = Library(self.export(self.write("m.json", with_inputs()), 3))
        one = fmu.instantiate()
        one.setup(0.5)
        one.set(fmu.description.named("table.out"), [5.0, 6.0, 7.0])
        self.assertEqual(one.get(fmu.description.named("curve")), 5.0)
        one.call("ExitInitializationMode")
        one.set(fmu.description.named("line.b"), 9.0)
        one.step(0.25)
        self.assertEqual(one.get(fmu.description.named("late")), 9.0)
        one.free()


class Runs(Files):
    """What an FMU computes is what a run computes, bit for bit."""

    def test_examples(self) -> None:
        for model in EXAMPLES:
            for version in 2, 3:
                with self.subTest(model=model.stem, version=version):
                    try:
                        fmu = self.export(model, version, "--all-signals")
                    except AssertionError as error:
                        if version == 3 or "has no type" not in str(error):
                            raise
                        continue
                    self.assertEqual(differences(model, Library(fmu)), [])

    def test_steps_of_several(self) -> None:
        self.assertEqual(differences(MOTOR, Library(self.export(MOTOR, 3, "--all-signals")), 5), [])

    def test_inputs(self) -> None:
        """Inputs that are fed what a wave in their place gives."""
        model = Model(tf=3.0, ts=0.25)
        wave = model.add("sinewave", "wave", frequency="0.3", phase="10.0")
        through = model.add("poly1st", "line", inputs=1, coeffA="3.0", coeffB="0.1")
        late = model.add("memory", "late", inputs=1)
        both = model.add("add", "sum", inputs=2)
        model.chain(wave, through, both, model.add("outport", "out", inputs=1, portNumber=0))
        model.chain(wave, late)
        model.link(late, both, 1)
        fed = Model(tf=3.0, ts=0.25)
        fed.blocks, fed.links = list(model.blocks), model.links
        fed.blocks[0] = {"inport": {"name": "wave", "id": wave, "portNumber": 0}}
        drawn, opened = self.write("drawn.json", model), self.write("opened.json", fed)
        from exports import run

        _, signals = run(drawn)
        for version in 2, 3:
            fmu = Library(self.export(opened, version))
            one = fmu.instantiate()
            one.setup(0.0)
            given, wanted = signals["wave"][0], signals["out"][0]
            for i, (time, value) in enumerate(given.items()):
                one.set(fmu.description.named("wave"), value)
                if i:
                    one.step(0.25)
                self.assertEqual(one.get(fmu.description.named("out")), wanted[time], time)
                if not i:
                    one.call("ExitInitializationMode")
            one.free()


class Verify(Files):
    """The ways "fmu" of zarn verify."""

    def test_examples_are_equal(self) -> None:
        for model in EXAMPLES:
            answer = zarn("verify", model, *workspace(model), "--ways", "fmu")
            self.assertRegex(answer.stdout, r"(?m)^FMU 3 .* equal$", model.stem)

    def test_inputs_are_fed(self) -> None:
        answer = zarn("verify", self.write("m.json", with_inputs()), "--ways", "fmu")
        for version in 2, 3:
            self.assertRegex(answer.stdout, rf"(?m)^FMU {version} .* equal$")

    def test_a_wrong_library_is_told(self) -> None:
        """A compiler that makes something else of the code."""
        compiler = self.folder / "cc"
        compiler.write_text('#!/bin/sh\nsed -i "s/count > 0; --count)/count > 1; --count)/" *_fmu.c && exec gcc "$@"\n')
        compiler.chmod(0o755)
        os.environ["CC"] = str(compiler)
        self.addCleanup(os.environ.pop, "CC")
        answer = zarn("verify", MOTOR, *workspace(MOTOR), "--ways", "fmu", status=1)
        self.assertRegex(answer.stdout + answer.stderr, r"FMU 3 .* differs")


class RandomModels(Files):
    def test_runs(self) -> None:
        subprocess.run([os.environ["ZARN_RANDOM_MODELS"], self.folder, str(COUNT), str(SEED)], check=True)
        for i in range(COUNT):
            model = self.folder / f"m{i}.json"
            for version in 3, 2:
                with self.subTest(seed=SEED + i, version=version):
                    if version == 2 and self.beyond_version_2(fmu):
                        with self.assertRaisesRegex(AssertionError, "has no type"):
                            self.export(model, version, "--all-signals")
                        continue
                    fmu = self.export(model, version, "--all-signals")
                    self.assertEqual(check(fmu), [])
                    self.assertEqual(differences(model, Library(fmu)), [])

    def beyond_version_2(self, fmu: pathlib.Path) -> bool:
        """Whether an input or output of a version 3 is of a type that no Integer holds."""
        with zipfile.ZipFile(fmu) as archive:
            description = archive.read("modelDescription.xml").decode()
        return bool(re.search(r'<(UInt32|Int64|UInt64) [^>]*causality="(input|output)"', description))


class Sources(Files):
    def test_they_compile_without_a_warning_and_behave_under_the_sanitizers(self) -> None:
        model = self.write("m.json", with_inputs())
        for version in 2, 3:
            fmu = self.export(model, version, "--sources-only", "--name", "demo")
            with zipfile.ZipFile(fmu) as archive:
                archive.extractall(self.folder / str(version))
            headers = ROOT / "coder" / "fmu" / "templates" / f"v{version}"
            source = self.folder / str(version) / "sources" / "demo_fmu.c"
            for compiler in filter(shutil.which, ("gcc", "clang")):
                library = self.folder / f"{compiler}{version}.so"
                sanitize = ["-fsanitize=undefined", "-fno-sanitize-recover=all"]
                subprocess.run(
                    [compiler, *WARNINGS, "-O1", "-g", "-fPIC", "-shared", "-fvisibility=hidden", f"-I{headers}",
                     f"-DFMI{version}_OVERRIDE_FUNCTION_PREFIX", *(sanitize if compiler == "gcc" else []),
                     "-o", library, source, "-lm"], check=True,
                )  # fmt: skip
                self.assertEqual(self.problems(fmu, library, []), "")
            if shutil.which("gcc"):
                self.check_addresses(fmu, source, headers, version)

    def check_addresses(self, fmu: pathlib.Path, source: pathlib.Path, headers: pathlib.Path, version: int) -> None:
        library = self.folder / f"address{version}.so"
        subprocess.run(
            ["gcc", "-std=c99", "-O1", "-g", "-fPIC", "-shared", "-fvisibility=hidden", "-fsanitize=address", "-o",
             library, f"-I{headers}", f"-DFMI{version}_OVERRIDE_FUNCTION_PREFIX", source, "-lm"], check=True,
        )  # fmt: skip
        runtime = subprocess.run(["gcc", "-print-file-name=libasan.so"], capture_output=True, text=True, check=True)
        self.assertEqual(self.problems(fmu, library, [runtime.stdout.strip()]), "")

    def problems(self, fmu: pathlib.Path, library: pathlib.Path, preload: list[str]) -> str:
        """What the checker says of a library, in a process of its own."""
        here = pathlib.Path(__file__).resolve().parent
        code = (
            "import pathlib, sys; from behaviour import Checks; from loader import Library\n"
            "library = Library(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])); checks = Checks(library)\n"
            "checks.library_source = sys.argv[1]; print(*checks.all(), sep='\\n', end='')"
        )
        answer = subprocess.run(
            ["/usr/bin/python3", "-B", "-c", code, fmu, library], capture_output=True, text=True, check=False, cwd=here,
            env=os.environ | {"LD_PRELOAD": ":".join(preload), "ASAN_OPTIONS": "detect_leaks=0"},
        )  # fmt: skip
        return answer.stdout if answer.returncode == 0 else answer.stdout + answer.stderr[-2000:]

    def driven(self, compiler: list[str], runner: list[str]) -> str:
        """What the motor's outputs are in a C program around the sources."""
        fmu = self.export(MOTOR, 3, "--sources-only")
        sources = self.folder / "driven"
        with zipfile.ZipFile(fmu) as archive:
            archive.extractall(sources)
        headers = ROOT / "coder" / "fmu" / "templates" / "v3"
        program = self.folder / compiler[0]
        subprocess.run(
            [*compiler, "-std=c99", "-D_POSIX_C_SOURCE=200809L", "-ffp-contract=off", "-DFMI3_OVERRIDE_FUNCTION_PREFIX",
             f"-I{headers}", "-o", program, ROOT / "tests" / "fmu" / "drive.c", sources / "sources" / "motor_fmu.c",
             "-lm"], check=True,
        )  # fmt: skip
        description = read(fmu)
        first = description.of("output")[0].reference
        size = description.experiment["stepSize"]
        arguments = [description.token, "0.0", repr(size), str(first), str(len(description.of("output")))]
        answer = subprocess.run([*runner, program, *arguments], capture_output=True, text=True, check=False)
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))
        self.assertEqual(len(answer.stdout.splitlines()), 501)
        return answer.stdout

    def test_nothing_is_left_behind(self) -> None:
        """The address sanitizer looks for memory that nobody has freed."""
        self.driven(["gcc", "-O1", "-g", "-fsanitize=address,undefined", "-fno-sanitize-recover=all"], [])

    def test_another_processor_computes_the_same(self) -> None:
        if not shutil.which("aarch64-linux-gnu-gcc") or not shutil.which("qemu-aarch64"):
            self.skipTest("no compiler or emulator for aarch64")
        here = self.driven(["gcc", "-O2"], [])
        self.assertEqual(self.driven(["aarch64-linux-gnu-gcc", "-O2", "-static"], ["qemu-aarch64"]), here)

    def test_two_of_them_link_into_one_program(self) -> None:
        """With the prefix of each, as importers do that take sources."""
        files = []
        for name in "left", "right":
            fmu = self.export(self.write(f"{name}.json", with_inputs()), 3, "--sources-only")
            with zipfile.ZipFile(fmu) as archive:
                archive.extractall(self.folder / name)
            files.append(self.folder / name / "sources" / f"{name}_fmu.c")
        main = self.folder / "main.c"
        main.write_text(
            "const char* left_fmi3GetVersion(void); const char* right_fmi3GetVersion(void);\n"
            "int main(void) { return left_fmi3GetVersion()[0] == right_fmi3GetVersion()[0] ? 0 : 1; }\n"
        )
        headers = ROOT / "coder" / "fmu" / "templates" / "v3"
        program = self.folder / "both"
        subprocess.run(["gcc", f"-I{headers}", "-o", program, main, *files, "-lm"], check=True)
        subprocess.run([program], check=True)


class Command(Files):
    def test_equal_models_give_equal_bytes(self) -> None:
        first = self.export(MOTOR, 3)
        other = self.folder / "elsewhere"
        shutil.copytree(MOTOR.parent, other)
        second = export(other / "motor.json", self.folder / "second.fmu", 3)
        self.assertEqual(*(hashlib.sha256(f.read_bytes()).hexdigest() for f in (first, second)))

    def test_the_token_tells_meanings_apart(self) -> None:
        tokens = set()
        for gain in "2.0", "3.0":
            model = with_inputs()
            text = model.text().replace('"coeffA": "2.0"', f'"coeffA": "{gain}"')
            (self.folder / "m.json").write_text(text)
            for version in 2, 3:
                fmu = self.export(self.folder / "m.json", version, "--sources-only")
                with zipfile.ZipFile(fmu) as archive:
                    found = re.search(rb'(?:guid|instantiationToken)="([^"]+)"', archive.read("modelDescription.xml"))
                tokens.add(found[1] if found else b"")
        self.assertEqual(len(tokens), 4)

    def test_a_picture_has_so_many_blocks(self) -> None:
        for inside, told, drawn in (
            (True, "a picture of one level alone: the 2001 blocks below it are too many", True),
            (False, "no picture: 2001 blocks are too many for one", False),
        ):
            model = Model(tf=0.2, ts=0.1)
            where = {"parent": model.add("subsys", "part")} if inside else {}
            for i in range(2001):
                model.add("time", f"t{i}", **where)
            path = self.write("m.json", model)
            out = self.folder / "m.fmu"
            answer = zarn("export", "fmu", path, out, "--sources-only")
            self.assertIn("the documentation has " + told, answer.stdout + answer.stderr)
            with zipfile.ZipFile(out) as archive:
                names = archive.namelist()
                self.assertEqual("documentation/diagram.svg" in names, drawn)
                if drawn:
                    picture = archive.read("documentation/diagram.svg").decode()
                    self.assertIn(">part<", picture)
                    self.assertNotIn(">t7<", picture)

    def test_what_version_2_cannot_say_is_refused(self) -> None:
        model = self.write("m.json", part_of(["int64"]))
        part = ["--subsystem", "mainsys.part"]
        answer = zarn("export", "fmu", model, self.folder / "m.fmu", "--fmi", 2, *part, status=1)
        self.assertIn("mainsys.part.in_int64", answer.stderr)
        self.assertIn("--fmi 3", answer.stderr)
        self.assertFalse((self.folder / "m.fmu").exists())

    def test_wrong_use(self) -> None:
        model = self.write("m.json", with_inputs())
        out = self.folder / "m.fmu"
        out.write_text("an earlier one")
        for status, text, arguments in (
            (2, "--target", ["--target", "moon"]), (2, "--target", ["--target", "moon-linux=gcc"]),
            (1, "no-such-compiler", ["--target", "aarch64-linux=no-such-compiler"]), (1, "fmi", ["--name", "fmi_x"]),
            (2, "--fmi", ["--fmi", "4"]),
        ):  # fmt: skip
            with self.subTest(arguments=arguments):
                answer = zarn("export", "fmu", model, out, *arguments, status=status)
                self.assertIn(text, answer.stderr)
                self.assertEqual(out.read_text(), "an earlier one")
        zarn("export", "c", model, self.folder / "c", "--fmi", "2", status=2)

    def test_another_machine(self) -> None:
        if not shutil.which("aarch64-linux-gnu-gcc"):
            self.skipTest("no aarch64-linux-gnu-gcc")
        fmu = self.export(MOTOR, 3, "--target", "aarch64-linux=aarch64-linux-gnu-gcc")
        with zipfile.ZipFile(fmu) as archive:
            self.assertIn("binaries/aarch64-linux/motor.so", archive.namelist())
            self.assertIn("binaries/x86_64-linux/motor.so", archive.namelist())


# Faults of a description: version, a text in it, what takes its place (a regular expression and its replacement), and
# what the checker must say
DESCRIPTION_FAULTS = [
    (3, r'<Float64 name="time".*?/>\n', "", "names no variable|independent"),
    (3, r' start="0"(?=/>)', "", "no start value"),
    (3, r'<InitialUnknown valueReference="\d+" dependencies="[^"]*"/>\n\s*', "", "InitialUnknown: missing"),
    (3, r'<Output valueReference="\d+"', '<Output valueReference="1"', "Output"),
    (3, r'<Output (.*?)/>', r"<Output \1/><Output \1/>", "twice"),
    (3, r'valueReference="2" desc', 'valueReference="1" desc', "value reference|twice"),
    (3, r'dependencies="[^"]*1[^"]*"', 'dependencies="4711"', "4711 names no variable"),
    (3, r'causality="output" variability="continuous"', 'causality="output" variability="fixed"', "cannot be fixed"),
    (3, r'<Boolean (.*?)variability="discrete"', r'<Boolean \1variability="continuous"', "is not continuous"),
    (3, r'(?s)(<ModelVariables>.*</ModelVariables>)\s*(<ModelStructure>.*</ModelStructure>)', r"\2\1", "wrong order"),
    (3, r'unit="rad/s"', 'unit="furlong"', "furlong is not defined"),
    (3, r'name="line.a"', 'name="line a"', "no structured name"),
    (3, r'name="line.a"', 'name="line/a"', "no structured name"),
    (3, r'name="line.a"', 'name="line.b"', "there 2 times"),
    (3, r'canGetAndSetFMUState="true" ', "", "canSerialize"),
    (3, r'canGetAndSetFMUState', "canGetAndSetFmuState", "there is no flag"),
    (3, r'fixedInternalStepSize="[^"]*"', 'fixedInternalStepSize="0"', "fixedInternalStepSize"),
    (3, r'modelIdentifier="demo"', 'modelIdentifier="other"', "other"),
    (3, r'instantiationToken="[^"]*"', 'instantiationToken=""', "token"),
    (3, r'stopTime="[^"]*"', 'stopTime="-1"', "no steps"),
    (3, r'generationTool=', 'generationDateAndTime="yesterday" generationTool=', "no date"),
    (3, r'start="0 10 40"', 'start="0 10"', "start values for 3"),
    (3, r'initial="calculated"', 'initial="calculated" start="1"', "calculated"),
    (3, r'initial="exact"', 'initial="calculated"', "initial calculated|start value of"),
    (3, r'name="logCalls"', 'name="logStatusError"', "twice"),
    (3, r'</fmiModelDescription>', "", "modelDescription.xml"),
    (3, r'fmiVersion="3.0"', 'fmiVersion="3.x"', "fmiVersion"),
    (3, r'dependencies="(\d+) (\d+)"', r'dependencies="\1 \2" dependenciesKind="dependent"', "1 kinds for 2"),
    (3, r'(<InitialUnknown .*?)dependencies="(\d+) (\d+)"', r'\1dependencies="\2 \3" dependenciesKind="fixed fixed"',
     "at the start"),
    (2, r'<Unknown index="\d+"', '<Unknown index="1"', "Output"),
    (2, r'<Unknown index="\d+"', '<Unknown index="99"', "99 names no variable"),
    (2, r'(?s)(<InitialUnknowns>\s*)(<Unknown.*?/>)(\s*)(<Unknown.*?/>)', r"\1\4\3\2", "do not rise"),
    (2, r'<Boolean/>', '<Boolean start="true"/>', "calculated"),
    (2, r'causality="output" variability="discrete"', 'causality="output"', "is not continuous"),
    (2, r'<Real start="0"/>', "<Real/>", "no start value"),
    (2, r'<File name="demo_fmu.c"/>', '<File name="demo.cpp"/>', "demo.cpp is missing"),
    (2, r'(?s)(<Outputs>.*</Outputs>)\s*(<InitialUnknowns>.*</InitialUnknowns>)', r"\2\1", "wrong order"),
    (2, r'canGetAndSetFMUstate="true"', 'canGetAndSetFMUstate="false"', "canSerialize"),
    (2, r'canNotUseMemoryManagementFunctions', "canUseMemoryManagementFunctions", "there is no flag"),
    (2, r'<Real/>', '<Real unit="s" displayUnit="h"/><Integer/>', "of one type"),
]  # fmt: skip
# faults of which the description says nothing wrong by itself: only a library that is called shows them
HIDDEN_FAULTS = [
    (r'(<(?:Output|InitialUnknown) valueReference="\d+" )dependencies="1 2"', r'\1dependencies=""', "does not name it"),
    (r'(<(?:Output|InitialUnknown) valueReference="\d+" )dependencies="1 2"', r'\1dependencies="1"',
     "does not name it"),
    (r'start="0.5"', 'start="0.75"', "starts as"),
    (r'fixedInternalStepSize="0.25"', 'fixedInternalStepSize="0.1"', "integer multiple"),
    (r'instantiationToken="[^"]*"', 'instantiationToken="{1}"', "token"),
    (r'<Float64 name="line.a"', '<Float32 name="line.a"', "another type"),
]  # fmt: skip


class Mutants(Files):
    """A good FMU with one fault: the checker must see it."""

    def setUp(self) -> None:
        super().setUp()
        model = self.write("m.json", with_inputs())
        self.good = {v: self.export(model, v, "--name", "demo") for v in (2, 3)}

    def mutate(self, version: int, old: str, new: str) -> pathlib.Path:
        def change(files: dict[str, bytes]) -> None:
            text = files["modelDescription.xml"].decode()
            changed = re.sub(old, new, text) if new.startswith(r"\1dep") else re.sub(old, new, text, count=1)
            self.assertNotEqual(text, changed, old)
            files["modelDescription.xml"] = changed.encode()

        return self.changed(self.good[version], change)

    def test_descriptions(self) -> None:
        for version, old, new, says in DESCRIPTION_FAULTS:
            with self.subTest(version=version, old=old, new=new):
                self.assertRegex("\n".join(check_files(self.mutate(version, old, new))), says)

    def test_what_a_description_hides(self) -> None:
        for old, new, says in HIDDEN_FAULTS:
            with self.subTest(old=old, new=new):
                found = check(self.mutate(3, old, new))
                self.assertRegex("\n".join(found), says)

    def test_a_start_out_of_range(self) -> None:
        model = self.write("part.json", part_of(["int8", "uint16"]))
        for version, before in (2, b'max="127" '), (3, b'discrete" '):
            old, new = before + b'start="0"', before + b'start="128"'
            fmu = self.export(model, version, "--subsystem", "mainsys.part", "--sources-only")

            def change(files: dict[str, bytes], old: bytes = old, new: bytes = new) -> None:
                text = files["modelDescription.xml"]
                self.assertIn(old, text)
                files["modelDescription.xml"] = text.replace(old, new, 1)

            self.assertIn("out of range", "\n".join(check_files(self.changed(fmu, change))))

    def test_good_ones_stay_good_when_they_are_packed_anew(self) -> None:
        for version in 2, 3:
            self.assertEqual(check(self.changed(self.good[version], lambda files: None)), [])

    def test_files(self) -> None:
        terminals = b'<fmiTerminalsAndIcons fmiVersion="3.0"><Terminals><Terminal name="t" matchingRule="plug">' \
            b'<TerminalMemberVariable variableName="nobody" variableKind="signal"/></Terminal></Terminals>' \
            b"</fmiTerminalsAndIcons>"  # fmt: skip
        library = "binaries/x86_64-linux/demo.so"
        faults: list[tuple[str, Callable[[dict[str, bytes]], object]]] = [
            ("demo_fmu.c is missing", lambda f: f.pop("sources/demo_fmu.c")),
            ("modelIdentifier", lambda f: f.update({"sources/buildDescription.xml":
                f["sources/buildDescription.xml"].replace(b'"demo"', b'"other"')})),
            ("no build description", lambda f: f.update({"sources/buildDescription.xml": b"<x/>"})),
            ("nobody", lambda f: f.update({"terminalsAndIcons/terminalsAndIcons.xml": terminals})),
            ("no terminals", lambda f: f.update({"terminalsAndIcons/terminalsAndIcons.xml": b"<x/>"})),
            ("importer's", lambda f: f.update({"sources/fmi3Functions.h": b""})),
            ("not named as", lambda f: f.update({"binaries/x86_64-linux/x.so": f.pop(library)})),
            ("no folder of a platform", lambda f: f.update({"binaries/linux64/demo.so": f.pop(library)})),
            ("no path within", lambda f: f.update({"../x": b""})),
            ("modelDescription.xml is missing", lambda f: f.pop("modelDescription.xml")),
        ]  # fmt: skip
        for says, change in faults:
            with self.subTest(says=says):
                fmu = self.changed(self.good[3], change)
                self.assertIn(says, "\n".join(check_files(fmu)))

    def test_archives(self) -> None:
        for says, method, mode in (
            ("neither stored", zipfile.ZIP_BZIP2, 0o100644), ("a link", zipfile.ZIP_STORED, 0o120777),
        ):  # fmt: skip
            fmu = self.changed(self.good[3], lambda files: None)
            with zipfile.ZipFile(fmu, "a") as archive:
                entry = zipfile.ZipInfo("resources/x")
                entry.external_attr = mode << 16
                archive.writestr(entry, "x", compress_type=method)
            self.assertIn(says, "\n".join(check_files(fmu)))

    def test_libraries(self) -> None:
        """Faults of the code: each library is made of sources with one line changed."""
        faults = [
            ("fmu->now.time = end;", "", "last successful|stands at|time"),
            ("fmu->is_shown = false;\n    fmu->now.is_set", "fmu->now.is_set", "and is"),
            ("if (!in.fmu->now.is_set) return true;", "return true;", "Get behind Set"),
            ("free(*kept);\n    *kept = NULL;", "free(*kept);", "AssertionError|not null"),
            ("for (; count > 0; --count)", "", "four steps|disturb|otherwise"),
            ("head->sum = fmu_sum", "head->sum = 0 * fmu_sum", "is taken"),
            ("fmu_restart(instance);\n    return fmi3OK;", "return fmi3OK;", "check_reset|not allowed"),
            ("if (wanted == value_count) return true;", "return true;", "two values"),
            ("strcmp(token, TOKEN) != 0", "false", "a wrong token: is taken"),
            ("> fmu->now.stop + 0.5 * INTERNAL_STEP", "> 1e300", "stop time"),
        ]  # fmt: skip
        for old, new, says in faults:
            with self.subTest(old=old):
                library = self.compiled(old, new)
                self.assertRegex(self.told(library), says)

    def test_another_symbol(self) -> None:
        from rules import check_symbols

        more = "#include <float.h>\n__attribute__((visibility(\"default\"))) int more;"
        library = self.compiled("#include <float.h>", more)
        self.assertEqual(check_symbols(library, 3), ["library.so exports more"])
        library = self.compiled("const char* fmi3GetVersion(void) { return \"3.0\"; }", "")
        self.assertEqual(check_symbols(library, 3), ["library.so lacks fmi3GetVersion"])

    def compiled(self, old: str, new: str) -> pathlib.Path:
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        with zipfile.ZipFile(self.good[3]) as archive:
            archive.extractall(folder)
        source = folder / "sources" / "demo_fmu.c"
        text = source.read_text()
        self.assertIn(old, text)
        source.write_text(text.replace(old, new, 1))
        headers = ROOT / "coder" / "fmu" / "templates" / "v3"
        library = folder / "library.so"
        subprocess.run(
            ["cc", "-std=c99", "-O0", "-fPIC", "-shared", "-fvisibility=hidden", "-ffp-contract=off", f"-I{headers}",
             "-DFMI3_OVERRIDE_FUNCTION_PREFIX", "-o", library, source, "-lm"], check=True,
        )  # fmt: skip
        return library

    def told(self, library: pathlib.Path) -> str:
        """What the checker says, in a process that may end badly."""
        return Sources.problems(self, self.good[3], library, [])  # type: ignore[arg-type]


if __name__ == "__main__":
    unittest.main()

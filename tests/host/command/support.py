"""Makes models and runs the command; its path is in the environment variable ZARN."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ZARN = os.environ["ZARN"]
PATIENCE = float(os.environ.get("ZARN_PATIENCE", "1"))  # times the seconds that a test allows, for slow builds
SANITIZERS = os.environ.get("ZARN_SANITIZERS", "").split(",")  # what the command is built with
DATA = pathlib.Path(__file__).resolve().parents[2] / "data"
PYTHON = "/usr/bin/python3"


class Model:
    """A diagram, written as a model file."""

    def __init__(self, ti=0.0, tf=1.0, ts=0.25):
        self.blocks = []
        self.links = []
        self.settings = {"ti": ti, "tf": tf, "ts": ts}

    def add(self, class_name, name, parent=0, inputs=0, outputs=1, **parameters):
        """Adds a block and answers its id."""
        number = 1000000000000000 + len(self.blocks) + 1
        data = {"name": name, "id": number, "parent": parent, "inportCount": inputs, "outportCount": outputs}
        self.blocks.append({class_name: data | parameters})
        return number

    def link(self, source, target, target_port=0, source_port=0):
        self.links.append({"srcId": source, "dstId": target, "srcPort": source_port, "dstPort": target_port})

    def chain(self, *blocks):
        for source, target in zip(blocks, blocks[1:]):
            self.link(source, target)

    def text(self):
        return json.dumps({"blocks": self.blocks, "links": self.links, "model": self.settings})


def counter(**settings):
    """time -> double (multiply by two) -> out"""
    model = Model(**settings)
    time, two = model.add("time", "clock"), model.add("constant", "two", expression="2.0")
    double = model.add("multiply", "double", inputs=2)
    out = model.add("outport", "out", inputs=1, portNumber=0)
    model.link(time, double, 0)
    model.link(two, double, 1)
    model.link(double, out)
    return model


def gated(**settings):
    """A subsystem that runs once time is beyond 0.4, with a gain fed from outside."""
    model = Model(**settings)
    time = model.add("time", "clock")
    step = model.add("step", "gate", initialValue="0.0", finalValue="1.0", stepTime="0.4")
    inside = model.add("subsys", "inside", inputs=1, outputs=1)
    model.add("enable", "enable", parent=inside, inputs=1, outputs=0)
    inport = model.add("inport", "u", parent=inside, inputs=1, portNumber=0)
    gain = model.add("abs", "gain", parent=inside, inputs=1)
    outport = model.add("outport", "y", parent=inside, inputs=1, portNumber=0)
    shown = model.add("display", "shown", inputs=1, outputs=0)
    model.link(time, inside, 0)
    model.link(step, inside, -1)
    model.chain(inport, gain, outport)
    model.link(inside, shown)
    return model


class CommandTest(unittest.TestCase):
    """Each test runs in a folder of its own."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def write(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content.text() if isinstance(content, Model) else content)
        return name

    def zarn(self, *arguments, cwd=None, env=None, timeout=60, **options):
        return subprocess.run(
            [ZARN, *map(str, arguments)],
            cwd=cwd or self.folder,
            env=None if env is None else os.environ | env,
            capture_output=True,
            text=True,
            timeout=timeout * PATIENCE,
            **options,
        )

    def run_into(self, stdout, *arguments):
        """Runs the command with its standard output there."""
        return subprocess.run(
            [ZARN, *arguments], cwd=self.folder, stdout=stdout, stderr=subprocess.PIPE, text=True, timeout=60 * PATIENCE
        )

    def check(self, *arguments, status=0, err=None, out=None, **options):
        """Runs the command and compares status and streams; `err` and `out` are what a stream must contain, or its
        whole when it is empty."""
        result = self.zarn(*arguments, **options)
        self.assertEqual(result.returncode, status, result.stdout[-2000:] + result.stderr[-2000:])
        for wanted, stream in (err, result.stderr), (out, result.stdout):
            if wanted == "":
                self.assertEqual(stream, "")
            elif wanted is not None:
                self.assertIn(wanted, stream)
        return result

    def series(self, *arguments, **options):
        """Runs with --probe-all and answers times and values by block name."""
        result = self.check("run", "--json", "--probe-all", *arguments, **options)
        answer = json.loads(result.stdout)
        names = {}
        for blocks in [json.loads((self.folder / arguments[0]).read_text())["blocks"]]:
            for block in blocks:
                data = next(iter(block.values()))
                names[str(data["id"])] = data["name"]
        return {names.get(key.split(":")[0], key): value for key, value in answer["series"].items()}

    def csv(self, name):
        lines = (self.folder / name).read_text().splitlines()
        return [line.split(",") for line in lines]


def evaluate(test, expression, *arguments, code="", status=0, **options):
    """Type and value that a constant takes from an expression."""
    model = Model(tf=0.25)
    constant = model.add("constant", "c", expression=expression)
    model.chain(constant, model.add("outport", "out", inputs=1, portNumber=0))
    test.write("evaluate.json", model)
    extra = ["-e", code] if code else []
    result = test.zarn("run", "evaluate.json", "--probe", "c", "--json", *extra, *arguments, **options)
    test.assertEqual(result.returncode, status, result.stderr)
    if status:
        return result.stderr
    series = json.loads(result.stdout)["series"][f"{constant}:0"]
    return series["type"], series["v"][0]

"""What else comes from outside: workspaces, tables that exported programs read, and messages to `zarn serve`.

Each function does one attack in a folder of its own, tells problems, and answers what came of it. See tools/attack.py.
"""

import json
import os
import pathlib
import shutil
import subprocess
import threading
import time

import damage as damages

ROOT = pathlib.Path(__file__).resolve().parents[1]

# lines that a workspace does not expect; NAME stands for a name that it makes
LINES = [
    "NAME = None", "NAME = 'a'", "NAME = float('nan')", "NAME = float('inf')", "NAME = 10**100", "NAME = [1, [2]]",
    "NAME = -NAME", "NAME = 0", "NAME = True", "NAME = 1e308", "NAME = property()", "del NAME", "NAME = lambda: 1",
    "NAME = NAME()", "raise ValueError('NAME')", "import sys; sys.exit(1)", "raise SystemExit('NAME')", "NAME = [",
    "def f(): f()\nf()", "NAME = type('T', (), {'__float__': lambda self: 1/0})()", "print('NAME' * 1000)",
    "import sys; sys.stdout.close()", "NAME = '\\ud800'", "mainsys = 3", "NAME = bytearray(3)", "NAME = 1 + 2j",
]


def names_in(text):
    return [line.split("=")[0].strip() for line in text.splitlines() if "=" in line and line[0].isalpha()] or ["x"]


def damaged_workspace(text, chance):
    if chance.randrange(6) == 0:
        return damages.tear(text, chance)
    lines = text.splitlines()
    for _ in range(chance.choice([1, 1, 2, 4])):
        place, kind = chance.randrange(len(lines) + 1), chance.randrange(4)
        if kind == 0 and lines:
            del lines[min(place, len(lines) - 1)]
        elif kind == 1 and lines:
            lines.insert(place, chance.choice(lines))
        else:
            lines.insert(place, chance.choice(LINES).replace("NAME", chance.choice(names_in(text))))
    return "\n".join(lines).encode()


def workspace(attack, chance):
    """A workspace of an example is damaged: check and run agree, and nothing ends but by itself."""
    source = chance.choice(sorted((ROOT / "examples").glob("*/workspace.py")))
    for file in source.parent.iterdir():
        shutil.copy(file, attack.folder)
    content = damaged_workspace(source.read_text(), chance)
    (attack.folder / "workspace.py").write_bytes(content)
    model = f"{source.parent.name}.json"
    statuses = []
    for verb in (["check"], ["run", "-q"]):
        done = attack.call(attack.options.zarn, *verb, model, "-w", "workspace.py")
        told = f"{verb[0]} {model}"
        if done.returncode not in (0, 1, 2):
            attack.problems.append(f"{told}: status {done.returncode}: {done.stderr[-200:]!r}")
        for word in b"terminate called", b"Z901":
            if word in done.stdout or word in done.stderr:
                attack.problems.append(f"{told}: {word.decode()}")
        statuses.append(done.returncode)
    if (statuses[0] == 0) != (statuses[1] == 0) and b"divide fault" not in done.stderr:
        attack.problems.append(f"check ends with {statuses[0]}, run with {statuses[1]}: {done.stderr[-200:]!r}")
    return "runs" if statuses[1] == 0 else "refused", content


TYPES = ["bool", "int8", "uint16", "int64", "uint64", "flt32", "flt64"]
CELLS = ["", "0", "-1", "1e300", "1e-400", "nan", "-inf", "x", "9" * 400, "0x10", "1 ", " 1", "1;2", "\"1\"", "\0", "300", "-"]


def doubler(kind):
    """A model with an input of a type, doubled."""
    blocks = [("inport", "in", 1, {"portNumber": 0}), ("cast", "type", 1, {"type": kind}), ("add", "sum", 2, {}),
              ("outport", "out", 1, {"portNumber": 0})]
    model = {"blocks": [], "links": [], "model": {"ti": 0.0, "tf": 9.5, "ts": 1.0}}
    for number, (name, own, inputs, more) in enumerate(blocks):
        model["blocks"].append({name: {"name": own, "id": 10**15 + number, "parent": 0, "inportCount": inputs, "outportCount": 1} | more})
    for source, target, port in ((0, 1, 0), (1, 2, 0), (1, 2, 1), (2, 3, 0)):
        model["links"].append({"srcId": 10**15 + source, "dstId": 10**15 + target, "srcPort": 0, "dstPort": port})
    return model


building = threading.Lock()


def program(options, kind):
    """An exported program with an input, built once with the sanitizers of the compiler."""
    folder = options.keep.resolve() / "programs" / kind
    built = folder / "out" / "attacked"
    with building:
        if built.exists():
            return built
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "attacked.json").write_text(json.dumps(doubler(kind)))
        subprocess.run([options.zarn, "export", "c", "attacked.json", "out", "-q"], cwd=folder, check=True)
        sources = [str(folder / "out" / f"attacked{part}.c") for part in ("", "_main")]
        part = built.with_suffix(".part")
        subprocess.run(["gcc", "-std=c99", "-O1", "-fsanitize=address,undefined", "-fno-sanitize-recover=all", "-o", str(part),
                        *sources, "-lm"], check=True)
        part.rename(built)
    return built


def inputs(attack, chance):
    """A table of inputs for an exported program: it is read, or refused with a word."""
    kind = chance.choice(TYPES)
    heads = [chance.choice(["in", "in", "time", "in", "x", ""]) for _ in range(chance.choice([1, 1, 2, 3]))]
    lines = [",".join(heads)]
    for _ in range(chance.choice([0, 1, 5, 20])):
        cells = [chance.choice(CELLS) if chance.randrange(4) == 0 else str(chance.randrange(100)) for _ in heads]
        lines.append(",".join(cells + ["7"] * chance.choice([0, 0, 0, 1])))
    text = chance.choice(["\n", "\n", "\r\n"]).join(lines)
    content = damages.tear(text, chance) if text and chance.randrange(3) == 0 else text.encode()
    (attack.folder / "in.csv").write_bytes(content)
    # the address sanitizer takes address space without end: time alone is limited
    done = subprocess.run([program(attack.options, kind), "in.csv"], cwd=attack.folder, stdin=subprocess.DEVNULL,
                          capture_output=True, timeout=60, env=os.environ | {"ASAN_OPTIONS": "detect_leaks=0"})
    if done.returncode not in (0, 2) or b"Sanitizer" in done.stderr or b"runtime error" in done.stderr:
        attack.problems.append(f"{kind}: status {done.returncode}: {done.stderr[-300:]!r}")
    elif done.returncode == 2 and b"_main: " not in done.stderr:
        attack.problems.append(f"{kind}: refused without a word")
    elif done.returncode == 0 and len(done.stdout.splitlines()) != 11:
        attack.problems.append(f"{kind}: {len(done.stdout.splitlines())} lines")
    return "read" if done.returncode == 0 else "refused", content


def requests(model, chance):
    """Requests as an editor sends them, of which some make sense."""
    blocks = [next(iter(block.values()), None) for block in model["blocks"] or () if isinstance(block, dict)]
    handles = [str(block.get("id", 0)) for block in blocks if isinstance(block, dict)] + ["0", "", "x/1", "1~2"]
    handle = lambda: chance.choice(handles)  # noqa: E731
    end = lambda: {"block": handle(), "port": chance.choice([0, 0, 1, -1, 7])}  # noqa: E731
    number = lambda: chance.choice([0, 10, -5, 1e9, 1e308, 40.5])  # noqa: E731
    operations = [
        lambda: {"op": "add_block", "class": chance.choice(["add", "memory", "subsys", "enable", "inport", "none"]),
                 "level": handle(), "x": number(), "y": number()},
        lambda: {"op": "remove", "blocks": [handle()], "join": chance.choice([True, False])},
        lambda: {"op": "connect", "from": end(), "to": end(), "replace": chance.choice([True, False])},
        lambda: {"op": "move", "blocks": [handle(), handle()], "dx": number(), "dy": number()},
        lambda: {"op": "rename", "block": handle(), "name": chance.choice(["", "a", "\u00e9", "x" * 10_000])},
        lambda: {"op": "set_parameter", "block": handle(), "key": "coeffA", "value": chance.choice([None, 1, "k", "1/0"])},
        lambda: {"op": "set_ports", "block": handle(), "inputs": chance.choice([0, 2, 9, -1, 2**31])},
        lambda: {"op": "set_setting", "key": "tf", "value": number()},
        lambda: {"op": "group", "blocks": [handle(), handle()]},
        lambda: {"op": "ungroup", "block": handle()},
        lambda: {"op": "layout", "level": handle()},
    ]
    calls = [
        ("hello", dict), ("files", dict), ("classes", dict), ("undo", dict), ("redo", dict), ("stylesheet", dict),
        ("evaluate", lambda: {"allow": None}), ("saved_state", dict), ("run.state", dict), ("run.stop", dict),
        ("view", lambda: {"level": handle()}), ("block", lambda: {"block": handle()}), ("findings", lambda: {"wait": True}),
        ("can_connect", lambda: {"from": end(), "to": end()}), ("copy", lambda: {"blocks": [handle()]}),
        ("search", lambda: {"text": chance.choice(["", "a", "mainsys"]), "limit": chance.choice([0, 5, -1])}),
        ("explain", lambda: {"block": handle()}), ("value", lambda: {"block": handle(), "key": "coeffA"}),
        ("run.start", lambda: {"settings": {"tf": 0.1, "ts": 0.01}, "literal": True}),
        ("run.data", lambda: {"signal": chance.choice([0, 1, -1])}), ("picture", lambda: {"level": handle()}),
        ("edit", lambda: {"operations": [chance.choice(operations)() for _ in range(chance.choice([1, 1, 3]))]}),
        ("edit", lambda: {"operations": [chance.choice(operations)()]}),
        ("open", lambda: {"file": chance.choice(["m.json", "../m.json", "none.json", "/etc/passwd", ""])}),
    ]
    for number_of_request in range(1, chance.choice([5, 20, 40])):
        method, make = chance.choice(calls)
        yield {"jsonrpc": "2.0", "id": number_of_request, "method": method, "params": make()}


def protocol(attack, chance):
    """Messages to `zarn serve`, good and damaged: each request has one answer, nothing is executed, the end is orderly."""
    source = chance.choice(attack.options.seeds)
    for file in source.parent.glob("*.json"):
        if file.stat().st_size < 100_000:
            shutil.copy(file, attack.folder)
    shutil.copy(source, attack.folder / "m.json")
    (attack.folder / "workspace.py").write_text("open('executed', 'w')\n")
    lines, wanted = [], set()
    for request in requests(json.loads(source.read_text()), chance):
        if chance.randrange(4) == 0:
            damages.damage(request["params"] if chance.randrange(2) else request, chance)
        whole = request.get("jsonrpc") == "2.0" and isinstance(request.get("method"), str) and isinstance(request.get("params"), dict)
        text = json.dumps(request).encode()
        whole = whole and b"Infinity" not in text and b"NaN" not in text  # which are no JSON
        if chance.randrange(15) == 0:
            text, whole = damages.tear(text.decode(), chance).replace(b"\n", b" "), False
        if whole and isinstance(request.get("id"), int) and not isinstance(request["id"], bool):
            wanted.add(request["id"])
        lines.append(text)
    lines.append(b'{"jsonrpc":"2.0","id":"last","method":"hello"}')
    content = b"\n".join(lines) + b"\n"
    (attack.folder / "messages").write_bytes(content)
    with (attack.folder / "messages").open("rb") as messages:
        begin = time.monotonic()
        done = subprocess.run([attack.options.zarn, "serve", "m.json"], cwd=attack.folder, stdin=messages,
                              capture_output=True, timeout=120)
    if done.returncode != 0 or b"terminate called" in done.stderr:
        attack.problems.append(f"status {done.returncode} after {time.monotonic() - begin:.0f} s: {done.stderr[-300:]!r}")
    answered = []
    for line in done.stdout.splitlines():
        try:
            answered.append(json.loads(line).get("id"))
        except ValueError:
            attack.problems.append(f"no JSON: {line[:100]!r}")
    missing = [number for number in wanted if answered.count(number) < 1]
    if missing or answered.count("last") != 1:
        attack.problems.append(f"no answer to {missing[:5] or 'the last request'}")
    if (attack.folder / "executed").exists():
        attack.problems.append("the workspace was executed without consent")
    return "answered", content


KINDS = {"workspaces": workspace, "inputs": inputs, "protocol": protocol}

#!/usr/bin/python3
"""Writes docs/classes: a page for each class of blocks with its picture, formula, ports, types, parameters and an example
that is run.

    PYTHONPATH=build/release/python tools/make_class_pages.py [--check]

With --check nothing is written, and the status is 1 where a page is not what would be.
"""

from __future__ import annotations

import sys
from pathlib import Path
from typing import Any

import zarn
from zarn import _core
from zarn._blocks import RULES

OUT = Path(__file__).resolve().parents[1] / "docs" / "classes"

# programs of classes that need more than signals; of all others each input gets a signal of a type that it takes
PROGRAMS = {
    "cast": "y = m.cast(m.sinewave(frequency=0.2), type='int8')",
    "from": "m.goto(m.time(), target='clock')\ny = m.from_(target='clock')",
    "goto": "m.goto(m.time(), target='clock')\ny = m.from_(target='clock')",
    "from_workspace": "y = m.from_workspace(expression='measured')",
    "lut1d": "y = m.lut1d(m.time(), bp1=[0.0, 1.0, 4.0], out=[0.0, 10.0, 20.0])",
    "lut2d": "y = m.lut2d(m.time(), m.constant(1.0), bp1=[0.0, 4.0], bp2=[0.0, 2.0], out=[[0.0, 1.0], [10.0, 20.0]])",
    "if": "y = m.if_(m.time() > 1.5, 10.0, m.time())",
    "switch": "y = m.switch(m.cast(m.time(), 'int32'), m.constant(-1), m.constant(10), m.constant(20))",
    "clamp": "y = m.clamp(m.time(), 0.5, 2.0)",
    "acc": "y = m.acc(m.time(), 0.0, m.time() > 3.5)",
    "pow": "y = m.pow(m.time(), 2.0)",
    "divide": "y = m.divide(m.time(), 4.0)",
    "mod": "y = m.mod(m.time(), 3.0)",
    "logical": "y = m.logical(m.time() > 0.5, m.time() < 2.5, operator='and')",
    "not": "y = m.not_(m.time() > 1.5)",
    "relational": "y = m.relational(m.time(), m.constant(2.0), operator='lt')",
    "unpack": "y = m.unpack(m.constant(240.0), lsb=4, msb=7)",
    "display": "m.display(m.time(), name='y')",
    "to_workspace": "m.to_workspace(m.time(), name='y')",
    "inport": "y = m.input('u') * 2.0",
    "outport": "y = m.time() * 2.0",
    "subsys": "with m.subsystem('part', u=m.time()) as part:\n    y = part.output('y', m.find('part.u')[0] * 2.0)",
    "enable": "gate = m.step(stepTime=1.5)\nwith m.subsystem('gated', u=m.time()) as part:\n    part.enable(gate)\n"
    "    y = part.output('y', m.find('gated.u')[0] * 2.0)",
    "hysteresis": "y = m.hysteresis(m.sinewave(frequency=0.2), valueOff=-0.5, valueOn=0.5)",
    "debounce": "y = m.debounce(m.time() > 0.5, rise=1.0, fall=0.0)",
    "squarewave": "y = m.squarewave(timeOff=1.0, timeOn=2.0, valueOff=0.0, valueOn=5.0)",
    "step": "y = m.step(stepTime=1.5, initialValue=1.0, finalValue=3.0)",
    "sinewave": "y = m.sinewave(frequency=0.125, phase=90.0)",
    "random": "y = m.random(max=6.0, min=1.0, seed=12345)",
    "constant": "y = m.constant(2.5)",
    "asin": "y = m.asin(m.time() * 0.25)",
    "acos": "y = m.acos(m.time() * 0.25)",
    "log": "y = m.log(m.time() + 1.0)",
}
# of a file, or by another name
WITHOUT = {"refsys", "subsystem"}


def function_of(name: str) -> str:
    return name + "_" if name in ("if", "not", "from") else name


def program_of(facts: dict[str, Any]) -> str:
    name = facts["name"]
    if name in PROGRAMS:
        return PROGRAMS[name]
    count = facts["input_count"] if facts["input_count"] >= 0 else facts["least_inputs"]
    signals = ["m.time()", "m.constant(2.0)", "m.constant(1.0)"][:count]
    return f"y = m.{function_of(name)}({', '.join(signals)})"


def example_of(facts: dict[str, Any]) -> tuple[str, str, str]:
    """The program, what it gives, and its picture."""
    program = program_of(facts)
    shown = "" if facts["name"] in ("display", "to_workspace") else "\nm.output('result', y)"
    space: dict[str, Any] = {"m": zarn.Model(ts=1.0, tf=4.0)}
    exec(program + shown, space)
    m: zarn.Model = space["m"]
    workspace = {"measured": ([0.0, 1.5, 3.0], [1.0, 2.0, 3.0])}
    inputs = {"u": [0.0, 1.0, 2.0, 3.0, 4.0]} if facts["name"] == "inport" else {}
    ran = m.run(workspace=workspace, inputs=inputs)
    (values,) = ran.values()
    rows = [f"t       {'  '.join(f'{t:<8g}' for t in values.time)}", f"y       {'  '.join(f'{v:<8.6g}' if v.dtype != bool else f'{v!s:<8}' for v in values)}"]
    needs = {"from_workspace": "workspace={'measured': ([0.0, 1.5, 3.0], [1.0, 2.0, 3.0])}", "inport": "inputs={'u': range(5)}"}
    call = f"m.run({needs.get(facts['name'], '')})"
    text = f"m = zarn.Model(ts=1.0, tf=4.0)\n{program}{shown}\n{call}"
    return text, "\n".join(row.rstrip() for row in rows), m.draw(layout_time=0.0).svg


def page_of(facts: dict[str, Any]) -> tuple[str, str]:
    name = facts["name"]
    lines = [f"# {name}", "", f"{facts['summary'][0].upper()}{facts['summary'][1:]}", ""]
    picture = ""
    if name not in WITHOUT:
        program, answer, picture = example_of(facts)
        lines += [f"![An example with {name}]({name}.svg)", ""]
    head = "\n".join(line.rstrip() for line in str(facts["head"]).splitlines()).rstrip()
    lines += ["```", head, "```", "", f"- Inputs: {facts['inputs_in_words']}"]
    lines += [f"- Types: {'; '.join(facts['types'])}"] if facts["types"] else []
    lines += [f"- Also called: {facts['everyday']}"] if facts["everyday"] else []
    if facts["parameters"]:
        lines += ["", "| parameter | meaning | content | default |", "|---|---|---|---|"]
        for parameter in facts["parameters"]:
            default = f"`\"{parameter['default']}\"`" if "default" in parameter else ""
            content = parameter["words"].replace("|", "\\|")
            lines.append(f"| `{parameter['name']}` | {parameter['meaning']} | {content} | {default} |")
    if name not in WITHOUT:
        lines += ["", "## Example", "", "```python", program, "```", "```", answer, "```"]
    return "\n".join(lines) + "\n", picture


def pages() -> dict[str, str]:
    made = {}
    names = []
    for facts in _core.classes():
        text, picture = page_of(facts)
        names.append(facts["name"])
        made[f"{facts['name']}.md"] = text
        if picture:
            made[f"{facts['name']}.svg"] = picture
    made["index.md"] = (
        "# Classes\n\nMade by tools/make_class_pages.py; [blocks.md](../blocks.md) has all in one page.\n\n"
        + " ".join(f"[{name}]({name}.md)" for name in names) + "\n"
    )  # fmt: skip
    return made


def main() -> int:
    made = pages()
    missing = set(RULES) - {name[:-3] for name in made}
    assert not missing, missing
    if "--check" in sys.argv[1:]:
        there = {path.name: path.read_text() for path in OUT.glob("*")}
        # a picture is that of `zarn draw`, whose own tests look at its lines: here it is there, or not
        wrong = sorted(
            name
            for name in made.keys() | there.keys()
            if (name in made) != (name in there) or (name.endswith(".md") and made[name] != there[name])
        )
        if wrong:
            print("not what tools/make_class_pages.py writes:", *wrong, file=sys.stderr)
        return int(bool(wrong))
    OUT.mkdir(exist_ok=True)
    for path in OUT.glob("*"):
        path.unlink()
    for name, text in made.items():
        (OUT / name).write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())

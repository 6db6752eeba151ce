#!/usr/bin/python3
"""Writes python/zarn/_blocks.py, the classes of blocks as functions, from what the library says of each.

    PYTHONPATH=build/release/python tools/make_python_blocks.py [--check]

With --check nothing is written, and the status is 1 where the file is not what would be.
"""

from __future__ import annotations

import keyword
import os
import re
import sys
import textwrap
from typing import Any

from zarn import _core

PLACE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "python", "zarn", "_blocks.py")
BY_HAND = {"subsys", "subsystem", "refsys", "inport", "outport", "enable"}
HEAD = '''"""The classes of blocks as functions. Made by tools/make_python_blocks.py of what the library says of them."""

from __future__ import annotations

from collections.abc import Mapping
from typing import Literal, Optional

from zarn._build import Block, Builder, Rule, Signal, SignalLike, Value

'''
VALUE = {"value": "Value", "list": "Value", "series": "str", "label": "str", "path": "str", "port": "int"}


def identifier(name: str) -> str:
    name = re.sub(r"\W", "_", name)
    return name + "_" if keyword.iskeyword(name) else name


def types_of(facts: dict[str, Any]) -> dict[str, str]:
    return dict(line.split(": ", 1) for line in facts["types"])


def rule_of(facts: dict[str, Any]) -> str:
    types = types_of(facts)
    output = types.get(facts["outputs"][0], "") if facts["outputs"] else ""
    typed = {"highest type among the inputs": "highest", "any type": ""}.get(output, output)
    if typed.startswith("type of"):
        typed = "same"
    bools = tuple(at for at, name in enumerate(facts["inputs"]) if types.get(name) == "bool")
    inputs = tuple(identifier(name) for name in facts["inputs"])
    return f"Rule({inputs!r}, {len(facts['outputs'])}, {facts['input_count'] < 0}, {typed!r}, {bools!r})"


def ports_of(facts: dict[str, Any]) -> tuple[list[str], list[str]]:
    """Those that a block has, and those that it can have."""
    names = [identifier(name) for name in facts["inputs"]]
    least = facts["input_count"] if facts["input_count"] >= 0 else facts["least_inputs"]
    return names[:least], names[least:]


def method_of(facts: dict[str, Any]) -> str:
    needed, more = ports_of(facts)
    arguments = ["self"] + [f"{port}: Optional[SignalLike]" for port in needed]
    arguments += [f"{port}: Optional[SignalLike] = None" for port in more]
    if more and facts["parameters"]:
        arguments.append("*")
    words = types_of(facts)
    told = [f"{identifier(port)}: {words[port]}" for port in facts["inputs"] if port in words]
    given = []
    for parameter in facts["parameters"]:
        key = parameter["name"]
        kind = VALUE.get(parameter["content"]) or "Literal[" + ", ".join(map(repr, parameter["choices"])) + "]"
        arguments.append(f"{identifier(key)}: {kind} = {parameter['default']!r}")
        given.append(f"{key!r}: {identifier(key)}")
        told.append(f"{identifier(key)}: {parameter['meaning']}; {parameter['words']}")
    if "*" not in arguments:
        arguments.append("*")
    arguments.append("name: Optional[str] = None")
    answer = "Signal" if facts["outputs"] else "Block"
    if facts["outputs"] and facts["outputs"][0] in words:
        told.append(f"Gives {words[facts['outputs'][0]]}.")
    inputs = "(" + ", ".join(needed + more) + ("," if len(needed + more) == 1 else "") + ")"
    if more:
        inputs = f"_given({inputs}, {len(needed)})"
    call = f"self._operate({facts['name']!r}, {inputs}, {{{', '.join(given)}}}, name)"
    body = f"return {call}" + ("" if facts["outputs"] else ".block")
    lines = facts["head"].splitlines()
    end = next((at for at, line in enumerate(lines) if line.startswith("Inputs")), len(lines))
    formula = [line for line in lines[:end] if line.startswith("  ")]
    summary = facts["summary"][0].upper() + facts["summary"][1:]
    doc = [summary, "", *(["::", ""] + ["    " + line for line in textwrap.dedent("\n".join(formula)).splitlines()] if formula else []), "", *told]
    lines = [f"def {identifier(facts['name'])}(", *(f"    {argument}," for argument in arguments), f") -> {answer}:"]
    text = "\n".join(doc).strip("\n")
    quoted = '"""' + re.sub(r"\n{3,}", "\n\n", text).replace("\\", "\\\\") + '\n"""'
    lines += textwrap.indent(quoted, "    ").splitlines() + [f"    {body}"]
    return textwrap.indent("\n".join(line.rstrip() for line in lines), "    ")


def text() -> str:
    classes = [facts for facts in _core.classes() if facts["name"] not in BY_HAND]
    rules = ",\n".join(f"    {facts['name']!r}: {rule_of(facts)}" for facts in classes)
    methods = "\n\n".join(method_of(facts) for facts in classes)
    return (
        HEAD
        + f"RULES: Mapping[str, Rule] = {{\n{rules},\n}}\n\n\n"
        + "def _given(inputs: tuple[Optional[SignalLike], ...], least: int) -> tuple[Optional[SignalLike], ...]:\n"
        + '    """Without those at the end that are left out."""\n'
        + "    count = len(inputs)\n    while count > least and inputs[count - 1] is None:\n        count -= 1\n"
        + "    return inputs[:count]\n\n\n"
        + 'class Blocks(Builder):\n    """A function for each class. An input that is None is left open, for `wire` to feed it."""\n\n'
        + "    _rules = RULES\n\n"
        + methods
        + "\n"
    )


def main() -> int:
    wanted = text()
    if "--check" in sys.argv[1:]:
        with open(PLACE, encoding="utf-8") as file:
            if file.read() == wanted:
                return 0
        print(f"{PLACE} is not what tools/make_python_blocks.py writes", file=sys.stderr)
        return 1
    with open(PLACE, "w", encoding="utf-8") as file:
        file.write(wanted)
    return 0


if __name__ == "__main__":
    sys.exit(main())

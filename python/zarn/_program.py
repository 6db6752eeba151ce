"""From a model to the program that builds it."""

from __future__ import annotations

import keyword
import re
from collections import Counter, defaultdict
from typing import TYPE_CHECKING, Any, Optional

from zarn._blocks import RULES
from zarn._build import Block

if TYPE_CHECKING:
    from zarn._models import Model

# classes for which the order of a file counts among themselves
_ORDERED = ("memory", "enable")


def program_of(model: Model) -> str:
    """Functions, nested as the model is, where that says all that the file does; else block by block."""
    neat = _Nested(model)
    in_a_row = model.chained_memories()
    if neat.fits and not in_a_row and neat.write() and neat.keeps_order():
        return neat.text()
    flat = _Flat(model)
    flat.write()
    return flat.text()


class _Program:
    def __init__(self, model: Model) -> None:
        self.model = model
        self.lines: list[str] = []
        self.names: dict[int, str] = {}
        self.taken = {"m", "zarn"}
        self.written: list[Block] = []

    def name_of(self, block: Block) -> str:
        """A variable for a block."""
        if id(block) not in self.names:
            base = re.sub(r"\W", "_", block.name) or block.block_class
            if base[0].isdigit() or keyword.iskeyword(base) or not base.isidentifier():
                base = "_" + re.sub(r"[^A-Za-z0-9_]", "_", base)
            name, number = base, 1
            if name in self.taken and block.parent is not None:
                base = name = f"{re.sub(r'[^A-Za-z0-9_]', '_', block.parent.name)}_{base}".lstrip("0123456789") or base
            while name in self.taken:
                number += 1
                name = f"{base}_{number}"
            self.taken.add(name)
            self.names[id(block)] = name
        return self.names[id(block)]

    def text(self) -> str:
        settings = {key: self.model._settings[key] for key in ("ts", "tf", "ti") if key in self.model._settings}
        given = [f"{key}={float(value)!r}" for key, value in settings.items()]
        given.append(f"name={self.model.name!r}")
        return "\n".join(["import zarn", "", f"m = zarn.Model({', '.join(given)})", *self.lines]) + "\n"


class _Flat(_Program):
    def write(self) -> None:
        there: set[int] = set()
        later = []  # the order of a file can count, and subsystems stand anywhere in it
        for block in self.model._ordered():
            given = [repr(block.block_class), repr(block.name)]
            there.add(id(block))
            if block.parent is not None and id(block.parent) in there:
                given.append(f"parent={self.name_of(block.parent)}")
            elif block.parent is not None:
                later.append(block)
            if block.inputs is not None:
                given.append(f"inputs={block.inputs!r}")
            if block.outputs is not None:
                given.append(f"outputs={block.outputs!r}")
            given += _given(block)
            self.lines.append(f"{self.name_of(block)} = m.block({', '.join(given)})")
        for block in later:
            assert block.parent is not None
            self.lines.append(f"{self.name_of(block)}.parent = {self.name_of(block.parent)}")
        for source, source_port, target, port, _ in self.model._links:
            led = "" if source.parent is target.parent else ", led=False"
            self.lines.append(f"m.wire({self.name_of(source)}[{source_port}], {self.name_of(target)}, {port}{led})")


class _Nested(_Program):
    def __init__(self, model: Model) -> None:
        super().__init__(model)
        self.inside: dict[Optional[int], list[Block]] = defaultdict(list)
        for block in model._blocks:
            self.inside[id(block.parent) if block.parent is not None else None].append(block)
        self.sources: dict[tuple[int, int], tuple[Block, int]] = {}
        self.late: list[str] = []
        self.named = Counter(map(_kind, model._blocks))
        self.ready: set[int] = set()
        self.fits = self._take_links() and all(map(self._is_plain, model._blocks))

    def _take_links(self) -> bool:
        for source, source_port, target, port, _ in self.model._links:
            if (id(target), port) in self.sources or source.parent is not target.parent:
                return False
            if not 0 <= source_port < self._count(source, "outport") or not self._takes(target, port):
                return False
            self.sources[id(target), port] = (source, source_port)
        return True

    def _count(self, block: Block, port: str) -> int:
        """How many inputs or outputs a block has."""
        if block.block_class in ("subsys", "subsystem"):
            return sum(inner.block_class == port for inner in self.inside[id(block)])
        if block.block_class == "refsys":
            return (block.inputs if port == "inport" else block.outputs) or 0
        rule = RULES.get(block.block_class)
        if rule is None:
            return int(block.block_class == "inport")
        return _input_count(block) if port == "inport" else rule.outputs

    def _takes(self, block: Block, port: int) -> bool:
        if block.block_class in ("inport", "enable"):
            return False
        if block.block_class == "outport":
            return port == 0
        gated = any(inner.block_class == "enable" for inner in self.inside[id(block)])
        return -1 <= port < self._count(block, "inport") and (port >= 0 or gated)

    def _is_plain(self, block: Block) -> bool:
        """Whether its function says all of it."""
        siblings = self.inside[id(block.parent) if block.parent is not None else None]
        if not isinstance(block.name, str) or not block.name or self.named[_kind(block)] > 1:
            return False
        inner = self.inside.get(id(block), [])
        if block.block_class == "subsys":
            return self._numbered(inner, "inport", block.inputs or 0) and self._numbered(
                inner, "outport", block.outputs or 0
            )
        if inner or block.block_class == "subsystem":
            return False
        if block.block_class in ("inport", "outport"):
            return block.parent is not None or self._numbered(siblings, block.block_class, None)
        if block.block_class == "enable":
            return block.parent is not None
        return block.block_class == "refsys" or block.block_class in RULES

    @staticmethod
    def _numbered(blocks: list[Block], block_class: str, count: Optional[int]) -> bool:
        """Whether ports have the numbers from 0 on."""
        numbers = sorted(
            number if isinstance(number := block.parameters.get("portNumber"), int) else -1
            for block in blocks
            if block.block_class == block_class
        )
        return numbers == list(range(len(numbers))) and count in (None, len(numbers))

    def write(self) -> bool:
        self._write_scope(None, "")
        self.lines += self.late
        return True

    def keeps_order(self) -> bool:
        def ordered(blocks: list[Block]) -> list[int]:
            return [id(block) for block in blocks if block.block_class in _ORDERED]

        return ordered(self.written) == ordered(self.model._blocks)

    def _write_scope(self, scope: Optional[Block], indent: str) -> None:
        waiting = list(self.inside[id(scope) if scope is not None else None])
        ports = [block for block in waiting if block.block_class == "inport"]
        ports.sort(key=lambda block: int(block.parameters["portNumber"]))
        outports = [block for block in waiting if block.block_class == "outport"]
        outports.sort(key=lambda block: int(block.parameters["portNumber"]))
        for block in ports:
            self._write_inport(block, indent)
        rest = [block for block in waiting if block.block_class not in ("inport", "outport")]
        while rest:
            block = next((block for block in rest if self._is_ready(block)), rest[0])
            rest.remove(block)
            self._write_block(block, indent)
        for block in outports:
            self._write_outport(block, indent)

    def _is_ready(self, block: Block) -> bool:
        if block.block_class == "memory":
            return True  # it closes loops, and its kind stays in order
        count = _input_count(block)
        return all(
            (id(block), port) not in self.sources or id(self.sources[id(block), port][0]) in self.ready
            for port in range(-1, count)
        )

    def _source(self, block: Block, port: int) -> str:
        """What feeds an input; None for what is wired later, or never."""
        found = self.sources.get((id(block), port))
        if found is None:
            return "None"
        source, source_port = found
        if id(source) in self.ready:
            return self._signal(source, source_port)
        return "None"

    def _signal(self, source: Block, port: int) -> str:
        name = self.names[id(source)]
        if source.block_class == "subsys":
            for inner in self.inside[id(source)]:
                if inner.block_class == "outport" and inner.parameters["portNumber"] == port:
                    return f"{name}[{inner.name!r}]"
            return f"{name}.block[{port}]"
        if source.block_class == "refsys" or port:
            return f"{name}[{port}]" if source.block_class == "refsys" else f"{name}.block[{port}]"
        return name

    def _wire_later(self, block: Block, port: int, name: str) -> None:
        found = self.sources.get((id(block), port))
        if found is not None and id(found[0]) not in self.ready:
            self.late.append(f"\0{id(found[0])}\0{found[1]}\0{name}\0{port}")

    def _write_inport(self, block: Block, indent: str) -> None:
        name = self.name_of(block)
        self.written.append(block)
        self.ready.add(id(block))
        if block.parent is None:
            self.lines.append(f"{indent}{name} = m.input({block.name!r})")
            return
        feed = self._source(block.parent, int(block.parameters["portNumber"]))
        given = f", {feed}" if feed != "None" else ""
        self.lines.append(f"{indent}{name} = {self.names[id(block.parent)]}.input({block.name!r}{given})")
        self._wire_later(block.parent, int(block.parameters["portNumber"]), f"{self.names[id(block.parent)]}.block")

    def _write_outport(self, block: Block, indent: str) -> None:
        self.written.append(block)
        place = "m" if block.parent is None else self.names[id(block.parent)]
        self.lines.append(f"{indent}{place}.output({block.name!r}, {self._source(block, 0)})")
        self._wire_later(block, 0, f"m.find({block.path!r}, 'outport')")

    def _write_block(self, block: Block, indent: str) -> None:
        self.written.append(block)
        if block.block_class == "subsys":
            return self._write_subsystem(block, indent)
        if block.block_class == "enable":
            assert block.parent is not None
            part = self.names[id(block.parent)]
            feed = self._source(block.parent, -1)
            self.lines.append(f"{indent}{part}.enable({feed}, name={block.name!r})")
            self._wire_later(block.parent, -1, f"{part}.block")
            self.ready.add(id(block))
            return
        name = self.name_of(block)
        rule = RULES.get(block.block_class)
        count = _input_count(block)
        sources = [self._source(block, port) for port in range(count)]
        known = rule is not None and block.block_class != "switch" and _is_told(block)
        if rule is not None and rule.open_inputs and sources[-1:] == ["None"]:
            known = False  # the function takes that for one that is not there
        signal = known and rule is not None and rule.outputs > 0
        target = f"{name}.block" if signal else name
        if known:
            parameters = [f"{_identifier(key)}={value!r}" for key, value in block.parameters.items()]
            function = _identifier(block.block_class)
            self.lines.append(f"{indent}{name} = m.{function}({', '.join([*sources, *parameters, f'name={block.name!r}'])})")
            for port in range(count):
                self._wire_later(block, port, target)
        else:
            self._write_raw(block, name, indent)
        self.ready.add(id(block))

    def _write_raw(self, block: Block, name: str, indent: str) -> None:
        given = [repr(block.block_class), repr(block.name)]
        if block.parent is not None:
            given.append(f"parent={self.names[id(block.parent)]}.block")
        given += [f"inputs={block.inputs!r}"] * (block.inputs is not None)
        given += [f"outputs={block.outputs!r}"] * (block.outputs is not None)
        given += _given(block)
        variable = f"{name}_block" if block.block_class != "refsys" and RULES[block.block_class].outputs else name
        self.lines.append(f"{indent}{variable} = m.block({', '.join(given)})")
        for key in [key for key in self.sources if key[0] == id(block)]:
            feed = self._source(block, key[1])
            if feed != "None":
                self.lines.append(f"{indent}m.wire({feed}, {variable}, {key[1]})")
            self._wire_later(block, key[1], variable)
        if variable != name:
            self.lines.append(f"{indent}{name} = {variable}[0]")

    def _write_subsystem(self, block: Block, indent: str) -> None:
        name = self.name_of(block)
        self.lines.append(f"{indent}with m.subsystem({block.name!r}) as {name}:")
        if self.inside[id(block)]:
            self._write_scope(block, indent + "    ")
        else:
            self.lines.append(f"{indent}    pass")
        self.ready.add(id(block))

    def text(self) -> str:
        for at, line in enumerate(self.lines):
            if line.startswith("\0"):
                _, source, source_port, target, port = line.split("\0")
                block = next(one for one in self.model._blocks if id(one) == int(source))
                self.lines[at] = f"m.wire({self._signal(block, int(source_port))}, {target}, {port})"
        return super().text()


def _kind(block: Block) -> tuple[Optional[int], str, str]:
    """What no two blocks of a program share: a port can be called as another block is."""
    port = block.block_class if block.block_class in ("inport", "outport") else ""
    return (id(block.parent) if block.parent is not None else None, port, block.name)


def _given(block: Block) -> list[str]:
    """The parameters as arguments of `Model.block`."""
    items = block.parameters.items()
    plain = all(key.isidentifier() and not keyword.iskeyword(key) for key in block.parameters)
    if plain and not {"block_class", "name", "self"} & block.parameters.keys():
        return [f"{key}={value!r}" for key, value in items]
    return ["**{" + ", ".join(f"{key!r}: {value!r}" for key, value in items) + "}"]


def _is_told(block: Block) -> bool:
    """Whether the parameters are texts of keys that the function has."""
    import inspect

    from zarn._blocks import Blocks

    keys = inspect.signature(getattr(Blocks, _identifier(block.block_class))).parameters
    rule = RULES[block.block_class]
    count = _input_count(block)
    if rule.open_inputs and not _least(keys) <= count <= len(rule.inputs):
        return False
    if block.inputs not in (None, count) or block.outputs not in (None, rule.outputs):
        return False  # a file can say what the class does not have
    return all(isinstance(value, str) and _identifier(key) in keys for key, value in block.parameters.items())


def _least(keys: Any) -> int:
    return sum(1 for name, key in keys.items() if name != "self" and key.default is key.empty)


def _input_count(block: Block) -> int:
    rule = RULES.get(block.block_class)
    if rule is None or rule.open_inputs:
        return int(block.inputs or 0)
    return len(rule.inputs)


def _identifier(name: str) -> str:
    name = re.sub(r"\W", "_", name)
    return name + "_" if keyword.iskeyword(name) else name

"""Models made by program: blocks, signals between them, and operators on signals."""

from __future__ import annotations

import hashlib
import json
from collections.abc import Iterable, Mapping, Sequence
from typing import TYPE_CHECKING, Any, NamedTuple, Optional, Union

import numpy as np

from zarn._errors import UsageError
from zarn._types import RANK, RANKED, TypeLike, TypeName, type_name

if TYPE_CHECKING:
    from typing_extensions import Self

#: What a parameter can be: a number, an expression of the workspace as a text, or a list of numbers.
Value = Union[str, bool, int, float, "np.generic", Sequence[Any], "np.ndarray[Any, Any]"]
#: What feeds an input: a signal, or a number, which becomes a constant.
SignalLike = Union["Signal", bool, int, float, "np.generic"]


class Rule(NamedTuple):
    """What the library says of a class, as far as making a block of it goes."""

    inputs: tuple[str, ...]
    outputs: int
    open_inputs: bool  # whether a file says how many there are
    typed: str  # type of the output: a type's name, "same", "highest", or "" for what only a run knows
    bools: tuple[int, ...] = ()  # inputs that take nothing but bool


class Block:
    """One block. `path` is what messages and probes call it."""

    __slots__ = ("model", "block_class", "name", "parent", "parameters", "inputs", "outputs", "id", "extra", "ports", "chained")

    def __init__(
        self, model: Builder, block_class: str, name: str, parent: Optional[Block], parameters: dict[str, Any]
    ) -> None:
        self.model = model
        self.block_class = block_class
        self.name = name
        self.parent = parent
        self.parameters = parameters
        self.inputs: Optional[int] = None  # as the file says it
        self.outputs: Optional[int] = None
        self.id: Optional[int] = None
        self.extra: Optional[dict[str, Any]] = None  # geometry, colours, what else the file has
        self.ports: Optional[Ports] = None  # of a subsystem
        self.chained = False  # whether its place among memories in a row follows from the row

    @property
    def path(self) -> str:
        names = [self.name]
        at = self.parent
        while at is not None:
            names.append(at.name)
            at = at.parent
        return ".".join(["mainsys", *reversed(names)])

    def __getitem__(self, output: int) -> Signal:
        """One of the outputs."""
        return Signal(self, output, None)

    def __repr__(self) -> str:
        return f"<{self.block_class} {self.path}>"


class Ports:
    """Inports and outports of a subsystem, and what is led through it by itself."""

    __slots__ = ("inports", "outports", "entered", "left", "enable")

    def __init__(self) -> None:
        self.inports: list[Block] = []
        self.outports: list[Block] = []
        self.entered: dict[tuple[int, int], Signal] = {}
        self.left: dict[tuple[int, int], Signal] = {}
        self.enable: Optional[Block] = None


class Signal:
    """An output of a block. Operators make blocks; numbers beside a signal take its type where that is known."""

    __slots__ = ("block", "port", "type")
    __array_ufunc__ = None  # arrays of numpy leave operators to the signal
    __hash__ = object.__hash__

    def __init__(self, block: Block, port: int, type: Optional[TypeName]) -> None:
        self.block = block
        self.port = port
        self.type = type  #: None where only a run knows it

    @property
    def path(self) -> str:
        return self.block.path

    def __repr__(self) -> str:
        return f"<signal {self.block.path}{f':{self.port}' if self.port else ''}: {self.type or 'type of the run'}>"

    def __bool__(self) -> bool:
        raise TypeError("a signal is no truth: it has a value in each step. Use &, |, ~ and model.switch")

    def _make(self, block_class: str, *inputs: SignalLike, **parameters: Any) -> Signal:
        return self.block.model._operate(block_class, inputs, parameters)

    def __add__(self, other: SignalLike) -> Signal:
        return self._make("add", self, other)

    def __radd__(self, other: SignalLike) -> Signal:
        return self._make("add", other, self)

    def __sub__(self, other: SignalLike) -> Signal:
        return self._make("subtract", self, other)

    def __rsub__(self, other: SignalLike) -> Signal:
        return self._make("subtract", other, self)

    def __mul__(self, other: SignalLike) -> Signal:
        return self._make("multiply", self, other)

    def __rmul__(self, other: SignalLike) -> Signal:
        return self._make("multiply", other, self)

    def __truediv__(self, other: SignalLike) -> Signal:
        return self._make("divide", self, other)

    def __rtruediv__(self, other: SignalLike) -> Signal:
        return self._make("divide", other, self)

    def __mod__(self, other: SignalLike) -> Signal:
        return self._make("mod", self, other)

    def __rmod__(self, other: SignalLike) -> Signal:
        return self._make("mod", other, self)

    def __pow__(self, other: SignalLike) -> Signal:
        return self._make("pow", self, other)

    def __rpow__(self, other: SignalLike) -> Signal:
        return self._make("pow", other, self)

    def __neg__(self) -> Signal:
        return self._make("poly1st", self, coeffA=-1, coeffB=0)

    def __pos__(self) -> Signal:
        return self

    def __abs__(self) -> Signal:
        return self._make("abs", self)

    def __lt__(self, other: SignalLike) -> Signal:
        return self._make("relational", self, other, operator="lt")

    def __le__(self, other: SignalLike) -> Signal:
        return self._make("relational", self, other, operator="le")

    def __gt__(self, other: SignalLike) -> Signal:
        return self._make("relational", self, other, operator="gt")

    def __ge__(self, other: SignalLike) -> Signal:
        return self._make("relational", self, other, operator="ge")

    def __eq__(self, other: object) -> Signal:  # type: ignore[override]
        return self._make("relational", self, other, operator="eq")  # type: ignore[arg-type]

    def __ne__(self, other: object) -> Signal:  # type: ignore[override]
        return self._make("relational", self, other, operator="ne")  # type: ignore[arg-type]

    def __and__(self, other: SignalLike) -> Signal:
        return self._make("logical", self, other, operator="and")

    def __rand__(self, other: SignalLike) -> Signal:
        return self._make("logical", other, self, operator="and")

    def __or__(self, other: SignalLike) -> Signal:
        return self._make("logical", self, other, operator="or")

    def __ror__(self, other: SignalLike) -> Signal:
        return self._make("logical", other, self, operator="or")

    def __invert__(self) -> Signal:
        return self._make("not", self)

    def astype(self, type: TypeLike) -> Signal:
        """The signal in another type."""
        return self._make("cast", self, type=type_name(type))


class Feedback(Signal):
    """A signal that is used ahead of what it is made of: what `close` is given, one step later."""

    __slots__ = ("closed",)

    def __init__(self, block: Block, type: TypeName) -> None:
        super().__init__(block, 0, type)
        self.closed = False

    def close(self, source: SignalLike) -> Signal:
        """Says what the signal is. The cast ahead of its memory gives the loop the type that it needs to start from."""
        if self.closed:
            raise UsageError(f"{self.path}: the feedback is closed already")
        model = self.block.model
        with model._inside(self.block.parent):
            seed = model._operate("cast", (source,), {"type": self.type}, self.block.name + "_type")
            model._wire(seed, self.block, 0)
        self.closed = True
        return self


class Subsystem:
    """A subsystem in the making; within `with`, blocks are made inside it. Signals of other places can be used in it as
    they are, and its own outside: inports and outports are made for them."""

    def __init__(self, model: Builder, block: Block) -> None:
        self._model = model
        self.block = block
        self._outer: Optional[Block] = None

    def __enter__(self) -> Subsystem:
        self._outer, self._model._scope = self._model._scope, self.block
        return self

    def __exit__(self, *_: object) -> None:
        self._model._scope = self._outer

    @property
    def path(self) -> str:
        return self.block.path

    def input(self, name: str, source: Optional[SignalLike] = None) -> Signal:
        """An inport, fed by a signal outside of the subsystem."""
        port = self._model._port(self.block, "inport", name)
        if source is not None:
            self.connect(name, source)
        return port

    def output(self, name: str, source: Optional[SignalLike]) -> Signal:
        """An outport; what it gives is a signal outside of the subsystem. With None `wire` feeds it later."""
        model = self._model
        with model._inside(self.block):
            port = model._port(self.block, "outport", name)
            if source is not None:
                model._wire(model._as_signal(source), port.block, 0)
        return self[name]

    def connect(self, name: str, source: SignalLike) -> None:
        """Feeds the inport of that name."""
        model = self._model
        ports = _ports(self.block)
        for number, port in enumerate(ports.inports):
            if port.name == name:
                with model._inside(self.block.parent):
                    return model._wire(model._as_signal(source), self.block, number)
        raise UsageError(f"{self.path}: there is no inport {name!r}")

    def enable(self, condition: Optional[SignalLike], name: str = "enable") -> None:
        """Steps the subsystem only while the condition, a signal outside, is true. With None `wire` feeds it later."""
        model, ports = self._model, _ports(self.block)
        if ports.enable is not None:
            raise UsageError(f"{self.path}: it has an enable already")
        at = condition.block.parent if isinstance(condition, Signal) else None
        while at is not None:
            if at is self.block:
                raise UsageError(f"{self.path}: the condition is made inside of what it gates; make it ahead of the with")
            at = at.parent
        with model._inside(self.block):
            ports.enable = model._new("enable", name, {})
            ports.enable.inputs = 1
        if condition is not None:
            with model._inside(self.block.parent):
                model._wire(model._as_signal(condition), self.block, -1)

    def __getitem__(self, output: str) -> Signal:
        """What an outport gives, outside of the subsystem."""
        for number, port in enumerate(_ports(self.block).outports):
            if port.name == output:
                return Signal(self.block, number, None)
        raise UsageError(f"{self.path}: there is no outport {output!r}")

    def __repr__(self) -> str:
        return f"<subsystem {self.path}>"


def _ports(block: Block) -> Ports:
    if block.ports is None:
        raise UsageError(f"{block.path}: it is no subsystem that this program makes")
    return block.ports


class _Inside:
    __slots__ = ("model", "scope", "before")

    def __init__(self, model: Builder, scope: Optional[Block]) -> None:
        self.model, self.scope, self.before = model, scope, model._scope

    def __enter__(self) -> None:
        self.model._scope = self.scope

    def __exit__(self, *_: object) -> None:
        self.model._scope = self.before


_TAKEN_OUT = ("subsys", "subsystem", "refsys", "cast", "goto", "from")


class Builder:
    """The blocks and wires of a model, and what makes them."""

    _rules: Mapping[str, Rule] = {}

    def __init__(self) -> None:
        self._blocks: list[Block] = []
        self._links: list[tuple[Block, int, Block, int, Optional[dict[str, Any]]]] = []
        self._scope: Optional[Block] = None
        self._root = Ports()
        self._names: dict[tuple[Optional[int], str], int] = {}
        self._numbered: dict[tuple[Optional[int], str], int] = {}

    # ---- making

    def _inside(self, scope: Optional[Block]) -> _Inside:
        return _Inside(self, scope)

    def _changed(self) -> None:
        """Called ahead of each change."""

    def _new(self, block_class: str, name: Optional[str], parameters: dict[str, Any]) -> Block:
        scope = self._scope
        place = id(scope) if scope is not None else None
        names = self._names
        if name is None:
            numbered = (place, block_class)
            number = self._numbered.get(numbered, 0)
            while True:
                number += 1
                name = f"{block_class}{number}"
                if (place, name) not in names:
                    break
            self._numbered[numbered] = number
        else:
            # a port can be called as the block is that it leads to
            key = name if block_class not in ("inport", "outport") else f"{block_class} {name}"
            if (place, key) in names:
                where = scope.path if scope is not None else "mainsys"
                raise UsageError(f"{where}: there is {'a block' if key is name else 'an'} {key!r} already")
            names[place, key] = 1
        names[place, name] = 1
        block = Block(self, block_class, name, scope, parameters)
        self._blocks.append(block)
        return block

    def _operate(
        self, block_class: str, inputs: Sequence[Optional[SignalLike]], parameters: dict[str, Any], name: Optional[str] = None
    ) -> Signal:
        """A block with its inputs wired; None leaves one open."""
        rule = self._rules[block_class]
        self._changed()
        known: Optional[TypeName] = None
        for at, source in enumerate(inputs):
            if isinstance(source, Signal):
                if known is None and at not in rule.bools:
                    known = source.type
            elif source is not None and not isinstance(source, (bool, int, float, np.generic)):
                port = rule.inputs[at] if at < len(rule.inputs) else at
                raise UsageError(f"{name or block_class}: input {port}: {source!r} is neither a signal nor a number")
        texts = {key: text_of(value, f"{name or block_class}: {key}") for key, value in parameters.items()}
        sources = [
            source
            if isinstance(source, Signal) or source is None
            else self._constant(source, "bool" if at in rule.bools else known)
            for at, source in enumerate(inputs)
        ]
        block = self._new(block_class, name, texts)
        block.chained = block_class == "memory"
        if rule.open_inputs:
            block.inputs = len(sources)
        for at, signal in enumerate(sources):
            if signal is not None:
                self._wire(signal, block, at)
        return Signal(block, 0, self._typed(rule, block_class, sources, texts))

    @staticmethod
    def _typed(
        rule: Rule, block_class: str, sources: Sequence[Optional[Signal]], texts: Mapping[str, str]
    ) -> Optional[TypeName]:
        typed = rule.typed
        if typed == "same":
            first = next((at for at in range(len(sources)) if at not in rule.bools), None)
            source = sources[first] if first is not None else None
            return source.type if source is not None else None
        if typed == "highest":
            types: list[TypeName] = [one.type for one in sources if one is not None and one.type is not None]
            return RANKED[max(RANK[one] for one in types)] if types and len(types) == len(sources) else None
        if block_class == "cast":
            return texts.get("type")  # type: ignore[return-value]
        if block_class == "constant":
            return _type_of_text(texts.get("expression", ""))
        return typed or None  # type: ignore[return-value]

    def _constant(self, value: Any, wanted: Optional[TypeName]) -> Signal:
        """A number as a block. A plain one takes the type of the signal beside it where that can hold it."""
        own: Optional[TypeName] = type_name(value.dtype) if isinstance(value, np.generic) else None
        if own is None and wanted is not None:
            fits = (
                wanted in ("flt32", "flt64")
                or (wanted == "bool" and value in (0, 1))
                or (wanted != "bool" and float(value).is_integer() and not isinstance(value, float))
            )
            own = wanted if fits else None
        if own == "flt64":
            value = float(value)
        elif own == "bool":
            value = bool(value)
        elif own is not None and own != "flt32":
            value = int(value)
        signal = self._operate("constant", (), {"expression": value})
        if own is not None and signal.type != own:
            signal = self._operate("cast", (signal,), {"type": own})
        return signal

    def _as_signal(self, source: SignalLike, wanted: Optional[TypeName] = None) -> Signal:
        if isinstance(source, Signal):
            if source.block.model is not self:
                raise UsageError(f"{source.path}: the signal is of another model")
            return source
        if isinstance(source, (bool, int, float, np.generic)):
            return self._constant(source, wanted)
        raise UsageError(f"{source!r} is neither a signal nor a number")

    # ---- wiring

    def _wire(self, source: Signal, target: Block, port: int, extra: Optional[dict[str, Any]] = None) -> None:
        if source.block.model is not self or target.model is not self:
            raise UsageError(f"{source.path}: the signal is of another model")
        self._changed()
        if source.block.parent is not target.parent:
            source = self._led_to(source, target.parent)
        self._links.append((source.block, source.port, target, port, extra))

    def _led_to(self, source: Signal, scope: Optional[Block]) -> Signal:
        """The signal inside another subsystem: out through outports, in through inports."""
        ways = []  # the subsystems to enter, the innermost first
        around = set()
        at = source.block.parent
        while at is not None:
            around.add(id(at))
            at = at.parent
        at = scope
        while at is not None and id(at) not in around:
            ways.append(at)
            at = at.parent
        while source.block.parent is not at:
            source = self._left(source)
        for subsystem in reversed(ways):
            source = self._entered(source, subsystem)
        return source

    def _left(self, source: Signal) -> Signal:
        subsystem = source.block.parent
        assert subsystem is not None
        ports = _ports(subsystem)
        key = (id(source.block), source.port)
        if key not in ports.left:
            with self._inside(subsystem):
                port = self._port(subsystem, "outport", self._free_name(subsystem, source.block.name + "_out"))
                self._links.append((source.block, source.port, port.block, 0, None))
            ports.left[key] = Signal(subsystem, len(ports.outports) - 1, source.type)
        return ports.left[key]

    def _entered(self, source: Signal, subsystem: Block) -> Signal:
        ports = _ports(subsystem)
        key = (id(source.block), source.port)
        if key not in ports.entered:
            name = source.block.name if source.block.ports is None else source.block.ports.outports[source.port].name
            port = self._port(subsystem, "inport", self._free_name(subsystem, name), source.type)
            self._links.append((source.block, source.port, subsystem, len(ports.inports) - 1, None))
            ports.entered[key] = port
        return ports.entered[key]

    def _free_name(self, scope: Optional[Block], name: str) -> str:
        place = id(scope) if scope is not None else None
        free, number = name, 1
        while (place, free) in self._names:
            number += 1
            free = f"{name}{number}"
        return free

    def _port(self, scope: Optional[Block], block_class: str, name: str, type: Optional[TypeName] = None) -> Signal:
        ports = _ports(scope) if scope is not None else self._root
        mine = ports.inports if block_class == "inport" else ports.outports
        self._changed()
        with self._inside(scope):
            block = self._new(block_class, name, {"portNumber": len(mine)})
        mine.append(block)
        if scope is not None:
            scope.inputs, scope.outputs = len(ports.inports), len(ports.outports)
        return Signal(block, 0, type)

    # ---- the file

    def _numbers(self) -> dict[int, int]:
        """An id for each block: its own, or one made of its path, so that a program makes the same file again."""
        taken = {block.id for block in self._blocks if block.id is not None}
        paths: dict[int, str] = {}
        ids: dict[int, int] = {}
        for block in self._blocks:
            above = paths.get(id(block.parent), "") if block.parent is not None else ""
            path = paths[id(block)] = f"{above}.{block.name}"
            if block.id is not None:
                ids[id(block)] = block.id
                continue
            attempt = 0
            while True:
                digest = hashlib.blake2b(f"{path}#{attempt}".encode("utf-8", "surrogatepass"), digest_size=8).digest()
                number = 10**15 + int.from_bytes(digest, "little") % (2**53 - 10**15)
                if number not in taken:
                    break
                attempt += 1
            taken.add(number)
            ids[id(block)] = number
        return ids

    def _ordered(self) -> list[Block]:
        """The blocks for a file: of memories in a row the last comes first, since each takes its turn in that order and a
        step of each is meant."""
        behind = [(block, source) for block, source in self.chained_memories() if block.chained and source.chained]
        if not behind:
            return self._blocks
        above = {id(block): source for block, source in behind}
        order = {id(block): at for at, block in enumerate(self._blocks)}
        rank: dict[int, int] = {}
        for block, _ in behind:
            way = [block]
            while id(way[-1]) in above and above[id(way[-1])] not in way:
                way.append(above[id(way[-1])])
            places = sorted(order[id(one)] for one in way)
            rank.update((id(one), place) for one, place in zip(way, places))
            order.update(rank)
        # what a compile takes out stands last: the end of the list takes the place of what is taken out of its middle
        return sorted(self._blocks, key=lambda block: (block.block_class in _TAKEN_OUT, order[id(block)]))

    def chained_memories(self) -> list[tuple[Block, Block]]:
        """Memories that memories feed, and these: for them the order in the file counts."""
        memories = [block for block in self._blocks if block.block_class == "memory"]
        if len(memories) < 2:
            return []
        feeds = {(id(target), port): (source, output) for source, output, target, port, _ in self._links}
        ports = {
            (id(block.parent), block.block_class, block.parameters.get("portNumber")): block
            for block in self._blocks
            if block.block_class in ("inport", "outport")
        }
        found = []
        for memory in memories:
            at = feeds.get((id(memory), 0))
            for _ in range(1000):  # a ring of casts has no end
                if at is None or at[0].block_class == "memory":
                    break
                block, output = at
                if block.block_class in ("cast", "outport"):
                    at = feeds.get((id(block), 0))
                elif block.block_class == "inport":
                    at = feeds.get((id(block.parent), int(block.parameters.get("portNumber", 0))))
                elif block.block_class in ("subsys", "subsystem"):
                    port = ports.get((id(block), "outport", output)) or ports.get((id(block), "outport", str(output)))
                    at = (port, 0) if port is not None else None
                else:
                    at = None
            if at is not None:
                found.append((memory, at[0]))
        return found

    def _elements(self) -> tuple[list[dict[str, Any]], list[dict[str, Any]]]:
        ids = self._numbers()
        blocks = []
        for block in self._ordered():
            members: dict[str, Any] = {"name": block.name, "id": ids[id(block)]}
            if block.parent is not None:
                members["parent"] = ids[id(block.parent)]
            if block.inputs is not None:
                members["inportCount"] = block.inputs
            if block.outputs is not None:
                members["outportCount"] = block.outputs
            members.update(block.parameters)
            if block.extra:
                members.update(block.extra)
            blocks.append({block.block_class: members})
        links = []
        for source, source_port, target, target_port, extra in self._links:
            link: dict[str, Any] = {
                "srcId": ids[id(source)], "srcPort": source_port, "dstId": ids[id(target)], "dstPort": target_port,
            }  # fmt: skip
            if extra:
                link.update(extra)
            links.append(link)
        return blocks, links


def text_of(value: Any, where: str = "") -> Any:
    """A parameter as a file holds it: an expression as it is, a number or a list as one."""
    if isinstance(value, str):
        return value
    if isinstance(value, np.generic):
        value = value.item()
    if isinstance(value, bool):
        return str(value)
    if isinstance(value, int):
        return str(value)
    if isinstance(value, float):
        return repr(value) if value - value == 0 else f"float('{value}')"
    if isinstance(value, np.ndarray):
        value = value.tolist()
    if isinstance(value, (list, tuple, range)):
        return "[" + ", ".join(text_of(part, where) for part in value) + "]"
    raise UsageError(f"{where}: {value!r} is neither a number, a list of numbers nor an expression")


def _type_of_text(text: str) -> Optional[TypeName]:
    """The type that a literal gives; None for an expression."""
    if text in ("True", "False"):
        return "bool"
    try:
        number = int(text)
    except ValueError:
        try:
            float(text)
        except ValueError:
            return None
        return "flt64" if text.strip() not in ("nan", "inf", "infinity") else None
    if -(2**31) <= number < 2**31:
        return "int32"
    return "int64" if -(2**63) <= number < 2**63 else "uint64"


def lines_of(blocks: Iterable[Mapping[str, Any]], links: Iterable[Mapping[str, Any]], model: Mapping[str, Any]) -> str:
    """The text of a file, an element on each line."""
    write = json.JSONEncoder(ensure_ascii=False).encode
    block_lines = ",\n  ".join(map(write, blocks))
    link_lines = ",\n  ".join(map(write, links))
    return (
        '{"blocks": [\n  ' + block_lines + '],\n "links": [\n  ' + link_lines + '],\n "model": ' + write(model) + "}\n"
    )

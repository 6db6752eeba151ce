"""Models: made by program, or from files."""

from __future__ import annotations

import functools
import json
import os
from collections.abc import Callable, Mapping, Sequence
from typing import Any, Optional, Union

from zarn._build import Block, Feedback, Ports, Signal, SignalLike, Subsystem, Value, lines_of, text_of
from zarn._errors import FileError, ModelError, UsageError
from zarn._macros import Macros
from zarn._model import AskedModel, PathLike
from zarn._types import TypeLike, type_name

_SUBSYSTEMS = ("subsys", "subsystem", "refsys")
_OWN_KEYS = ("name", "id", "parent", "inportCount", "outportCount")


class Model(Macros, AskedModel):
    """A block diagram. Every class of blocks is a function that makes one and gives its output::

        m = zarn.Model(ts=1e-3, tf=2.0)
        ref = m.step(stepTime=0.1, name="ref")
        y = m.signal("flt64", name="y")
        error = m.subtract(ref, y, name="error")
        y.close(y + 0.01 * error)
        m.output("y", y)
        m.run()["y"]
    """

    def __init__(self, ts: float = 1.0, tf: float = 10.0, ti: float = 0.0, name: str = "model.json") -> None:
        super().__init__()
        for key, value in (("ts", ts), ("tf", tf), ("ti", ti)):
            if isinstance(value, bool) or not isinstance(value, (int, float)):
                raise UsageError(f"{key}: {value!r} is no number of seconds")
        self._settings: dict[str, Any] = {"ti": float(ti), "tf": float(tf), "ts": float(ts)}
        self._name = name
        self._ts = float(ts)
        self._text: Optional[str] = None  # what was loaded, until it is changed
        self._read = True
        self._wrong = ""  # why a loaded text cannot be changed

    # ---- settings

    @property
    def name(self) -> str:
        return self._name

    @property
    def ti(self) -> float:
        """The time of the first step, in seconds."""
        return self._setting("ti", 0.0)

    @ti.setter
    def ti(self, value: float) -> None:
        self._set("ti", value)

    @property
    def tf(self) -> float:
        """The time that no step passes."""
        return self._setting("tf", 10.0)

    @tf.setter
    def tf(self, value: float) -> None:
        self._set("tf", value)

    @property
    def ts(self) -> float:
        """The length of a step."""
        return self._setting("ts", 1.0)

    @ts.setter
    def ts(self, value: float) -> None:
        self._set("ts", value)
        self._ts = float(value)

    def _setting(self, key: str, default: float) -> float:
        self._understand()
        return float(self._settings.get(key, default))

    def _set(self, key: str, value: float) -> None:
        self._changed()
        self._settings[key] = float(value)

    # ---- structure

    def input(self, name: str, source: Optional[SignalLike] = None) -> Signal:
        """An inport where blocks are made: of the subsystem in whose `with` this stands, else of the model, whose value
        comes from `run(inputs=...)` or from a stepped run."""
        scope = self._scope
        if scope is not None:
            return Subsystem(self, scope).input(name, source)
        if source is not None:
            raise UsageError(f"input {name}: nothing feeds an inport of the root but a run")
        port = self._port(None, "inport", name)
        port.type = "flt64"
        return port

    def output(self, name: str, source: Optional[SignalLike]) -> Optional[Signal]:
        """An outport where blocks are made. One of the model is a result of every run."""
        scope = self._scope
        if scope is not None:
            return Subsystem(self, scope).output(name, source)
        port = self._port(None, "outport", name)
        if source is not None:
            self._wire(self._as_signal(source), port.block, 0)
        return None

    inport = input
    outport = output

    def subsystem(self, name: Optional[str] = None, **inputs: SignalLike) -> Subsystem:
        """A subsystem, to make blocks inside it: `with m.subsystem("controller") as c:`. Named signals feed inports of
        these names."""
        self._changed()
        if name is not None and (id(self._scope) if self._scope is not None else None, name) in self._names:
            name = self._free_name(self._scope, name) if not inputs and name in _MACROS else name
        block = self._new("subsys", name, {})
        block.ports, block.inputs, block.outputs = Ports(), 0, 0
        part = Subsystem(self, block)
        for port, source in inputs.items():
            part.input(port, source)
        return part

    subsys = subsystem

    def reference(
        self,
        path: PathLike,
        inputs: Union[Mapping[str, SignalLike], Sequence[SignalLike]] = (),
        outputs: Optional[int] = None,
        name: Optional[str] = None,
    ) -> Block:
        """The content of another file as a subsystem. `inputs` feed its inports by name or, as a list, by number; each
        output is `block[number]`."""
        place = os.fspath(path)
        block = self._structure("refsys", name, {"path": place})
        folder = os.path.dirname(self._name)
        inports, outports = _ports_of_file(os.path.join(folder, place))
        block.inputs, block.outputs = len(inports), len(outports) if outputs is None else outputs
        pairs: list[tuple[Any, SignalLike]] = list(
            inputs.items() if isinstance(inputs, Mapping) else enumerate(inputs)
        )
        for port, source in pairs:
            if port not in inports and not (isinstance(port, int) and port < len(inports)):
                raise UsageError(f"{block.path}: {place} has no inport {port!r}; it has {', '.join(inports) or 'none'}")
            number = port if isinstance(port, int) else inports.index(port)
            self._wire(self._as_signal(source), block, number)
        return block

    refsys = reference

    def _structure(self, block_class: str, name: Optional[str], parameters: dict[str, Any]) -> Block:
        self._changed()
        return self._new(block_class, name, {key: text_of(value) for key, value in parameters.items()})

    def signal(self, type: TypeLike = "flt64", name: Optional[str] = None) -> Feedback:
        """A signal to use now and to `close` later: what closes a loop. It is delayed by one step, 0 in the first."""
        typed = type_name(type)
        made = self._operate("memory", (None,), {}, name)
        return Feedback(made.block, typed)

    def switch(  # type: ignore[override]
        self,
        selector: SignalLike,
        otherwise: SignalLike,
        case_0: SignalLike,
        *cases: SignalLike,
        name: Optional[str] = None,
    ) -> Signal:
        """`case_N` where the selector is N, `otherwise` where it is none of them. With a bool, and so with comparisons:
        the first where it is true, else the second."""
        if isinstance(selector, Signal) and selector.type == "bool" and not cases:
            return self._operate("if", (selector, otherwise, case_0), {}, name)
        return self._operate("switch", (selector, otherwise, case_0, *cases), {}, name)

    # ---- one by one

    def block(
        self,
        block_class: str,
        name: Optional[str] = None,
        parent: Optional[Block] = None,
        inputs: Optional[int] = None,
        outputs: Optional[int] = None,
        **parameters: Any,
    ) -> Block:
        """A block of any class with its parameters as a file has them, and nothing wired: for programs that are made by
        programs."""
        self._changed()
        with self._inside(parent):
            block = self._new(block_class, self._twin(name, parent), dict(parameters))
        if name is not None:
            block.name = name
        block.inputs, block.outputs = inputs, outputs
        if block_class in ("subsys", "subsystem"):
            block.ports = Ports()
        return block

    def _twin(self, name: Optional[str], parent: Optional[Block]) -> Optional[str]:
        """A file can have two blocks of one name, and a program that is made of it as well."""
        return self._free_name(parent, name) if name is not None else None  # the name itself follows

    def wire(self, source: Signal, target: Block, port: int = 0, led: bool = True) -> None:
        """Feeds an input of a block; -1 is the enable of a subsystem. A signal from another subsystem is led through
        ports, unless `led` is false: then the link is made as it is, which no check lets pass."""
        if led:
            self._wire(source, target, port)
        else:
            self._changed()
            self._links.append((source.block, source.port, target, port, None))

    @property
    def blocks(self) -> list[Block]:
        """All blocks in the order of the file."""
        self._understand()
        return list(self._blocks)

    def find(self, path: str, block_class: str = "") -> Block:
        """The block at a path, with or without "mainsys."; of that class where several have one path."""
        self._understand()
        wanted = path if path.startswith("mainsys.") else f"mainsys.{path}"
        for block in self._blocks:
            if block.path == wanted and block_class in ("", block.block_class):
                return block
        raise UsageError(f"{self._name}: there is no block {path}")

    def set(self, path: str, **parameters: Value) -> None:
        """Sets parameters of a block."""
        block = self.find(path)
        self._changed()
        for key, value in parameters.items():
            block.parameters[key] = text_of(value, f"{path}: {key}")

    # ---- the file

    def to_json(self) -> str:
        """The text of the file; of a loaded model that nobody has changed, as it was."""
        if self._text is not None:
            return self._text
        blocks, links = self._elements()
        return lines_of(blocks, links, self._settings)

    def save(self, path: PathLike) -> None:
        """Writes the model's file. Blocks without a place are laid out, signals running from left to right."""
        if self._text is None:
            self.layout()
        super().save(path)
        self._name = os.fspath(path)

    def layout(self, again: bool = False) -> None:
        """Places blocks that have no place; with `again` all of them."""
        self._understand()
        if not again and all(block.extra and "geometry" in block.extra for block in self._blocks):
            return
        self._changed()
        places = self._session().layout()
        corners: dict[int, tuple[float, float]] = {}  # of the content of each subsystem
        for at, x, y, _, _ in places:
            scope = id(self._blocks[at].parent)
            left, top = corners.get(scope, (x, y))
            corners[scope] = min(left, x), min(top, y)
        for at, x, y, width, height in places:
            block = self._blocks[at]
            left, top = corners[id(block.parent)]
            x, y = x - left + 40.0, y - top + 40.0
            if block.extra is None:
                block.extra = {}
            if again or "geometry" not in block.extra:
                block.extra["geometry"] = {
                    "x": round(min(x, 10000.0), 1), "y": round(min(y, 10000.0), 1),
                    "width": round(width, 1), "height": round(height, 1), "rotation": 0.0,
                }  # fmt: skip

    def meaning(self) -> str:
        """A hash of what the model computes, whatever its ids, its layout and the spelling of its file."""
        return self._session().meaning()

    def to_python(self) -> str:
        """The program that builds the model."""
        from zarn._program import program_of

        self._understand()
        if self._wrong:
            raise ModelError(f"{self._name}: {self._wrong}")
        return program_of(self)

    def __repr__(self) -> str:
        if not self._read:
            return f"<model {self._name}>"
        count = len(self._blocks)
        return f"<model {self._name}: {count} block{'' if count == 1 else 's'}, tf = {self.tf:g} s, ts = {self.ts:g} s>"

    # ---- from a file

    @classmethod
    def _of_text(cls, name: str, text: str) -> Model:
        model = cls(name=name)
        model._text, model._read = text, False
        return model

    def _changed(self) -> None:
        if self._text is None:
            return
        self._understand()
        if self._wrong:
            raise ModelError(f"{self._name}: {self._wrong}; it can be checked and run, but not changed here")
        self._text = None

    def _understand(self) -> None:
        """Takes the elements out of a loaded text, when they are first asked for."""
        if self._read:
            return
        self._read = True
        try:
            data = json.loads(self._text or "")
            self._take(data)
        except (ValueError, TypeError, KeyError, AttributeError, RecursionError) as error:
            self._blocks, self._links, self._settings = [], [], {}
            self._wrong = f"the file does not read as a model ({error})"

    def _take(self, data: Mapping[str, Any]) -> None:
        settings = data.get("model")
        if isinstance(settings, dict):
            self._settings = {key: float(value) if key in ("ti", "tf", "ts") else value for key, value in settings.items()}
        self._ts = float(self._settings.get("ts", 1.0))
        by_id: dict[int, Block] = {}
        parents: list[tuple[Block, int]] = []
        for element in data.get("blocks") or []:
            ((block_class, members),) = element.items()
            block = Block(self, block_class, members.get("name", ""), None, {})
            block.id = members["id"]
            block.inputs, block.outputs = members.get("inportCount"), members.get("outportCount")
            for key, value in members.items():
                if key in _OWN_KEYS:
                    continue
                if isinstance(value, (dict, list)) or value is None:
                    block.extra = block.extra or {}
                    block.extra[key] = value
                else:
                    block.parameters[key] = value
            if block_class in ("subsys", "subsystem"):
                block.ports = Ports()
            self._blocks.append(block)
            by_id.setdefault(members["id"], block)
            if members.get("parent"):
                parents.append((block, members["parent"]))
        if len(by_id) != len(self._blocks):
            raise ValueError("two blocks have one id")
        for block, parent in parents:
            if parent not in by_id:
                raise ValueError(f"block {block.id} is in a subsystem {parent} that is not there")
            block.parent = by_id[parent]
        for block in self._blocks:
            depth, at = 0, block.parent
            while at is not None:
                depth, at = depth + 1, at.parent
                if depth > len(self._blocks):
                    raise ValueError(f"block {block.id} is inside of itself")
        self._note_names()
        for link in data.get("links") or []:
            source, target = by_id.get(link["srcId"]), by_id.get(link["dstId"])
            if source is None or target is None:
                raise ValueError("a link leads to a block that is not there")
            extra = {key: value for key, value in link.items() if key not in ("srcId", "srcPort", "dstId", "dstPort")}
            self._links.append((source, link.get("srcPort", 0), target, link.get("dstPort", 0), extra or None))

    def _note_names(self) -> None:
        for block in self._blocks:
            place = id(block.parent) if block.parent is not None else None
            self._names[place, block.name] = 1
            if block.block_class in ("inport", "outport"):
                self._names[place, f"{block.block_class} {block.name}"] = 1
            ports = self._root if block.parent is None else block.parent.ports
            if ports is None:
                continue
            if block.block_class == "enable":
                ports.enable = block
            elif block.block_class in ("inport", "outport"):
                (ports.inports if block.block_class == "inport" else ports.outports).append(block)
        for ports in [self._root, *(block.ports for block in self._blocks if block.ports is not None)]:
            for mine in (ports.inports, ports.outports):
                mine.sort(key=lambda port: int(port.parameters.get("portNumber", 0)))


_MACROS = frozenset(
    ["transfer_function", "sos", "state_space", "pid", "pi", "moving_average", "rate_limiter", "rising", "falling", "counter"]
)


def _ports_of_file(path: str) -> tuple[list[str], list[str]]:
    """Names of inports and outports of the root of a file, by number."""
    text = load(path)
    text._understand()
    if text._wrong:
        raise ModelError(f"{path}: {text._wrong}")
    ports = text._root
    return [port.name for port in ports.inports], [port.name for port in ports.outports]


def load(path: PathLike) -> Model:
    """A model from its file. Nothing in it is executed before it runs."""
    name = os.fspath(path)
    try:
        with open(name, encoding="utf-8", errors="surrogateescape", newline="") as file:
            return Model._of_text(name, file.read())
    except OSError as error:
        raise FileError(f"{name}: {error.strerror}") from error


def loads(text: str, name: str = "model.json") -> Model:
    """A model from the text of its file. References are relative to the folder of `name`, which need not exist."""
    return Model._of_text(name, text)


def subsystem(function: Callable[..., Any]) -> Callable[..., Any]:
    """Makes a function of a model and signals one that makes a subsystem of what it builds::

        @zarn.subsystem
        def controller(m, ref, speed):
            return m.pi(ref - speed, kp="kp", ki="ki")

        u = controller(m, ref, speed, name="controller")

    The signals become inports by the names of the parameters; what it returns, a signal or a mapping of them, outports.
    """
    import inspect

    names = inspect.signature(function)

    @functools.wraps(function)
    def make(model: Model, *sources: Any, name: Optional[str] = None, **more: Any) -> Any:
        bound = names.bind(model, *sources, **more)
        bound.apply_defaults()
        label = name if name is not None else model._free_name(model._scope, function.__name__)
        with model.subsystem(label) as part:
            _, *rest = bound.arguments.items()
            inner = {
                key: part.input(key, value) if isinstance(value, Signal) else value for key, value in rest
            }
            made = function(model, **inner)
            if isinstance(made, Mapping):
                return {key: part.output(key, signal) for key, signal in made.items()}
            if isinstance(made, tuple):
                return tuple(part.output(f"y{number}", signal) for number, signal in enumerate(made))
            return part.output("y", made)

    return make

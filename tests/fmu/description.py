"""What an FMU tells of itself: modelDescription.xml of both versions, read into plain records."""

from __future__ import annotations

import pathlib
import re
import zipfile
from dataclasses import dataclass, field
from xml.etree import ElementTree

TYPES_3 = (
    "Float32", "Float64", "Int8", "UInt8", "Int16", "UInt16", "Int32", "UInt32", "Int64", "UInt64", "Boolean",
    "String", "Binary", "Enumeration", "Clock",
)  # fmt: skip
TYPES_2 = ("Real", "Integer", "Boolean", "String", "Enumeration")
FLOATS = ("Real", "Float32", "Float64")

HEADERS = pathlib.Path(__file__).resolve().parents[2] / "coder" / "fmu" / "templates"


def functions(version: int) -> list[str]:
    """The names of all functions of the interface."""
    text = (HEADERS / f"v{version}" / f"fmi{version}Functions.h").read_text()
    return re.findall(rf"^#define (fmi{version}\w+) fmi{version}FullName", text, re.MULTILINE)


@dataclass
class Variable:
    """One variable; `attributes` are those of its element and, in version 2, of the type's element in it."""

    name: str
    reference: int
    type: str
    causality: str
    variability: str
    attributes: dict[str, str]
    dimensions: list[dict[str, str]]
    element: ElementTree.Element

    @property
    def count(self) -> int:
        total = 1
        for dimension in self.dimensions:
            total *= int(dimension["start"])
        return total


@dataclass
class Unknown:
    """An entry of the model structure: positions of variables from 0 on; no `on` means that nothing is said."""

    element: str
    position: int
    on: list[int] | None
    kinds: list[str] | None


@dataclass
class Description:
    root: ElementTree.Element
    version: int
    variables: list[Variable] = field(default_factory=list)
    unknowns: list[Unknown] = field(default_factory=list)
    broken: list[str] = field(default_factory=list)  # what cannot be read as it should

    @property
    def identifier(self) -> str:
        return self.co_simulation.get("modelIdentifier", "")

    @property
    def co_simulation(self) -> ElementTree.Element:
        found = self.root.find("CoSimulation")
        return found if found is not None else ElementTree.Element("CoSimulation")

    @property
    def token(self) -> str:
        return self.root.get("guid" if self.version == 2 else "instantiationToken", "")

    @property
    def experiment(self) -> dict[str, float]:
        found = self.root.find("DefaultExperiment")
        return {} if found is None else {key: float(value) for key, value in found.attrib.items()}

    def of(self, causality: str) -> list[Variable]:
        return [v for v in self.variables if v.causality == causality]

    def named(self, name: str) -> Variable:
        return next(v for v in self.variables if v.name == name)


def _integer(text: str | None, what: str, broken: list[str]) -> int:
    try:
        return int(text or "")
    except ValueError:
        broken.append(f"{what}: {text!r} is no whole number")
        return -1


def _variables(description: Description) -> None:
    for element in description.root.findall("ModelVariables/*"):
        name = element.get("name", "")
        attributes = dict(element.attrib)
        kind = element.tag
        if description.version == 2:
            inner = [child for child in element if child.tag in TYPES_2]
            if element.tag != "ScalarVariable" or len(inner) != 1:
                description.broken.append(f"{name}: no ScalarVariable of one type")
                continue
            kind = inner[0].tag
            attributes |= inner[0].attrib
        elif kind not in TYPES_3:
            description.broken.append(f"{name}: there is no type {kind}")
            continue
        default = "continuous" if description.version == 2 or kind in FLOATS else "discrete"
        causality = attributes.get("causality", "local")
        if description.version == 3 and causality in ("parameter", "calculatedParameter", "structuralParameter"):
            default = "fixed"
        description.variables.append(
            Variable(
                name,
                _integer(attributes.get("valueReference"), name, description.broken),
                kind,
                causality,
                attributes.get("variability", default),
                attributes,
                [dict(d.attrib) for d in element.findall("Dimension")],
                element,
            )
        )


def _unknowns(description: Description) -> None:
    two = description.version == 2
    place = {v.reference: i for i, v in enumerate(description.variables)}

    def position(text: str | None, what: str) -> int:
        number = _integer(text, what, description.broken)
        found = number - 1 if two else place.get(number, -1)
        if not 0 <= found < len(description.variables):
            description.broken.append(f"{what}: {text} names no variable")
            return -1
        return found

    structure = description.root.find("ModelStructure")
    for element in [] if structure is None else list(structure):
        for unknown in list(element) if two else [element]:
            if unknown.tag == "Annotations":
                continue
            kind = {"Outputs": "Output", "InitialUnknowns": "InitialUnknown"}.get(element.tag, element.tag)
            where = f"ModelStructure/{kind}"
            on, kinds = unknown.get("dependencies"), unknown.get("dependenciesKind")
            description.unknowns.append(
                Unknown(
                    kind,
                    position(unknown.get("index" if two else "valueReference"), where),
                    None if on is None else [position(text, f"{where}, dependencies") for text in on.split()],
                    None if kinds is None else kinds.split(),
                )
            )


def parse(text: bytes) -> Description:
    """Reads a description; raises ElementTree.ParseError for what is no XML."""
    root = ElementTree.fromstring(text)
    version = 3 if root.get("fmiVersion", "").startswith("3.") else 2
    description = Description(root, version)
    _variables(description)
    _unknowns(description)
    return description


def read(fmu: pathlib.Path) -> Description:
    with zipfile.ZipFile(fmu) as archive:
        return parse(archive.read("modelDescription.xml"))

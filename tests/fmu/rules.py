"""What must hold for the files of an FMU, looked at without running anything. Each rule answers with problems, one
sentence each."""

from __future__ import annotations

import math
import os
import pathlib
import re
import subprocess
import tempfile
import zipfile
from collections import Counter
from xml.etree import ElementTree

from description import FLOATS, Description, Variable, functions, parse

FLAGS = {
    2: {
        "modelIdentifier", "needsExecutionTool", "canHandleVariableCommunicationStepSize", "canInterpolateInputs",
        "maxOutputDerivativeOrder", "canRunAsynchronuously", "canBeInstantiatedOnlyOncePerProcess",
        "canNotUseMemoryManagementFunctions", "canGetAndSetFMUstate", "canSerializeFMUstate",
        "providesDirectionalDerivative",
    },
    3: {
        "modelIdentifier", "needsExecutionTool", "canBeInstantiatedOnlyOncePerProcess", "canGetAndSetFMUState",
        "canSerializeFMUState", "providesDirectionalDerivatives", "providesAdjointDerivatives",
        "providesPerElementDependencies", "canHandleVariableCommunicationStepSize", "fixedInternalStepSize",
        "maxOutputDerivativeOrder", "recommendedIntermediateInputSmoothness", "providesIntermediateUpdate",
        "mightReturnEarlyFromDoStep", "canReturnEarlyAfterIntermediateUpdate", "hasEventMode",
        "providesEvaluateDiscreteStates",
    },
}  # fmt: skip
ORDER = {
    2: ["ModelExchange", "CoSimulation", "UnitDefinitions", "TypeDefinitions", "LogCategories", "DefaultExperiment",
        "VendorAnnotations", "ModelVariables", "ModelStructure"],
    3: ["ModelExchange", "CoSimulation", "ScheduledExecution", "UnitDefinitions", "TypeDefinitions", "LogCategories",
        "DefaultExperiment", "ModelVariables", "ModelStructure", "Annotations"],
}  # fmt: skip
STRUCTURE = {
    2: ["Outputs", "Derivatives", "InitialUnknowns"],
    3: ["Output", "ContinuousStateDerivative", "ClockedState", "InitialUnknown", "EventIndicator"],
}
HEADERS = {
    f"fmi{v}{name}.h" for v in (2, 3) for name in ("TypesPlatform", "PlatformTypes", "FunctionTypes", "Functions")
}
FOLDERS_2 = re.compile(r"(win|linux|darwin)(32|64)|[a-z0-9_]+-(linux|windows|darwin)")
FOLDERS_3 = re.compile(r"(aarch32|aarch64|riscv32|riscv64|x86|x86_64|ppc32|ppc64)-(linux|windows|darwin)[a-z0-9]*")
DATE = re.compile(r"-?\d{4,}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d)?")
_PLAIN = r"[A-Za-z_][A-Za-z_0-9]*"
_QUOTED = r"'(?:[A-Za-z0-9_!#$%&()*+,\-./:;<>=?@\[\]^{}|~ ]|\\['\"?\\abfnrtv])+'"
_PART = rf"(?:{_PLAIN}|{_QUOTED})(?:\[\d+(?:,\d+)*\])?"
NAME = re.compile(rf"{_PART}(?:\.{_PART})*|der\({_PART}(?:\.{_PART})*(?:,\d+)?\)")
INTEGERS = {
    "Integer": (-(2**31), 2**31 - 1),
    **{f"Int{n}": (-(2 ** (n - 1)), 2 ** (n - 1) - 1) for n in (8, 16, 32, 64)},
    **{f"UInt{n}": (0, 2**n - 1) for n in (8, 16, 32, 64)},
}
# what goes with a causality; "initial" with its default first
INITIAL = {
    ("parameter", "fixed"): ["exact"],
    ("parameter", "tunable"): ["exact"],
    ("calculatedParameter", "fixed"): ["calculated", "approx"],
    ("calculatedParameter", "tunable"): ["calculated", "approx"],
    ("structuralParameter", "fixed"): ["exact"],
    ("structuralParameter", "tunable"): ["exact"],
    ("input", "discrete"): [""],
    ("input", "continuous"): [""],
    ("output", "constant"): ["exact"],
    ("output", "discrete"): ["calculated", "exact", "approx"],
    ("output", "continuous"): ["calculated", "exact", "approx"],
    ("local", "constant"): ["exact"],
    ("local", "fixed"): ["calculated", "approx"],
    ("local", "tunable"): ["calculated", "approx"],
    ("local", "discrete"): ["calculated", "exact", "approx"],
    ("local", "continuous"): ["calculated", "exact", "approx"],
    ("independent", "continuous"): [""],
}


def check_archive(archive: zipfile.ZipFile) -> list[str]:
    """How the archive is packed, and what stands in it where."""
    problems = []
    names = archive.namelist()
    problems += [f"{name}: is there {n} times" for name, n in Counter(names).items() if n > 1]
    for entry in archive.infolist():
        name = entry.orig_filename
        if entry.compress_type not in (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED):
            problems.append(f"{name}: neither stored nor deflated")
        if entry.extract_version > 20:
            problems.append(f"{name}: needs version {entry.extract_version / 10} of the archive's format")
        if entry.flag_bits & 1:
            problems.append(f"{name}: is encrypted")
        if (entry.external_attr >> 16) & 0o170000 == 0o120000:
            problems.append(f"{name}: is a link")
        if "\\" in name or name.startswith("/") or ".." in name.split("/"):
            problems.append(f"{name}: no path within the archive")
        if name.startswith("sources/") and name.split("/")[-1] in HEADERS:
            problems.append(f"{name}: headers of the interface are the importer's")
    if "modelDescription.xml" not in names:
        problems.append("modelDescription.xml is missing")
    return problems


def check_binaries(names: list[str], description: Description) -> list[str]:
    """Libraries stand under the model identifier in folders of the right version."""
    problems = []
    folders = FOLDERS_2 if description.version == 2 else FOLDERS_3
    for name in names:
        parts = name.split("/")
        if parts[0] != "binaries" or len(parts) != 3:
            continue
        if not folders.fullmatch(parts[1]):
            problems.append(f"{name}: no folder of a platform in version {description.version}")
        if parts[2].rsplit(".", 1)[0] != description.identifier:
            problems.append(f"{name}: not named as the model identifier, {description.identifier}")
    return problems


def check_root(description: Description, names: list[str]) -> list[str]:
    """Order of elements, version, token, date, flags, sources, units' and categories' names, default experiment."""
    root, version = description.root, description.version
    problems = list(description.broken)
    if root.tag != "fmiModelDescription":
        problems.append(f"the root is {root.tag}")
    if not re.fullmatch(r"2\.0" if version == 2 else r"3\.\d+(\.\d+)?(-.+)?", root.get("fmiVersion", "")):
        problems.append(f"fmiVersion is {root.get('fmiVersion')}")
    if not root.get("modelName") or not description.token:
        problems.append("modelName or token is missing")
    order = [ORDER[version].index(child.tag) if child.tag in ORDER[version] else -1 for child in root]
    if order != sorted(order) or len(set(order)) != len(order) or -1 in order:
        problems.append(f"elements in wrong order: {[child.tag for child in root]}")
    date = root.get("generationDateAndTime")
    if date is not None and not DATE.fullmatch(date):
        problems.append(f"generationDateAndTime {date} is no date")
    experiment = description.experiment
    if experiment.get("stepSize", 1.0) <= 0 or experiment.get("stopTime", math.inf) < experiment.get("startTime", 0.0):
        problems.append("the default experiment has no steps")
    categories = [c.get("name") for c in root.findall("LogCategories/Category")]
    if len(set(categories)) != len(categories):
        problems.append("a log category is there twice")
    return problems + check_flags(description) + check_sources(description, names)


def check_flags(description: Description) -> list[str]:
    """Capability flags are known, and go together."""
    flags, version = description.co_simulation.attrib, description.version
    problems = [f"there is no flag {flag}" for flag in flags if flag not in FLAGS[version]]
    if not re.fullmatch(r"[A-Za-z_]\w*", description.identifier, re.ASCII):
        problems.append(f"modelIdentifier {description.identifier!r} is no identifier of C")
    state = "state" if version == 2 else "State"
    if flags.get(f"canSerializeFMU{state}") == "true" and flags.get(f"canGetAndSetFMU{state}") != "true":
        problems.append(f"canSerializeFMU{state} without canGetAndSetFMU{state}")
    if flags.get("hasEventMode") != "true" and any(v.type == "Clock" for v in description.variables):
        problems.append("clocks without hasEventMode")
    if float(flags.get("fixedInternalStepSize", "1")) <= 0:
        problems.append("fixedInternalStepSize is not above 0")
    early, update = "canReturnEarlyAfterIntermediateUpdate", "providesIntermediateUpdate"
    if flags.get(early) == "true" and flags.get(update) != "true":
        problems.append(f"{early} without {update}")
    return problems


def check_sources(description: Description, names: list[str]) -> list[str]:
    """Every source file of version 2 that is listed is there."""
    listed = [f.get("name", "") for f in description.co_simulation.findall("SourceFiles/File")]
    return [f"source file {name} is missing" for name in listed if f"sources/{name}" not in names]


def _numbers(variable: Variable, text: str) -> list[float] | list[int]:
    """Whole numbers as they are: no float holds all of 64 bits."""
    if variable.type == "Boolean":
        if not all(word in ("true", "false", "0", "1") for word in text.split()):
            raise ValueError(text)
        return [float(word in ("true", "1")) for word in text.split()]
    if variable.type in INTEGERS:
        return [int(word) for word in text.split()]
    return [float(word.replace("INF", "inf")) for word in text.split()]


def check_start(variable: Variable, version: int) -> list[str]:
    """A start value is there exactly where one belongs, as many as there are elements, and within the range."""
    initial = variable.attributes.get("initial") or INITIAL.get((variable.causality, variable.variability), [""])[0]
    text = variable.attributes.get("start")
    wanted = variable.causality == "input" or variable.variability == "constant" or initial in ("exact", "approx")
    if text is None:
        is_missing = wanted and variable.type not in ("Clock", "String", "Binary")
        return [f"{variable.name}: no start value"] if is_missing else []
    if not wanted:
        return [f"{variable.name}: a start value of what is calculated"]
    try:
        values = _numbers(variable, text)
    except ValueError:
        return [f"{variable.name}: start {text!r} is no {variable.type}"]
    problems = []
    if len(values) != variable.count and not any("valueReference" in d for d in variable.dimensions):
        problems.append(f"{variable.name}: {len(values)} start values for {variable.count} elements")
    if version == 2 and len(values) != 1:
        problems.append(f"{variable.name}: {len(values)} start values")
    low, high = INTEGERS.get(variable.type, (-math.inf, math.inf))
    low = max(low, *_numbers(variable, variable.attributes.get("min", "")) or [low])
    high = min(high, *_numbers(variable, variable.attributes.get("max", "")) or [high])
    problems += [f"{variable.name}: start {v} out of range" for v in values if v < low or v > high]
    return problems


def check_variable(variable: Variable, description: Description, units: set[str | None]) -> list[str]:
    """What must hold for each variable by itself."""
    problems = []
    name = variable.name
    if description.root.get("variableNamingConvention") == "structured" and not NAME.fullmatch(name):
        problems.append(f"{name}: no structured name")
    if not name or re.search(r"[\r\n\t]", name):
        problems.append(f"{name!r}: no name")
    if variable.variability == "continuous" and variable.type not in FLOATS:
        problems.append(f"{name}: {variable.type} is not continuous")
    unit = variable.attributes.get("unit")
    if unit is not None and unit not in units:
        problems.append(f"{name}: unit {unit} is not defined")
    if "displayUnit" in variable.attributes and unit is None:
        problems.append(f"{name}: a display unit without a unit")
    allowed = INITIAL.get((variable.causality, variable.variability))
    if allowed is None:
        problems.append(f"{name}: {variable.causality} cannot be {variable.variability}")
    elif variable.attributes.get("initial", "") not in [*allowed, ""]:
        problems.append(f"{name}: initial {variable.attributes['initial']} of {variable.causality}")
    if variable.causality == "independent" and variable.type not in FLOATS:
        problems.append(f"{name}: an independent {variable.type}")
    return problems + check_start(variable, description.version)


def check_variables(description: Description) -> list[str]:
    """All variables, and what must hold between them."""
    units = {u.get("name") for u in description.root.findall("UnitDefinitions/Unit")}
    problems = []
    for variable in description.variables:
        problems += check_variable(variable, description, units)
    names = Counter(v.name for v in description.variables)
    problems += [f"{name}: the name is there {n} times" for name, n in names.items() if n > 1]
    independents = len(description.of("independent"))
    if independents > 1 or (description.version == 3 and independents == 0):
        problems.append(f"{independents} independent variables")
    two = description.version == 2
    references = Counter((v.type if two else "", v.reference) for v in description.variables)
    problems += [f"value reference {r[1]} is there {n} times" for r, n in references.items() if n > 1]
    return problems


def _initial(variable: Variable) -> str:
    return variable.attributes.get("initial") or INITIAL.get((variable.causality, variable.variability), [""])[0]


def check_structure(description: Description) -> list[str]:
    """The model structure names every output, every initial unknown, and what they depend on."""
    problems = []
    structure = description.root.find("ModelStructure")
    if structure is None:
        return ["there is no ModelStructure"]
    order = [STRUCTURE[description.version].index(e.tag) if e.tag in STRUCTURE[description.version] else -1
             for e in structure if e.tag != "Annotations"]  # fmt: skip
    if order != sorted(order) or -1 in order:
        problems.append(f"ModelStructure in wrong order: {[e.tag for e in structure]}")
    outputs = {i for i, v in enumerate(description.variables) if v.causality == "output"}
    initial = {i for i in outputs if _initial(description.variables[i]) in ("approx", "calculated")}
    initial |= {i for i, v in enumerate(description.variables) if v.causality == "calculatedParameter"}
    for element, wanted in ("Output", outputs), ("InitialUnknown", initial):
        found = [u.position for u in description.unknowns if u.element == element]
        names = [description.variables[i].name for i in wanted.symmetric_difference(found) if i >= 0]
        if names:
            problems.append(f"{element}: missing, or there and none: {', '.join(sorted(names))}")
        if len(set(found)) != len(found):
            problems.append(f"{element}: one is there twice")
        if description.version == 2 and element == "InitialUnknown" and found != sorted(found):
            problems.append("InitialUnknowns do not rise")
    for unknown in description.unknowns:
        problems += check_unknown(unknown.element, unknown, description)
    return problems


def check_unknown(element: str, unknown: object, description: Description) -> list[str]:
    """What one unknown depends on."""
    from description import Unknown  # for the type alone

    assert isinstance(unknown, Unknown)
    if unknown.position < 0:
        return []
    problems = []
    variable = description.variables[unknown.position]
    where = f"{element} {variable.name}"
    if unknown.kinds is not None and len(unknown.kinds) != len(unknown.on or []):
        problems.append(f"{where}: {len(unknown.kinds)} kinds for {len(unknown.on or [])} dependencies")
    for kind in unknown.kinds or []:
        if kind not in ("dependent", "constant", "fixed", "tunable", "discrete"):
            problems.append(f"{where}: there is no kind {kind}")
        elif kind != "dependent" and variable.type not in FLOATS:
            problems.append(f"{where}: kind {kind} of a {variable.type}")
        elif element == "InitialUnknown" and kind not in ("dependent", "constant"):
            problems.append(f"{where}: kind {kind} at the start")
    on = [i for i in unknown.on or [] if i >= 0]
    if len(set(on)) != len(on):
        problems.append(f"{where}: a dependency is there twice")
    for i in on:
        known = description.variables[i]
        if known.causality not in ("input", "parameter", "structuralParameter", "independent"):
            problems.append(f"{where}: depends on the {known.causality} {known.name}")
    return problems


def check_build(text: bytes, description: Description, names: list[str]) -> list[str]:
    """The build description names the model and files that are there."""
    root = ElementTree.fromstring(text)
    problems = []
    if root.tag != "fmiBuildDescription" or not root.get("fmiVersion", "").startswith("3."):
        problems.append("buildDescription.xml: no build description of version 3")
    configurations = root.findall("BuildConfiguration")
    if sum(c.get("platform") is None for c in configurations) > 1:
        problems.append("buildDescription.xml: two configurations for any platform")
    if not configurations:
        problems.append("buildDescription.xml: no configuration")
    for configuration in configurations:
        if configuration.get("modelIdentifier") != description.identifier:
            problems.append(f"buildDescription.xml: modelIdentifier {configuration.get('modelIdentifier')}")
        for file in configuration.iter("SourceFile"):
            if f"sources/{file.get('name')}" not in names:
                problems.append(f"buildDescription.xml: {file.get('name')} is missing")
        for folder in configuration.iter("IncludeDirectory"):
            if not any(name.startswith(f"sources/{folder.get('name')}/") for name in names):
                problems.append(f"buildDescription.xml: folder {folder.get('name')} is missing")
    return problems


def check_terminals(text: bytes, description: Description, names: list[str]) -> list[str]:
    """Terminals are made of variables that there are, and icons are there."""
    root = ElementTree.fromstring(text)
    problems = []
    if root.tag != "fmiTerminalsAndIcons" or not root.get("fmiVersion", "").startswith("3."):
        problems.append("terminalsAndIcons.xml: no terminals and icons of version 3")
    variables = {v.name for v in description.variables}
    for member in root.iter("TerminalMemberVariable"):
        if member.get("variableName") not in variables:
            problems.append(f"terminalsAndIcons.xml: there is no variable {member.get('variableName')}")
    for picture in root.iter("TerminalGraphicalRepresentation"):
        if f"terminalsAndIcons/{picture.get('iconBaseName')}.png" not in names:
            problems.append(f"terminalsAndIcons.xml: {picture.get('iconBaseName')}.png is missing")
    return problems


def check_schemas(archive: zipfile.ZipFile, description: Description) -> list[str]:
    """The files against the schemas, where these and xmllint are at hand: ZARN_FMI_SCHEMAS names their folder."""
    folder = os.environ.get("ZARN_FMI_SCHEMAS")
    if not folder:
        return []
    schema_of = {"modelDescription.xml": f"xsd{description.version}/fmi{description.version}ModelDescription.xsd"}
    if description.version == 3:
        schema_of["sources/buildDescription.xml"] = "xsd3/fmi3BuildDescription.xsd"
    schema_of["terminalsAndIcons/terminalsAndIcons.xml"] = "xsd3/fmi3TerminalsAndIcons.xsd"
    problems = []
    for name, schema in schema_of.items():
        if name not in archive.namelist():
            continue
        with tempfile.NamedTemporaryFile(suffix=".xml") as file:
            file.write(archive.read(name))
            file.flush()
            path = pathlib.Path(folder) / schema
            answer = subprocess.run(
                ["xmllint", "--noout", "--schema", str(path), file.name], capture_output=True, text=True, check=False
            )
        if answer.returncode != 0:
            problems.append(f"{name}: {answer.stderr.splitlines()[0].split(':', 2)[-1].strip()}")
    return problems


def check_symbols(library: pathlib.Path, version: int) -> list[str]:
    """A library exports the functions that it must, and nothing else."""
    answer = subprocess.run(["nm", "-D", "--defined-only", str(library)], capture_output=True, text=True, check=True)
    found = {line.split()[-1] for line in answer.stdout.splitlines()}
    known = set(functions(version))
    exchange = {
        f"fmi2{name}" for name in (
            "EnterEventMode", "NewDiscreteStates", "EnterContinuousTimeMode", "CompletedIntegratorStep", "SetTime",
            "SetContinuousStates", "GetDerivatives", "GetEventIndicators", "GetContinuousStates",
            "GetNominalsOfContinuousStates",
        )
    }  # fmt: skip
    problems = [f"{library.name} lacks {name}" for name in sorted(known - exchange - found)]
    return problems + [f"{library.name} exports {name}" for name in sorted(found - known)]


def check_files(fmu: pathlib.Path) -> list[str]:
    """All problems of the files of an FMU."""
    try:
        archive = zipfile.ZipFile(fmu)
    except zipfile.BadZipFile:
        return ["no archive"]
    with archive:
        names = archive.namelist()
        problems = check_archive(archive)
        if "modelDescription.xml" not in names:
            return problems
        try:
            description = parse(archive.read("modelDescription.xml"))
        except ElementTree.ParseError as error:
            return [*problems, f"modelDescription.xml: {error}"]
        problems += check_root(description, names) + check_binaries(names, description)
        problems += check_variables(description) + check_structure(description)
        for name, check in (
            ("sources/buildDescription.xml", check_build),
            ("terminalsAndIcons/terminalsAndIcons.xml", check_terminals),
        ):
            if name in names:
                problems += check(archive.read(name), description, names)
        return problems + check_schemas(archive, description)

"""What goes wrong, as exceptions with the findings that led to it."""

from __future__ import annotations

import html
from collections.abc import Iterable
from dataclasses import dataclass


@dataclass(frozen=True)
class Finding:
    """One problem of a model: what is wrong, where, and what mends it. `zarn check --explain CODE` has a page on it."""

    code: str
    severity: str  #: "note", "warning" or "error"
    path: str  #: the block's path, "" when no block is meant
    block_class: str
    what: str
    mend: str
    file: str
    pointer: str  #: JSON pointer into the file
    line: int
    column: int
    steps: tuple[str, ...]  #: the way through the diagram, for loops and chains

    def __str__(self) -> str:
        place = f"{self.path} ({self.block_class})" if self.path else self.file
        text = f"{self.code} {self.severity}: {place}: {self.what}"
        return f"{text}\n    {self.mend}" if self.mend else text


class Findings(list[Finding]):
    """The findings about one model, in the order of files and places."""

    @property
    def errors(self) -> Findings:
        return self._of("error")

    @property
    def warnings(self) -> Findings:
        return self._of("warning")

    @property
    def ok(self) -> bool:
        """Whether the model runs: there is no error."""
        return not self.errors

    def _of(self, severity: str) -> Findings:
        return Findings(finding for finding in self if finding.severity == severity)

    def __repr__(self) -> str:
        return "\n".join(str(finding) for finding in self) if self else "no findings"

    def _repr_html_(self) -> str:
        if not self:
            return "<p>no findings</p>"
        rows = "".join(
            "<tr>" + "".join(f"<td style='text-align:left'>{html.escape(cell)}</td>" for cell in cells) + "</tr>"
            for cells in ((f.severity, f.code, f.path or f.file, f.what, f.mend) for f in self)
        )
        heads = "".join(f"<th>{head}</th>" for head in ("", "code", "where", "what", "mend"))
        return f"<table><tr>{heads}</tr>{rows}</table>"


class Error(Exception):
    """What ends an operation. `findings` tell why, where checks found the reason."""

    def __init__(self, text: str, findings: Iterable[Finding] = ()) -> None:
        super().__init__(text)
        self.findings = Findings(findings)

    @property
    def code(self) -> str:
        """The code of the first finding, "" without one."""
        return self.findings[0].code if self.findings else ""

    @property
    def path(self) -> str:
        """The path of the block that the first finding is about."""
        return self.findings[0].path if self.findings else ""

    def __str__(self) -> str:
        told = [str(finding) for finding in Findings(self.findings).errors]
        return "\n".join([str(self.args[0]), *told])


class UsageError(Error, ValueError):
    """What was asked for makes no sense, or not here."""


class UnknownSignalError(UsageError, KeyError):
    """A result has no signal of that name."""


class ModelError(Error):
    """The model is not in order."""


class FileError(Error, OSError):
    """A file cannot be read or written."""

    def __init__(self, text: str, findings: Iterable[Finding] = ()) -> None:
        OSError.__init__(self, text)
        self.findings = Findings(findings)


class WorkspaceError(Error):
    """Code of the workspace failed; `__cause__` is what it raised."""

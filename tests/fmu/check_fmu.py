#!/usr/bin/env python3
"""Checks FMUs for co-simulation, version 2 or 3: archive, descriptions, exported symbols, and the library's behaviour.

    check_fmu.py FILE.fmu...

Prints each problem as a line and ends with 1 when there is one. With ZARN_FMI_SCHEMAS=FOLDER the files are held against
the published schemas too (FOLDER/xsd2, FOLDER/xsd3), by xmllint.
"""

from __future__ import annotations

import pathlib
import sys

from behaviour import Checks
from loader import Library
from rules import check_files, check_symbols


def check(fmu: pathlib.Path, library_path: pathlib.Path | None = None) -> list[str]:
    """All problems of an FMU, with the library in it or one made of its sources. What cannot be read is not loaded."""
    problems = check_files(fmu)
    if problems:
        return problems
    library = Library(fmu, library_path)
    problems = check_symbols(library.path, library.version)
    if problems:
        return problems
    checks = Checks(library)
    checks.library_source = fmu
    return checks.all()


def main() -> int:
    bad = False
    for name in sys.argv[1:]:
        for problem in check(pathlib.Path(name)):
            bad = True
            print(f"{name}: {problem}")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())

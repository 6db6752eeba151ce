"""What the tests of the package share."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples"
ZARN = os.environ.get("ZARN", "zarn")
PATIENCE = float(os.environ.get("ZARN_PATIENCE", "1"))
MOTOR = EXAMPLES / "motor" / "motor.json"
MOTOR_SPACE = EXAMPLES / "motor" / "workspace.py"
NAMES = ("filter", "mixed_types", "motor", "replay", "thermostat", "two_tanks")


def command(*arguments: object, check: bool = True) -> subprocess.CompletedProcess[str]:
    """The command, from whose results those of the package must not differ."""
    return subprocess.run([ZARN, *map(str, arguments)], capture_output=True, text=True, check=check, timeout=120)


def python(code: str, *arguments: object, **more: object) -> subprocess.CompletedProcess[str]:
    """Another process of this Python."""
    return subprocess.run(
        [sys.executable, "-c", code, *map(str, arguments)], capture_output=True, text=True, timeout=120, **more
    )  # type: ignore[call-overload,no-any-return]

#!/usr/bin/env python3
"""Records the answers of `zarn serve` that the unit tests of the page are given: record.py ZARN > recorded/motor.json."""

import json
import subprocess
import sys
from pathlib import Path

MODEL = Path(__file__).resolve().parents[2] / "examples/motor/motor.json"
STEP, CONTROLLER = "4500000007926919", "4500000007934838"
ASKED: list[tuple[str, str, dict[str, object]]] = [
    ("hello", "hello", {}),
    ("findings", "findings", {"wait": True}),
    ("classes", "classes", {}),
    ("stylesheet", "stylesheet", {}),
    ("view 0", "view", {"level": "0"}),
    (f"view {CONTROLLER}", "view", {"level": CONTROLLER}),
    ("block", "block", {"block": STEP}),
]


def main() -> None:
    requests = [
        {"jsonrpc": "2.0", "id": i, "method": method, "params": params} for i, (_, method, params) in enumerate(ASKED)
    ]
    text = "".join(json.dumps(request) + "\n" for request in requests)
    told = subprocess.run([sys.argv[1], "serve", str(MODEL)], input=text, capture_output=True, text=True, check=True)
    answers = [json.loads(line) for line in told.stdout.splitlines()]
    results = {answer["id"]: answer["result"] for answer in answers if "id" in answer}
    recorded = {key: results[i] for i, (key, _, _) in enumerate(ASKED)}
    recorded["hello"]["folder"] = "/models"
    for each in recorded["classes"]["classes"]:
        for unused in ("types", "description"):  # long, and shown as they are
            each.pop(unused, None)
    json.dump(recorded, sys.stdout, ensure_ascii=False, separators=(",", ":"))
    print()


main()

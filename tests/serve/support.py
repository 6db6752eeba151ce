"""Talks to `zarn serve` and `zarn studio`; the command's path is in the environment variable ZARN."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
import unittest

ZARN = os.environ["ZARN"]
PATIENCE = float(os.environ.get("ZARN_PATIENCE", "1"))
HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]


class Service:
    """`zarn serve` on a file or folder."""

    def __init__(self, place):
        self.process = subprocess.Popen([ZARN, "serve", str(place)], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True, encoding="utf-8")
        self.count = 0
        self.heard = []  # notifications

    def raw(self, line):
        """The answer to a line, as it is."""
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        while True:
            text = self.process.stdout.readline()
            if not text:
                raise AssertionError(f"the service has ended with {self.process.wait()} over {line[:200]}")
            answer = json.loads(text)
            if "id" in answer:
                return answer
            self.heard.append(answer)

    def ask(self, method, **params):
        self.count += 1
        return self.raw(json.dumps({"jsonrpc": "2.0", "id": self.count, "method": method, "params": params}))

    def __call__(self, method, **params):
        """The result; an error fails the test."""
        answer = self.ask(method, **params)
        if "error" in answer:
            raise AssertionError(f"{method}: {answer['error']}")
        return answer["result"]

    def edit(self, *operations):
        return self("edit", operations=list(operations))

    def close(self):
        self.process.stdin.close()
        status = self.process.wait(timeout=60 * PATIENCE)
        self.process.stdout.close()
        return status

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zarn-serve-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def model(self, name="small.json"):
        """A copy of a model of the tests."""
        return pathlib.Path(shutil.copy(HERE / "models" / name, self.folder))

    def serve(self, place):
        service = Service(place)
        self.addCleanup(lambda: service.process.poll() is None and service.kill())
        return service

    def eventually(self, check, seconds=10):
        """Waits until `check` holds."""
        end = time.monotonic() + seconds * PATIENCE
        while not check():
            self.assertLess(time.monotonic(), end, "it has not come about in time")
            time.sleep(0.05)

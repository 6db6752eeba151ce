"""Recorded talks with `zarn serve`: each method with good and bad input. A transcript is a text:

    model NAME           the file that is opened, a copy of one in models/
    > {...}              a request, without version and number
    raw ...              a line as it is
    < {...}              what the answer must hold: members that are not named can be anything
    until {...} {...}    a request that is repeated until the answer holds that

In an expected answer "*" stands for anything, "=NAME" for a text that "${NAME}" means from there on, and "..." in a
list for any number of elements.
"""

import json
import re
import shutil
import unittest

from support import HERE, ROOT, Case


class Transcript(Case):
    def matches(self, found, wanted, where, known):
        if wanted == "*":
            return
        if isinstance(wanted, str) and wanted.startswith("="):
            known[wanted[1:]] = found
            return
        if isinstance(wanted, dict):
            self.assertIsInstance(found, dict, where)
            for key, value in wanted.items():
                self.assertIn(key, found, where)
                self.matches(found[key], value, f"{where}.{key}", known)
        elif isinstance(wanted, list):
            self.assertIsInstance(found, list, where)
            if "..." in wanted:
                gap = wanted.index("...")
                tail = len(wanted) - gap - 1
                self.assertGreaterEqual(len(found), len(wanted) - 1, where)
                wanted = wanted[:gap] + ["*"] * (len(found) - gap - tail) + wanted[gap + 1:]
            self.assertEqual(len(found), len(wanted), f"{where}: {found}")
            for number, (one, other) in enumerate(zip(found, wanted)):
                self.matches(one, other, f"{where}[{number}]", known)
        else:
            self.assertEqual(found, wanted, where)

    def play(self, path):
        lines = [line for line in path.read_text(encoding="utf-8").splitlines() if line and not line.startswith("#")]
        for file in (HERE / "models").iterdir():
            shutil.copy(file, self.folder)
        service = self.serve(self.folder / lines[0].removeprefix("model "))
        known, answer, where = {}, None, ""

        def with_names(text):
            return re.sub(r"\$\{(\w+)\}", lambda name: json.dumps(known[name[1]])[1:-1], text)

        def request(text):
            asked = json.loads(with_names(text))
            return service.ask(asked["method"], **asked["params"]) if isinstance(asked.get("params", {}), dict) \
                and "params" in asked else service.raw(json.dumps({"jsonrpc": "2.0", "id": 0} | asked))

        for line in lines[1:]:
            kind, rest = line.split(" ", 1)
            if kind == ">":
                where, answer = rest, request(rest)
            elif kind == "raw":
                where, answer = rest, service.raw(rest)
            elif kind == "<":
                with self.subTest(request=where[:150]):
                    self.matches(answer, json.loads(with_names(rest)), "answer " + json.dumps(answer)[:300], known)
            else:
                first, end = json.JSONDecoder().raw_decode(rest)
                wanted = json.loads(rest[end:])

                def holds():
                    try:
                        self.matches(request(json.dumps(first)), wanted, "", known)
                    except AssertionError:
                        return False
                    return True

                with self.subTest(until=rest[:150]):
                    self.eventually(holds)
        self.assertEqual(service.close(), 0)


class Page(Case):
    def test_every_method_is_on_the_page_and_in_a_transcript(self):
        page = (ROOT / "docs/protocol.md").read_text(encoding="utf-8")
        titles = {name.strip() for line in re.findall(r"^### (.*)$", page, re.M) for name in line.split(",")}
        methods = set(self.serve(self.model())("hello")["methods"])
        self.assertEqual(titles, methods)
        talks = "".join(path.read_text(encoding="utf-8") for path in (HERE / "transcripts").glob("*.transcript"))
        self.assertEqual(set(re.findall(r'"method": "([a-z_.]+)"', talks)) & methods, methods)


def add(path):
    setattr(Transcript, "test_" + path.stem, lambda self: self.play(path))


for transcript in sorted((HERE / "transcripts").glob("*.transcript")):
    add(transcript)

if __name__ == "__main__":
    unittest.main()

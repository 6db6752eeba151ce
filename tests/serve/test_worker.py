"""What a model can do to the process that executes it, and not to the service."""

import json
import unittest

from support import Case


class Worker(Case):
    def write(self, name, *blocks, links=()):
        """A model of blocks (class, object), numbered from 1 on, and links (source, target, input)."""
        model = {
            "blocks": [{c: {"id": 3000000000000000 + i, "name": f"b{i}"} | o} for i, (c, o) in enumerate(blocks, 1)],
            "links": [{"srcId": 3000000000000000 + a, "dstId": 3000000000000000 + b, "dstPort": p} for a, b, p in links],
            "model": {"ti": 0.0, "tf": 1.0, "ts": 0.125},
        }
        path = self.folder / name
        path.write_text(json.dumps(model))
        return path

    def ended(self, service):
        state = {}

        def over():
            state.update(service("run.state"))
            return state["state"] not in ("running", "paused")

        self.eventually(over, 30)
        return state

    def test_a_division_fault_ends_the_run_only(self):
        model = self.write("fault.json", ("constant", {"expression": "-2147483648"}),
                           ("step", {"initialValue": "1.0", "finalValue": "-1.0", "stepTime": "0.5"}),
                           ("cast", {"type": "int32", "inportCount": 1, "outportCount": 1}), ("mod", {"inportCount": 2}),
                           ("display", {}), links=((1, 4, 0), (2, 3, 0), (3, 4, 1), (4, 5, 0)))
        service = self.serve(model)
        service("run.start")
        state = self.ended(service)
        self.assertEqual(state["state"], "failed")
        self.assertIn("b4", state["message"])
        self.assertEqual(service("hello")["file"], "fault.json")
        self.assertEqual(service.ask("run.data", signal=0)["error"]["code"], 6)

    def test_an_expression_that_ends_the_process(self):
        model = self.write("gone.json", ("constant", {"expression": "__import__('os')._exit(3)"}), ("display", {}),
                           links=((1, 2, 0),))
        service = self.serve(model)
        service("evaluate", allow=True)
        found = service("findings", wait=True)
        self.assertEqual(found["counts"]["error"], 1)
        self.assertIn("has ended", found["findings"][0]["what"])
        self.assertEqual(service.ask("run.start")["error"]["code"], 7)
        self.assertEqual(service("hello")["file"], "gone.json")

    def test_what_workspace_code_prints_is_told(self):
        model = self.write("said.json", ("constant", {"expression": "k"}), ("display", {}), links=((1, 2, 0),))
        (self.folder / "workspace.py").write_text("print('hello from here')\nimport os\nos.system('echo shell')\nk = 2.0\n")
        service = self.serve(model)
        service("evaluate", allow=True)
        service("findings", wait=True)

        def told():
            service("hello")
            return "shell" in "".join(n["params"]["text"] for n in service.heard if n["method"] == "console")

        self.eventually(told)

    def test_the_first_bad_value_is_told(self):
        model = self.write("bad.json", ("time", {}), ("log", {}), ("outport", {"portNumber": 0}), links=((1, 2, 0), (2, 3, 0)))
        service = self.serve(model)
        service("run.start", settings={"ti": -0.25})
        state = self.ended(service)
        self.assertEqual(state["state"], "done")
        self.assertEqual(state["first_bad"]["step"], 0)
        self.assertIn(service("run.data", signal=0)["v"][0], ("nan", "-inf", "inf"))

    def test_runs_are_kept_and_the_model_can_change_meanwhile(self):
        model = self.write("kept.json", ("constant", {"expression": "1.0"}), ("outport", {"portNumber": 0}), links=((1, 2, 0),))
        service = self.serve(model)
        for number in range(1, 7):
            service.edit({"op": "set_parameter", "block": "3000000000000001", "key": "expression", "value": f"{number}.0"})
            self.assertEqual(service("run.start")["run"], number)
            self.ended(service)
        self.assertEqual(service("run.data", run=4, signal=0)["v"][0], 4.0)
        self.assertEqual(service.ask("run.data", run=1, signal=0)["error"]["code"], 6)

    def test_a_closed_input_ends_all(self):
        model = self.write("end.json", ("constant", {"expression": "1.0"}), ("outport", {"portNumber": 0}), links=((1, 2, 0),))
        service = self.serve(model)
        service("run.start", speed=0.01)
        self.assertEqual(service.close(), 0)


if __name__ == "__main__":
    unittest.main()

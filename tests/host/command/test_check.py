"""zarn check and zarn explain: forms of output, exit statuses, and that neither alarms falsely nor overlooks."""

import collections
import json
import os
import pathlib
import re
import unittest
import urllib.parse

from support import DATA, CommandTest, Model, counter, gated

EXAMPLES = DATA.parents[1] / "examples"
DOCS = DATA.parents[1] / "docs"
CHECKS = DATA / "checks"
HAZARDS = DATA / "hazards"


def workspace(model):
    """The options that give a model its workspace."""
    for script in model.parent / "workspace.py", model.with_suffix(".ws.py"):
        if script.exists():
            return ["-w", script]
    return []


def examples():
    return sorted(EXAMPLES.glob("*/*.json"))


def good_vectors():
    return sorted(pathlib.Path(str(p).replace(".inspect.json", ".json")) for p in DATA.glob("vectors/*/*.inspect.json"))


class CheckTest(CommandTest):
    def findings(self, model, *options, **keywords):
        result = self.zarn("check", model, "--json", *options, **keywords)
        self.assertEqual(result.stderr, "")
        answer = json.loads(result.stdout)
        self.assertEqual(result.returncode, 1 if answer["errors"] else 0)
        return answer["findings"]

    def codes(self, *arguments):
        return [finding["code"] for finding in self.findings(*arguments)]


class Forms(CheckTest):
    def faulty(self):
        """An error, a warning and a note, one of them in a subsystem."""
        model = gated()
        inside = model.blocks[2]["subsys"]["id"]
        model.add("cast", "k\u00e4se", parent=inside, inputs=1, type="double")
        model.link(model.blocks[5]["abs"]["id"], model.blocks[-1]["cast"]["id"])
        model.chain(model.blocks[-1]["cast"]["id"], model.add("display", "shown", inputs=1, outputs=0))
        model.add("display", "open", inputs=1, outputs=0)
        return model

    def test_text_tells_what_where_and_how_to_mend_and_counts(self):
        self.write("a b/m.json", self.faulty())
        result = self.check("check", "a b/m.json", status=1, err="")
        self.assertEqual(
            result.stdout.splitlines()[-1], "a b/m.json: 1 error, 1 warning, 1 note"
        )
        heads = [line for line in result.stdout.splitlines() if re.match(r"(error|warning|note) Z\d{3} ", line)]
        self.assertEqual(len(heads), 3)
        self.assertEqual(result.stdout.count("\n    at   a b/m.json:1:"), 3)
        self.assertEqual(result.stdout.count("\n    mend "), 3)

    def test_quiet_tells_errors_alone_and_a_good_model_nothing(self):
        self.write("m.json", self.faulty())
        result = self.check("check", "m.json", "-q", status=1, err="")
        self.assertEqual(re.findall(r"Z\d{3}", result.stdout), ["Z201"])
        self.write("good.json", counter())
        self.check("check", "good.json", out="good.json: no problem found\n", err="")
        self.check("check", "good.json", "-q", out="", err="")

    def test_json_has_every_part_of_each_finding(self):
        self.write("m.json", self.faulty())
        answer = json.loads(self.check("check", "m.json", "--json", status=1, err="").stdout)
        self.assertEqual((answer["model"], answer["errors"], answer["warnings"], answer["notes"]), ("m.json", 1, 1, 1))
        content = json.loads((self.folder / "m.json").read_text())
        for finding in answer["findings"]:
            self.assertEqual(
                sorted(finding),
                ["class", "code", "column", "file", "line", "mend", "path", "pointer", "severity", "steps", "what"],
            )
            self.assertIn(finding["severity"], ("error", "warning", "note"))
            self.assertEqual(finding["file"], "m.json")
            at = content
            for key in finding["pointer"].split("/")[1:]:
                at = at[int(key)] if isinstance(at, list) else at[key.replace("~1", "/").replace("~0", "~")]
            self.assertTrue(finding["what"] and finding["mend"])
        errors = [f for f in answer["findings"] if f["severity"] == "error"]
        self.assertEqual([(f["code"], f["path"], f["class"]) for f in errors], [("Z201", "mainsys.open", "display")])

    def assert_sarif(self, log):
        """What SARIF 2.1.0 asks of a log as far as the command writes one."""
        self.assertEqual(log["version"], "2.1.0")
        self.assertTrue(log["$schema"].endswith("sarif-2.1.0.json"))
        self.assertLessEqual(set(log), {"version", "$schema", "runs"})
        for run in log["runs"]:
            driver = run["tool"]["driver"]
            self.assertTrue(driver["name"])
            self.assertRegex(driver["semanticVersion"], r"^\d+\.\d+\.\d+$")
            rules = driver["rules"]
            self.assertEqual(len({rule["id"] for rule in rules}), len(rules))
            for rule in rules:
                self.assertRegex(rule["id"], r"^Z\d{3}$")
                for text in "shortDescription", "fullDescription", "help":
                    self.assertTrue(rule[text]["text"])
            for result in run["results"]:
                self.assertIn(result["level"], ("none", "note", "warning", "error"))
                self.assertEqual(rules[result["ruleIndex"]]["id"], result["ruleId"])
                self.assertTrue(result["message"]["text"])
                (location,) = result["locations"]
                place = location["physicalLocation"]
                uri = place["artifactLocation"]["uri"]
                self.assertRegex(uri, r"^[A-Za-z0-9._~/%:-]+$")
                if "region" in place:
                    self.assertGreaterEqual(place["region"]["startLine"], 1)
                    self.assertGreaterEqual(place["region"]["startColumn"], 1)
                for logical in location.get("logicalLocations", []):
                    self.assertTrue(logical["fullyQualifiedName"])

    def test_sarif_is_a_valid_log_whose_places_exist(self):
        self.write("a b/m.json", self.faulty())
        log = json.loads(self.check("check", "a b/m.json", "--sarif", status=1, err="").stdout)
        self.assert_sarif(log)
        results = log["runs"][0]["results"]
        self.assertEqual(sorted(r["level"] for r in results), ["error", "note", "warning"])
        for result in results:
            place = result["locations"][0]["physicalLocation"]
            path = self.folder / urllib.parse.unquote(place["artifactLocation"]["uri"])
            line = path.read_text().splitlines()[place["region"]["startLine"] - 1]
            self.assertLessEqual(place["region"]["startColumn"], len(line.encode()))

    def test_sarif_of_every_kind_of_finding(self):
        for model in sorted(CHECKS.glob("*_bad.json")):
            with self.subTest(model.name):
                result = self.zarn("check", model.name, "--sarif", cwd=CHECKS)
                log = json.loads(result.stdout)
                self.assert_sarif(log)
                self.assertEqual({r["ruleId"] for r in log["runs"][0]["results"]}, {model.name[:4]})
        log = json.loads(self.zarn("check", "none.json", "--sarif").stdout)
        self.assert_sarif(log)
        self.assertEqual([r["ruleId"] for r in log["runs"][0]["results"]], ["Z101"])

    def test_sarif_of_a_good_model_has_no_results(self):
        self.write("m.json", counter())
        log = json.loads(self.check("check", "m.json", "--sarif", err="").stdout)
        self.assert_sarif(log)
        self.assertEqual(log["runs"][0]["results"], [])

    def test_a_finding_in_a_referenced_file_names_that_file(self):
        part = Model()
        part.chain(part.add("constant", "c", expression="1.0"), part.add("outport", "y", inputs=1, portNumber=0))
        part.add("display", "open", inputs=1, outputs=0)
        model = Model()
        model.add("refsys", "part", outputs=1, path="lib/part.json")
        model.blocks[0]["refsys"]["id"] = 2000000000000001
        model.chain(2000000000000001, model.add("display", "d", inputs=1, outputs=0))
        self.write("sub/lib/part.json", part)
        self.write("sub/m.json", model)
        (finding,) = self.findings("sub/m.json")
        self.assertEqual((finding["code"], finding["path"]), ("Z201", "mainsys.part.open"))
        self.assertTrue((self.folder / finding["file"]).samefile(self.folder / "sub/lib/part.json"))
        self.assertEqual(finding["pointer"], "/blocks/2/display")


class Statuses(CheckTest):
    def test_warnings_and_notes_alone_are_no_failure(self):
        for code in "Z105", "Z120", "Z202_harmless", "Z409":
            self.assertEqual(self.zarn("check", f"{code}_bad.json", cwd=CHECKS).returncode, 0)

    def test_an_error_is_status_1_in_every_form(self):
        for form in [], ["--json"], ["--sarif"], ["-q"]:
            self.assertEqual(self.zarn("check", "Z201_bad.json", *form, cwd=CHECKS).returncode, 1)

    def test_files_that_cannot_be_read_are_findings(self):
        self.assertEqual(self.codes("none.json"), ["Z101"])
        self.assertEqual(self.codes("."), ["Z101"])
        self.write("empty.json", "")
        self.assertEqual(self.codes("empty.json"), ["Z102"])

    def test_wrong_use_is_status_2(self):
        self.write("m.json", counter())
        for arguments in [], ["--explain"], ["m.json", "--nonsense"], ["m.json", "--set", "tx=1"]:
            self.check("check", *arguments, status=2, out="")
        self.check("check", "--explain", "Z999", status=2, err="there is no code 'Z999'", out="")

    def test_settings_are_those_of_the_command_line(self):
        self.write("m.json", counter())
        self.assertEqual(self.codes("m.json", "--set", "ts=0"), ["Z116"])
        self.assertEqual(self.codes("m.json", "--set", "tf=-1"), ["Z117"])


class Pages(CheckTest):
    def test_each_code_has_a_page(self):
        text = self.check("check", "--explain", "Z217", err="").stdout
        self.assertTrue(text.startswith("Z217 algebraic-loop: "))
        for word in "Severity: ", "Mend: ", "memory":
            self.assertIn(word, text)

    def test_the_document_is_made_of_the_pages(self):
        whole = self.check("check", "--explain", "all", "--markdown", err="").stdout
        self.assertEqual(whole, (DOCS / "checks.md").read_text())
        codes = re.findall(r"^### (Z\d{3}) ", whole, re.MULTILINE)
        self.assertEqual(codes, sorted(set(codes)))
        for code in codes:
            page = self.check("check", "--explain", code, "--markdown").stdout
            self.assertIn(page.strip(), whole)

    def test_every_code_that_is_told_has_a_page(self):
        for model in sorted(CHECKS.glob("*_bad.json")):
            self.check("check", "--explain", model.name[:4], err="")


class Alarms(CheckTest):
    """No false ones, and none left out."""

    # how often each is told of good models; all were looked at, and are right
    WARNINGS = {
        "dynamic_700003": {"Z306": 2},
        "dynamic_700004": {"Z107": 1, "Z306": 1, "Z406": 1, "Z416": 1},
        "dynamic_700005": {"Z107": 2, "Z306": 2, "Z416": 1},
        "dynamic_700007": {"Z416": 1},
        "dynamic_700008": {"Z306": 1},
        "nested_700001": {"Z409": 3},
        "nested_700002": {"Z212": 2, "Z409": 5},
        "nested_700008": {"Z212": 2, "Z306": 2, "Z409": 15, "Z415": 1},
        "nested_700009": {"Z107": 1, "Z212": 1},
        "nested_700010": {"Z409": 2},
        "nested_700011": {"Z306": 1, "Z407": 1},
        "nested_700017": {"Z410": 1},
        "nested_700020": {"Z212": 1, "Z306": 1, "Z409": 2, "Z415": 1},
        "typed_700001": {"Z306": 2, "Z416": 1},
        "typed_700002": {"Z107": 1},
        "typed_700003": {"Z306": 1},
        "typed_700004": {"Z306": 1, "Z416": 1},
    }

    def test_examples_and_known_good_models_have_no_errors(self):
        seen = 0
        for model in examples() + good_vectors():
            with self.subTest(model.name):
                told = self.findings(model, *(workspace(model) or ["--python"]))
                self.assertEqual([f for f in told if f["severity"] == "error"], [])
                warnings = collections.Counter(f["code"] for f in told if f["severity"] == "warning")
                self.assertEqual(warnings, self.WARNINGS.get(model.stem, {}))
                seen += 1
        self.assertGreater(seen, 20)

    def test_looking_without_the_workspace_adds_only_that_expressions_are_not_evaluated(self):
        for model in examples():
            with self.subTest(model.name):
                told = self.findings(model)
                self.assertEqual([f for f in told if f["severity"] == "error"], [])
                self.assertLessEqual({f["code"] for f in told if f["severity"] == "warning"}, {"Z402"})

    def test_looking_executes_nothing_unless_told(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "open('made', 'w').close() or 2.0"
        self.write("m.json", model)
        self.assertEqual(self.codes("m.json"), ["Z402"])
        self.check("explain", "m.json", err="Z402")
        self.assertFalse((self.folder / "made").exists())
        self.assertEqual(self.codes("m.json", "--python"), [])
        self.assertTrue((self.folder / "made").exists())

    def test_run_and_generate_refuse_what_check_refuses(self):
        refused = 0
        for model in sorted(CHECKS.glob("*_bad.json")):
            told = self.findings(model, "--python")
            codes = {f["code"] for f in told if f["severity"] == "error"}
            if not codes:
                continue
            with self.subTest(model.name):
                for arguments in ["run", model, "-o", self.folder / "r.csv"], ["generate", "c", model, self.folder]:
                    result = self.check(*arguments, status=1, out="", cwd=self.folder)
                    self.assertLessEqual(codes, set(re.findall(r"\berror (Z\d{3}) ", result.stderr)))
                self.assertEqual(os.listdir(self.folder), [])
                refused += 1
        self.assertGreater(refused, 50)

    # of each hazard, the codes that stand for it, and whether it keeps a model from running
    HAZARDS = {
        "cast_behind_dead_input": ({"Z203", "Z223"}, False),
        "cast_behind_dead_link": ({"Z203"}, True),
        "duplicate_ids": ({"Z114", "Z218"}, False),
        "eight_inputs": (set(), False),
        "enable_without_subsystem": ({"Z218"}, False),
        "enables": ({"Z409", "Z410"}, False),
        "inner_block_missing": ({"Z204"}, False),
        "inner_block_missing_starves": ({"Z204"}, True),
        "inputs_beyond_16_bits": ({"Z201"}, True),
        "link_end_missing": ({"Z202"}, False),
        "link_end_missing_starves": ({"Z202"}, True),
        "link_port_out_of_range": ({"Z203"}, False),
        "link_port_out_of_range_starves": ({"Z203"}, True),
        "no_links": ({"Z110", "Z221"}, False),
        "no_runnable_form": ({"Z303"}, True),
        "null_entry": ({"Z108"}, False),
        "parent_is_no_subsystem": ({"Z218"}, False),
        "parent_missing": ({"Z218"}, False),
        "parent_ring": ({"Z219", "Z409"}, False),
        "series_of_nothing": ({"Z412"}, True),
        "short_id_reference": ({"Z113"}, True),
        "single_breakpoints": ({"Z413"}, False),
    }

    def test_hazards_are_told_and_refused(self):
        parts = {"short_ids.json", "unknown_class.json"}
        self.assertEqual({p.name for p in HAZARDS.glob("*.json")}, {f"{name}.json" for name in self.HAZARDS} | parts)
        for name, (codes, refused) in self.HAZARDS.items():
            with self.subTest(name):
                result = self.zarn("run", f"{name}.json", "--no-python", "-v", cwd=HAZARDS)
                self.assertEqual(result.returncode, 1 if refused else 0, result.stderr)
                kind = "error" if refused else "warning"
                self.assertEqual(set(re.findall(rf"^{kind} (Z\d{{3}}) ", result.stderr, re.MULTILINE)), codes)


class Loops(CheckTest):
    def loop(self, *names):
        """add -> cast -> abs -> add, with one of them by turns inside a subsystem."""
        model = Model()
        source = model.add("constant", "c", expression="1.0")
        inside = model.add("subsys", "plant", inputs=1, outputs=1)
        u = model.add("inport", "u", parent=inside, inputs=1, portNumber=0)
        gain = model.add("abs", "gain", parent=inside, inputs=1)
        y = model.add("outport", "y", parent=inside, inputs=1, portNumber=0)
        total = model.add("add", "sum", inputs=2)
        cast = model.add("cast", "k", inputs=1, type="flt64")
        model.link(source, total, 0)
        model.chain(u, gain, y)
        model.chain(total, inside, cast)
        model.link(cast, total, 1)
        model.chain(total, model.add("display", "d", inputs=1, outputs=0))
        return model

    def test_a_loop_through_a_subsystem_is_listed_with_the_edge_for_a_memory(self):
        self.write("m.json", self.loop())
        (finding,) = self.findings("m.json")
        self.assertEqual(finding["code"], "Z217")
        steps = finding["steps"]
        self.assertEqual(len(steps), 5)
        ways = [re.match(r"output (\d+) of (\S+) \(\S+\) -> input (\d+) of (\S+) \(\S+\)", step).groups() for step in steps]
        for (_, _, _, to), (_, start, _, _) in zip(ways, ways[1:] + ways[:1]):
            self.assertEqual(to, start)  # each link begins where the one before it ends
        self.assertEqual({way[1] for way in ways}, {f"mainsys.{n}" for n in ("plant.u", "plant.gain", "plant.y", "sum", "k")})
        self.assertEqual(len([s for s in steps if "a memory here breaks the loop" in s]), 1)

    def test_a_memory_where_the_finding_says_mends_the_model(self):
        model = self.loop()
        self.write("m.json", model)
        (finding,) = self.findings("m.json")
        (step,) = [s for s in finding["steps"] if "a memory here" in s]
        start, port, to = re.match(r"output \d+ of mainsys\.(\S+) .* -> input (\d+) of mainsys\.(\S+) ", step).group(1, 2, 3)
        ids = {data["name"]: data["id"] for block in model.blocks for data in block.values()}
        # the drawn link between these blocks, by the subsystem's block where it crosses the border
        outer = {"plant.u": "plant", "plant.y": "plant"}
        start, to = (ids[outer.get(name, name).split(".")[-1]] for name in (start, to))
        (link,) = [l for l in model.links if (l["srcId"], l["dstId"], l["dstPort"]) == (start, to, int(port))]
        model.links.remove(link)
        memory = model.add("memory", "z", inputs=1)
        model.link(start, memory)
        model.link(memory, to, int(port))
        self.write("m.json", model)
        self.assertEqual(self.codes("m.json"), [])
        self.check("run", "m.json", out="mainsys.d  ")

    def test_a_loop_through_a_reference_names_the_blocks_in_it(self):
        part = Model()
        part.chain(part.add("inport", "u", inputs=1, portNumber=0), part.add("abs", "gain", inputs=1),
                   part.add("outport", "y", inputs=1, portNumber=0))
        model = Model()
        model.add("refsys", "plant", inputs=1, outputs=1, path="part.json")
        plant = model.blocks[0]["refsys"]["id"] = 2000000000000001
        cast = model.add("cast", "k", inputs=1, type="flt64")
        model.chain(plant, cast, plant)
        self.write("part.json", part)
        self.write("m.json", model)
        (finding,) = self.findings("m.json")
        self.assertEqual((finding["code"], finding["file"]), ("Z217", "part.json"))
        for path in "mainsys.plant.u", "mainsys.plant.gain", "mainsys.plant.y", "mainsys.k":
            self.assertTrue([s for s in finding["steps"] if f"of {path} (" in s], path)

    def test_many_loops_end_and_are_bounded(self):
        model = Model()
        sums = [model.add("add", f"s{i}", inputs=8) for i in range(60)]
        for i, target in enumerate(sums):
            for port in range(8):
                model.link(sums[(i * 7 + port * 11 + 1) % len(sums)], target, port)
        self.write("m.json", model)
        result = self.check("check", "m.json", status=1, timeout=60)
        self.assertTrue(0 < result.stdout.count("error Z217") <= 20)


class Explain(CommandTest):
    def test_the_table_has_a_row_for_each_block_in_the_order_of_stepping(self):
        self.write("m.json", gated())
        lines = self.check("explain", "m.json", err="").stdout.splitlines()
        self.assertEqual(lines[0].split(), ["#", "zone", "tier", "block", "class", "types", "gate", "because"])
        rows = [line.split() for line in lines[1:9] if line]
        self.assertEqual(len(rows), 7)  # a subsystem is not stepped
        zones = [int(row[1]) for row in rows]
        self.assertEqual(zones, sorted(zones))
        inspected = json.loads(self.check("inspect", "m.json", "--json").stdout)
        known = {b["path"]: (str(b["zone"]), str(b["tier"])) for b in inspected["blocks"]}
        self.assertEqual({row[3]: (row[1], row[2]) for row in rows}, known)
        gain = next(row for row in rows if row[3] == "mainsys.inside.gain")
        self.assertIn("mainsys.inside.enable", gain)

    def test_a_block_tells_why_it_stands_where_it_stands(self):
        self.write("m.json", gated())
        text = self.check("explain", "m.json", "mainsys.inside.u", err="").stdout
        self.assertIn("mainsys.inside.u (inport)", text)
        self.assertIn("input 0: mainsys.clock has zone 0, +1, +1000 from another tier: 1001", text)
        self.assertIn("gate      mainsys.inside.enable\n", text)
        self.assertIn("read by   input 0 of mainsys.inside.gain (abs)", text)

    def test_a_subsystem_tells_of_the_blocks_inside(self):
        self.write("m.json", gated())
        text = self.check("explain", "m.json", "mainsys.inside", err="").stdout
        heads = re.findall(r"^(mainsys\.\S+) \(", text, re.MULTILINE)
        self.assertEqual(sorted(heads), [f"mainsys.inside.{n}" for n in ("enable", "gain", "u", "y")])

    def test_an_unknown_path_is_wrong_use_with_a_suggestion(self):
        self.write("m.json", gated())
        self.check("explain", "m.json", "mainsys.inside.gian", status=2, err="did you mean mainsys.inside.gain?", out="")

    def late(self):
        """A loop through a memory, and a memory that reads a source of its own zone, stepped before it."""
        model = Model()
        add, memory = model.add("add", "sum", inputs=2), model.add("memory", "m", inputs=1)
        cast = model.add("cast", "k", inputs=1, type="flt64")
        model.link(model.add("constant", "c", expression="1.0"), add, 0)
        model.chain(add, cast, memory)
        model.link(memory, add, 1)
        model.chain(add, model.add("display", "d", inputs=1, outputs=0))
        return model

    def test_places_where_a_value_is_one_step_late_are_listed(self):
        self.write("m.json", self.late())
        text = self.check("explain", "m.json", err="").stdout
        self.assertIn("\none step late:\n  input 0 of mainsys.m (memory) from mainsys.sum: ", text)
        answer = json.loads(self.check("explain", "m.json", "--json").stdout)
        self.assertEqual([(l["path"], l["input"], l["source"]) for l in answer["late"]], [("mainsys.m", 0, "mainsys.sum")])
        # and so it is
        series = self.series("m.json")
        self.assertEqual(series["m"]["v"][1:], series["sum"]["v"][:-1])
        self.write("m.json", counter())
        self.assertIn("no value is a step late", self.check("explain", "m.json").stdout)

    def test_json_has_the_whole_of_each_block(self):
        self.write("m.json", gated())
        answer = json.loads(self.check("explain", "m.json", "--json", err="").stdout)
        self.assertEqual(sorted(answer), ["late", "model", "order", "result", "schema"])
        self.assertEqual([b["position"] for b in answer["order"]], sorted(b["position"] for b in answer["order"]))
        for block in answer["order"]:
            for key in "id", "path", "class", "zone", "tier", "gate", "inputs", "outputs", "raisedBy", "neverRuns":
                self.assertIn(key, block)

    def test_a_model_with_errors_is_told_and_not_explained(self):
        result = self.zarn("explain", CHECKS / "Z217_bad.json")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("error Z217", result.stderr)

    def test_order_agrees_with_independent_answers(self):
        compared = 0
        for model in good_vectors():
            with self.subTest(model.name):
                known = {b["id"]: b for b in json.loads(model.with_suffix(".inspect.json").read_text())["blocks"]}
                text = self.check("explain", model, "--json", *(workspace(model) or ["--python"]), err="").stdout
                order = json.loads(text)["order"]
                self.assertEqual({b["id"] for b in order}, set(known))
                for block in order:
                    wanted = known[block["id"]]
                    for key in "zone", "tier", "path":
                        self.assertEqual(block[key], wanted[key], block["path"])
                    self.assertEqual([i["type"] for i in block["inputs"]], [i["type"] for i in wanted["inputs"]])
                    self.assertEqual([i["sourceId"] for i in block["inputs"]], [i["source"] for i in wanted["inputs"]])
                    if block["raisedBy"]:
                        self.assertEqual(block["raisedBy"][-1]["zone"], block["zone"])
                    compared += 1
        self.assertGreater(compared, 500)

    def test_a_quotient_that_is_cut_to_0_is_noted(self):
        model = Model()
        model.chain(model.add("constant", "half", expression="1//2"), model.add("display", "d", inputs=1, outputs=0))
        self.write("m.json", model)
        text = self.check("check", "m.json", "--python", err="").stdout
        self.assertIn(
            "note Z422 mainsys.half (constant): the expression '1//2' is 0: // leaves the whole part of a quotient", text
        )
        self.assertNotIn("Z422", self.zarn("check", "m.json").stdout, "nothing is evaluated")
        model.blocks[0]["constant"]["expression"] = "3//2"
        self.write("m.json", model)
        self.assertNotIn("Z422", self.check("check", "m.json", "--python").stdout)

    def test_a_long_name_widens_its_own_lines_only(self):
        model = Model()
        for i in range(50):
            model.chain(model.add("time", "n" * 100_000 if i == 0 else f"t{i}"), model.add("display", f"d{i}", inputs=1))
        self.write("m.json", model)
        lines = self.check("explain", "m.json").stdout.splitlines()
        self.assertEqual(sum(len(line) > 1000 for line in lines), 2, "its own, and the one that waits for it")
        self.assertLess(sum(map(len, lines)), 400_000)

    def test_every_example_is_explained(self):
        for model in examples():
            with self.subTest(model.name):
                self.check("explain", model, *workspace(model), err="")


if __name__ == "__main__":
    unittest.main()

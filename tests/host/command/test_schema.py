"""The schema of model files holds for what the checks find in order, and for nothing else."""

import json
import re
import unittest

from support import DATA, CommandTest

try:
    import jsonschema
except ImportError:
    jsonschema = None

ROOT = DATA.parents[1]
PAGE = ROOT / "docs/model-file.md"

# what the checks say of the values of a file, whatever they mean together
ABOUT_VALUES = {"Z103", "Z104", "Z105", "Z106", "Z107", "Z108", "Z109", "Z115", "Z116", "Z122"}


def models():
    """Every model of the repository that is JSON, and what it holds."""
    for folder in ROOT / "examples", DATA:
        for path in sorted(folder.rglob("*.json")):
            if len(path.suffixes) > 1:  # what is expected of a model
                continue
            try:
                yield path, json.loads(path.read_text())
            except ValueError:
                pass


@unittest.skipIf(jsonschema is None, "python3-jsonschema is not installed")
class Schema(CommandTest):
    def setUp(self):
        super().setUp()
        schema = json.loads(self.check("schema", err="").stdout)
        jsonschema.Draft202012Validator.check_schema(schema)
        self.validator = jsonschema.Draft202012Validator(schema)
        self.schema = schema

    def test_it_agrees_with_the_checks_on_every_model_of_the_repository(self):
        count = 0
        for path, content in models():
            with self.subTest(path=str(path.relative_to(ROOT))):
                answer = json.loads(self.zarn("check", "--json", path.name, cwd=path.parent).stdout)
                codes = {f["code"] for f in answer["findings"] if f["file"] == path.name}
                if "Z121" in codes:  # too large: nothing else is looked at
                    continue
                found = codes & ABOUT_VALUES
                errors = [error.message for error in self.validator.iter_errors(content)]
                # a block without an id has that of the root, and is told as one of two with one id
                errors = [error for error in errors if error != "'id' is a required property"]
                self.assertEqual(bool(errors), bool(found), (errors[:3], found))
                count += 1
        self.assertGreater(count, 300)

    def test_every_class_and_parameter_is_in_it(self):
        for row in json.loads(self.check("blocks", "--json").stdout)["blocks"]:
            definition = self.schema["$defs"]["class " + row["class"]]
            self.assertEqual(
                {key: value["default"] for key, value in definition["properties"].items()},
                {key: value["default"] for key, value in row["parameters"].items()},
            )

    def test_slips_that_it_finds(self):
        block = {"name": "k", "id": 3000000000000001}
        for wrong in (
            {"blocks": [{"constant": block | {"value": "1"}}]},
            {"blocks": [{"constnat": block}]},
            {"blocks": [{"constant": {"name": "k"}}]},
            {"blocks": [{"constant": block | {"expression": 1.5}}]},
            {"blocks": [{"constant": block | {"geometry": {"x": "left"}}}]},
            {"blocks": [], "model": {"dt": 0.1}},
            {"blocks": [], "links": [{"srcId": 1}]},
            {"links": []},
            [],
        ):
            self.assertFalse(self.validator.is_valid(wrong), wrong)


class Page(CommandTest):
    """docs/model-file.md"""

    def test_the_model_on_the_page_is_in_order(self):
        (model,) = re.findall(r"^```json\n(.*?)^```", PAGE.read_text(), re.MULTILINE | re.DOTALL)
        self.write("page.json", model)
        self.check("check", "page.json", out="page.json: no problem found")
        self.check("run", "page.json", "-q", "-o", "page.csv", err="")
        self.assertEqual([row[1] for row in self.csv("page.csv")[1:]], ["0.0", "0.0", "0.0", "1.5", "2.0"])

    def test_its_table_is_made_of_the_classes(self):
        table = self.check("schema", "--markdown").stdout
        self.assertTrue(PAGE.read_text().endswith("<!-- made by: zarn schema --markdown -->\n" + table))


if __name__ == "__main__":
    unittest.main()

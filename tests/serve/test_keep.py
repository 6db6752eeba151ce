"""What becomes of the file: bytes that stay, a killed service, changes by others."""

import json
import shutil
import unittest

from support import ROOT, Case, HERE


def changed_lines(before, after):
    """The lines that differ, of two texts with equally many."""
    old, new = before.split("\n"), after.split("\n")
    assert len(old) == len(new), "lines came or went"
    return [(a, b) for a, b in zip(old, new) if a != b]


class Keep(Case):
    def test_an_edit_changes_its_own_bytes_only(self):
        model = self.model()
        before = model.read_bytes().decode()
        service = self.serve(model)
        service.edit({"op": "move", "blocks": ["3000000000000001"], "dx": 5, "dy": 0.25})
        service("save")
        after = model.read_bytes().decode()
        self.assertEqual(after, before.replace('"x": 10, "y": 20.50', '"x": 15, "y": 20.75'))

    def test_all_can_be_undone_to_the_last_byte(self):
        model = self.model()
        before = model.read_bytes()
        service = self.serve(model)
        made = service.edit({"op": "add_block", "class": "abs", "level": "0", "x": 5, "y": 5})["created"][0]
        service.edit({"op": "insert_on_wire", "wire": "3000000000000003:0>3000000000000004:0", "block": made})
        service.edit({"op": "group", "blocks": [made, "3000000000000003"]})
        service.edit({"op": "remove", "blocks": ["3000000000000002"]})
        service.edit({"op": "comment", "level": "0", "text": "a", "x": 0, "y": 0})
        service.edit({"op": "set_setting", "key": "tf", "value": 3})
        service("save")
        self.assertNotEqual(model.read_bytes(), before)
        for _ in range(6):
            service("undo")
        service("save")
        self.assertEqual(model.read_bytes(), before)

    def test_new_ids_are_unused_and_of_16_digits(self):
        model = self.model()
        service = self.serve(model)
        made = service.edit(*[{"op": "add_block", "class": "abs", "level": "0", "x": 0, "y": 9 * i} for i in range(50)])
        service("save")
        ids = [next(iter(b.values()))["id"] for b in json.loads(model.read_text())["blocks"]]
        self.assertEqual(len(ids), len(set(ids)))
        self.assertEqual([str(i) for i in ids[-50:]], made["created"])
        self.assertTrue(all(len(handle) == 16 for handle in made["created"]))

    def test_a_killed_service_loses_nothing(self):
        model = self.model()
        before = model.read_bytes()
        service = self.serve(model)
        service.edit({"op": "rename", "block": "3000000000000001", "name": "kept"})
        side = model.with_name(".small.json.unsaved")
        self.eventually(side.exists, 2)
        service.kill()
        self.assertEqual(model.read_bytes(), before)
        again = self.serve(model)
        hello = again("hello")
        self.assertTrue(hello["modified"])
        self.assertEqual(again("block", block="3000000000000001")["name"], "kept")
        again("save")
        self.assertFalse(side.exists())
        self.assertIn('"kept"', model.read_text())

    def test_what_was_kept_can_be_dropped(self):
        model = self.model()
        service = self.serve(model)
        service.edit({"op": "rename", "block": "3000000000000001", "name": "kept"})
        self.assertEqual(service.close(), 0)
        again = self.serve(self.folder)
        opened = again("open", file="small.json", recover=False)
        self.assertIsNone(opened["recovered"])
        self.assertEqual(again("block", block="3000000000000001")["name"], "two")
        self.assertFalse(model.with_name(".small.json.unsaved").exists())

    def test_kept_drawings_of_a_file_that_changed_are_not_saved_unasked(self):
        model = self.model()
        service = self.serve(model)
        service.edit({"op": "rename", "block": "3000000000000001", "name": "kept"})
        service.close()
        model.write_text(model.read_text().replace('"gain"', '"other"'))
        again = self.serve(model)
        self.assertEqual(again.ask("save")["error"]["code"], 3)
        self.assertIn('"other"', model.read_text())

    def test_changes_of_others_are_merged(self):
        model = self.model()
        service = self.serve(model)
        service.edit({"op": "rename", "block": "3000000000000001", "name": "mine"})
        model.write_text(model.read_text().replace('"gain"', '"theirs"').replace('"tf": 1.0', '"tf": 5.0'))
        self.assertTrue(service("save")["merged"])
        text = model.read_text()
        for word in ('"mine"', '"theirs"', '"tf": 5.0', '"written by": "hand"'):
            self.assertIn(word, text)

    def test_changes_in_one_place_are_asked_about(self):
        model = self.model()
        service = self.serve(model)
        service.edit({"op": "rename", "block": "3000000000000001", "name": "mine"})
        model.write_text(model.read_text().replace('"two"', '"theirs"'))
        refused = service.ask("save")["error"]
        self.assertEqual(refused["code"], 3)
        self.assertEqual(refused["data"]["blocks"], ["3000000000000001"])
        self.assertIn('"theirs"', model.read_text())
        service("save", overwrite=True)
        self.assertIn('"mine"', model.read_text())

    def test_a_file_that_others_change_is_read_anew(self):
        model = self.model()
        service = self.serve(model)
        service("hello")  # it is open
        model.write_text(model.read_text().replace('"two"', '"theirs"'))
        self.eventually(lambda: service("block", block="3000000000000001")["name"] == "theirs")

        def told():
            service("hello")
            return any(one["method"] == "disk" for one in service.heard)

        self.eventually(told)

    def test_every_model_of_the_repository_changes_by_its_geometry_only(self):
        models = sorted(p for folder in ("examples", "tests/data/checks", "tests/data/draw")
                        for p in (ROOT / folder).rglob("*.json"))
        self.assertGreater(len(models), 20)
        service = self.serve(self.folder)
        moved = 0
        for number, path in enumerate(models):
            copy = self.folder / f"{number}.json"
            shutil.copy(path, copy)
            before = copy.read_bytes()
            opened = service.ask("open", file=copy.name)
            if "error" in opened or not opened["result"]["features"]["edit"]:
                continue
            view = service("view")
            for block in view["blocks"]:
                if "~" in block["id"] or block["id"].startswith("0"):
                    continue
                answer = service.ask("edit", operations=[{"op": "move", "blocks": [block["id"]], "dx": 3, "dy": 4}])
                if "error" in answer:
                    self.assertEqual(answer["error"]["code"], 1, path)
                    continue
                service("save")
                self.check_geometry_only(before.decode("utf-8", "replace"),
                                         copy.read_bytes().decode("utf-8", "replace"), block["id"], path)
                moved += 1
                break
        self.assertGreater(moved, 20)

    def check_geometry_only(self, before, after, block, path):
        """One stretch of the text differs, and without the geometry of the block both say the same."""
        first = next(i for i, (a, b) in enumerate(zip(before, after)) if a != b)
        last = next(i for i, (a, b) in enumerate(zip(before[::-1], after[::-1])) if a != b)
        self.assertLess(len(after) - last - first, 300, path)

        def without_geometry(text):
            model = json.loads(text)
            for element in model["blocks"]:
                for data in element.values() if isinstance(element, dict) else []:
                    if isinstance(data, dict) and str(data.get("id")) == block:
                        data.pop("geometry", None)
            return model

        self.assertEqual(without_geometry(before), without_geometry(after), path)


if __name__ == "__main__":
    unittest.main()

"""Pictures of models: what is in them, and that every model gets one."""

import json
import math
import pathlib
import re
import resource
import shutil
import struct
import subprocess
import time
import unittest
import xml.etree.ElementTree as ElementTree

from support import DATA, PATIENCE, SANITIZERS, ZARN, CommandTest, Model, counter, gated

EXAMPLES = DATA.parents[1] / "examples"
SVG = "{http://www.w3.org/2000/svg}"
NO_DOT = {"PATH": "/nonexistent"}


class Picture:
    """A drawing, taken apart."""

    def __init__(self, text):
        self.root = ElementTree.fromstring(text)
        self.texts = ["".join(t for t in node.itertext()) for node in self.root.iter(SVG + "text")]
        self.pages = [g for g in self.root.iter(SVG + "g") if g.get("id", "").startswith("page-")]

    def nodes(self, class_name=None):
        groups = [g for g in self.root.iter(SVG + "g") if g.get("class") == "node"]
        return [g for g in groups if class_name in (None, g.get("data-class"))]

    def node(self, number):
        (found,) = [g for g in self.nodes() if g.get("data-id") == str(number)]
        return found

    def texts_of(self, number):
        return ["".join(t.itertext()) for t in self.node(number).iter(SVG + "text")]

    def box(self, number):
        """Left, top, width and height of a block."""
        for shape in self.node(number):
            if "block" not in shape.get("class", "").split():
                continue
            if shape.tag == SVG + "ellipse":
                cx, cy, rx, ry = (float(shape.get(k)) for k in ("cx", "cy", "rx", "ry"))
                return cx - rx, cy - ry, 2 * rx, 2 * ry
            if shape.tag == SVG + "rect":
                return tuple(float(shape.get(k)) for k in ("x", "y", "width", "height"))
        raise AssertionError("no outline")

    def paths(self, class_name, root=None):
        """Corners of all paths of a class."""
        found = []
        for path in (self.root if root is None else root).iter(SVG + "path"):
            if class_name in path.get("class", "").split():
                numbers = [float(n) for n in re.findall(r"-?[\d.]+", path.get("d"))]
                found.append(list(zip(numbers[::2], numbers[1::2])))
        return found

    def classes(self, tag):
        return [node.get("class", "") for node in self.root.iter(SVG + tag)]


class DrawTest(CommandTest):
    def draw(self, model, *options, **keywords):
        """Draws a model to standard output."""
        if isinstance(model, Model):
            model = self.write("m.json", model)
        return Picture(self.check("draw", model, *options, **keywords).stdout)


class ContentTest(DrawTest):
    def test_a_chain_of_blocks_has_boxes_wires_names_and_types(self):
        model = counter()
        picture = self.draw(model, err="")
        self.assertEqual(len(picture.nodes()), 4)
        self.assertEqual(len(picture.paths("wire")), 3)
        self.assertEqual(len(picture.paths("arrow")), 3)
        for name in "clock", "two", "double", "out":
            self.assertIn(name, " ".join(picture.texts))
        self.assertEqual(picture.texts.count("flt64"), 3)
        self.assertIn("m.json", picture.texts)
        for number in (next(iter(block.values()))["id"] for block in model.blocks):
            self.assertGreater(picture.box(number)[2], 10)

    def test_every_class_has_a_symbol(self):
        listed = self.check("blocks").stdout
        model = Model()
        for name in ("abs acc acos add asin atan cast clamp constant cos debounce delta display divide enable from "
                     "from_workspace goto hysteresis if inport lerp log logical lut1d lut2d max memory min mod multiply "
                     "not outport poly1st pow random refsys relational sin sinewave sqrt squarewave step subsys subtract "
                     "switch tan time to_workspace unpack").split():
            self.assertIn(name, listed)
            model.add(name, f"the {name}", inputs=2)
        picture = self.draw(model)
        self.assertEqual(len(picture.nodes()), len(model.blocks))
        self.assertFalse([c for c in picture.classes("rect") if "unknown" in c])
        for node in picture.nodes():
            outlines = [s for s in node if "block" in s.get("class", "").split()]
            self.assertEqual(len(outlines), 1, node.get("data-class"))

    def test_symbols_tell_what_a_block_does(self):
        model = Model()
        texts = {
            model.add("constant", "c", expression="2.5"): "2.5",
            model.add("memory", "m", inputs=1): "z\u22121",
            model.add("relational", "r", inputs=2, operator="ge"): "\u2265",
            model.add("logical", "l", inputs=2, operator="nand"): "NAND",
            model.add("multiply", "x", inputs=2): "\u00d7",
            model.add("goto", "g", inputs=1, outputs=0, target="speed"): "[speed]",
            model.add("from", "f", target="speed"): "[speed]",
            model.add("cast", "k", inputs=1, type="uint8"): "uint8",
            model.add("poly1st", "p", inputs=1, coeffA="3", coeffB="4"): "3\u00b7u + 4",
            model.add("inport", "i", inputs=1, portNumber=7): "7",
            model.add("sqrt", "s", inputs=1): "\u221au",
        }
        picture = self.draw(model)
        for number, text in texts.items():
            self.assertIn(text, picture.texts_of(number))

    def test_a_line_has_the_brackets_that_it_needs_and_no_more(self):
        dot, minus = "\u00b7", "\u2212"
        captions = {
            ("kp+ki", "b"): f"(kp+ki){dot}u + b",
            ("kp", "0.0"): f"kp{dot}u",
            ("kp", "0"): f"kp{dot}u",
            ("1.0", "b"): "u + b",
            ("-1", "b"): "-u + b",
            ("-2", "-kp"): f"-2{dot}u {minus} kp",
            ("2*x", "-1.5"): f"2*x{dot}u {minus} 1.5",
            ("x / L", "a - b"): f"(x / L){dot}u + a - b",
            ("x // L", "f(a + b)[2]"): f"(x // L){dot}u + f(a + b)[2]",
            ("k**2", "a*b"): f"k**2{dot}u + a*b",
            ("1e-3", "2.5e+3"): f"1e-3{dot}u + 2.5e+3",
            ("(a + b)", " 0.00 "): f"(a + b){dot}u",
            ("a if c else d", "a < b"): f"(a if c else d){dot}u + (a < b)",
            ("lambda", "a or b"): f"lambda{dot}u + (a or b)",
            ("a(", "["): f"(a(){dot}u + ([)",
            ("", "-"): f"(){dot}u + (-)",
            ("mainsys.ts", "m['k']"): f"mainsys.ts{dot}u + (m['k'])",
        }
        model = Model()
        for number, (a, b) in enumerate(captions):
            model.add("poly1st", f"p{number}", inputs=1, coeffA=a, coeffB=b, geometry={"x": 0, "y": 60 * number, "width": 600, "height": 40})
        picture = self.draw(model, "-q")
        shown = [picture.texts_of(1000000000000001 + number)[0] for number in range(len(captions))]
        self.assertEqual(shown, list(captions.values()))

    def test_differences_show_the_signs_with_which_they_fold(self):
        model = Model()
        three = model.add("subtract", "three", inputs=3)
        two = model.add("subtract", "two", inputs=2)
        four = model.add("subtract", "four", inputs=4)
        picture = self.draw(model)
        minus = "\u2212"
        self.assertEqual([t for t in picture.texts_of(three)], ["+", minus, "+"])
        self.assertEqual([t for t in picture.texts_of(two)], ["+", minus])
        self.assertEqual([t for t in picture.texts_of(four) if t in ("+", minus)], ["+", minus, "+", minus])

    def test_a_table_shows_its_own_curve(self):
        model = Model()
        table = model.add("lut1d", "t", inputs=1, bp1="[0, 1, 3]", out="[0, 10, 5]")
        other = model.add("lut1d", "u", inputs=1, bp1="points", out="values")
        picture = self.draw(model)
        (curve,) = picture.paths("icon", picture.node(table))
        self.assertEqual(len(curve), 3)
        self.assertAlmostEqual((curve[1][0] - curve[0][0]) / (curve[2][0] - curve[0][0]), 1 / 3, delta=0.02)
        self.assertEqual(min(curve, key=lambda p: p[1]), curve[1])
        self.assertTrue(picture.paths("icon", picture.node(other)))

    def test_a_subsystem_shows_its_ports_by_name_and_its_enable_input(self):
        model = gated()
        picture = self.draw(model)
        (subsystem,) = picture.nodes("subsys")
        texts = ["".join(t.itertext()) for t in subsystem.iter(SVG + "text")]
        self.assertEqual(sorted(texts), ["u", "y"])
        self.assertEqual(len([r for r in subsystem.iter(SVG + "rect") if r.get("class") == "inner"]), 1)
        (pulse,) = picture.paths("icon", subsystem)
        self.assertEqual(len(pulse), 6)

    def test_ports_of_one_block_are_apart(self):
        model = Model()
        source = model.add("constant", "c")
        target = model.add("logical", "l", inputs=5)
        for port in range(5):
            model.link(source, target, port)
        ends = {path[0] for path in self.draw(model).paths("arrow")}
        self.assertEqual(len(ends), 5)

    def test_open_ports_are_marked(self):
        model = Model()
        model.add("abs", "a", inputs=1)
        self.assertEqual(len(self.draw(model).paths("open")), 2)

    def test_labels_of_links_are_written_once_for_each_signal(self):
        model = counter()
        source = next(iter(model.blocks[0].values()))["id"]
        for name in "a", "b":
            model.link(source, model.add("abs", name, inputs=1))
        for link in model.links:
            if link["srcId"] == source:
                link["label"] = "t & <now>"
        self.assertEqual(self.draw(model).texts.count("t & <now>"), 1)

    def test_dissolved_blocks_pass_types_on(self):
        model = Model()
        source = model.add("constant", "one", expression="1")
        inside = model.add("subsys", "s", inputs=1, outputs=1)
        inport = model.add("inport", "u", parent=inside, inputs=1, portNumber=3)
        outport = model.add("outport", "y", parent=inside, inputs=1, portNumber=5)
        goto = model.add("goto", "g", inputs=1, outputs=0, target="x")
        origin = model.add("from", "f", target="x")
        cast = model.add("cast", "c", inputs=1, type="flt32")
        shown = model.add("display", "d", inputs=1, outputs=0)
        model.link(source, inside, 3)
        model.link(inport, outport)
        model.link(inside, goto, 0, 5)
        model.link(origin, cast)
        model.link(cast, shown)
        texts = self.draw(model, err="").texts
        # constant, inport, subsystem and from carry the integer
        self.assertEqual(texts.count("int32"), 4)
        # beside what is written in the cast
        self.assertEqual(texts.count("flt32"), 2)

    def test_settings_stand_in_the_title(self):
        self.assertIn("0 s to 5 s, step 0.25 s", self.draw(counter(tf=5.0)).texts)
        self.assertIn("0 s to 7 s, step 0.25 s", self.draw("m.json", "--set", "tf=7").texts)


class PlacementTest(DrawTest):
    """Where things are."""

    def placed(self, **more):
        model = Model()
        a = model.add("constant", "a", geometry={"x": 100, "y": 50, "width": 40, "height": 40} | more)
        b = model.add("abs", "b", inputs=1, geometry={"x": 300, "y": 80, "width": 60, "height": 40})
        c = model.add("abs", "c", inputs=1, geometry={"x": 500, "y": 250, "width": 60, "height": 80})
        model.chain(a, b, c)
        return model, a, b, c

    def test_positions_and_sizes_are_those_of_the_file(self):
        model, a, b, c = self.placed()
        picture = self.draw(model)
        boxes = [picture.box(n) for n in (a, b, c)]
        self.assertEqual([box[2:] for box in boxes], [(40, 40), (60, 40), (60, 80)])
        self.assertEqual([boxes[1][i] - boxes[0][i] for i in (0, 1)], [200, 30])
        self.assertEqual([boxes[2][i] - boxes[0][i] for i in (0, 1)], [400, 200])

    def test_small_drawings_are_enlarged_alike(self):
        model = Model()
        a = model.add("constant", "a", geometry={"x": 0, "y": 10, "width": 30, "height": 20})
        b = model.add("abs", "b", inputs=1, geometry={"x": 100, "y": 60, "width": 15, "height": 20})
        picture = self.draw(model)
        (ax, ay, aw, ah), (bx, by, bw, bh) = picture.box(a), picture.box(b)
        scale = ah / 20
        self.assertGreater(scale, 1.5)
        for value, wanted in (aw, 30), (bw, 15), (bh, 20), (bx - ax, 100), (by - ay, 50):
            self.assertAlmostEqual(value, wanted * scale, delta=0.2)

    def test_breakpoints_are_kept(self):
        model, a, b, c = self.placed()
        model.links[1]["breakpoints"] = [{"x": 430, "y": 100}, {"x": 430, "y": 290}]
        picture = self.draw(model)
        left, top = picture.box(a)[:2]
        corners = [(x - left + 100, y - top + 50) for path in picture.paths("wire") for x, y in path]
        self.assertIn((430, 100), corners)
        self.assertIn((430, 290), corners)

    def test_a_bend_follows_a_port_that_is_nearly_level(self):
        model, a, b, c = self.placed()
        model.links[1]["breakpoints"] = [{"x": 430, "y": 93}, {"x": 430, "y": 285}]
        for path in self.draw(model).paths("wire"):
            for (x0, y0), (x1, y1) in zip(path, path[1:]):
                self.assertTrue(x0 == x1 or y0 == y1, path)

    def test_wires_that_part_get_a_dot_though_they_are_a_hair_apart(self):
        model, a, b, c = self.placed()
        low = model.add("abs", "low", inputs=1, geometry={"x": 300, "y": 180, "width": 60, "height": 40})
        model.link(a, low)
        model.links[0]["breakpoints"] = [{"x": 200, "y": 70}, {"x": 200, "y": 100}]
        model.links[-1]["breakpoints"] = [{"x": 200.3, "y": 70}, {"x": 200.3, "y": 200}]
        picture = self.draw(model)
        left, top = picture.box(a)[:2]
        dots = [(float(c.get("cx")) - left + 100, float(c.get("cy")) - top + 50) for c in picture.root.iter(SVG + "circle")]
        self.assertEqual([(round(x), round(y)) for x, y in dots], [(200, 100)])

    def test_rotation_turns_ports(self):
        model, a, b, c = self.placed(rotation=180)
        picture = self.draw(model)
        starts = [path[0] for path in picture.paths("wire")]
        left, top, width, height = picture.box(a)
        self.assertIn((left, top + height / 2), starts)
        model, a, b, c = self.placed(rotation=90)
        picture = self.draw(model)
        left, top, width, height = picture.box(a)
        self.assertIn((left + width / 2, top + height), [path[0] for path in picture.paths("wire")])
        self.assertTrue([r for r in picture.node(a).iter(SVG + "rect") if "rotate(90" in r.get("transform", "")])

    def test_colours_are_those_of_the_file(self):
        model = Model()
        a = model.add("constant", "a", bg={"red": 1.0, "green": 0.5, "blue": 0.0, "alpha": 1.0})
        b = model.add("constant", "b", backgroundColor={"red": 0.0, "green": 0.0, "blue": 1.0, "alpha": 0.5})
        c = model.add("constant", "c", bg={"red": 1.0, "alpha": 0.0}, backgroundColor={"green": 1.0, "alpha": 1.0})
        picture = self.draw(model)
        fills = [next(s.get("style", "") for s in picture.node(n) if "block" in s.get("class", "")) for n in (a, b, c)]
        self.assertEqual(fills, ["fill:#ff8000", "fill:#0000ff;fill-opacity:0.50", ""])

    def assert_tidy(self, picture):
        """No two blocks overlap, no wire runs through a block, all wires are level or upright."""
        boxes = [picture.box(n.get("data-id")) for n in picture.nodes() if n.get("data-class") not in ("goto", "from")]
        for i, (x, y, w, h) in enumerate(boxes):
            for u, v, p, q in boxes[i + 1 :]:
                self.assertTrue(x + w <= u or u + p <= x or y + h <= v or v + q <= y)
        for path in picture.paths("wire"):
            for (x0, y0), (x1, y1) in zip(path, path[1:]):
                self.assertTrue(x0 == x1 or y0 == y1, path)
                for x, y, w, h in boxes:
                    beside = max(x0, x1) <= x + 1 or min(x0, x1) >= x + w - 1
                    above = max(y0, y1) <= y + 1 or min(y0, y1) >= y + h - 1
                    self.assertTrue(beside or above, (path, (x, y, w, h)))

    def controller(self):
        model = Model()
        reference, gain, ki = (model.add("constant", n) for n in ("reference", "kp", "ki"))
        error = model.add("subtract", "error", inputs=2)
        p, i = (model.add("multiply", n, inputs=2) for n in "pi")
        total, state = model.add("add", "total", inputs=2), model.add("memory", "state", inputs=1)
        limit = model.add("clamp", "limit", inputs=3)
        low, high = (model.add("constant", n) for n in ("low", "high"))
        out = model.add("outport", "out", inputs=1)
        for source, target, port in (
            (reference, error, 0), (state, error, 1), (error, p, 0), (gain, p, 1), (error, i, 0), (ki, i, 1),
            (p, total, 0), (i, total, 1), (total, limit, 0), (low, limit, 1), (high, limit, 2), (limit, state, 0),
            (limit, out, 0),
        ):
            model.link(source, target, port)
        return model

    def test_a_model_without_positions_is_laid_out(self):
        picture = self.draw(self.controller())
        self.assert_tidy(picture)
        for link in self.controller().links[:1] + self.controller().links[-1:]:  # signals run to the right
            self.assertLess(picture.box(link["srcId"])[0], picture.box(link["dstId"])[0])

    def test_a_model_on_one_spot_is_laid_out(self):
        model = self.controller()
        for block in model.blocks:
            next(iter(block.values()))["geometry"] = {"x": 5, "y": 5, "width": 50, "height": 40}
        self.assert_tidy(self.draw(model))

    def test_relayout_passes_over_positions(self):
        model, a, b, c = self.placed()
        before, after = self.draw(model), self.draw(model, "--relayout")
        self.assertNotEqual(before.box(c)[1] - before.box(a)[1], after.box(c)[1] - after.box(a)[1])
        self.assert_tidy(after)

    def test_a_block_without_a_place_gets_a_free_one(self):
        model, a, b, c = self.placed()
        model.link(a, model.add("abs", "later", inputs=1))
        picture = self.draw(model)
        self.assert_tidy(picture)
        self.assertEqual(picture.box(b)[0] - picture.box(a)[0], 200)

    def test_without_dot_a_layout_of_our_own_is_used_and_told(self):
        self.write("m.json", self.controller())
        result = self.check("draw", "m.json", env=NO_DOT, err="dot cannot be started")
        self.assert_tidy(Picture(result.stdout))

    def fake_dot(self, script):
        path = self.folder / "bin" / "dot"
        path.parent.mkdir(exist_ok=True)
        path.write_text("#!/bin/sh\n" + script)
        path.chmod(0o755)
        return {"PATH": f"{path.parent}:/usr/bin:/bin"}

    def test_a_dot_that_never_answers_is_ended(self):
        self.write("m.json", self.controller())
        env = self.fake_dot("exec sleep 60\n")
        begin = time.monotonic()
        result = self.check("draw", "m.json", "--layout-time", "0.3", env=env, err="no layout within 0.3 s")
        self.assertLess(time.monotonic() - begin, 20)
        self.assert_tidy(Picture(result.stdout))

    def test_a_dot_that_answers_nonsense_or_dies_is_passed_over(self):
        model = self.controller()
        for number in range(300):  # more text than a pipe holds
            model.add("subsys", f"s{number}")
            model.add("constant", "c", parent=1000000000000000 + len(model.blocks))
        self.write("m.json", model)
        for script in "echo graph 1 x; echo node n0; echo stop\n", "exit 0\n", "exec kill -9 $$\n", "cat >/dev/null; echo stop\n":
            result = self.check("draw", "m.json", env=self.fake_dot(script), err="dot gave no layout")
            self.assertEqual(len(Picture(result.stdout).nodes()), len(model.blocks))


class PagesTest(DrawTest):
    def nested(self):
        model = Model()
        outer = model.add("subsys", "outer", inputs=0, outputs=1)
        inner = model.add("subsys", "inner", parent=outer, inputs=0, outputs=1)
        for parent in (outer, inner):
            model.add("outport", "y", parent=parent, inputs=1, portNumber=0)
        source = model.add("constant", "deep", parent=inner)
        model.link(source, source - 1)
        model.link(inner, source - 2)
        shown = model.add("display", "shown", inputs=1, outputs=0)
        model.link(outer, shown)
        return model

    def test_each_subsystem_has_a_panel_to_which_its_block_leads(self):
        picture = self.draw(self.nested())
        self.assertEqual(len(picture.pages), 3)
        for title in "mainsys.outer", "mainsys.outer.inner":
            self.assertIn(title, picture.texts)
        anchors = {a.get("href")[1:] for a in picture.root.iter(SVG + "a")}
        self.assertEqual(anchors, {page.get("id") for page in picture.pages[1:]})

    def test_depth_draws_contents_in_place(self):
        model = self.nested()
        for depth, pages in (0, 3), (1, 2), (2, 1), (5, 1):
            picture = self.draw(model, "--depth", depth)
            self.assertEqual(len(picture.pages), pages, depth)
            self.assertEqual(len(picture.nodes()), len(model.blocks))

    def test_a_level_is_drawn_alone(self):
        model = self.nested()
        self.write("m.json", model)
        for path in "outer", "mainsys.outer":
            (page,) = self.draw(model, "--level", path).pages
            self.assertEqual(page.get("id"), "page-1")
        picture = self.draw(model, "--level", "outer.inner")
        self.assertEqual([n.get("data-class") for n in picture.nodes()], ["outport", "constant"])
        self.assertIn("mainsys.outer.inner", picture.texts)
        self.assertEqual(len(self.draw(model, "--level", "outer", "--depth", "1").nodes()), 4)
        self.assertEqual(len(self.draw(model, "--level", "mainsys").pages), 1)
        for path in "inner", "outer.deep", "outer.", "x":
            result = self.check("draw", "m.json", "--level", path, status=2, out="")
            self.assertEqual(result.stderr, f"zarn: --level {path}: there is no subsystem of this path\n")
        model.blocks[0]["subsys"]["name"] = "my part"
        for path in "my part", "my_part":
            self.assertEqual(len(self.draw(model, "--level", path).nodes()), 2)

    def test_a_frame_in_place_encloses_its_content(self):
        model = self.nested()
        for index, block in enumerate(model.blocks):
            x = 40 + 120 * index
            next(iter(block.values()))["geometry"] = {"x": x, "y": 40, "width": 60, "height": 40}
        picture = self.draw(model, "--depth", "2")
        outer, inner = (picture.node(1000000000000001 + n) for n in (0, 1))
        (shift,) = [g.get("transform") for g in outer if g.get("transform")]
        dx, dy = (float(v) for v in re.findall(r"-?[\d.]+", shift))
        x, y, w, h = picture.box(outer.get("data-id"))
        u, v, p, q = picture.box(inner.get("data-id"))
        self.assertTrue(x < u + dx and u + dx + p < x + w and y < v + dy and v + dy + q < y + h)

    def test_a_reference_is_drawn_with_its_file(self):
        part = Model()
        part.link(part.add("inport", "u", inputs=1, portNumber=0), part.add("outport", "y", inputs=1, portNumber=0))
        model = Model()
        source = model.add("constant", "c", expression="1")
        for name in "one", "two":
            reference = model.add("refsys", name, inputs=1, outputs=1, path="part.json")
            model.link(source, reference)
        self.write("sub/part.json", part)
        self.write("sub/m.json", model)
        picture = self.draw("sub/m.json", err="")
        # what both refer to is drawn once, with types known although a load gives its blocks other ids
        self.assertEqual(len(picture.pages), 2)
        self.assertEqual(len(picture.nodes("inport")), 1)
        self.assertEqual(picture.texts.count("int32"), 2)
        self.assertIn("mainsys.one, mainsys.two", picture.texts)
        self.assertIn("refers to part.json", picture.texts)
        anchors = [a.get("href") for a in picture.root.iter(SVG + "a")]
        self.assertEqual(anchors, ["#" + picture.pages[1].get("id")] * 2)
        self.assertEqual(len(self.draw("sub/m.json", "--depth", "1").nodes("inport")), 2)

    def test_what_differs_between_two_uses_of_a_file_stands_together(self):
        part = Model()
        inport, wave = part.add("inport", "u", inputs=1, portNumber=0), part.add("abs", "a", inputs=1)
        part.chain(inport, wave, part.add("outport", "y", inputs=1, portNumber=0))
        inner = part.add("subsys", "inner")
        part.add("time", "clock", parent=inner)
        model = Model()
        for number, expression in enumerate(("1", "1.0", "2", "2.0", "3")):
            reference = model.add("refsys", f"r{number}", inputs=1, outputs=1, path="part.json")
            model.link(model.add("constant", f"c{number}", expression=expression), reference)
        self.write("part.json", part)
        picture = self.draw(model)
        self.assertEqual(len(picture.pages), 3)
        self.assertEqual(len(picture.nodes()), len(model.blocks) + len(part.blocks))
        self.assertEqual(picture.texts.count("int32 | flt64"), 2)
        self.assertIn("mainsys.r0, mainsys.r1, mainsys.r2 and 2 more", picture.texts)

    def test_types_go_through_every_kind_of_port(self):
        model = Model()
        outer = model.add("subsys", "outer", inputs=1, outputs=1)
        inner = model.add("subsys", "inner", parent=outer, inputs=1, outputs=1)
        source = model.add("constant", "c", expression="True")
        goto = model.add("goto", "g", inputs=1, outputs=0, target="x")
        origin, last = model.add("from", "f", target="x"), model.add("display", "d", inputs=1, outputs=0)
        first, second = (model.add("inport", "u", parent=p, inputs=1, portNumber=0) for p in (outer, inner))
        third, fourth = (model.add("outport", "y", parent=p, inputs=1, portNumber=0) for p in (inner, outer))
        model.chain(source, outer)
        model.chain(first, inner, fourth)
        model.chain(second, third)
        model.chain(outer, goto)
        model.chain(origin, last)
        picture = self.draw(model, err="")
        self.assertEqual(len(picture.paths("wire")), 6)
        self.assertEqual([c for c in picture.classes("path") if c.startswith("wire")], ["wire bool"] * 6)

    def test_a_reference_that_cannot_be_read_is_noted(self):
        model = Model()
        model.add("refsys", "lost", path="missing.json")
        model.add("refsys", "empty")
        texts = " ".join(self.draw(model).texts)
        self.assertIn("mainsys.lost (refsys): cannot open", texts)


class FaultTest(DrawTest):
    """Whatever is wrong with a model, there is a picture."""

    def test_links_to_nowhere_dangle_in_red(self):
        model = Model()
        a = model.add("abs", "a", inputs=1)
        model.link(a, 4711)
        model.link(4712, a)
        model.link(4713, 4714)
        picture = self.draw(model)
        self.assertEqual(len(picture.paths("broken")), 4)  # two wires, two arrows
        self.assertIn("no block 4711", picture.texts)
        self.assertIn("no block 4712", picture.texts)
        self.assertIn("a link from 4713 to 4714: there are no such blocks", picture.texts)

    def test_links_to_ports_that_do_not_exist_are_red(self):
        model = Model()
        a, b = model.add("constant", "a"), model.add("abs", "b", inputs=1)
        model.link(a, b, 6)
        picture = self.draw(model)
        self.assertEqual(len(picture.paths("broken")), 2)
        self.assertIn("6", picture.texts_of(b))

    def test_links_between_pages_name_the_other_end(self):
        model = gated()
        names = {b["name"]: b["id"] for block in model.blocks for b in block.values()}
        model.link(names["gain"], names["shown"])
        texts = self.draw(model).texts
        self.assertIn("to mainsys.shown", texts)
        self.assertIn("from mainsys.inside.gain", texts)

    def test_unknown_classes_are_named(self):
        model = Model()
        number = model.add("no_such_class", "n", inputs=1)
        picture = self.draw(model)
        self.assertIn("no_such_class", picture.texts_of(number))
        self.assertIn("unknown", picture.classes("rect")[-1])

    def test_parents_in_a_circle_are_shown(self):
        model = Model()
        a = model.add("subsys", "a")
        b = model.add("subsys", "b", parent=a)
        model.blocks[0]["subsys"]["parent"] = b
        model.add("subsys", "self")
        model.blocks[2]["subsys"]["parent"] = model.blocks[2]["subsys"]["id"]
        self.assertEqual(len(self.draw(model, "--depth", "3").nodes()), 3)

    def test_an_algebraic_loop_is_marked(self):
        model = Model()
        a, b = model.add("add", "a", inputs=2), model.add("abs", "b", inputs=1)
        c = model.add("constant", "c", expression="1.0")
        cast = model.add("cast", "k", inputs=1, type="flt64")
        model.link(c, a, 0)
        model.link(a, b)
        model.link(b, cast)
        model.link(cast, a, 1)
        picture = self.draw(model)
        loop = "mainsys.a (add): an algebraic loop of 3 blocks: mainsys.a -> mainsys.b -> mainsys.k -> mainsys.a"
        self.assertIn(loop, picture.texts)
        failed = [n.get("data-id") for n in picture.nodes() if [s for s in n if "failed" in s.get("class", "")]]
        self.assertEqual(sorted(failed), sorted(map(str, (a, b, cast))))

    def failed(self, picture):
        return [int(n.get("data-id")) for n in picture.nodes() if [s for s in n if "failed" in s.get("class", "")]]

    def test_a_looped_block_is_known_by_more_than_its_name(self):
        model = Model()
        a, b = model.add("add", "my gain", inputs=2), model.add("abs", "my gain", inputs=1)
        model.chain(a, b, a)
        model.link(model.add("constant", "my gain", expression="1.0"), a, 1)
        model.link(b, model.add("abs", "behind", inputs=1))
        self.assertEqual(self.failed(self.draw(model)), [a, b])

    def test_without_a_workspace_a_good_model_has_no_fault(self):
        model = Model()
        c = model.add("constant", "c", expression="gain")
        model.link(c, model.add("abs", "a", inputs=1))
        self.write("m.json", model)
        told = "types stop where expressions are not evaluated: -w FILE.py, -e or --python evaluates them"
        result = self.check("draw", "m.json")
        self.assertEqual(result.stderr, f"zarn: m.json: {told}\n")
        picture = Picture(result.stdout)
        (remark,) = [t for t in picture.root.iter(SVG + "text") if t.get("class") == "remark"]
        self.assertEqual(remark.text, told)
        self.assertEqual(self.failed(picture), [])
        self.assertNotIn("bad", picture.classes("text"))
        self.assertIn("int32", self.draw("m.json", "-e", "gain = 3", err="").texts)
        model.link(model.add("constant", "d", expression="more"), model.add("abs", "b", inputs=1))
        self.write("m.json", model)
        self.check("draw", "m.json", err="types stop where expressions are not evaluated: -w FILE.py, -e or --python "
                                         "evaluates them\n")
        self.check("draw", "m.json", "-q", err="")

    def test_no_type_no_word_where_all_types_are_known(self):
        model = Model()
        source = model.add("step", "s", initialValue="low", finalValue="high", stepTime="when")
        model.link(source, model.add("display", "d", inputs=1, outputs=0))
        self.assertIn("flt64", self.draw(model, err="").texts)

    def test_a_block_at_fault_is_marked_and_the_fault_told(self):
        model = Model()
        c = model.add("constant", "c", expression="1 / 0")
        model.link(c, model.add("abs", "a", inputs=1))
        lonely = model.add("sqrt", "lonely", inputs=1)
        model.link(lonely, model.add("display", "d", inputs=1, outputs=0))
        self.write("m.json", model)
        result = self.check("draw", "m.json", "--python", err="zarn: m.json: error Z401 mainsys.c (constant): ")
        picture = Picture(result.stdout)
        self.assertEqual(self.failed(picture), [c, lonely])
        notes = [t.text for t in picture.root.iter(SVG + "text") if t.get("class") == "bad"]
        self.assertEqual(len(notes), 2)
        self.assertIn("'1 / 0'", notes[0])
        self.assertEqual(notes[1], "mainsys.lonely (sqrt): input 0 has no source")

    def test_warnings_are_told_each_or_their_number(self):
        model = Model()
        model.chain(model.add("time", "t"), model.add("display", "d", inputs=1, outputs=0))
        for number in range(3):
            model.add("time", f"t {number}")
        what = "the name 't {}' is no identifier: it holds ' ', and it becomes a part of generated code as it is"
        lines = [f"zarn: m.json: warning Z501 mainsys.t_{n} (time): {what.format(n)}\n" for n in range(3)]
        self.write("m.json", model)
        self.assertEqual(self.check("draw", "m.json").stderr, "".join(lines))
        model.add("time", "t 3")
        self.write("m.json", model)
        number = "zarn: m.json: 4 warnings; 'zarn check', or -v here, shows them\n"
        self.assertEqual(self.check("draw", "m.json").stderr, number)
        self.assertEqual(self.check("draw", "m.json", "-v").stderr.count("warning Z501"), 4)
        self.check("draw", "m.json", "-q", err="")

    def test_a_model_with_too_many_ports_to_load_is_drawn(self):
        model = Model()
        for number in range(21):
            model.add("add", f"s{number}", inputs=1_000_000)
        picture = self.draw(model, err="with its 1000000 inputs the model has more than 20000000 ports")
        self.assertEqual(len(picture.nodes()), 21)

    def test_drawing_executes_nothing(self):
        model = Model()
        model.link(model.add("constant", "c", expression="open('made', 'w').close() or 1"), model.add("abs", "a", inputs=1))
        self.draw(model)
        self.assertFalse((self.folder / "made").exists())
        self.draw(model, "--python")
        self.assertTrue((self.folder / "made").exists())

    def test_controls_are_replaced(self):
        model = Model()
        for name in "a\x9bb", "a\x80b", "a\x9fb", "a\x7fb":
            model.add("constant", name, expression=name)
        self.write("m\u009b.json", model)
        result = self.check("draw", "m\u009b.json", "-q")
        self.assertEqual([c for c in result.stdout if "\x7f" <= c <= "\x9f"], [])
        texts = Picture(result.stdout).texts
        self.assertEqual(texts.count("a\ufffdb"), 8)
        self.assertIn("m\ufffd.json", texts)

    def test_names_of_files_are_text(self):
        name = "<script>&amp;'m'.json"
        self.write(name, counter())
        picture = self.draw(name)
        self.assertIn(name, picture.texts)
        self.assertEqual(picture.root.find(SVG + "title").text, name)

    HOSTILE = ["<&>\"'", "\x00\x01\x1f\x7f", "\ufffe\uffff", "]]>", "a\nb\tc\r", "x" * 5000, "\u65e5\u672c" * 40, "%s{}%n",
               "--><script>alert(1)</script>", "\U0001f600", ""]

    def test_hostile_names_are_escaped(self):
        model = Model()
        for name in self.HOSTILE:
            sub = model.add("subsys", name, inputs=1)
            inner = model.add("inport", name, parent=sub, inputs=1, portNumber=0)
            source = model.add("constant", name, expression=name)
            model.link(inner, model.add("goto", name, parent=sub, inputs=1, outputs=0, target=name))
            model.link(source, sub)
            model.links[-1]["label"] = name
        for options in (), ("--depth", "1"):
            picture = self.draw(model, *options)
            self.assertEqual(len(picture.nodes()), len(model.blocks))
            self.assertFalse(list(picture.root.iter(SVG + "script")))
            self.assertIn("<&>\"'", picture.texts)

    def test_bytes_that_are_no_utf8_are_replaced(self):
        text = counter().text().encode().replace(b'"double"', b'"d\xff\xc3\xe2\x82\xed\xa0\x80\xf8le"')
        (self.folder / "m.json").write_bytes(text)
        picture = self.draw("m.json")
        self.assertEqual(len(picture.nodes()), 4)
        self.assertTrue([t for t in picture.texts if t.startswith("d\ufffd") and t.endswith("\ufffdle")])

    def test_values_of_wrong_types_and_sizes_do_no_harm(self):
        for value in None, True, "x", [], {}, [1], -1, 1e300, -1e300, 2**63, 2**64 - 1, 2**70, 0.5:
            block = dict.fromkeys(
                ["name", "id", "parent", "inportCount", "outportCount", "geometry", "bg", "portNumber", "expression"], value
            )
            shape = {"id": 1, "geometry": dict.fromkeys(["x", "y", "width", "height", "rotation"], value),
                     "bg": dict.fromkeys(["red", "green", "blue", "alpha"], value)}
            link = dict.fromkeys(["srcId", "dstId", "srcPort", "dstPort", "label", "breakpoints"], value)
            bends = {"srcId": 1, "dstId": 2, "breakpoints": [{"x": value, "y": value}, value]}
            blocks = [{"constant": block}, {"inport": shape}, {"abs": {"id": 2}}, {"subsys": value}, {}, value]
            for model in {"blocks": blocks, "links": [link, bends, value], "model": value}, {"blocks": value}, value:
                self.write("m.json", json.dumps(model))
                self.draw("m.json")

    def test_absurd_port_counts_and_positions_are_bounded(self):
        model = Model()
        model.add("add", "many", inputs=2_000_000_000)
        model.add("add", "negative", inputs=-5, geometry={"x": 1e30, "y": -1e30, "width": 1e30, "height": 1})
        result = self.zarn("draw", self.write("m.json", model))
        self.assertEqual(result.returncode, 0)
        self.assertLess(len(result.stdout), 100_000)
        size = Picture(result.stdout).root.get("width")
        self.assertLess(float(size), 5000)

    def test_what_is_no_json_is_refused(self):
        for content in "", "{", "[1,", "nonsense", '{"blocks": [}':
            self.write("m.json", content)
            self.check("draw", "m.json", status=1, err="zarn: m.json: ", out="")
        self.check("draw", "none.json", status=1, err="none.json", out="")
        self.check("draw", ".", status=1, out="")

    def test_every_model_of_the_tests_and_examples_gets_a_picture(self):
        drawn = 0
        for path in [*DATA.rglob("*.json"), *EXAMPLES.rglob("*.json")]:
            try:
                content = json.loads(path.read_text())
                json.dumps(content, allow_nan=False)
            except ValueError:  # no JSON, or a number that no double holds
                continue
            if not isinstance(content, dict) or "blocks" not in content or path.stat().st_size > 300_000:
                continue
            with self.subTest(path.name):
                self.draw(path, "--depth", "1", "-q")
                drawn += 1
        self.assertGreater(drawn, 6)


class PrintTest(DrawTest):
    """The examples' pictures are fit for a paper."""

    @staticmethod
    def text_box(text):
        """About where a text stands."""
        size = float(text.get("font-size"))
        width = 0.52 * size * len("".join(text.itertext()))
        left = float(text.get("x")) - {"middle": width / 2, "end": width}.get(text.get("text-anchor"), 0)
        return left, float(text.get("y")) - 0.7 * size, width, 0.75 * size

    @staticmethod
    def shape_box(shape):
        if shape.tag == SVG + "ellipse":
            cx, cy, rx, ry = (float(shape.get(k)) for k in ("cx", "cy", "rx", "ry"))
            return cx - rx, cy - ry, 2 * rx, 2 * ry
        return tuple(float(shape.get(k)) for k in ("x", "y", "width", "height"))

    @staticmethod
    def overlap(a, b):
        return a[0] < b[0] + b[2] and b[0] < a[0] + a[2] and a[1] < b[1] + b[3] and b[1] < a[1] + a[3]

    def page(self, page, picture):
        blocks = [self.shape_box(s) for g in page.iter(SVG + "g") if g.get("class") == "node" for s in g
                  if "block" in s.get("class", "").split()]
        pieces = [(min(a[0], b[0]), min(a[1], b[1]), abs(a[0] - b[0]), abs(a[1] - b[1]))
                  for path in picture.paths("wire", page) for a, b in zip(path, path[1:])]
        texts = {kind: [] for kind in ("name", "type", "link")}
        for text in page.iter(SVG + "text"):
            for kind in texts.keys() & set(text.get("class", "").split()):
                texts[kind].append(("".join(text.itertext()), self.text_box(text)))
        return blocks, pieces, texts

    def test_nothing_covers_anything(self):
        for model in sorted(EXAMPLES.glob("*/*.json")):
            script = model.parent / "workspace.py"
            picture = self.draw(model, *(["-w", script] if script.exists() else []))
            self.assertFalse([t for t in picture.texts if "\u2026" in t], "no text is cut")
            for page in picture.pages:
                blocks, pieces, texts = self.page(page, picture)
                words = [entry for kind in texts.values() for entry in kind]
                with self.subTest(f"{model.name} {page.get('id')}"):
                    self.assertTrue(blocks and texts["name"])
                    for i, block in enumerate(blocks):
                        self.assertFalse([b for b in blocks[i + 1 :] if self.overlap(block, b)])
                        inner = block[0] + 1, block[1] + 1, block[2] - 2, block[3] - 2
                        self.assertFalse([p for p in pieces if self.overlap(inner, p)], "a wire through a block")
                        self.assertFalse([w for w in words if self.overlap(block, w[1])], "a text on a block")
                    for i, word in enumerate(words):
                        self.assertFalse([(word, w) for w in words[i + 1 :] if self.overlap(word[1], w[1])])
                    for name, box in texts["name"]:
                        self.assertFalse([p for p in pieces if self.overlap(box, p)], f"a wire across {name}")


class CostTest(DrawTest):
    """Time and memory grow as the model does."""

    LIMITS = "ulimit -v {}; exec \"$@\""

    def drawn_within(self, model, kilobytes, seconds):
        self.write("m.json", model)
        command = ["sh", "-c", self.LIMITS.format(kilobytes), "sh", ZARN, "draw", "m.json", "-q", "-o", "m.svg"]
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        result = subprocess.run(command, cwd=self.folder, capture_output=True, text=True)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        self.assertLess(after.ru_utime - before.ru_utime, seconds * PATIENCE)

    @unittest.skipIf(any(SANITIZERS), "sanitizers take memory of their own")
    def test_a_source_with_thousands_of_sinks(self):
        model = Model()
        source = model.add("constant", "c", expression="1.0")
        for number in range(20_000):
            model.link(source, model.add("display", f"d{number}", inputs=1, outputs=0))
        self.drawn_within(model, 1_000_000, 4)

    @unittest.skipIf(any(SANITIZERS), "sanitizers take memory of their own")
    def test_a_very_long_name_of_a_subsystem(self):
        model = Model()
        around = model.add("subsys", "x" * 1_000_000)
        for number in range(2000):
            model.add("time", f"t{number}", parent=around)
        self.drawn_within(model, 4_000_000, 4)

    def test_a_chain_of_thousands(self):
        model = Model()
        last = model.add("constant", "c", expression="1.0")
        for number in range(30_000):
            last, before = model.add("abs", f"a{number}", inputs=1), last
            model.link(before, last)
        self.drawn_within(model, 1_000_000, 6)


class OutputTest(DrawTest):
    def test_the_file_appears_whole_and_replaces_another(self):
        self.write("m.json", counter())
        self.write("m.svg", "before")
        self.check("draw", "m.json", "-o", "m.svg", out="", err="")
        picture = Picture((self.folder / "m.svg").read_text())
        self.assertEqual(len(picture.nodes()), 4)
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["m.json", "m.svg"])

    def test_a_place_that_cannot_be_written_is_told(self):
        self.write("m.json", counter())
        self.check("draw", "m.json", "-o", "no/m.svg", status=1, err="zarn: no/m.svg: No such file or directory", out="")

    def test_a_dash_is_standard_output_and_json_tells_the_contents(self):
        self.write("m.json", gated())
        explicit = self.check("draw", "m.json", "-o", "-", err="").stdout
        self.assertEqual(explicit, self.check("draw", "m.json", err="").stdout)
        summary = json.loads(self.check("draw", "m.json", "-o", "m.svg", "--json", err="").stdout)
        self.assertEqual(summary, {"schema": 1, "result": 0, "blocks": 8, "links": 5, "notes": [], "pages": 2})

    @unittest.skipUnless(shutil.which("rsvg-convert"), "rsvg-convert makes the points")
    def test_a_png_by_its_name(self):
        self.write("m.json", counter())
        width, height = (float(Picture(self.check("draw", "m.json").stdout).root.get(k)) for k in ("width", "height"))
        self.check("draw", "m.json", "-o", "m.png", out="", err="")
        data = (self.folder / "m.png").read_bytes()
        self.assertEqual(data[:16], b"\x89PNG\r\n\x1a\n\0\0\0\rIHDR")
        for value, wanted in zip(struct.unpack(">II", data[16:24]), (width, height)):
            self.assertAlmostEqual(value, 2 * wanted, delta=2)

    def test_without_a_converter_a_png_is_refused(self):
        self.write("m.json", counter())
        told = ("zarn: m.png: a PNG needs rsvg-convert, which cannot be started: No such file or directory (package "
                "librsvg2-bin); draw to a name that ends in .svg\n")
        result = self.check("draw", "m.json", "-q", "-o", "m.png", env=NO_DOT, status=1, out="")
        self.assertEqual(result.stderr, told)
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["m.json"])

    def test_a_converter_that_fails_is_told(self):
        self.write("m.json", counter())
        program = self.folder / "bin" / "rsvg-convert"
        program.parent.mkdir()
        for script in "exit 1", "echo no picture", "exec kill -9 $$":
            program.write_text(f"#!/bin/sh\n{script}\n")
            program.chmod(0o755)
            env = {"PATH": f"{program.parent}:/usr/bin:/bin"}
            told = "zarn: m.png: rsvg-convert made no PNG of this drawing; draw to a name that ends in .svg\n"
            result = self.check("draw", "m.json", "-q", "-o", "m.png", env=env, status=1, out="")
            self.assertEqual(result.stderr, told)

    def test_other_endings_are_refused(self):
        for name in "m.gif", "m", "m.svgz", "svg", "m.json":
            result = self.check("draw", "none.json", "-o", name, status=2, out="")
            self.assertEqual(result.stderr, f"zarn: -o {name}: the name must end in .svg or .png\n")

    def test_one_model_gives_one_sequence_of_bytes(self):
        path = DATA / "draw" / "motor.json"
        self.assertEqual(self.check("draw", path).stdout, self.check("draw", path).stdout)

    def test_wrong_use_is_told(self):
        self.write("m.json", counter())
        for options in ("--depth", "-1"), ("--depth", "x"), ("--layout-time", "-1"), ("--nonsense",):
            self.check("draw", "m.json", *options, status=2, out="")
        for seconds in "nan", "inf", "-nan", "3601", "":
            self.check("draw", "m.json", f"--layout-time={seconds}", status=2, out="", err="--layout-time")
        told = "--layout-time: 'nan' is no number from 0 to 3600"
        self.check("draw", "m.json", "--layout-time", "nan", status=2, err=told)
        self.check("draw", "m.json", "--layout-time", "0.5", err="")
        self.check("draw", status=2)


if __name__ == "__main__":
    unittest.main()

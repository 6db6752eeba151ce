"""zarn run --plot: what is in the picture."""

import re
import unittest
import xml.etree.ElementTree as ElementTree

from support import CommandTest, Model, counter, gated

SVG = "{http://www.w3.org/2000/svg}"


class Plot:
    """A plot in SVG, taken apart."""

    def __init__(self, path):
        self.root = ElementTree.parse(path).getroot()
        self.panels = [g for g in self.root.iter(SVG + "g") if re.fullmatch(r"axes_\d+", g.get("id", ""))]

    @staticmethod
    def texts(group):
        return ["".join(text.itertext()) for text in group.iter(SVG + "text")]

    def legend(self, panel):
        found = [g for g in panel.iter(SVG + "g") if g.get("id", "").startswith("legend")]
        return self.texts(found[0]) if found else []

    def names(self):
        """The signals of each panel."""
        return [[t for t in self.texts(panel) if t.startswith("mainsys.")] for panel in self.panels]

    def curves(self, panel):
        """The corners of the curves of a panel, by stretches without a gap."""
        found = []
        for group in panel:
            if not re.fullmatch(r"line2d_\d+", group.get("id", "")):
                continue
            for path in group.iter(SVG + "path"):
                if path.get("clip-path"):
                    found.append([len(part.split("L")) for part in path.get("d").split("M")[1:]])
        return found


class PlotTest(CommandTest):
    def plot(self, model, *options, **keywords):
        self.write("m.json", model)
        self.check("run", "m.json", "--plot", "p.svg", "-q", *options, err="", out="", **keywords)
        return Plot(self.folder / "p.svg")

    def signals(self, **named):
        """A source for each signal, by the name of its subsystem and its own."""
        model = Model(tf=1.0, ts=0.25)
        parents = {}
        for name, expression in named.items():
            parent, _, own = name.rpartition("__")
            if parent and parent not in parents:
                parents[parent] = model.add("subsys", parent)
            block = model.add("constant", own, parent=parents.get(parent, 0), expression=expression)
            model.chain(block, model.add("display", f"d_{own}", parent=parents.get(parent, 0), inputs=1, outputs=0))
        return model

    def test_time_stands_on_the_axis_with_its_unit_and_the_model_in_the_title(self):
        plot = self.plot(counter())
        texts = plot.texts(plot.root)
        self.assertIn("time [s]", texts)
        self.assertIn("m.json", texts)

    def test_signals_of_one_group_share_a_panel_with_a_legend_by_path(self):
        plot = self.plot(counter(), "--probe", "clock", "--probe", "double")
        self.assertEqual(len(plot.panels), 1)
        self.assertEqual(plot.legend(plot.panels[0]), ["mainsys.clock", "mainsys.double"])
        self.assertEqual(plot.curves(plot.panels[0]), [[9], [9]])  # 5 samples, as steps

    def test_subsystems_booleans_and_sizes_have_panels_of_their_own(self):
        model = self.signals(a="1.0", b="2.0", big="5000.0", yes="True", no="False", pump__c="1.5", pump__d="1.0")
        plot = self.plot(model, "--probe-all")
        self.assertEqual(
            sorted(sorted(names) for names in plot.names()),
            [["mainsys.a", "mainsys.b"], ["mainsys.big"], ["mainsys.no", "mainsys.yes"], ["mainsys.pump.c", "mainsys.pump.d"]],
        )
        self.assertEqual(plot.texts(plot.root).count("time [s]"), 1)  # below the last

    def test_a_gated_signal_has_gaps_where_it_was_not_sampled(self):
        model = gated(tf=9.0, ts=1.0)
        gate = model.blocks[1]
        model.blocks[1] = {"squarewave": gate["step"] | {"timeOn": "2", "timeOff": "2", "valueOn": "1", "valueOff": "0"}}
        times = self.series(self.write("m.json", model))["gain"]["t"]
        stretches = 1 + sum(b - a > 1 for a, b in zip(times, times[1:]))
        self.assertGreater(stretches, 1)
        plot = self.plot(model, "--probe", "inside.gain")
        (curve,) = plot.curves(plot.panels[0])
        self.assertEqual(len(curve), stretches)
        # each sample holds until the next, and the last of a stretch until the gap: two corners each
        ends_in_gap = stretches if times[-1] < 8.0 else stretches - 1
        self.assertEqual(sum(curve), 2 * len(times) - stretches + ends_in_gap)

    def test_a_signal_that_never_ran_and_values_that_are_no_numbers_do_no_harm(self):
        self.plot(gated(tf=0.4), "--probe", "inside.gain")
        self.plot(self.signals(x="float('nan')", y="float('inf')", z="-1e308"))

    def test_nothing_recorded_is_a_picture_too(self):
        model = Model()
        model.add("constant", "c", expression="1.0")
        self.assertEqual(self.plot(model).panels, [])

    def test_long_recordings_keep_their_extremes_and_a_small_file(self):
        model = Model(tf=300_000.0, ts=1.0)
        spike = model.add("squarewave", "spike", timeOff="99999", timeOn="1", valueOff="0", valueOn="7")
        model.chain(spike, model.add("outport", "y", inputs=1, portNumber=0))
        plot = self.plot(model)
        self.assertLess((self.folder / "p.svg").stat().st_size, 2_000_000)
        (panel,) = plot.panels
        (path,) = [p for g in panel if g.get("id", "").startswith("line2d") for p in g.iter(SVG + "path") if p.get("clip-path")]
        heights = {float(y) for _, y in re.findall(r"(-?[\d.]+) (-?[\d.]+)", path.get("d"))}
        self.assertGreater(max(heights) - min(heights), 50)  # the spikes are seen

    def test_names_are_text_and_no_formulas(self):
        model = Model()
        model.chain(model.add("constant", "a_$x$_<b>", expression="1.0"), model.add("display", "_$y^2$&", inputs=1, outputs=0))
        self.write("$m$ <&>.json", model)
        self.check("run", "$m$ <&>.json", "--plot", "p.svg", "--probe-all", "-q", err="")
        texts = Plot(self.folder / "p.svg").texts(ElementTree.parse(self.folder / "p.svg").getroot())
        self.assertIn("$m$ <&>.json", texts)

    def test_the_picture_is_the_same_each_time(self):
        self.plot(counter())
        first = (self.folder / "p.svg").read_bytes()
        self.plot(counter())
        self.assertEqual(first, (self.folder / "p.svg").read_bytes())

    def test_a_png_has_the_size_of_a_page(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "--plot", "p.png", "-q", err="")
        head = (self.folder / "p.png").read_bytes()[:24]
        width, height = (int.from_bytes(head[at : at + 4], "big") for at in (16, 20))
        self.assertEqual(width, 1200)
        self.assertTrue(200 < height < 800)

    def test_a_python_without_matplotlib_is_told_before_the_run(self):
        self.write("m.json", counter(tf=1e9))
        code = "import sys; sys.modules['matplotlib'] = None; import importlib.util as u; f = u.find_spec; " \
               "u.find_spec = lambda n, *a: None if n == 'matplotlib' else f(n, *a)"
        self.check("run", "m.json", "--plot", "p.svg", "-e", code, status=1, err="python3-matplotlib", timeout=30)
        self.check("run", "m.json", "--plot", "p.svg", "--no-python", status=2, err="--plot needs the interpreter", timeout=30)


if __name__ == "__main__":
    unittest.main()

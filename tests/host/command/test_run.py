"""zarn run: what is recorded, shown and written, and how a run ends."""

import json
import os
import pathlib
import pty
import select
import signal
import subprocess
import time
import unittest

from support import DATA, PATIENCE, SANITIZERS, ZARN, CommandTest, Model, counter, gated


class Recordings(CommandTest):
    def test_csv_has_time_first_and_a_column_named_by_the_path(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "--probe", "mainsys.double", "-o", "r.csv", err="")
        self.assertEqual(
            (self.folder / "r.csv").read_text(),
            "time,mainsys.double\n0.0,0.0\n0.25,0.5\n0.5,1.0\n0.75,1.5\n1.0,2.0\n",
        )

    def test_a_probe_is_a_path_with_or_without_root_an_id_and_a_port(self):
        model = counter()
        self.write("m.json", model)
        double = model.blocks[2]["multiply"]["id"]
        for probe in "mainsys.double", "double", f"#{double}", "double:0", f"#{double}:0":
            self.check("run", "m.json", "--probe", probe, "-o", "r.csv", "-q", out="", err="")
            self.assertEqual(self.csv("r.csv")[0], ["time", "mainsys.double"])

    def test_probes_repeat_keep_their_order_and_are_recorded_once(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "--probe", "two", "--probe", "clock", "--probe", "two:0", "-o", "r.csv")
        self.assertEqual(self.csv("r.csv")[0], ["time", "mainsys.two", "mainsys.clock"])

    def test_a_probe_of_nothing_is_wrong_use_and_names_what_is_near(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "--probe", "doubel", status=2, err="is it mainsys.double?", out="")
        self.check("run", "m.json", "--probe", "#7", status=2, err="no block with that id")
        self.check("run", "m.json", "--probe", "double:1", status=2, err="has 1 output: 0")
        self.check("run", "m.json", "--probe", "double:x", status=2, err="has 1 output")

    def test_a_subsystem_is_probed_by_its_outports(self):
        self.write("g.json", gated())
        for probe in "inside", "mainsys.inside", "inside:y", "inside:0", "inside.y":
            self.check("run", "g.json", "--probe", probe, "-o", "r.csv", err="")
            self.assertEqual(self.csv("r.csv")[0], ["time", "mainsys.inside.y"])
        self.check(
            "run", "g.json", "--probe", "inside:z", status=2, out="",
            err="zarn: --probe inside:z: the subsystem has no outport z; it has y\n",
        )

    def test_probes_by_pattern(self):
        self.write("g.json", gated())
        self.check("run", "g.json", "--probe", "inside.*", "--probe", "inside.gain", "-o", "r.csv", err="")
        self.assertEqual(
            set(self.csv("r.csv")[0]), {"time", "mainsys.inside.u", "mainsys.inside.gain", "mainsys.inside.y"}
        )
        self.check("run", "g.json", "--probe", "mainsys.*ga*n", "-o", "r.csv", err="")
        self.assertEqual(self.csv("r.csv")[0], ["time", "mainsys.inside.gain"])
        self.check(
            "run", "g.json", "--probe", "inside.x*", status=2, out="",
            err="zarn: --probe inside.x*: no block with an output has a path like that\n",
        )

    def test_json_names_its_signals(self):
        self.write("m.json", counter())
        answer = json.loads(self.check("run", "m.json", "--json", "--probe", "double").stdout)
        self.assertEqual(
            answer["signals"],
            {
                "1000000000000003:0": {
                    "name": "mainsys.double", "path": "mainsys.double", "class": "multiply", "type": "flt64",
                }
            },
        )

    def test_json_has_the_parameters_of_recorded_blocks_as_written_and_as_evaluated(self):
        model = counter()
        model.blocks[1]["constant"]["expression"] = "half * 4"
        self.write("m.json", model)
        answer = json.loads(
            self.check("run", "m.json", "--json", "-e", "half = 0.5", "--probe", "two", "--probe", "double").stdout
        )
        self.assertEqual(
            answer["blocks"],
            {
                "1000000000000002": {
                    "parameters": {"expression": "half * 4"}, "formula": ["y = value"], "with": {"value": 2.0},
                },
                "1000000000000003": {"parameters": {}, "formula": ["y = u0 * u1"], "with": {}},
            },
        )
        self.assertEqual(list(answer["series"]), ["1000000000000002:0", "1000000000000003:0"])
        order = json.loads(self.check("explain", "m.json", "two", "--json", "-e", "half = 0.5").stdout)["order"]
        self.assertEqual({key: order[0][key] for key in ("parameters", "formula", "with")},
                         answer["blocks"]["1000000000000002"])

    def test_json_cuts_long_lists_of_parameters(self):
        model = Model()
        table = model.add("lut1d", "table", inputs=1, bp1="range(100)", out="[0] * 100")
        model.chain(model.add("time", "clock"), table, model.add("outport", "out", inputs=1, portNumber=0))
        self.write("m.json", model)
        answer = json.loads(self.check("run", "m.json", "--json", "--python", "--probe", "table").stdout)
        lists = answer["blocks"][str(table)]["with"]
        self.assertEqual({(one["count"], len(one["values"])) for one in lists.values()}, {(100, 64)})

    def test_two_blocks_of_one_path_are_told_apart_by_id(self):
        model = Model()
        ids = [model.add("constant", "c", expression=str(i)) for i in range(2)]
        for i, block in enumerate(ids):
            model.chain(block, model.add("outport", f"o{i}", inputs=1, portNumber=i))
        self.write("m.json", model)
        self.check("run", "m.json", "--probe", "c", status=2, err=f"2 blocks have that path: #{ids[0]}, #{ids[1]}")
        self.check("run", "m.json", "--probe", f"#{ids[1]}", "-o", "r.csv")
        self.assertEqual(self.csv("r.csv")[0], ["time", "mainsys.c"])
        self.check("run", "m.json", "--probe-all", "-o", "r.csv")
        self.assertIn(f"mainsys.c#{ids[0]}", self.csv("r.csv")[0])

    def test_probe_all_takes_every_output(self):
        self.write("m.json", counter())
        series = self.series("m.json")
        self.assertEqual(set(series), {"clock", "two", "double", "out"})
        self.assertEqual(series["out"], {"t": [0, 0.25, 0.5, 0.75, 1], "v": [0, 0.5, 1, 1.5, 2], "type": "flt64"})

    def test_a_gated_block_is_recorded_in_the_steps_in_which_it_runs(self):
        self.write("m.json", gated())
        series = self.series("m.json")
        self.assertEqual(series["gain"]["t"], [0.5, 0.75, 1.0])
        self.assertEqual(series["gain"]["v"], [0.5, 0.75, 1.0])
        self.check("run", "m.json", "--probe", "inside.gain", "--probe", "clock", "-o", "r.csv")
        self.assertEqual(
            self.csv("r.csv")[1:],
            [["0.0", "", "0.0"], ["0.25", "", "0.25"], ["0.5", "0.5", "0.5"], ["0.75", "0.75", "0.75"], ["1.0", "1.0", "1.0"]],
        )

    def test_a_block_ahead_of_its_enable_block_is_never_recorded(self):
        model = gated()
        inside = model.blocks[2]["subsys"]["id"]
        wave = model.add("sinewave", "wave", parent=inside)
        model.chain(wave, model.add("display", "seen", parent=inside, inputs=1, outputs=0))
        self.write("m.json", model)
        self.assertEqual(self.series("m.json")["wave"], {"t": [], "v": [], "type": "flt64"})
        self.check("run", "m.json", "--probe", "inside.wave", "-o", "r.csv")
        self.assertEqual({row[1] for row in self.csv("r.csv")[1:]}, {""})

    def test_a_sink_is_probed_at_its_input(self):
        self.write("m.json", gated())
        self.check("run", "m.json", "--probe", "shown", "-o", "r.csv")
        self.assertEqual([row[1] for row in self.csv("r.csv")[1:]], ["0.0", "0.0", "0.5", "0.75", "1.0"])

    def test_gates_that_open_and_close_leave_gaps(self):
        model = gated(tf=6.0, ts=1.0)
        gate = model.blocks[1]
        model.blocks[1] = {"squarewave": gate["step"] | {"timeOn": "1", "timeOff": "1", "valueOn": "1", "valueOff": "0"}}
        self.write("m.json", model)
        times = self.series("m.json")["gain"]["t"]
        states = self.series("m.json")["gate"]
        self.assertEqual(times, [t for t, v in zip(states["t"], states["v"]) if v])
        self.assertTrue(0 < len(times) < 7)

    def test_both_engines_record_the_same(self):
        for model in counter(ts=0.01), gated(ts=0.01):
            self.write("m.json", model)
            self.assertEqual(self.series("m.json", "--engine", "plan"), self.series("m.json", "--engine", "objects"))
        self.check("run", "m.json", "--engine", "guess", status=2)

    def test_long_recordings_are_complete(self):
        self.write("m.json", counter(tf=200000.0, ts=1.0))
        self.check("run", "m.json", "--probe", "double", "-o", "r.csv")
        rows = self.csv("r.csv")
        self.assertEqual(len(rows), 200002)
        self.assertTrue(all(float(row[1]) == 2 * float(row[0]) == 2 * i for i, row in enumerate(rows[1:])))

    def test_without_probes_the_shown_signals_are_recorded(self):
        model = counter()
        model.chain(model.blocks[2]["multiply"]["id"], model.add("to_workspace", "w", inputs=1, outputs=0))
        model.chain(model.blocks[2]["multiply"]["id"], model.add("display", "d", inputs=1, outputs=0))
        self.write("m.json", model)
        self.check("run", "m.json", "-o", "r.csv")
        self.assertEqual(sorted(self.csv("r.csv")[0]), ["mainsys.d", "mainsys.out", "mainsys.w", "time"])

    def test_nothing_to_record_is_told(self):
        model = Model()
        model.add("constant", "c", expression="1")
        self.write("m.json", model)
        self.check("run", "m.json", "-o", "r.csv", err="nothing to record")
        self.assertEqual(self.csv("r.csv")[0], ["time"])

    def test_answers_of_an_independent_computation(self):
        models = sorted(DATA.glob("vectors/*/*.run.json"))
        self.assertTrue(models)
        for expected in models:
            answer = json.loads(expected.read_text())
            model = str(expected).replace(".run.json", ".json")
            workspace = pathlib.Path(str(expected).replace(".run.json", ".ws.py"))
            extra = ["-w", workspace] if workspace.exists() else []
            for engine in "plan", "objects":
                with self.subTest(model=model, engine=engine):
                    result = self.check("run", model, "--probe-all", "--json", "--engine", engine, *extra)
                    got = json.loads(result.stdout)
                    self.assertEqual(got["result"], answer["result"])
                    self.assertEqual(set(got["series"]), set(answer["series"]))
                    near = set(answer.get("approximate", []))
                    for key, series in answer["series"].items():
                        if int(key.split(":")[0]) not in near:
                            self.assertEqual(got["series"][key], series, key)


class Numbers(CommandTest):
    def constant_row(self, expression, *arguments):
        model = Model(tf=0.25)
        constant = model.add("constant", "c", expression=expression)
        model.chain(constant, model.add("outport", "out", inputs=1, portNumber=0))
        self.write("m.json", model)
        self.check("run", "m.json", "--probe", "c", "-o", "r.csv", "-e", "import numpy", *arguments)
        return self.csv("r.csv")[1][1]

    def test_csv_numbers_read_back_exactly(self):
        self.assertEqual(self.constant_row("0.1"), "0.1")
        self.assertEqual(self.constant_row("1e300*1e300"), "inf")
        self.assertEqual(self.constant_row("-1e300*1e300"), "-inf")
        self.assertEqual(self.constant_row("float('nan')"), "nan")
        self.assertEqual(self.constant_row("2**64-1"), "18446744073709551615")
        self.assertEqual(self.constant_row("-2**63"), "-9223372036854775808")
        self.assertEqual(self.constant_row("5e-324"), "5e-324")
        self.assertEqual(self.constant_row("True"), "1")
        self.assertEqual(float(self.constant_row("numpy.float32(0.1)")), 0.10000000149011612)

    def test_json_writes_what_is_not_finite_as_text(self):
        model = Model(tf=0.25)
        for i, value in enumerate(("float('nan')", "float('inf')", "-float('inf')", "2**64-1")):
            model.chain(model.add("constant", f"c{i}", expression=value), model.add("outport", f"o{i}", inputs=1, portNumber=i))
        self.write("m.json", model)
        series = self.series("m.json")
        self.assertEqual([series[f"c{i}"]["v"][0] for i in range(4)], ["nan", "inf", "-inf", 18446744073709551615])

    def test_times_are_those_of_repeated_addition(self):
        self.write("m.json", counter(ts=0.1))
        t, expected = 0.0, []
        while 1.0 >= t:
            expected.append(t)
            t += 0.1
        self.assertEqual(self.series("m.json")["clock"]["t"], expected)
        self.assertEqual(self.series("m.json")["clock"]["v"], expected)

    def test_settings_on_the_command_line_stand_in_for_the_models(self):
        self.write("m.json", counter())
        series = self.series("m.json", "--set", "ti=10", "--set", "tf=12", "--set", "ts=1e0")
        self.assertEqual(series["clock"]["v"], [10, 11, 12])
        for bad in "tx=1", "ti", "ti=", "ti=abc", "ti=1x", "=1", "":
            self.check("run", "m.json", "--set", bad, status=2, err="expected ti=NUMBER", out="")
        self.check("run", "m.json", "--set", "tf=-1", status=1)
        self.check("run", "m.json", "--set", "ts=0", status=1)


class Files(CommandTest):
    def test_a_dash_is_csv_on_standard_output(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "-o", "r.csv", "-q")
        rows = (self.folder / "r.csv").read_text()
        result = self.check("run", "m.json", "-o", "-", "-e", "print('hello')", err="hello")
        self.assertEqual(result.stdout, rows)
        with open(self.folder / "all.csv", "w") as file:  # what stands in the file before stays
            file.write("# head\n")
            file.flush()
            self.run_into(file, "run", "m.json", "-o", "-")
        self.assertEqual((self.folder / "all.csv").read_text(), "# head\n" + rows)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["all.csv", "m.json", "r.csv"])
        self.check(
            "run", "m.json", "-o", "-", "--json", status=2,
            err="zarn: -o - does not go with --json: both write to standard output\n",
        )
        self.check("run", "m.json", "--plot", "-", status=2, out="",
                   err="zarn: --plot -: the name must end in .png or .svg\n")
        with open("/dev/full", "w") as full:
            result = self.run_into(full, "run", "m.json", "-o", "-")
        self.assertEqual((result.returncode, result.stderr),
                         (1, "zarn: standard output: No space left on device\n"))

    def test_columns_have_letters_beyond_ascii_as_written(self):
        import numpy

        model = Model()
        inside = model.add("subsys", "größe 1", inputs=0, outputs=1)
        clock = model.add("time", "ζeit", parent=inside)
        model.chain(clock, model.add("outport", "2ü", parent=inside, inputs=1, portNumber=0))
        model.link(inside, model.add("outport", "süm", inputs=1, portNumber=0))
        model.add("constant", "plain, one")
        self.write("m.json", model)
        names = ["mainsys.größe_1.ζeit", "mainsys.süm", "mainsys.plain__one"]
        for probes in names, ["größe_1.ζeit", "s__m", "plain__one"], ["gr____e_1.__eit", "süm", "mainsys.plain*"]:
            probes = [argument for name in probes for argument in ("--probe", name)]
            for ending in "csv", "npz":
                self.check("run", "m.json", "-q", *probes, "-o", f"r.{ending}", err="")
            self.assertEqual(self.csv("r.csv")[0], ["time", *names])
            self.assertEqual(numpy.load(self.folder / "r.npz").files, ["time", *names])
        self.check("diff", "r.csv", "r.npz", out="", err="")
        self.check("run", "m.json", out="mainsys.süm  1.0\n")
        self.check("run", "m.json", "-q", "--probe", "größe_1.*", "-o", "r.csv", err="")
        self.assertEqual(self.csv("r.csv")[0], ["time", "mainsys.größe_1.ζeit", "mainsys.größe_1._2ü"])
        signals = json.loads(self.check("run", "m.json", "--json").stdout)["signals"]
        self.assertEqual([(one["name"], one["path"]) for one in signals.values()], [("mainsys.süm", "mainsys.s__m")])

    def test_npz_refuses_a_name_that_has_no_room_in_an_archive(self):
        for length, status in (65535 - len("mainsys..time.npy"), 0), (65536 - len("mainsys..time.npy"), 1):
            model = Model()
            long = model.add("time", "n" * length)
            model.chain(long, model.add("display", "d", inputs=1, outputs=0))
            self.write("m.json", model)
            result = self.check("run", "m.json", "--probe", f"#{long}", "-o", "r.npz", "-q", status=status)
            if status:
                self.assertEqual(
                    result.stderr,
                    f"zarn: r.npz: the name of block #{long} has {length + 8} bytes with the way to it, too many for an "
                    ".npz; shorten it, or write .csv\n",
                )
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["m.json", "r.npz"])

    def test_npz_keeps_types_and_times_of_gated_signals(self):
        import numpy

        self.write("m.json", gated())
        self.check("run", "m.json", "--probe", "inside.gain", "--probe", "clock", "-o", "r.npz")
        data = numpy.load(self.folder / "r.npz")
        self.assertEqual(sorted(data.files), ["mainsys.clock", "mainsys.inside.gain", "mainsys.inside.gain.time", "time"])
        self.assertEqual(list(data["mainsys.inside.gain"]), [0.5, 0.75, 1.0])
        self.assertEqual(list(data["mainsys.inside.gain.time"]), [0.5, 0.75, 1.0])
        model = Model(tf=0.25)
        types = ["bool_", "int8", "uint8", "int16", "uint16", "int32", "uint32", "int64", "uint64", "float32", "float64"]
        for i, name in enumerate(types):
            model.chain(
                model.add("constant", name, expression=f"numpy.{name}(1)"),
                model.add("outport", f"o{i}", inputs=1, portNumber=i),
            )
        self.write("m.json", model)
        self.check("run", "m.json", "--probe-all", "-o", "r.npz", "-e", "import numpy")
        data = numpy.load(self.folder / "r.npz")
        for name in types:
            self.assertEqual(data[f"mainsys.{name}"].dtype, numpy.dtype(getattr(numpy, name)))
            self.assertEqual(list(data[f"mainsys.{name}"]), [1, 1])

    def test_npz_of_a_signal_that_never_ran_is_empty(self):
        import numpy

        self.write("m.json", gated(tf=0.4))
        self.check("run", "m.json", "--probe", "inside.gain", "-o", "r.npz")
        self.assertEqual(len(numpy.load(self.folder / "r.npz")["mainsys.inside.gain"]), 0)

    def test_plots_are_written_by_ending(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "--plot", "p.png", "-q", err="")
        self.assertEqual((self.folder / "p.png").read_bytes()[:8], b"\x89PNG\r\n\x1a\n")
        self.check("run", "m.json", "--plot", "p.svg", "-q", err="")
        self.assertIn("mainsys.out", (self.folder / "p.svg").read_text())

    def test_other_endings_are_wrong_use(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "-o", "r.txt", status=2, err=".csv or .npz")
        self.check("run", "m.json", "--plot", "p.gif", status=2, err=".png or .svg")
        self.assertEqual(os.listdir(self.folder), ["m.json"])

    def test_a_place_that_does_not_exist_is_told_before_the_run(self):
        self.write("m.json", counter(tf=1e9))
        begin = time.monotonic()
        self.check("run", "m.json", "-o", "no/r.csv", status=1, err="zarn: no/r.csv: No such file or directory")
        self.check("run", "m.json", "-o", "m.json/r.csv", status=1, err="zarn: m.json/r.csv: Not a directory")
        (self.folder / "d.csv").mkdir()
        self.check("run", "m.json", "-o", "d.csv", status=1, err="zarn: d.csv: Is a directory")
        self.assertLess(time.monotonic() - begin, 10)

    def test_a_full_disk_is_told_and_the_earlier_file_stays(self):
        self.write("m.json", counter(tf=100000, ts=1))
        os.symlink("/dev/full", self.folder / "full.csv")
        self.check("run", "m.json", "-o", "full.csv", status=1, err="zarn: full.csv: No space left on device")
        self.assertTrue((self.folder / "full.csv").is_symlink())
        (self.folder / "r.csv").write_text("earlier")
        limited = f"ulimit -f 8; trap '' XFSZ; exec '{ZARN}' run m.json --probe-all -o r.csv"
        result = subprocess.run(["sh", "-c", limited], cwd=self.folder, capture_output=True, text=True)
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertIn("zarn: r.csv: File too large", result.stderr)
        self.assertEqual((self.folder / "r.csv").read_text(), "earlier")
        self.assertEqual(sorted(os.listdir(self.folder)), ["full.csv", "m.json", "r.csv"])

    def test_a_full_standard_output_is_told(self):
        self.write("m.json", counter())
        with open("/dev/full", "w") as full:
            for arguments in ["run", "m.json"], ["run", "m.json", "--json"], ["inspect", "m.json"]:
                result = subprocess.run([ZARN, *arguments], cwd=self.folder, stdout=full, stderr=subprocess.PIPE, text=True)
                self.assertEqual(result.returncode, 1)
                self.assertIn("standard output: No space left on device", result.stderr)

    def test_an_existing_file_is_replaced_behind_links_with_its_rights(self):
        self.write("m.json", counter())
        real = self.folder / "real.csv"
        real.write_text("earlier")
        real.chmod(0o640)
        os.symlink("real.csv", self.folder / "link.csv")
        self.check("run", "m.json", "-o", "link.csv")
        self.assertTrue((self.folder / "link.csv").is_symlink())
        self.assertTrue(real.read_text().startswith("time,"))
        self.assertEqual(real.stat().st_mode & 0o777, 0o640)

    def test_a_pipe_is_written_to(self):
        self.write("m.json", counter())
        os.mkfifo(self.folder / "pipe.csv")
        with subprocess.Popen([ZARN, "run", "m.json", "-q", "-o", "pipe.csv"], cwd=self.folder) as run:
            text = (self.folder / "pipe.csv").read_text()
            self.assertEqual(run.wait(20), 0)
        self.assertTrue(text.startswith("time,mainsys.out\n0.0,0.0\n"))

    def test_paths_are_the_users_and_references_the_models(self):
        other = Model()
        source = other.add("constant", "c", expression="4.5")
        out = other.add("outport", "y", inputs=1, portNumber=0)
        other.chain(source, out)
        self.write("models/part.json", other)
        model = Model()
        ref = model.add("refsys", "part", outputs=1, path="part.json")
        model.blocks[0]["refsys"]["id"] = 2000000000000001
        model.chain(2000000000000001, model.add("display", "d", inputs=1, outputs=0))
        self.write("models/m.json", model)
        self.write("ws.py", "import os; os.chdir('/')")
        self.check("run", "models/m.json", "--probe", "part.c", "-o", "here.csv", err="")
        self.assertEqual(self.csv("here.csv")[1], ["0.0", "4.5"])
        (self.folder / "here.csv").unlink()
        self.check("run", "models/m.json", "--probe", "part.c", "-o", "here.csv", "-w", "ws.py", err="")
        self.assertTrue((self.folder / "here.csv").exists())


class Streams(CommandTest):
    def test_the_table_shows_last_values_unless_quiet(self):
        self.write("m.json", counter())
        self.check("run", "m.json", out="5 steps, the last at t = 1.0 s\nmainsys.out  2.0\n", err="")
        self.check("run", "m.json", "--probe", "two", out="mainsys.two  2.0\n", err="")
        self.check("run", "m.json", "-q", out="", err="")

    def test_json_is_all_that_stands_on_standard_output(self):
        self.write("m.json", counter())
        result = self.check("run", "m.json", "--json", "-e", "print('hello')", err="hello")
        self.assertEqual(set(json.loads(result.stdout)), {"schema", "result", "series", "signals", "blocks", "findings"})

    def test_a_refused_model_gives_a_json_result_too(self):
        model = Model()
        model.add("display", "d", inputs=1, outputs=0)
        self.write("m.json", model)
        result = self.check("run", "m.json", "--json", status=1)
        self.assertEqual(json.loads(result.stdout)["series"], {})
        self.assertNotEqual(json.loads(result.stdout)["result"], 0)

    def test_verbose_shows_the_log(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "-v", err="zarn: log: validate [enter]\nzarn: log: validate [leave]\n")

    def test_what_workspace_code_prints_goes_to_standard_output(self):
        self.write("m.json", counter())
        self.check("run", "m.json", "-q", "-e", "print('hällo')", out="hällo\n", err="")

    def test_wrong_use_is_status_2_and_says_so_on_standard_error(self):
        for arguments in ["run"], ["walk"], [], ["run", "m.json", "--nonsense"], ["run", "a", "b"]:
            result = self.check(*arguments, status=2, out="")
            self.assertIn("zarn help", result.stderr)

    def test_help_has_an_example_for_each_verb(self):
        verbs = ["run", "inspect", "generate", "blocks", "diff", "verify-engines"]
        result = self.check("--help", err="")
        for verb in verbs:
            self.assertIn(verb, result.stdout)
            self.check(verb, "--help", out=f"Example:\n  zarn {verb} ", err="")

    def test_version(self):
        self.assertEqual(self.check("--version", err="").stdout, "zarn 24.12.0\n")


class Ends(CommandTest):
    endless = {"tf": 1e9, "ts": 1e-3}

    def start(self, *arguments, **options):
        process = subprocess.Popen(
            [ZARN, *arguments], cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options
        )
        self.addCleanup(lambda: process.poll() is None and process.kill())
        return process

    def wait_for(self, condition):
        deadline = time.monotonic() + 60
        while not condition():
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.02)

    def interrupt(self, process, wait=0.3):
        time.sleep(wait)
        self.assertIsNone(process.poll(), "it must still be running")
        begin = time.monotonic()
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=20)
        return out, err, time.monotonic() - begin

    def start_run(self, *arguments):
        """Starts a run that records into r.csv, and waits until it steps."""
        process = self.start("run", "m.json", "-o", "r.csv", *arguments)
        self.wait_for(lambda: any(name.endswith(".part") for name in os.listdir(self.folder)))
        return process

    def test_ctrl_c_ends_a_run_within_a_second(self):
        self.write("m.json", counter(**self.endless))
        for engine in "plan", "objects":
            process = self.start_run("--engine", engine, "--probe", "two")
            # soon, since what was recorded until then is still written: millions of rows for each tenth of a second
            _, err, spent = self.interrupt(process, wait=0.05)
            self.assertEqual(process.returncode, 130)
            self.assertIn("interrupted at t = ", err)
            self.assertLess(spent, 3.0 * PATIENCE)  # one second on a machine with nothing else to do
            (self.folder / "r.csv").unlink()

    def test_ctrl_c_keeps_what_was_recorded(self):
        self.write("m.json", counter(tf=1e9, ts=1.0))
        process = self.start_run("--probe", "double")
        self.interrupt(process)
        self.assertEqual(process.returncode, 130)
        rows = self.csv("r.csv")
        self.assertGreater(len(rows), 100)
        self.assertTrue(all(float(row[1]) == 2 * float(row[0]) for row in rows[1:]))
        self.assertEqual(sorted(os.listdir(self.folder)), ["m.json", "r.csv"])

    def test_a_second_ctrl_c_ends_at_once_and_leaves_no_file_behind(self):
        self.write("m.json", counter(tf=1e9, ts=1.0))
        process = self.start_run("--probe-all", "--json")  # which wants all samples at the end
        time.sleep(3)
        for _ in range(2):
            process.send_signal(signal.SIGINT)
            time.sleep(0.05)
        self.assertEqual(process.wait(20), 130)
        process.communicate()
        self.assertEqual(os.listdir(self.folder), ["m.json"])

    def test_no_file_of_several_is_left_behind(self):
        self.write("m.json", counter(**self.endless))
        for end in signal.SIGTERM, signal.SIGHUP:
            process = self.start_run("--probe", "two", "--plot", "p.png")
            self.wait_for(lambda: len([name for name in os.listdir(self.folder) if name.endswith(".part")]) == 2)
            process.send_signal(end)
            self.assertEqual(process.wait(20), -end)
            process.communicate()
            self.assertEqual(os.listdir(self.folder), ["m.json"])

    def test_a_terminated_run_leaves_no_file_behind(self):
        self.write("m.json", counter(**self.endless))
        process = self.start_run("--probe", "two")
        process.terminate()
        self.assertEqual(process.wait(20), -signal.SIGTERM)
        process.communicate()
        self.assertEqual(os.listdir(self.folder), ["m.json"])

    def test_ctrl_c_ends_workspace_code_and_expressions(self):
        self.write("m.json", counter())
        process = self.start("run", "m.json", "-e", "while True: pass")
        _, err, spent = self.interrupt(process, 1.0)
        self.assertEqual(process.returncode, 130)
        self.assertLess(spent, 1.0)
        self.assertNotIn("Traceback", err)
        model = counter()
        model.blocks[1]["constant"]["expression"] = "sum(1 for i in iter(int, 1))"
        self.write("m.json", model)
        process = self.start("run", "m.json")
        self.interrupt(process, 1.0)
        self.assertEqual(process.returncode, 130)

    def test_a_terminal_sees_the_progress_and_a_pipe_does_not(self):
        self.write("m.json", counter(**self.endless))
        process = self.start("run", "m.json")
        _, err, _ = self.interrupt(process, 2.0)
        self.assertNotIn("left", err)
        master, slave = pty.openpty()
        process = subprocess.Popen([ZARN, "run", "m.json"], cwd=self.folder, stdout=subprocess.DEVNULL, stderr=slave)
        os.close(slave)
        seen = b""
        deadline = time.monotonic() + 10
        while b"left" not in seen and time.monotonic() < deadline:
            if select.select([master], [], [], 0.5)[0]:
                seen += os.read(master, 4096)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(10), 130)
        os.close(master)
        self.assertRegex(seen, rb"t = [0-9.]+ s, 0 %, .* left")

    def fault(self, kind):
        """The lowest int32 over a divisor that falls from 1 to -1, next to a division that is no fault."""
        model = Model(tf=3.0, ts=1.0)
        low = model.add("constant", "low", expression="-2**31")
        step = model.add("step", "falls", initialValue="1", finalValue="-1", stepTime="1.5")
        cast = model.add("cast", "cast", inputs=1, type="int32")
        fine, guilty = model.add(kind, "fine", inputs=2), model.add(kind, "guilty", inputs=2)
        model.link(step, cast)
        model.link(low, guilty, 0)
        model.link(cast, guilty, 1)
        model.link(low, fine, 1)
        second = model.add("cast", "second", inputs=1, type="int32")
        model.link(step, second)
        model.link(second, fine, 0)
        return model

    @unittest.skipIf("undefined" in SANITIZERS, "the sanitizer is before the processor and ends the process itself")
    def test_a_divide_fault_names_the_block(self):
        for kind in "divide", "mod":
            self.write("m.json", self.fault(kind))
            for engine in "plan", "objects":
                result = self.check("run", "m.json", "--engine", engine, "-o", "r.csv", status=1, out="")
                self.assertIn(
                    f"zarn: m.json: divide fault in a step: mainsys.guilty ({kind}): the lowest integer divided by -1 "
                    "does not fit its type\n",
                    result.stderr,
                )
                self.assertEqual(sorted(os.listdir(self.folder)), ["m.json"])

    def test_no_divide_fault_comes_before_its_time(self):
        self.write("m.json", self.fault("divide"))
        self.check("run", "m.json", "--set", "tf=1")


class Large(CommandTest):
    def test_probes_stand_right_in_a_parallel_run(self):
        """33 zones of 1,100 blocks: wide enough for the pool."""
        model = Model(tf=2.0, ts=1.0)
        for column in range(1100):
            last = model.add("constant", f"c{column}", expression=str(column))
            for row in range(33):
                block = model.add("abs", f"a{column}_{row}", inputs=1)
                model.link(last, block)
                last = block
        self.write("m.json", model)
        results = {}
        for engine in "plan", "objects":
            result = self.check("run", "m.json", "--no-python", "--probe-all", "--json", "--engine", engine, timeout=280)
            results[engine] = json.loads(result.stdout)["series"]
        self.assertEqual(len(results["plan"]), 1100 * 34)
        self.assertEqual(results["plan"], results["objects"])
        for block in model.blocks[:200]:
            data = next(iter(block.values()))
            column = int(data["name"][1:].split("_")[0])
            self.assertEqual(results["plan"][f"{data['id']}:0"], {"t": [0, 1, 2], "v": [column] * 3, "type": "int32"})


if __name__ == "__main__":
    unittest.main()

"""`diff` on archives of arrays: against each other, against CSV, and damaged."""

import io
import random
import unittest
import zipfile

import numpy

from support import CommandTest, Model, gated


def sources(**settings):
    """A signal of each kind of number, and one that starts late."""
    model = Model(**settings)
    for i, value_type in enumerate(("bool", "int8", "uint16", "int32", "int64", "uint64", "flt32", "flt64")):
        clock = model.add("time", f"clock{i}")
        cast = model.add("cast", f"cast{i}", inputs=1, type=value_type)
        memory = model.add("memory", f"m_{value_type}", inputs=1)
        model.chain(clock, cast, memory)
    return model


class Archives(CommandTest):
    def save(self, name, **arrays):
        numpy.savez(self.folder / name, **arrays)

    def test_one_run_written_both_ways(self):
        self.write("late.json", gated(ts=0.01))
        self.write("kinds.json", sources(ts=0.1, tf=3.0))
        for model in "late", "kinds":
            with self.subTest(model=model):
                for ending in "csv", "npz":
                    self.check("run", f"{model}.json", "--probe-all", "-q", "-o", f"{model}.{ending}")
                for pair in ("csv", "npz"), ("npz", "csv"), ("npz", "npz"):
                    self.check("diff", *(f"{model}.{ending}" for ending in pair), out="", err="")

    def test_stored_and_deflated(self):
        arrays = {"time": numpy.arange(5) / 4, "x": numpy.arange(5, dtype="int16"), "y": numpy.float32([0.1] * 5)}
        numpy.savez(self.folder / "a.npz", **arrays)
        numpy.savez_compressed(self.folder / "b.npz", **arrays)
        self.check("diff", "a.npz", "b.npz", out="", err="")
        self.save("empty.npz", time=numpy.zeros(0), x=numpy.zeros(0))
        numpy.savez_compressed(self.folder / "none.npz", time=numpy.zeros(0), x=numpy.zeros(0))
        self.check("diff", "empty.npz", "none.npz", out="", err="")
        self.save("scalar.npz", x=numpy.float64(3))
        self.write("scalar.csv", "x\n3\n")
        self.check("diff", "scalar.npz", "scalar.csv", out="", err="")

    def test_the_first_difference_is_named(self):
        time = numpy.arange(3) / 2
        self.save("a.npz", time=time, x=numpy.array([1, 2, 3]))
        self.save("b.npz", time=time, x=numpy.array([1.0, 2.5, 3.0]))
        self.write("c.csv", "time,x\n0,1\n0.5,2\n")
        self.check("diff", "a.npz", "b.npz", status=1, out="row 2, time 0.5, x: 2 and 2.5 differ by 0.5\n")
        self.check("diff", "b.npz", "a.npz", "--rtol", "0.25", out="")
        self.check("diff", "a.npz", "c.csv", status=1, out="c.csv ends at line 3, and a.npz goes on\n")
        self.check("diff", "c.csv", "a.npz", status=1, out="c.csv ends at line 3, and a.npz goes on\n")
        self.save("late.npz", time=time, x=numpy.array([2, 3]), **{"x.time": time[1:]})
        self.check("diff", "late.npz", "a.npz", status=1, out="row 1, time 0.0, x: nothing and 1\n")

    def test_archives_that_cannot_be_compared(self):
        time = numpy.arange(3.0)
        self.write("a.csv", "time\n0\n")
        self.write("text.npz", "time,x\n")
        self.write("none.npz", "")
        (self.folder / "folder.npz").mkdir()
        self.save("flat.npz", time=time, x=numpy.zeros((3, 2)))
        self.save("short.npz", time=time, x=numpy.zeros(2))
        self.save("words.npz", time=time, x=numpy.array(["a", "b", "c"]))
        self.save("swapped.npz", time=time, x=time.astype(">f8"))
        self.save("strange.npz", time=time, x=time, **{"x.time": time + 0.5})
        self.save("halves.npz", time=time, x=time[1:], **{"x.time": time})
        with zipfile.ZipFile(self.folder / "notes.npz", "w") as archive:
            archive.writestr("notes.txt", "hello, and more")
        with zipfile.ZipFile(self.folder / "no_arrays.npz", "w"):
            pass
        with zipfile.ZipFile(self.folder / "bzip.npz", "w", zipfile.ZIP_BZIP2) as archive:
            archive.writestr("x.npy", "x" * 100)
        for name, answer in (
            ("no.npz", "No such file or directory"),
            ("text.npz", "no archive of arrays (.npz)"),
            ("none.npz", "no archive of arrays (.npz)"),
            ("folder.npz", "Is a directory"),
            ("flat.npz", "array 'x': more than one dimension"),
            ("short.npz", "array 'x' has 2 values, and 'time' has 3"),
            ("words.npz", "array 'x': values of the type <U1 are not compared"),
            ("swapped.npz", "array 'x': values of the type >f8 are not compared"),
            ("halves.npz", "array 'x' has 2 values, and its times have 3"),
            ("notes.npz", "array 'notes.txt': not as numpy writes it"),
            ("no_arrays.npz", "an archive without arrays"),
            ("bzip.npz", "'x.npy' is packed by a method of zip that is not read"),
        ):
            with self.subTest(name=name):
                result = self.check("diff", name, "a.csv", status=2, out="")
                self.assertEqual(result.stderr, f"zarn: {name}: {answer}\n")
        self.check("diff", "strange.npz", "strange.npz", status=2, err="array 'x.time' has a time that is not in 'time'")

    def test_damaged_archives_are_refused(self):
        """No byte that is changed, and no length that is cut, takes more than a refusal."""
        chance = random.Random(4)
        buffer = io.BytesIO()
        numpy.savez_compressed(buffer, time=numpy.arange(50.0), x=numpy.arange(50, dtype="int32"))
        whole = buffer.getvalue()
        (self.folder / "whole.npz").write_bytes(whole)
        for i in range(150):
            damaged = bytearray(whole)
            if i % 3 == 0:
                del damaged[chance.randrange(len(damaged)) :]
            for _ in range(chance.randrange(1, 5)):
                if damaged:
                    damaged[chance.randrange(len(damaged))] = chance.choice((0, 1, 0x7F, 0xFF, chance.randrange(256)))
            (self.folder / "damaged.npz").write_bytes(damaged)
            result = self.zarn("diff", "whole.npz", "damaged.npz")
            self.assertIn(result.returncode, (0, 1, 2), (i, result.stderr))
            self.assertEqual(result.returncode == 2, result.stderr.startswith("zarn: damaged.npz: "), result.stderr)

    def test_an_archive_that_promises_more_than_it_holds(self):
        buffer = io.BytesIO()
        with zipfile.ZipFile(buffer, "w", zipfile.ZIP_DEFLATED) as archive:
            archive.writestr("x.npy", b"\0" * 1000)
        text = bytearray(buffer.getvalue())
        entry = text.rindex(b"PK\1\2")
        text[entry + 24 : entry + 28] = (1 << 30).to_bytes(4, "little")
        (self.folder / "giant.npz").write_bytes(text)
        result = self.check("diff", "giant.npz", "giant.npz", status=2)
        self.assertEqual(result.stderr, "zarn: giant.npz: a damaged archive\n")


if __name__ == "__main__":
    unittest.main()

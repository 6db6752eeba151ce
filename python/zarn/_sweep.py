"""What sweeps need of the interpreter: points that fill a space, and arrays as files."""

import json
import struct
import zipfile
from collections.abc import Iterator

HEAD = b"zarn sweep 1\n"


def points(kind: str, dimensions: int, count: int, seed: int) -> list[list[float]]:
    """So many points of the unit cube, by rows."""
    from scipy.stats import qmc

    if kind == "sobol":
        engine = qmc.Sobol(d=dimensions, scramble=True, seed=seed)
        drawn = engine.random_base2(max(count - 1, 1).bit_length())[:count]
    else:
        drawn = qmc.LatinHypercube(d=dimensions, seed=seed).random(count)
    return [[float(value) for value in row] for row in drawn]


class Rows:
    """The rows of a sweep as the command keeps them on their way."""

    def __init__(self, file: str) -> None:
        self.file = file
        with open(file, "rb") as stream:
            if stream.readline() != HEAD:
                raise ValueError(f"{file}: no rows of a sweep")
            self.manifest = json.loads(stream.readline())
            self.begin = stream.tell()
        self.columns = len(self.manifest["names"]) + len(self.manifest["measure_names"])
        self.numbers = self.columns + len(self.manifest["signals"]) * self.manifest["samples"]

    def batches(self) -> Iterator[list[tuple[int, bytes, str]]]:
        """For each batch its rows: number of the variant, its doubles, and why it was ended."""
        with open(self.file, "rb") as stream:
            stream.seek(self.begin)
            while head := stream.read(24):
                size = struct.unpack("QQQ", head)[1]
                data, at, rows = stream.read(size), 0, []
                while at < size:
                    (variant,) = struct.unpack_from("Q", data, at)
                    numbers = data[at + 8 : at + 8 + 8 * self.numbers]
                    at += 8 + 8 * self.numbers
                    (length,) = struct.unpack_from("I", data, at)
                    rows.append((variant, numbers, data[at + 4 : at + 4 + length].decode(errors="replace")))
                    at += 4 + length
                yield rows


def convert(part: str, out: str, ending: str) -> None:
    """Writes the rows as .npz or .h5: an array for each name and measure, one of rows and samples for each signal."""
    rows = Rows(part)
    if ending == ".npz":
        to_npz(rows, out)
    else:
        to_h5(rows, out)


def _arrays(rows: Rows):  # type: ignore[no-untyped-def]
    """Name, shape behind the rows, type, and a function from a batch to its values; one array after the other."""
    import numpy as np

    names = rows.manifest["names"] + rows.manifest["measure_names"]
    samples = rows.manifest["samples"]

    def part(begin: int, end: int):  # type: ignore[no-untyped-def]
        return lambda batch: np.array([np.frombuffer(row[1], dtype="<f8")[begin:end] for row in batch])

    yield "variant", (), "<u8", lambda batch: np.array([row[0] for row in batch], dtype="<u8")
    for index, name in enumerate(names):
        column = part(index, index + 1)
        yield name, (), "<f8", lambda batch, column=column: column(batch).reshape(-1)
    for index, name in enumerate(rows.manifest["signals"]):
        begin = rows.columns + index * samples
        yield name, (samples,), "<f8", part(begin, begin + samples)
    longest = max((len(row[2].encode()) for batch in rows.batches() for row in batch), default=0)
    kind = f"S{max(longest, 1)}"
    yield "ended", (), kind, lambda batch: np.array([row[2].encode() for row in batch], dtype=kind)


def to_npz(rows: Rows, out: str) -> None:
    import numpy as np

    count = sum(len(batch) for batch in rows.batches())
    with zipfile.ZipFile(out, "w", zipfile.ZIP_STORED, allowZip64=True) as archive:

        def member(name: str):  # type: ignore[no-untyped-def]
            return archive.open(zipfile.ZipInfo(name + ".npy", (1980, 1, 1, 0, 0, 0)), "w", force_zip64=True)

        for name, shape, kind, values in _arrays(rows):
            with member(name) as stream:
                head = {"descr": kind, "fortran_order": False, "shape": (count, *shape)}
                np.lib.format.write_array_header_1_0(stream, head)  # type: ignore[no-untyped-call]
                for batch in rows.batches():
                    if batch:
                        stream.write(np.ascontiguousarray(values(batch), dtype=kind).tobytes())
        if rows.manifest["signals"]:
            with member("time") as stream:
                np.lib.format.write_array(stream, np.array(rows.manifest["times"]))  # type: ignore[no-untyped-call]


def to_h5(rows: Rows, out: str) -> None:
    import h5py

    count = sum(len(batch) for batch in rows.batches())
    with h5py.File(out, "w") as file:
        file.attrs["manifest"] = json.dumps(rows.manifest)
        for name, shape, kind, values in _arrays(rows):
            array = file.create_dataset(name, (count, *shape), dtype=kind)
            at = 0
            for batch in rows.batches():
                if batch:
                    array[at : at + len(batch)] = values(batch)
                    at += len(batch)
        if rows.manifest["signals"]:
            file["time"] = rows.manifest["times"]

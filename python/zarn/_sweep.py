"""What sweeps need of the interpreter: points that fill a space, arrays as files, and pictures."""

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


def plot(part: str, out: str, form: str) -> None:
    """Draws signals as bands of quantiles; without signals the first measure over what varies."""
    from matplotlib.figure import Figure

    rows = Rows(part)
    figure = Figure(figsize=(9, 5.5), layout="constrained")
    if rows.manifest["signals"]:
        _bands(rows, figure)
    else:
        _measure(rows, figure)
    figure.savefig(out, format=form)


def _table(rows: Rows, begin: int, end: int):  # type: ignore[no-untyped-def]
    """Some of the numbers of all rows that have a result."""
    import numpy as np

    kept = [
        np.frombuffer(row[1], dtype="<f8")[begin:end] for batch in rows.batches() for row in batch if not row[2]
    ]
    return np.array(kept).reshape(len(kept), end - begin)


def _bands(rows: Rows, figure) -> None:  # type: ignore[no-untyped-def]
    import numpy as np

    signals, samples = rows.manifest["signals"], rows.manifest["samples"]
    times = np.array(rows.manifest["times"])
    for index, (name, axes) in enumerate(zip(signals, np.atleast_1d(figure.subplots(len(signals), 1, sharex=True)))):
        begin = rows.columns + index * samples
        values = _table(rows, begin, begin + samples)
        if not len(values):
            continue
        low, below, middle, above, high = np.nanquantile(values, [0.05, 0.25, 0.5, 0.75, 0.95], axis=0)
        axes.plot(times, values[:: max(len(values) // 20, 1)].T, color="0.7", linewidth=0.5)
        axes.fill_between(times, low, high, alpha=0.25, linewidth=0, label="5 % to 95 %")
        axes.fill_between(times, below, above, alpha=0.4, linewidth=0, label="25 % to 75 %")
        axes.plot(times, middle, label="median")
        axes.set_ylabel(name)
        axes.legend()
        axes.set_xlabel("time [s]")


def _measure(rows: Rows, figure) -> None:  # type: ignore[no-untyped-def]
    import numpy as np

    names, measures = rows.manifest["names"], rows.manifest["measure_names"]
    if not measures:
        raise ValueError("nothing to draw: neither a measure nor a signal")
    axes = figure.subplots()
    table = _table(rows, 0, rows.columns)
    value = table[:, len(names)]
    grids = [np.unique(table[:, index]) for index in range(len(names))]
    axes.set_xlabel(names[0])
    if len(names) == 2 and len(grids[0]) * len(grids[1]) == len(table) > 3:
        order = np.lexsort((table[:, 0], table[:, 1]))
        image = value[order].reshape(len(grids[1]), len(grids[0]))
        drawn = axes.pcolormesh(grids[0], grids[1], image, shading="nearest")
        figure.colorbar(drawn, label=measures[0])
        axes.set_ylabel(names[1])
    elif len(names) == 2:
        drawn = axes.scatter(table[:, 0], table[:, 1], c=value, s=8)
        figure.colorbar(drawn, label=measures[0])
        axes.set_ylabel(names[1])
    else:
        axes.scatter(table[:, 0], value, s=8)
        axes.set_ylabel(measures[0])

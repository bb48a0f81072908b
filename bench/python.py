#!/usr/bin/python3
"""The Python package beside what people write by hand: bench/python.py [--megabytes N] [--workers]

    PYTHONPATH=build/release/python bench/python.py | scripts/figures.py record python

Peers run in turn in one process, the least of several passes each. "by hand" is numpy over the nibbles of a packed field;
"codecs" is bytes.decode('cp037'), which makes a str of each value where the plan writes UTF-8 into slots. The file is
read into a DataFrame of the same columns and types by both. With --workers a cluster of Dask reads it by one worker and by
two, and what is told is processor time: beside one process without Dask, and beside tasks that do nothing.
"""
import argparse
import os
import sys
import tempfile
import time

import numpy
import pandas
import zvrt

ITEMS = [("NAME", "PIC X(40)"), ("CITY", "PIC X(20)"), ("STATE", "PIC X(2)"), ("ACCOUNT", "PIC S9(9) COMP-3"),
         ("BRANCH", "PIC S9(9) COMP"), ("AMOUNT", "PIC S9(9) COMP-3"), ("NOTE", "PIC X(30)")]
LAYOUT = zvrt.Layout("       01 R.\n" + "".join(f"           05 {name} {form}.\n" for name, form in ITEMS))
FIELDS = numpy.dtype([("NAME", "S40"), ("CITY", "S20"), ("STATE", "S2"), ("ACCOUNT", "V5"), ("BRANCH", ">i4"),
                      ("AMOUNT", "V5"), ("NOTE", "S30")])


def least(peers, passes):
    """Seconds of each peer: the least of several passes, in turn."""
    best = [float("inf")] * len(peers)
    for _ in range(passes):
        for at, peer in enumerate(peers):
            begin = time.perf_counter()
            peer()
            best[at] = min(best[at], time.perf_counter() - begin)
    return best


def tell(measure, unit, ours, peer, theirs):
    print(f"| {measure} | {ours:.3g} | {unit} | {peer} | {theirs:.3g} | {theirs / ours:.1f} |", flush=True)


def packed_by_hand(fields):
    nibbles = numpy.ascontiguousarray(fields).view(numpy.uint8).reshape(len(fields), -1)
    value = numpy.zeros(len(fields), numpy.int64)
    for at in range(nibbles.shape[1]):
        value = value * 10 + (nibbles[:, at] >> 4)
        if at < nibbles.shape[1] - 1:
            value = value * 10 + (nibbles[:, at] & 15)
    sign = nibbles[:, -1] & 15
    return numpy.where((sign == 13) | (sign == 11), -value, value)


def packed_in_python(fields):
    values = []
    for field in fields:
        text = field.hex()
        values.append(-int(text[:-1]) if text[-1] in "db" else int(text[:-1]))
    return values


def packed(count):
    numbers = numpy.random.default_rng(1).integers(-10**9 + 1, 10**9, count)
    data = b"".join(bytes.fromhex(f"{abs(n):09}{'d' if n < 0 else 'c'}") for n in numbers.tolist())
    fields = numpy.frombuffer(data, "V5")
    plan = zvrt.Plan(zvrt.Type("packed", 5), zvrt.Type("int", 8))
    target = numpy.empty(count, numpy.int64)
    assert (numpy.asarray(plan.run(fields, target).values) == numbers).all() and (packed_by_hand(fields) == numbers).all()
    few = [data[at:at + 5] for at in range(0, 100000, 5)]
    ours, hand, pure = least([lambda: plan.run(fields, target), lambda: packed_by_hand(fields),
                              lambda: packed_in_python(few)], 15)
    tell("packed of 5 bytes to int64", "ns a value", ours / count * 1e9, "numpy by hand", hand / count * 1e9)
    tell("packed of 5 bytes to int64, pure", "ns a value", ours / count * 1e9, "pure Python", pure / len(few) * 1e9)


def text(count):
    data = "".join(f"Springfield, line {n}".ljust(40) for n in range(count)).encode("cp037")
    plan = zvrt.Plan(zvrt.Type("char", 40, code_page=37), zvrt.Type("varchar_sz", 81))
    target = bytearray(81 * count)
    fields = [data[at:at + 40] for at in range(0, len(data), 40)]
    assert bytes(plan.run(data, target).values[:40]).decode() == fields[0].decode("cp037")
    ours, codecs = least([lambda: plan.run(data, target), lambda: [field.decode("cp037") for field in fields]], 15)
    tell("page 37 of 40 bytes to UTF-8", "ns a value", ours / count * 1e9, "codecs", codecs / count * 1e9)


def record_file(folder, megabytes):
    count = 20000
    rows = numpy.zeros(count, FIELDS)
    for name, length in [("NAME", 40), ("CITY", 20), ("STATE", 2), ("NOTE", 30)]:
        rows[name] = [f"{name.title()} {n % 1000}"[:length].ljust(length).encode("cp037") for n in range(count)]
    for name in ("ACCOUNT", "AMOUNT"):
        rows[name] = numpy.frombuffer(b"".join(bytes.fromhex(f"{n * 7919 % 10**9:09}c") for n in range(count)), "V5")
    rows["BRANCH"] = numpy.arange(count)
    block = rows.tobytes()
    path = os.path.join(folder, "records.dat")
    with open(path, "wb") as file:
        for _ in range(max(1, megabytes * 1_000_000 // len(block))):
            file.write(block)
    return path


def by_numpy_and_codecs(path):
    rows = numpy.fromfile(path, FIELDS)
    columns = {}
    for name, form in ITEMS:
        if form.startswith("PIC X"):
            columns[name] = [field.decode("cp037").rstrip() for field in rows[name].tolist()]
        elif form.endswith("COMP-3"):
            columns[name] = pandas.array(packed_by_hand(rows[name]), dtype="Int64")
        else:
            columns[name] = pandas.array(rows[name].astype("i4"), dtype="Int32")
    return pandas.DataFrame(columns)


def frames(path, megabytes):
    if megabytes <= 20:
        pandas.testing.assert_frame_equal(LAYOUT.read(path).to_pandas(), by_numpy_and_codecs(path))
    ours, theirs = least([lambda: LAYOUT.read(path).to_pandas(), lambda: by_numpy_and_codecs(path)], 3)
    tell(f"a file of {megabytes} MB to a DataFrame", "s", ours, "numpy and codecs", theirs)
    arrow, theirs = least([lambda: sum(len(batch) for batch in LAYOUT.read(path)), lambda: numpy.fromfile(path, FIELDS)], 3)
    tell(f"a file of {megabytes} MB to Arrow batches", "s", arrow, "numpy.fromfile alone", theirs)


def nothing(number):
    return number


def workers(path):
    """Processor time, since other programs of the machine take no part in that."""
    import distributed
    import zvrt.dask

    def processor_time(client, work):
        """Of all workers, the least of three passes."""
        seconds = []
        for _ in range(3):
            before = sum(client.run(time.process_time).values())
            work()
            seconds.append(sum(client.run(time.process_time).values()) - before)
        return min(seconds)

    begin = time.process_time()
    LAYOUT.read(path).to_pandas().ACCOUNT.sum()
    alone = time.process_time() - begin
    for count in (1, 2):
        with distributed.LocalCluster(n_workers=count, threads_per_worker=1, dashboard_address=None) as cluster, \
                distributed.Client(cluster) as client:
            frame = zvrt.dask.read_records(LAYOUT, path, parts=16)
            read = processor_time(client, lambda: client.compute(frame.ACCOUNT.sum()).result())
            empty = processor_time(client, lambda: client.gather(client.map(nothing, range(16), pure=False)))
            tell(f"16 parts by {count} of Dask's workers", "s of processor", read, "one process without Dask", alone)
            tell(f"16 parts by {count} of Dask's workers", "s of processor", read, "16 tasks that do nothing", empty)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--megabytes", type=int, default=200)
    parser.add_argument("--workers", action="store_true")
    options = parser.parse_args()
    print("| Measure | ours | unit | peer | peer's | ratio |\n|---|---:|---|---|---:|---:|")
    with tempfile.TemporaryDirectory() as folder:
        if options.workers:
            workers(record_file(folder, options.megabytes))
            return
        packed(200000)
        text(50000)
        frames(record_file(folder, options.megabytes), options.megabytes)


if __name__ == "__main__":
    sys.exit(main())

"""Who owns what: threads, memory that must not grow, objects that outlive others or the interpreter."""
import gc
import pickle
import resource
import subprocess
import sys
import threading
import tracemalloc
import unittest

import arrow_by_hand
import zvrt

COPYBOOK = "       01 R.\n           05 A PIC S9(9) COMP-3.\n           05 T PIC X(11).\n"
OF = zvrt.Layout(COPYBOOK)
RECORD = bytes.fromhex("000000012C") + "text".encode("cp037").ljust(11, b"\x40")


def everything():
    """Each way to look at a file, some of them left unfinished."""
    records = OF.read(RECORD * 1000 + b"\xff" * 16, batch_bytes=1 << 13)
    for batch in records:
        batch["A"].to_pylist(), batch["T"].to_pylist(), memoryview(batch["A"]), batch["T"].offsets
        batch.__arrow_c_array__(), batch["T"].__arrow_c_array__(), batch.__arrow_c_schema__()
    records.rejects, records.columns, OF.items(), OF.ranges(RECORD * 9, 3)
    next(iter(records))
    records.__arrow_c_stream__()
    arrow_by_hand.read(arrow_by_hand.inside(records.__arrow_c_stream__(), arrow_by_hand.Stream))
    plan = zvrt.Plan(zvrt.Type("packed", 5), zvrt.Type("int", 8))
    plan.run(RECORD * 100, stride=16, count=100), plan.explain(b"\xff" * 5)
    for wrong in (lambda: plan.run(b"", count=1), lambda: OF.read(b"", first=0), lambda: zvrt.Layout("01 A PIC Q.")):
        try:
            wrong()
        except (ValueError, zvrt.Error):
            pass


class Memory(unittest.TestCase):
    def test_nothing_grows(self):
        for _ in range(5):
            everything()
        gc.collect()
        tracemalloc.start()
        before = tracemalloc.take_snapshot()
        resident = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
        for _ in range(30):
            everything()
        gc.collect()
        after = tracemalloc.take_snapshot()
        tracemalloc.stop()
        grown = sum(max(each.size_diff, 0) for each in after.compare_to(before, "filename")
                    if "zvrt" in str(each.traceback) or "lifetimes_test" in str(each.traceback))
        self.assertLess(grown, 20_000)
        # A run leaves some 100 KiB of batches at a time: leaked, thirty runs would show.
        self.assertLess(resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - resident, 3000)

    def test_lent_bytes_come_back(self):
        data = bytearray(RECORD * 100)
        records = OF.read(data)
        stream = iter(records)
        next(stream)
        with self.assertRaises(BufferError):
            data += b"x"
        del records, stream
        gc.collect()
        data += b"x"

    def test_unused_and_used_capsules(self):
        for _ in range(100):
            schema, array = next(iter(OF.read(RECORD))).__arrow_c_array__()
            taken = arrow_by_hand.inside(array, arrow_by_hand.Array)
            child = arrow_by_hand.Array.from_buffer_copy(taken.children[1].contents)
            taken.children[1].contents.release = type(taken.release)()
            del schema, array, taken
            self.assertEqual(arrow_by_hand.values(child, "u"), ["text"])
            child.release(child)


class Threads(unittest.TestCase):
    def test_one_iterator_in_many_threads(self):
        batches = iter(OF.read(RECORD * 20000, batch_bytes=1 << 12))
        counts = []

        def take():
            counts.append(sum(len(batch) for batch in batches))

        threads = [threading.Thread(target=take) for _ in range(4)]
        for each in threads:
            each.start()
        for each in threads:
            each.join()
        self.assertEqual(sum(counts), 20000)

    def test_many_passes_at_once(self):
        records = OF.read(RECORD * 5000)
        sums = []
        threads = [threading.Thread(target=lambda: sums.append(sum(sum(b["A"].to_pylist()) for b in records)))
                   for _ in range(4)]
        for each in threads:
            each.start()
        for each in threads:
            each.join()
        self.assertEqual(sums, [60000] * 4)


class Ends(unittest.TestCase):
    def test_the_interpreter_ends_with_everything_alive(self):
        program = f"""
import threading, zvrt
of = zvrt.Layout({COPYBOOK!r})
data = {RECORD!r} * 50000
records = of.read(data, batch_bytes=1 << 14)
batches = iter(records); batch = next(batches); column = batch["T"]; view = memoryview(batch["A"])
stream = records.__arrow_c_stream__(); pair = batch.__arrow_c_array__()
plan = zvrt.Plan(zvrt.Type("packed", 5), zvrt.Type("int", 8)); outcome = plan.run(data, stride=16, count=10)
holder = [records, batches, batch, column, view, stream, pair, plan, outcome]; holder.append(holder)
threading.Thread(target=lambda: [len(b) for _ in range(1000) for b in records], daemon=True).start()
print(len(column))
"""
        done = subprocess.run([sys.executable, "-X", "dev", "-c", program], capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_layouts_travel(self):
        again = pickle.loads(pickle.dumps(OF))
        self.assertEqual(str(again), str(OF))

    def test_forked_children_read(self):
        program = f"""
import os, zvrt
of = zvrt.Layout({COPYBOOK!r}); records = of.read({RECORD!r} * 100)
list(records)
child = os.fork()
if child == 0: os._exit(0 if sum(len(b) for b in records) == 100 else 1)
raise SystemExit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
"""
        self.assertEqual(subprocess.run([sys.executable, "-c", program], timeout=60).returncode, 0)


if __name__ == "__main__":
    unittest.main()

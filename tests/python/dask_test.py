"""A real cluster on this machine: several worker processes, one of them killed in the middle."""
import os
import signal
import struct
import sys
import tempfile
import time
import unittest
from pathlib import Path

try:
    import dask
    import distributed
    import pandas
except ImportError as missing:
    print(missing)
    sys.exit(77)
import zvrt
import zvrt.dask

OF = zvrt.Layout("       01 R.\n           05 A PIC S9(9) COMP-3.\n           05 D PIC S9(5)V99 COMP-3.\n"
                 "           05 T PIC X(20).\n")


def record(i):
    return (bytes.fromhex(f"{i:09}C" f"{i % 10**7:07}D") + f"text {i % 97}".encode("cp037").ljust(20, b"\x40"))


def hashed(frame):
    """One number for a partition, whatever its index."""
    return pandas.Series([int(pandas.util.hash_pandas_object(frame.astype(str), index=False).sum()) & (1 << 63) - 1])


def slowly(frame, flag):
    Path(flag).touch()
    time.sleep(0.1)
    return hashed(frame)


class Clusters(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.fixed, cls.words = Path(cls.folder.name, "fixed"), Path(cls.folder.name, "words")
        records = [record(i) for i in range(20000)]
        cls.fixed.write_bytes(b"".join(records))
        cls.words.write_bytes(b"".join(struct.pack(">HH", len(each) + 4, 0) + each for each in records))
        dask.config.set({"distributed.worker.daemon": True, "temporary-directory": cls.folder.name})
        cls.cluster = distributed.LocalCluster(n_workers=3, threads_per_worker=1, processes=True, dashboard_address=None)
        cls.addClassCleanup(cls.cluster.close)
        cls.client = distributed.Client(cls.cluster)
        cls.addClassCleanup(cls.client.close)

    def whole(self):
        return OF.read(self.fixed).to_pandas()

    def test_the_same_rows(self):
        for path, options in [(self.fixed, {}), (self.words, {"record_format": "V"})]:
            frame = zvrt.dask.read_records(OF, path, parts=7, **options)
            self.assertEqual(frame.npartitions, 7)
            self.assertEqual([str(each) for each in frame.dtypes], ["Int64", "object", "object"])
            pandas.testing.assert_frame_equal(frame.compute().reset_index(drop=True), self.whole())
            self.assertEqual(frame.A.sum().compute(), sum(range(20000)))

    def test_a_worker_dies_in_the_middle(self):
        ranges = OF.ranges(self.fixed, 40)
        expected = [hashed(OF.read(self.fixed, range=each).to_pandas())[0] for each in ranges]
        flag = Path(self.folder.name, "begun")
        pids = self.client.run(os.getpid)
        frame = zvrt.dask.read_records(OF, self.fixed, parts=40)
        future = self.client.compute(frame.map_partitions(slowly, str(flag), meta=pandas.Series([], dtype="int64")))
        while not flag.exists():
            time.sleep(0.02)
        time.sleep(0.3)
        self.assertFalse(future.done())
        os.kill(next(iter(pids.values())), signal.SIGKILL)
        self.assertEqual(future.result(timeout=120).tolist(), expected)
        self.assertNotEqual(self.client.run(os.getpid), pids)

    def test_refusals_end_the_computation(self):
        path = Path(self.folder.name, "broken")
        path.write_bytes(record(1) + b"\xff" * 29 + record(3))
        with self.assertRaisesRegex(zvrt.Error, "record 2, A"):
            zvrt.dask.read_records(OF, path, parts=3).compute()
        self.assertEqual(zvrt.dask.read_records(OF, path, on_reject="skip").A.sum().compute(), 4)

    def test_an_empty_file(self):
        path = Path(self.folder.name, "empty")
        path.write_bytes(b"")
        self.assertEqual(len(zvrt.dask.read_records(OF, path).compute()), 0)


if __name__ == "__main__":
    unittest.main()

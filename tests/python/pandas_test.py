"""Against numpy and pandas."""
import sys
import unittest
from decimal import Decimal
from pathlib import Path

try:
    import numpy
    import pandas
except ImportError as missing:
    print(missing)
    sys.exit(77)
import zvrt

EXAMPLES = Path(__file__).parents[2] / "examples/data"
ITEMS = ("T PIC X(4)", "I PIC S9(9) COMP-3", "D PIC S9(3)V99 COMP-3", "F COMP-2", "H PIC S9(4) COMP")
OF = zvrt.Layout("       01 R.\n" + "".join(f"           05 {item}.\n" for item in ITEMS))
ROW = "one ".encode("cp037") + bytes.fromhex("000000012C" "12345D" "4118000000000000" "FFFF")
BAD = "two ".encode("cp037") + bytes.fromhex("FFFFFFFFFF" "FFFFFF" "4118000000000000" "0002")


class Frames(unittest.TestCase):
    def test_types(self):
        frame = OF.read(ROW * 3 + BAD, on_reject="keep").to_pandas()
        self.assertEqual([str(each) for each in frame.dtypes], ["object", "Int64", "object", "float64", "Int16"])
        self.assertEqual(frame.iloc[0].tolist(), ["one", 12, Decimal("-123.45"), 1.5, -1])
        self.assertEqual(frame.I.isna().tolist(), [False, False, False, True])
        self.assertIsNone(frame.D[3])
        self.assertEqual(frame.I.sum(), 36)
        frame.loc[0, "I"] = 7  # what comes back is the caller's own
        self.assertEqual(frame.I[0], 7)

    def test_floats_on_request(self):
        frame = OF.read(ROW + BAD, on_reject="keep").to_pandas(decimals="float")
        self.assertEqual(frame.D.dtype, float)
        self.assertEqual(frame.D[0], -123.45)
        self.assertTrue(numpy.isnan(frame.D[1]))
        with self.assertRaises(ValueError):
            OF.read(ROW).to_pandas(decimals="no")

    def test_empty(self):
        frame = OF.read(b"").to_pandas()
        self.assertEqual((len(frame), list(frame.columns)), (0, ["T", "I", "D", "F", "H"]))
        self.assertEqual(str(frame.I.dtype), "Int64")

    def test_many_batches(self):
        frame = OF.read((ROW + BAD) * 5000, on_reject="keep", batch_bytes=1 << 12).to_pandas()
        self.assertEqual((len(frame), frame.I.sum(), frame.I.isna().sum(), frame.H.sum()), (10000, 60000, 5000, 5000))
        self.assertTrue((frame["T"] == ["one", "two"] * 5000).all())

    def test_timestamps(self):
        text = '       01 R.\n           05 F PIC X(8).\n      *>@ date="%YYYY%MM%DD"\n           05 G PIC X(14).\n' \
               '      *>@ date="%YYYY%MM%DD%HH24%MI%SS"\n'
        of = zvrt.Layout(text)
        near = of.read("2024022920240229123456".encode("cp037")).to_pandas()
        self.assertEqual(str(near.F[0]), "2024-02-29")
        self.assertEqual(near.G[0], pandas.Timestamp(2024, 2, 29, 12, 34, 56))
        far = of.read("9999123199991231235959".encode("cp037")).to_pandas()
        self.assertEqual((far.F[0].year, far.G[0].year), (9999, 9999))


class Arrays(unittest.TestCase):
    def test_columns_without_a_copy(self):
        [batch] = OF.read(ROW * 3)
        array = numpy.asarray(batch["I"])
        self.assertEqual((array.dtype, array.tolist(), array.flags.writeable), (numpy.int64, [12] * 3, False))
        self.assertEqual(array.__array_interface__["data"], numpy.asarray(batch["I"]).__array_interface__["data"])
        self.assertEqual(numpy.asarray(batch["D"]).view(numpy.int64)[:, 0].tolist(), [-12345] * 3)

    def test_structured_arrays(self):
        records = numpy.frombuffer(ROW * 100, [("T", "S4"), ("I", "V5"), ("D", "V3"), ("F", "V8"), ("H", "V2")])
        plan = zvrt.Plan(zvrt.Type("packed", 5), zvrt.Type("int", 8))
        self.assertEqual(numpy.asarray(plan.run(records["I"]).values).tolist(), [12] * 100)
        self.assertEqual(numpy.asarray(plan.run(records["I"][::-7]).values).tolist(), [12] * 15)
        wide = numpy.zeros((100, 2), numpy.int64)
        plan.run(records["I"], wide[:, 1])
        self.assertEqual(wide.sum(axis=0).tolist(), [0, 1200])
        with self.assertRaises(ValueError):
            plan.run(records)


class Strikes(unittest.TestCase):
    """The public table: what the layout's comments say is what the CSV file says."""

    def test_null_forms_and_dates(self):
        of = zvrt.Layout.from_copybook(EXAMPLES / "strikes.cpy")
        self.assertEqual(list(of.read(b"").columns.values()), ["u", "u", "u", "tdD", *"uuuuuu", "l", "l", "u", "l"])


if __name__ == "__main__":
    unittest.main()

"""Tables into record files: every kind of field there and back, what is refused, and what happens to files."""
import datetime
import os
import tempfile
import unittest
from decimal import Decimal
from pathlib import Path

import zvrt
from read_test import FIELDS, ebcdic, layout, rows


class Written(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.path = self.folder / "out.dat"

    def bytes_of(self, of, data, **options):
        self.path.unlink(missing_ok=True)
        written = of.write(self.path, data, **options)
        self.assertEqual(written.rejects, [])
        return self.path.read_bytes()


class Kinds(Written):
    # Values that have another form than they had: a NUL of text becomes a blank, a sign F is written where there is none.
    OTHER_BYTES = {"C1005A": "C1405A"}
    # Beyond their picture: read always, written on request only.
    BEYOND = {"FFFE", "80000000", "7FFFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFF"}

    def test_every_kind_comes_back(self):
        for form, bytes_, value, _ in FIELDS:
            with self.subTest(form):
                of = zvrt.Layout("       01 R.\n           05 F " + form + ("" if "*>@" in form else ".") + "\n")
                expected = bytes.fromhex(self.OTHER_BYTES.get(bytes_, bytes_))
                binary = "full" if bytes_ in self.BEYOND else "std"
                self.assertEqual(self.bytes_of(of, of.read(bytes.fromhex(bytes_)), binary=binary), expected)
                self.assertEqual(self.bytes_of(of, {"F": [value]}, binary=binary), expected)

    def test_forms_of_files(self):
        of = layout("A PIC X(3)")
        for options in ({"record_format": "V"}, {"record_format": "VB"}, {"record_format": "D"}, {"skip_header": 4},
                        {"record_format": "V", "rdw_order": "little", "rdw_includes_itself": False}, {"record_length": 5}):
            with self.subTest(options):
                data = self.bytes_of(of, {"A": ["abc", "d"]}, **options)
                self.assertEqual(rows(of.read(data, **options)), [("abc",), ("d",)])

    def test_tables_of_variable_length(self):
        of = layout("N PIC 9", "E PIC X OCCURS 0 TO 3 DEPENDING ON N", "Z PIC X")
        data = self.bytes_of(of, {"N": [2, 0], "E_1": ["A", None], "E_2": ["B", None], "Z": ["z", "y"]}, odo="shift")
        self.assertEqual(data, ebcdic("2ABz0y"))

    def test_redefinitions(self):
        of = layout("A PIC S9(3) COMP-3", "B REDEFINES A PIC X(2)")
        self.assertEqual(self.bytes_of(of, {"A": [None, 7], "B": ["HI", None]}), ebcdic("HI") + bytes.fromhex("007C"))
        self.assertEqual(self.bytes_of(of, {"B": ["HI"]}), ebcdic("HI"))

    def test_many_rows(self):
        of = layout("A PIC S9(9) COMP-3", "T PIC X(40)")
        data = {"A": list(range(20000)), "T": [f"row {i}" for i in range(20000)]}
        back = of.read(self.bytes_of(of, data))
        self.assertEqual(rows(back), list(zip(*data.values())))
        self.assertEqual(self.bytes_of(of, next(iter(back))), self.path.read_bytes()[:45 * len(next(iter(back)))])

    def test_moments(self):
        of = zvrt.Layout('       01 R.\n           05 D PIC X(8).\n      *>@ date="%YYYY%MM%DD"\n')
        for value in (datetime.date(2024, 2, 29), "2024-02-29"):
            self.assertEqual(self.bytes_of(of, {"D": [value]}), ebcdic("20240229"))

    def test_record_numbers_are_passed_over(self):
        of = layout("A PIC X")
        self.assertEqual(self.bytes_of(of, of.read(ebcdic("ab"), record_number=True)), ebcdic("ab"))


class Refused(Written):
    OF = layout("A PIC S9(3) COMP-3", "T PIC X(2)")

    def test_policies(self):
        data = {"A": [1, 1000, None, 2, "x"], "T": ["a", "b", "c", "long", "d"]}
        written = self.OF.write(self.path, data)
        self.assertEqual((written.rows, written.records, written.refused), (5, 1, 4))
        self.assertEqual([(each.record, each.field, each.name) for each in written.rejects],
                         [(2, "A", "ZVRT_RC_DIGITS_LOST"), (3, "A", "ZVRT_RC_NULL_REFUSED"),
                          (4, "T", "ZVRT_RC_TRUNCATED"), (5, "A", "ZVRT_RC_INVALID_NUMBER")])
        self.assertEqual(self.path.read_bytes(), bytes.fromhex("001C") + ebcdic("a "))
        kept = self.OF.write(self.path, data, on_reject="keep", replace=True)
        self.assertEqual((kept.records, self.path.stat().st_size), (5, 20))
        for options in ({"on_reject": "stop"}, {"max_rejects": 1}):
            with self.assertRaises(zvrt.Error) as caught:
                self.OF.write(self.path, data, replace=True, **options)
            self.assertEqual(caught.exception.name, "ZVRT_RC_DIGITS_LOST")
            self.assertEqual(self.path.stat().st_size, 20)  # what stood there
        self.assertEqual(os.listdir(self.folder), ["out.dat"])

    def test_texts_that_are_longer_than_any(self):
        written = self.OF.write(self.path, {"A": [1, 2], "T": ["x" * 100000, "ok"]})
        self.assertEqual([(each.record, each.name) for each in written.rejects], [(1, "ZVRT_RC_TRUNCATED")])
        long = layout("T PIC X(20000)")
        self.assertEqual(self.bytes_of(long, {"T": ["x" * 20000]}, replace=True), ebcdic("x" * 20000))

    def test_files(self):
        self.OF.write(self.path, {"A": [1], "T": ["a"]})
        with self.assertRaises(FileExistsError):
            self.OF.write(self.path, {"A": [2], "T": ["b"]})
        self.OF.write(self.path, self.OF.read(self.path), replace=True)  # what is read while it is written
        self.assertEqual(rows(self.OF.read(self.path)), [(1, "a")])
        for path, error in [(self.folder, FileExistsError), (self.folder / "no" / "x", zvrt.Error), (7, TypeError)]:
            with self.assertRaises(error):
                self.OF.write(path, {"A": [1], "T": ["a"]})
        if os.path.exists("/dev/full"):
            with self.assertRaises((FileExistsError, zvrt.Error)):
                self.OF.write("/dev/full", {"A": [1], "T": ["a"]}, replace=True)
        self.assertEqual(os.listdir(self.folder), ["out.dat"])

    def test_tables_that_do_not_fit(self):
        for data, error, word in [({"A": [1]}, zvrt.Error, "no column 'T'"), ({"A": [1], "T": ["a"], "U": [1]}, zvrt.Error, "'U'"),
                                  ({"A": [1], "T": []}, ValueError, "one length"), (7, TypeError, "DataFrame"),
                                  (next(iter(self.OF.read(b"\0\x1c\x40\x40")))["A"], zvrt.Error, "no table"),
                                  ({"A": [b"1"], "T": ["a"]}, None, "")]:
            with self.subTest(str(data)):
                if error is None:
                    self.assertEqual(self.OF.write(self.path, data).refused, 1)
                    continue
                with self.assertRaisesRegex(error, word):
                    self.OF.write(self.path, data)
                self.assertFalse(self.path.exists())

    def test_a_capsule_is_used_once(self):
        class Twice:
            capsules = next(iter(self.OF.read(bytes.fromhex("001C") + ebcdic("a ")))).__arrow_c_array__()

            def __arrow_c_array__(self, requested_schema=None):
                return self.capsules

        self.OF.write(self.path, Twice())
        with self.assertRaisesRegex(ValueError, "used before"):
            self.OF.write(self.path, Twice(), replace=True)


if __name__ == "__main__":
    unittest.main()

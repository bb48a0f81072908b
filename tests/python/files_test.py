"""Whole files there and back: several kinds of record, bytes that no field tells, copybooks that copy others."""
import datetime
import os
import pickle
import struct
import tempfile
import unittest
from pathlib import Path

import zvrt
from read_test import ebcdic, layout, rows

KINDS = zvrt.Layout("       01 HEAD.\n           05 T PIC X.\n           05 A PIC 99.\n"
                    "       01 LINE-ITEM.\n           05 T PIC X.\n           05 N PIC 9.\n"
                    "           05 E PIC XX OCCURS 0 TO 3 DEPENDING ON N.\n           05 FILLER PIC X.\n")
SEGMENTS = ["T=H:HEAD", "T=L,M:LINE-ITEM"]
# The third record is damaged, the fifth is of no kind; those of one kind have several lengths.
MIXED = [ebcdic(each) for each in ("H01", "L2abcd?", "H?1", "M0!", "X??", "H02", "L1ef.")]


def words(records):
    return b"".join(struct.pack(">HH", len(each) + 4, 0) + each for each in records)


class InAFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.path = self.folder / "out.dat"


class Segments(InAFolder):
    def test_each_kind_is_a_table(self):
        tables = KINDS.read_segments(words(MIXED), SEGMENTS, record_format="V")
        self.assertEqual(rows(tables["HEAD"]), [(1, "H", 1), (6, "H", 2)])
        self.assertEqual(rows(tables["LINE-ITEM"]),
                         [(2, "L", 2, "ab", "cd", None), (4, "M", 0, None, None, None), (7, "L", 1, "ef", None, None)])
        self.assertEqual([(each.record, each.field, each.name) for each in tables["HEAD"].rejects],
                         [(3, "A", "ZVRT_RC_INVALID_DIGIT"), (5, "T", "RX_UNKNOWN_SEGMENT")])
        self.assertEqual(tables["LINE-ITEM"].rejects, [])

    def test_records_that_tell_their_length(self):
        good = [each for each in MIXED if each[0] in ebcdic("L")]
        tables = KINDS.read_segments(b"".join(good), ["T=H:HEAD", "T=L:LINE-ITEM"], odo="shift")
        self.assertEqual([row[0] for row in rows(tables["LINE-ITEM"])], [1, 2])

    def test_they_come_back_in_their_order(self):
        good = words(each for at, each in enumerate(MIXED) if at not in (2, 4))
        tables = KINDS.read_segments(good, SEGMENTS, record_format="V", keep_bytes=True)
        written = KINDS.write_segments(self.path, tables, SEGMENTS, record_format="V", keep_bytes=True)
        self.assertEqual((written.rows, written.records, written.rejects), (5, 5, []))
        self.assertEqual(self.path.read_bytes(), good)
        given = {"HEAD": {"RECORD_NUMBER": [1, 5], "T": ["H"] * 2, "A": [1, 2]},
                 "LINE-ITEM": {"RECORD_NUMBER": ["2"], "T": ["L"], "N": [1], "E_1": ["ab"], "E_2": [None], "E_3": [None]}}
        KINDS.write_segments(self.path, given, SEGMENTS, record_format="V", replace=True)
        self.assertEqual(self.path.read_bytes(), words([ebcdic("H01"), ebcdic("L1ab "), ebcdic("H02")]))

    def test_what_does_not_fit(self):
        table = {"RECORD_NUMBER": [2, 1], "T": ["H"] * 2, "A": [1, 2]}
        one = ["T=H:HEAD"]
        for error, word, tables, segments in [
                (zvrt.Error, "RECORD_NUMBER 1 stands after 2", {"HEAD": table}, one),
                (zvrt.Error, "RECORD_NUMBER 'x' of row 1 is no number", {"HEAD": {**table, "RECORD_NUMBER": ["x", 1]}}, one),
                (zvrt.Error, "RECORD_NUMBER '' of row 1 is no number", {"HEAD": {**table, "RECORD_NUMBER": [None, 1]}}, one),
                (zvrt.Error, "no column 'RECORD_NUMBER'", {"HEAD": {"T": ["H"], "A": [1]}}, one),
                (ValueError, "for segments HEAD", {"TAIL": table}, one),
                (ValueError, "a list", {"HEAD": table}, "T=H:HEAD"),
                (zvrt.Error, "there is no :NAME", {"T=H": table}, ["T=H"])]:
            with self.subTest(word), self.assertRaisesRegex(error, word):
                KINDS.write_segments(self.path, tables, segments)
        with self.assertRaisesRegex(ValueError, "read_segments"):
            KINDS.read(b"", segment=SEGMENTS)
        self.assertEqual(os.listdir(self.folder), [])


class KeptBytes(InAFolder):
    # What stands around records and in them, and no field tells.
    FORMS = [
        ({"record_format": "V"}, words([b"\xc1\0\x12\x3a", b"\xc2\xff\x45\x6d", b"\xc3\1\x78\x9f"])),
        ({"skip_header": 3, "skip_trailer": 2, "record_header": 1}, b"abc" + b"1\xc1\0\x12\x3a" + b"2\xc2\xff\x45\x6d" + b"zz"),
        ({"record_format": "D"}, b"\xc1\2\x12\x3c\x15" + b"\xc2\3\x45\x6c\x15"),
        ({"record_format": "VB"}, struct.pack(">HH", 12, 0) + words([b"\xc1\0\x12\x3a"]) +
         struct.pack(">HH", 20, 0) + words([b"\xc2\xff\x45\x6d"] * 2))]
    OF = layout("A PIC X", "FILLER PIC X", "N PIC S9(3) COMP-3")

    def test_only_cells_that_changed_are_written(self):
        for options, data in self.FORMS:
            with self.subTest(options):
                read = self.OF.read(data, keep_bytes=True, **options)
                self.OF.write(self.path, read, keep_bytes=True, replace=True, **options)
                self.assertEqual(self.path.read_bytes(), data)
                self.assertEqual(read.rejects, [])
        options, data = self.FORMS[0]
        [batch] = self.OF.read(data, keep_bytes=True, **options)
        table = {column.name: column.to_pylist() for column in batch.columns}
        self.assertEqual(table["RECORD_BYTES"][0], b"\xc1\0\x12\x3a")
        table["N"][1] = 9
        self.OF.write(self.path, table, keep_bytes=True, replace=True, **options)
        self.assertEqual(self.path.read_bytes(), data.replace(b"\x45\x6d", b"\x00\x9c"))

    def test_bytes_that_cannot_be_taken(self):
        table = {"A": ["a"] * 3, "N": [1] * 3, "RECORD_BYTES": [b"\xc1\0\x12\x3a", None, b"x" * 40000]}
        written = self.OF.write(self.path, table, keep_bytes=True, record_format="V")
        self.assertEqual([(each.record, each.field, each.name) for each in written.rejects],
                         [(2, "RECORD_BYTES", "RX_BYTES"), (3, "RECORD_BYTES", "RX_BYTES")])
        self.assertEqual(self.path.read_bytes(), words([b"\x81\0\x00\x1c"]))
        with self.assertRaisesRegex(zvrt.Error, "no column 'RECORD_BYTES'"):
            self.OF.write(self.path, {"A": ["a"], "N": [1]}, keep_bytes=True, replace=True)
        with self.assertRaisesRegex(zvrt.Error, "the layout has no column 'RECORD_BYTES'"):
            self.OF.write(self.path, table, replace=True)


class RecordsThatWouldReadAsOthers(InAFolder):
    # A record that its own file could not give back is left out and told of, whether refused rows are kept or not.
    LINE = layout("A PIC X(3)")
    LONG = layout("L PIC 9(2)", "N PIC S9(3) COMP-3", "B PIC XX")

    def test_they_are_refused(self):
        newline = {"A": ["one", "t\x85o", "six"]}
        beyond = {"L": [2, 6, 2], "N": [None, 1, 1], "B": ["ab", "cd", "ef"]}
        null = (1, "N", "ZVRT_RC_NULL_REFUSED")
        for of, options, table, on_reject, refused in [
                (self.LINE, {"record_format": "D"}, newline, "skip", [(2, "", "RX_NEWLINE")]),
                (self.LINE, {"record_format": "D"}, newline, "keep", [(2, "", "RX_NEWLINE")]),
                (self.LONG, {"length_field": "L"}, beyond, "skip", [null, (3, "", "RX_LENGTH")]),
                (self.LONG, {"length_field": "L"}, beyond, "keep",
                 [null, (1, "", "RX_LENGTH"), (3, "", "RX_LENGTH")])]:
            with self.subTest(options, on_reject=on_reject):
                written = of.write(self.path, table, on_reject=on_reject, replace=True, **options)
                self.assertEqual([(each.record, each.field, each.name) for each in written.rejects], refused)
                left = 3 - len({each.record for each in written.rejects})
                self.assertEqual(written.records, left)
                self.assertEqual(len(rows(of.read(self.path, **options))), left)
        with self.assertRaisesRegex(zvrt.Error, "row 2: the record holds what ends a line"):
            self.LINE.write(self.path, newline, record_format="D", replace=True, on_reject="stop")


class Copies(InAFolder):
    TEXT = "       01 R.\n       COPY PART.\n           05 B PIC X.\n"

    def setUp(self):
        super().setUp()
        self.library = self.folder / "library"
        self.library.mkdir()
        (self.library / "part.cpy").write_text("           05 A PIC 99.\n       COPY more.\n")
        (self.library / "MORE").write_text("           05 C PIC X.\n")
        self.file = self.folder / "main.cpy"
        self.file.write_text(self.TEXT)

    def test_folders(self):
        for of in (zvrt.Layout.from_copybook(self.file, include=self.library), zvrt.Layout(self.TEXT, include=[self.library]),
                   zvrt.Layout.from_copybook(self.TEXT, include=[str(self.folder), str(self.library)])):
            self.assertEqual(rows(of.read(ebcdic("12cb"))), [(12, "c", "b")])

    def test_beside_the_file(self):
        (self.folder / "PART").write_text("           05 A PIC X.\n")
        of = zvrt.Layout.from_copybook(self.file, include=self.library)
        self.assertEqual(rows(of.read(ebcdic("ab"))), [("a", "b")])

    def test_they_travel(self):
        of = zvrt.Layout.from_copybook(self.file, include=self.library)
        for each in (self.library / "part.cpy", self.library / "MORE", self.file):
            each.unlink()
        self.assertEqual(rows(pickle.loads(pickle.dumps(of)).read(ebcdic("12cb"))), rows(of.read(ebcdic("12cb"))))

    def test_what_is_not_found(self):
        os.chdir(self.library)  # a text's copybooks are not looked for in the current folder
        self.addCleanup(os.chdir, "/")
        for wrong in (lambda: zvrt.Layout(self.TEXT), lambda: zvrt.Layout(self.TEXT, include=self.folder),
                      lambda: zvrt.Layout.from_copybook(self.file)):
            with self.assertRaisesRegex(zvrt.Error, ":2:.*PART is not found"):
                wrong()


class Moments(InAFolder):
    # The date model, the bytes of a field, its value; a text that is the same value.
    FIELDS = [("%YYYY%MM%DD", "20240229", datetime.date(2024, 2, 29), "2024-02-29"),
              ("%YYYY%MM%DD%HH24%MI%SS", "20240229123456", datetime.datetime(2024, 2, 29, 12, 34, 56), "2024-02-29 12:34:56"),
              ("%YYYY%MM%DD%HH24%MI%SS", "20240229000000", datetime.datetime(2024, 2, 29), "2024-02-29 00:00:00"),
              ("%HH24%MI%SS", "123456", datetime.time(12, 34, 56), "12:34:56"),
              ("%YYYY%MM%DD%HH24%MI%SS%FFF", "20240229123456789", datetime.datetime(2024, 2, 29, 12, 34, 56, 789000),
               "2024-02-29 12:34:56.789")]

    def of(self, model, bytes_, note=""):
        return zvrt.Layout(f'       01 R.\n           05 F PIC X({len(bytes_)}).\n      *>@ date="{model}"{note}\n')

    def test_there_and_back(self):
        for model, bytes_, value, text in self.FIELDS:
            for note in ("", " null=zeros"):  # which no plan knows
                with self.subTest(model + note):
                    of = self.of(model, bytes_, note)
                    self.assertEqual(rows(of.read(ebcdic(bytes_))), [(value,)])
                    for given in (of.read(ebcdic(bytes_)), {"F": [value]}, {"F": [text]}):
                        self.assertEqual(of.write(self.path, given, replace=True).rejects, [])
                        self.assertEqual(self.path.read_bytes(), ebcdic(bytes_))

    def test_nothing_is_cut(self):
        for model, bytes_, value in [("%YYYY%MM%DD", "20240229", datetime.datetime(2024, 2, 29, 12)),
                                     ("%YYYY%MM%DD%HH24%MI%SS", "20240229123456", datetime.datetime(2024, 2, 29, 1, 2, 3, 4))]:
            written = self.of(model, bytes_).write(self.path, {"F": [value]}, replace=True)
            self.assertEqual([each.name for each in written.rejects], ["ZVRT_RC_FRACTION_LOST"])


if __name__ == "__main__":
    unittest.main()

"""Record files to columns: every kind of field, every form of file, and what is refused."""
import datetime
import struct
import tempfile
import unittest
from decimal import Decimal
from pathlib import Path

import arrow_by_hand
import zvrt


def copybook(*items):
    return "       01 R.\n" + "".join(f"           05 {item}.\n" for item in items)


def layout(*items, **options):
    return zvrt.Layout(copybook(*items), "test", **options)


def rows(records):
    """All rows as tuples."""
    return [row for batch in records for row in zip(*(column.to_pylist() for column in batch.columns))]


def ebcdic(text):
    return text.encode("cp037")


# What stands in the copybook after the name, the bytes of one record, its value in Python and its Arrow format.
FIELDS = [
    ("PIC X(4)", "C1C24040", "AB", "u"),
    ("PIC X(4)", "40404040", "", "u"),
    ("PIC X(3)", "C1005A", "A !", "u"),
    ("PIC A(2) JUSTIFIED", "40C1", "A", "u"),
    ("PIC N(2)", "00410042", "AB", "u"),
    ("PIC S9(5) COMP-3", "12345D", -12345, "l"),
    ("PIC 9(5) COMP-3", "12345F", 12345, "l"),
    ("PIC S9(3)V99 COMP-3", "12345C", Decimal("123.45"), "d:5,2"),
    ("PIC SV99 COMP-3", "007D", Decimal("-0.07"), "d:2,2"),
    ("PIC S9(31) COMP-3", "9" * 31 + "C", Decimal("9" * 31), "d:31,0"),
    ("PIC 9(4) COMP-6", "1234", 1234, "l"),
    ("PIC S9(4) COMP", "FFFE", -2, "s"),
    ("PIC 9(4) COMP", "FFFE", 65534, "S"),
    ("PIC S9(9) COMP", "80000000", -(1 << 31), "i"),
    ("PIC S9(18) COMP", "7FFFFFFFFFFFFFFF", (1 << 63) - 1, "l"),
    ("PIC 9(18) COMP", "FFFFFFFFFFFFFFFF", (1 << 64) - 1, "L"),
    ("PIC S9(4) COMP-5", "0102", 258, "s"),
    ("PIC S9(2) COMP-X", "FE", -2, "c"),
    ("COMP-1", "C2640000", -100.0, "g"),
    ("COMP-2", "4110000000000000", 1.0, "g"),
    ("PIC S9(3)", "F1F2D3", -123, "l"),
    ("PIC 9(3)", "F1F2F3", 123, "l"),
    ("PIC S9(2) SIGN LEADING", "D1F2", -12, "l"),
    ("PIC S9(2) SIGN TRAILING SEPARATE", "F1F260", -12, "l"),
    ("PIC S9(2)V9", "F1F2C3", Decimal("12.3"), "d:3,1"),
    ("PIC 99PP", "F1F2", 1200, "l"),
    ("PIC ZZ9.99-", "4040F14BF2F560", Decimal("-1.25"), None),
    ("PIC ZZ,ZZ9", "40F16BF2F3F4", 1234, "l"),
    ("PIC X(10)", "F2F0F2F460F0F260F2F9", "2024-02-29", "u"),
    ('PIC X(10).\n      *>@ date="%YYYY-%MM-%DD"', "F2F0F2F460F0F260F2F9", datetime.date(2024, 2, 29), "tdD"),
    ('PIC 9(8) COMP-3.\n      *>@ date="%YYYY%MM%DD"', "020240229F", datetime.date(2024, 2, 29), "tdD"),
    ('PIC X(14).\n      *>@ date="%YYYY%MM%DD%HH24%MI%SS" table-date="%YYYY-%MM-%DD %HH24:%MI:%SS"', ebcdic("20240229123456").hex(),
     datetime.datetime(2024, 2, 29, 12, 34, 56), "tsu:"),
    ('PIC X(6).\n      *>@ date="%HH24%MI%SS" table-date="%HH24:%MI:%SS"', ebcdic("123456").hex(), datetime.time(12, 34, 56),
     "ttu"),
    ("PIC S9(5) COMP-3.\n      *>@ null=blanks", "404040", None, "l"),
    ("PIC 9(8).\n      *>@ null=zeros", "F0" * 8, None, "l"),
    ("PIC X(22).\n      *>@ number", "02C102" + "00" * 19, "1", "u"),
]


class Fields(unittest.TestCase):
    def test_every_kind(self):
        for form, bytes_, expected, format in FIELDS:
            with self.subTest(form):
                text = "       01 R.\n           05 F " + form + ("" if "*>@" in form else ".") + "\n"
                records = zvrt.Layout(text).read(bytes.fromhex(bytes_))
                self.assertEqual(rows(records), [(expected,)], records.rejects)
                self.assertEqual(records.rejects, [])
                if format:
                    self.assertEqual(records.columns, {"F": format})

    def test_buffers(self):
        records = layout("A PIC S9(4) COMP", "B PIC S9(3)V99 COMP-3", "T PIC X(2)").read(
            bytes.fromhex("000112345CC1C2") + bytes.fromhex("FFFF00000DC140"))
        [batch] = records
        self.assertEqual(memoryview(batch["A"]).tolist(), [1, -1])
        self.assertEqual((memoryview(batch["B"]).shape, memoryview(batch["B"]).format), ((2, 2), "L"))
        self.assertEqual(memoryview(batch["B"])[0, 0], 12345)
        self.assertEqual(batch["T"].offsets.tolist(), [0, 2, 3])
        self.assertEqual(bytes(batch["T"].data), b"ABA")
        self.assertIsNone(batch["A"].validity)
        self.assertIsNone(batch["A"].offsets)
        with self.assertRaises(BufferError):
            memoryview(batch["T"])
        with self.assertRaises(TypeError):
            memoryview(batch["A"])[0] = 1
        self.assertEqual([column.name for column in batch.columns], ["A", "B", "T"])
        self.assertEqual(batch[-1].name, "T")
        for wrong in ("X", 3, -4):
            with self.assertRaises((KeyError, IndexError)):
                batch[wrong]

    def test_a_column_outlives_its_batch_and_file(self):
        column = next(iter(layout("A PIC S9(4) COMP").read(b"\0\1\0\2")))["A"]
        view = memoryview(column)
        del column
        self.assertEqual(view.tolist(), [1, 2])


class Structures(unittest.TestCase):
    def test_tables_of_variable_length(self):
        of = layout("N PIC 9", "E PIC X OCCURS 0 TO 3 DEPENDING ON N", "Z PIC X")
        data = b"".join(struct.pack(">HH", len(each) + 4, 0) + each for each in map(ebcdic, ["2ABz", "0y", "3ABCx"]))
        expected = [(2, "A", "B", None, "z"), (0, None, None, None, "y"), (3, "A", "B", "C", "x")]
        self.assertEqual(rows(of.read(data, record_format="V")), expected)
        # Without length words the records are as long as their tables say.
        self.assertEqual(rows(of.read(ebcdic("2ABz0y3ABCx"), odo="shift")), expected)
        self.assertEqual(rows(of.read(ebcdic("2AB.z0...y"), odo="max")),
                         [(2, "A", "B", None, "z"), (0, None, None, None, "y")])
        wrong = of.read(ebcdic("7AB.z0...y"), odo="max")
        self.assertEqual(rows(wrong), [(0, None, None, None, "y")])
        self.assertEqual(wrong.rejects[0].name, "RX_COUNT")

    def test_redefinitions(self):
        of = layout("A PIC S9(3) COMP-3", "B REDEFINES A PIC X(2)")
        data = bytes.fromhex("123C") + ebcdic("HI")
        first, second = rows(of.read(data))
        self.assertEqual(first[0], 123)
        self.assertEqual(second, (None, "HI"))
        self.assertEqual(list(of.read(data, redefines="first").columns), ["A"])
        self.assertEqual(rows(of.read(data, record="B"))[1], ("HI",))

    def test_indicators_and_short_records(self):
        of = zvrt.Layout("       01 R.\n           05 F PIC 99.\n      *>@ indicator=I\n           05 I PIC X.\n")
        self.assertEqual(rows(of.read(ebcdic("12") + b"\0" + ebcdic("34") + b"\xff")), [(12,), (None,)])
        broken = of.read(ebcdic("12") + b"\7", on_reject="keep")
        self.assertEqual(rows(broken), [(None,)])
        self.assertEqual(broken.rejects[0].name, "RX_BROKEN_INDICATOR")
        lines = layout("A PIC X(2)", "B PIC X(3)").read(b"ab\nabcde\n", record_format="D", code_page="utf-8")
        self.assertEqual(rows(lines), [("ab", ""), ("ab", "cde")])

    def test_segments(self):
        of = zvrt.Layout("       01 HEAD.\n           05 T PIC X.\n           05 A PIC 99.\n"
                         "       01 LINE-ITEM.\n           05 T PIC X.\n           05 B PIC XX.\n")
        data = ebcdic("H01Lab" + "Lcd" + "H02")
        self.assertEqual(rows(of.read(data, segment="T=H:HEAD")), [(1, "H", 1), (4, "H", 2)])
        self.assertEqual(rows(of.read(data, segment="T=L:LINE-ITEM", record_number=False)), [("L", "ab"), ("L", "cd")])

    def test_forms_of_files(self):
        of = layout("A PIC X(3)")
        word = lambda text, order=">": struct.pack(order + "HH", len(text) + 4, 0) + text
        a, b = ebcdic("abc"), ebcdic("def")
        blocks = b"".join(struct.pack(">HH", 4 + len(body), 0) + body for body in (word(a), word(b) + word(a)))
        for data, options in [
                (a + b, {}), (a + b, {"record_format": "FB"}),
                (word(a) + word(b), {"record_format": "V"}),
                (word(a, "<") + word(b, "<"), {"record_format": "V", "rdw_order": "little"}),
                (b"\0\3\0\0" + a + b"\0\3\0\0" + b, {"record_format": "V", "rdw_includes_itself": False}),
                (b"HH" + a + b + b"T", {"skip_header": 2, "skip_trailer": 1}),
                (b"?" + a + b"?" + b, {"record_header": 1}),
                (a + b"\0" + b + b"\0", {"record_length": 4}),
                (a + b"\x25" + b + b"\x25", {"record_format": "D"})]:
            with self.subTest(options):
                self.assertEqual(rows(of.read(data, **options)), [("abc",), ("def",)])
        self.assertEqual(rows(of.read(blocks, record_format="VB")), [("abc",), ("def",), ("abc",)])

    def test_pages(self):
        for page, expected in [(37, "A¢Ý"), (273, "AÄÝ"), ("IBM-1047", "A¢["), ("cp1047", "A¢[")]:
            self.assertEqual(rows(layout("T PIC X(3)").read(b"\301\112\255", code_page=page)), [(expected,)])


class Refusals(unittest.TestCase):
    DATA = bytes.fromhex("123C" "FFFF" "12AC" "456C" "00")
    OF = layout("A PIC S9(3) COMP-3")

    def test_policies(self):
        skipped = self.OF.read(self.DATA)
        self.assertEqual(rows(skipped), [(123,), (456,)])
        names = [(each.record, each.field, each.offset, each.bytes, each.name) for each in skipped.rejects]
        self.assertEqual(names, [(2, "A", 0, b"\xff\xff", "ZVRT_RC_INVALID_DIGIT"),
                                 (3, "A", 0, b"\x12\xac", "ZVRT_RC_INVALID_DIGIT"), (5, "", 8, b"\0", "RX_DAMAGE")])
        self.assertIn("byte 0, FF", str(skipped.rejects[0]))
        self.assertEqual(skipped.counts, {"records": 4, "rows": 2, "refused": 3})
        self.assertEqual(rows(self.OF.read(self.DATA, on_reject="keep")), [(123,), (None,), (None,), (456,)])
        for options in ({"on_reject": "stop"}, {"max_rejects": 1}):
            with self.assertRaises(zvrt.Error) as caught:
                rows(self.OF.read(self.DATA, **options))
            self.assertEqual((caught.exception.status, caught.exception.name), (1643, "ZVRT_RC_INVALID_DIGIT"))
            self.assertIn("record 2, A", str(caught.exception))

    def test_rejects_before_any_reading(self):
        self.assertEqual(len(self.OF.read(self.DATA).rejects), 3)

    def test_through_a_stream(self):
        stream = arrow_by_hand.inside(self.OF.read(self.DATA, on_reject="stop").__arrow_c_stream__(), arrow_by_hand.Stream)
        with self.assertRaisesRegex(RuntimeError, "record 2, A"):
            arrow_by_hand.read(stream)

    def test_nothing_remains(self):
        records = self.OF.read(bytes.fromhex("FFFF" * 3))
        self.assertEqual((rows(records), len(records.rejects)), ([], 3))
        self.assertEqual(rows(self.OF.read(b"")), [])
        # A record that is too short for a field that is made of text.
        short = layout("A PIC ZZ9.99-").read(b"\x40" * 6)
        self.assertEqual((rows(short), short.rejects[0].name), ([], "RX_DAMAGE"))


class Ranges(unittest.TestCase):
    def test_first_and_count(self):
        of = layout("A PIC 999")
        data = ebcdic("".join(f"{i:03}" for i in range(1, 101)))
        for first, count in [(1, 3), (50, 7), (98, 10), (101, 5), (1, 0), (200, 1)]:
            with self.subTest(first=first, count=count):
                expected = [(i,) for i in range(1, 101)][first - 1:first - 1 + count]
                self.assertEqual(rows(of.read(data, first=first, count=count)), expected)
                wrapped = b"##" + data + b"!"
                self.assertEqual(rows(of.read(wrapped, first=first, count=count, skip_header=2, skip_trailer=1)), expected)
        self.assertEqual(rows(of.read(data, first=99)), [(99,), (100,)])

    def test_parts_are_the_whole(self):
        of = layout("A PIC 999", "T PIC X(20)")
        texts = [ebcdic(f"{i:03}" + "x" * (i * 7 % 20)) for i in range(500)]
        words = [struct.pack(">HH", len(each) + 4, 0) + each for each in texts]
        blocks = [b"".join(words[i:i + 7]) for i in range(0, 500, 7)]
        forms = {"F": b"".join(each.ljust(23, b"\x40") for each in texts), "V": b"".join(words),
                 "VB": b"".join(struct.pack(">HH", len(each) + 4, 0) + each for each in blocks),
                 "D": b"".join(each + b"\x25" for each in texts)}
        for form, data in forms.items():
            whole = rows(of.read(data, record_format=form, on_reject="keep", record_number=True))
            self.assertEqual(len(whole), 500)
            for parts in (1, 2, 3, 17, 1000):
                with self.subTest(form=form, parts=parts):
                    ranges = of.ranges(data, parts, record_format=form)
                    self.assertLessEqual(len(ranges), parts)
                    self.assertEqual(sum(each.count for each in ranges), 500)
                    self.assertEqual(sum((rows(of.read(data, range=each, record_format=form, on_reject="keep",
                                                       record_number=True)) for each in ranges), []), whole)
                    # Found by their numbers alone, too.
                    alone = of.read(data, range=ranges[-1][:2], record_format=form, on_reject="keep", record_number=True)
                    self.assertEqual(rows(alone), whole[ranges[-1].first - 1:])

    def test_from_a_file(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder, "r.dat")
            path.write_bytes(ebcdic("001002003"))
            of = layout("A PIC 999")
            self.assertEqual(rows(of.read(path, first=2, count=1)), [(2,)])
            self.assertEqual(rows(of.read([path, str(path)])), [(1,), (2,), (3,)] * 2)
            self.assertEqual([each[:2] for each in of.ranges(path, 2)], [(1, 2), (3, 1)])


class Interfaces(unittest.TestCase):
    OF = layout("A PIC S9(9) COMP-3", "T PIC X(4)")
    DATA = bytes.fromhex("000000001C") + ebcdic("one ") + bytes.fromhex("000000002D") + ebcdic("two ")

    def test_stream(self):
        records = self.OF.read(self.DATA * 1000, batch_bytes=100)
        read = arrow_by_hand.read(arrow_by_hand.inside(records.__arrow_c_stream__(), arrow_by_hand.Stream))
        self.assertEqual(read, {"A": [1, -2] * 1000, "T": ["one", "two"] * 1000})
        self.assertEqual(records.counts["rows"], 2000)
        self.assertGreater(len(list(records)), 100)

    def test_batches_and_schemas(self):
        records = self.OF.read(self.DATA)
        [batch] = records
        schema, array = batch.__arrow_c_array__(requested_schema=None)
        schema, array = (arrow_by_hand.inside(schema, arrow_by_hand.Schema), arrow_by_hand.inside(array, arrow_by_hand.Array))
        self.assertEqual(arrow_by_hand.types(schema), [("A", "l"), ("T", "u")])
        self.assertEqual(arrow_by_hand.values(array.children[1].contents, "u"), ["one", "two"])
        schema, array = batch["A"].__arrow_c_array__(None)
        self.assertEqual(arrow_by_hand.inside(schema, arrow_by_hand.Schema).format, b"l")
        self.assertEqual(arrow_by_hand.values(arrow_by_hand.inside(array, arrow_by_hand.Array), "l"), [1, -2])
        for each in (records, batch):
            self.assertEqual(arrow_by_hand.types(arrow_by_hand.inside(each.__arrow_c_schema__(), arrow_by_hand.Schema)),
                             [("A", "l"), ("T", "u")])

    def test_columns_that_are_wanted(self):
        self.assertEqual(rows(self.OF.read(self.DATA, columns=["T"])), [("one",), ("two",)])


class WrongArguments(unittest.TestCase):
    OF = layout("A PIC X")

    def test_options(self):
        for options, error in [({"record_format": "Q"}, ValueError), ({"rdw_order": 1.5}, TypeError),
                               ({"first": 0}, ValueError), ({"count": -1}, ValueError), ({"code_page": "no"}, zvrt.Error),
                               ({"columns": ["B"]}, zvrt.Error), ({"segment": ["T=1:A", "T=2:B"]}, ValueError),
                               ({"length_field": "B"}, zvrt.Error), ({"null": {"A": 1}}, TypeError),
                               ({"record_length": 1 << 40}, ValueError), ({"nothing": 1}, TypeError),
                               ({"on_reject": "maybe"}, ValueError), ({"code_page": 99999}, zvrt.Error)]:
            with self.subTest(options), self.assertRaises(error):
                self.OF.read(b"", **options)

    def test_sources(self):
        with self.assertRaises(FileNotFoundError):
            self.OF.read("/nowhere/at/all")
        with self.assertRaises(FileNotFoundError):
            zvrt.Layout.from_copybook("/nowhere/at/all")
        with self.assertRaises(TypeError):
            self.OF.read(3.5)
        with self.assertRaises(ValueError):
            self.OF.read([])
        with tempfile.TemporaryDirectory() as folder, self.assertRaisesRegex(zvrt.Error, "Is a directory"):
            rows(self.OF.read(folder))

    def test_copybooks(self):
        with self.assertRaisesRegex(zvrt.Error, "^test:3:"):
            layout("A PIC X", "B PIC Q(")
        self.assertIsNone(zvrt.Error("of a file").status)

    def test_items(self):
        items = self.OF.items()
        self.assertEqual([(each["level"], each["name"], each["length"]) for each in items], [(1, "R", 1), (5, "A", 1)])
        self.assertIn("A", str(self.OF))


if __name__ == "__main__":
    unittest.main()

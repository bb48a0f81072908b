"""Plans over buffers: values, places, what is refused, and arguments that would lead outside a buffer."""
import array
import pickle
import random
import struct
import threading
import unittest

import zvrt
from zvrt import Plan, Type

# From, its bytes, to, what the values are (memory or bytes).
PAIRS = [
    (Type("packed", 3), "12345C00001D", Type("int", 8), [12345, -1]),
    (Type("packed", 3, scale=2), "12345C00001D", Type("float", 8), [123.45, -0.01]),
    (Type("zoned", 3), "F1F2D3", Type("int", 2), [-123]),
    (Type("int", 4, "big_endian"), "00000001FFFFFFFF", Type("int", 8), [1, -1]),
    (Type("hex_float", 4), "C2640000", Type("float", 8), [-100.0]),
    (Type("int", 8, "big_endian"), "000000000000000A", Type("uint", 1), [10]),
    (Type("char", 3, "trim", code_page=37), "C1C240", Type("varchar_sz", 8), b"AB"),
    (Type("char", 3, "trim", code_page="IBM-273"), "4A4040", Type("varchar_sz", 8), "Ä".encode()),
    (Type("char", 10, model="%YYYY-%MM-%DD"), b"1970-01-03".hex(), Type("days"), [2]),
    (Type("bytes", 2), "ABCD", Type("varchar_sz", 8), b"ABCD"),
    (Type("bool"), "0001", Type("int", 1), [0, 1]),
]


class Values(unittest.TestCase):
    def test_pairs(self):
        for source, bytes_, target, expected in PAIRS:
            with self.subTest(source=source.kind, target=target.kind):
                outcome = Plan(source, target).run(bytes.fromhex(bytes_))
                self.assertEqual(outcome.refused, 0)
                if isinstance(expected, bytes):
                    self.assertEqual(bytes(outcome.values)[:outcome.lengths[0]], expected)
                else:
                    self.assertEqual(outcome.values.tolist(), expected)

    def test_random_packed(self):
        numbers = [random.Random(1).randrange(-10**9, 10**9) for _ in range(5000)]
        data = b"".join(bytes.fromhex(f"{abs(n):09}{'D' if n < 0 else 'C'}") for n in numbers)
        self.assertEqual(Plan(Type("packed", 5), Type("int", 8)).run(data).values.tolist(), numbers)
        back = Plan(Type("int", 8), Type("packed", 5)).run(array.array("q", numbers))
        self.assertEqual(bytes(back.values), data)

    def test_places(self):
        plan = Plan(Type("int", 2, "big_endian"), Type("int", 4))
        data = bytes.fromhex("AA0001BB0002CC0003")
        for arguments, expected in [
                ({"offset": 1, "stride": 3}, [1, 2, 3]), ({"offset": 1, "stride": 3, "count": 2}, [1, 2]),
                ({"offset": 7, "stride": -3}, [3, 2, 1]), ({"starts": array.array("q", [7, 1])}, [3, 1]),
                ({"offset": 1, "starts": array.array("q", [3])}, [2]), ({"count": 0}, []),
                ({"offset": 1, "stride": 3, "select": b"\1\0\1"}, [1, 0, 3])]:
            with self.subTest(arguments):
                self.assertEqual(plan.run(data, **arguments).values.tolist(), expected)
        every_other = memoryview(array.array("h", [256, 7, 512, 7]))[::2]
        self.assertEqual(plan.run(every_other).values.tolist(), [1, 2])
        self.assertEqual(plan.run(memoryview(array.array("h", [256, 512]))[::-1]).values.tolist(), [2, 1])
        target = array.array("i", [9, 9, 9])
        self.assertIs(plan.run(data, target, offset=1, stride=3, count=2).values, target)
        self.assertEqual(target.tolist(), [1, 2, 9])

    def test_lengths_and_nulls(self):
        plan = Plan(Type("char"), Type("int", 8))
        outcome = plan.run(b"12-7x", starts=array.array("q", [0, 2, 0, 4]), lengths=array.array("q", [2, 2, -1, 1]))
        self.assertEqual((outcome.values.tolist(), outcome.lengths.tolist()[2]), ([12, -7, 0, 0], -1))
        self.assertEqual((outcome.nulls, outcome.refused, outcome.first_refused), (1, 1, 3))
        self.assertEqual(zvrt.explain(outcome.first_status), zvrt.explain(1650))
        blanks = Plan(Type("packed", 2, "null_blanks"), Type("int", 8)).run(bytes.fromhex("4040012C"))
        self.assertEqual((blanks.lengths.tolist()[0], blanks.values[1], blanks.nulls), (-1, 12, 1))

    def test_refusals(self):
        plan = Plan(Type("packed", 2), Type("int", 1))
        outcome = plan.run(bytes.fromhex("012C" "FFFF" "999C"))
        self.assertEqual(outcome.status.tolist(), [0, 1643, 1640])
        self.assertEqual((outcome.refused, outcome.first_refused, outcome.first_status), (2, 1, 1643))
        problem = plan.explain(bytes.fromhex("FFFF"))
        self.assertEqual((problem.name, problem.offset, problem.unit), ("ZVRT_RC_INVALID_DIGIT", 0, 0xFF))
        self.assertIsNone(plan.explain(bytes.fromhex("012C")))
        self.assertEqual(zvrt.explain(b"\xff\xff", Type("packed", 2), Type("int", 1)), problem)

    def test_options(self):
        types = Type("packed", 2, scale=1), Type("int", 8)
        data = bytes.fromhex("015C025C019C")
        self.assertEqual(Plan(*types).run(data).refused, 3)
        self.assertEqual(Plan(*types, "round_half_even").run(data).values.tolist(), [2, 2, 2])
        self.assertEqual(Plan(*types, "cut_fraction").run(data).values.tolist(), [1, 2, 1])

    def test_pickle(self):
        plan = pickle.loads(pickle.dumps(Plan(Type("packed", 2, "unsigned", scale=1), Type("int", 8), "cut_fraction")))
        self.assertEqual(plan.run(bytes.fromhex("015F")).values.tolist(), [1])
        self.assertEqual(plan.from_type, Type("packed", 2, "unsigned", scale=1))

    def test_threads_on_one_plan(self):
        plan = Plan(Type("packed", 5), Type("int", 8))
        data = bytes.fromhex("000000012C") * 20000
        results = []

        def run():
            for _ in range(20):
                results.append(plan.run(data).values.tolist() == [12] * 20000)

        threads = [threading.Thread(target=run) for _ in range(4)]
        for each in threads:
            each.start()
        for each in threads:
            each.join()
        self.assertEqual(results, [True] * 80)


class WrongArguments(unittest.TestCase):
    PLAN = Plan(Type("int", 2), Type("int", 4))

    def refused(self, error, *arguments, plan=None, **named):
        with self.subTest(**{name: str(value) for name, value in named.items()}), self.assertRaises(error):
            (plan or self.PLAN).run(*arguments, **named)

    def test_places_outside_the_buffer(self):
        int64 = lambda *values: array.array("q", values)
        self.refused(ValueError, b"1234", count=3)
        self.refused(ValueError, b"1234", count=-1)
        self.refused(ValueError, b"1234", offset=-1)
        self.refused(ValueError, b"1234", offset=5)
        self.refused(ValueError, b"1234", offset=3, count=1)
        self.refused(ValueError, b"1234", stride=3, count=2)
        self.refused(ValueError, b"1234", stride=0)
        self.refused(ValueError, b"1234", stride=1 << 62, count=2)
        self.refused(ValueError, b"1234", offset=1, stride=-2, count=2)
        self.refused(ValueError, b"1234", starts=int64(3))
        self.refused(ValueError, b"1234", starts=int64(-1))
        self.refused(ValueError, b"1234", starts=int64(1 << 62))
        self.refused(ValueError, b"1234", starts=int64(0), count=2)
        self.refused(ValueError, b"1234", starts=int64(0), stride=2)
        self.refused(TypeError, b"1234", starts=array.array("i", [0]))
        self.refused(ValueError, b"1234", lengths=int64(2))
        self.refused(ValueError, b"1234", select=b"\1")
        self.refused(ValueError, memoryview(b"123456")[::2], count=1)
        counted = Plan(Type("char"), Type("int", 8))
        self.refused(ValueError, b"1234", plan=counted)
        self.refused(ValueError, b"1234", starts=int64(0), plan=counted)
        self.refused(ValueError, b"1234", starts=int64(2), lengths=int64(3), plan=counted)
        self.refused(ValueError, b"1234", starts=int64(0), lengths=int64(-3), plan=counted)

    def test_targets(self):
        self.refused(BufferError, b"1234", b"12345678")
        self.refused(ValueError, b"1234", bytearray(7))
        self.refused(TypeError, b"1234", 7)
        self.refused(TypeError, "1234")

    def test_types(self):
        for source, target, error in [
                (Type("packed", 21), Type("int", 8), zvrt.Error), (Type("nothing", 2), Type("int", 8), ValueError),
                (Type("int", 2, "nothing"), Type("int", 8), ValueError), (Type("bytes", 2), Type("int", 8), zvrt.Error),
                (Type("char", 2, code_page="none"), Type("int", 8), ValueError),
                (Type("char", 2, code_page=99999), Type("int", 8), zvrt.Error),
                (Type("char", 8, model="%QQ"), Type("days"), zvrt.Error), (Type("int", 2), Type("int", 3), zvrt.Error),
                (Type("int", "2"), Type("int", 8), TypeError), (Type("int", 2, precision=1 << 20), Type("int", 8), OverflowError)]:
            with self.subTest(source=source, target=target), self.assertRaises(error):
                Plan(source, target)
        with self.assertRaises(zvrt.Error) as caught:
            Plan(Type("bytes", 2), Type("int", 8))
        self.assertEqual(caught.exception.name, "ZVRT_RC_INVALID_PAIR")
        with self.assertRaises(ValueError):
            Plan(Type("int", 2), Type("int", 4), "nothing")

    def test_explained_values_have_their_size(self):
        for plan, value in [(self.PLAN, b"1"), (self.PLAN, b"123"), (Plan(Type("char", 2), Type("int", 8)), b"123"),
                            (Plan(Type("varchar", 8), Type("int", 8)), struct.pack("=H", 600) + b"1")]:
            with self.assertRaises(ValueError):
                plan.explain(value)


if __name__ == "__main__":
    unittest.main()

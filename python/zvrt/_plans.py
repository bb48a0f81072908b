"""Plans over columns in memory."""
from typing import NamedTuple as _NamedTuple

from . import _zvrt


class _Type(_NamedTuple):
    kind: str
    length: int
    flags: tuple
    code_page: object
    newline: object
    precision: int
    scale: int
    model: object
    first_year: int


class Type(_Type):
    """What one value is. Type("packed", 5, scale=2), Type("char", 16, "trim", code_page=37), Type("int", 8)

    kind      char varchar varchar_sz wchar wvarchar wvarchar_sz utf16 utf16_sz bytes bool int uint float hex_float
              packed zoned varnum decimal numeric timestamp date time cli_timestamp cli_date cli_time days micros
    length    bytes of a slot, prefix and terminator included; 0 for kinds of one size, and for counted sources that are
              run with starts and lengths
    flags     any of big_endian trim trim_left trim_wide pad pad_left low_as_blank null_blanks null_zeros null_low
              null_high unsigned no_sign sign_leading sign_separate ascii
    code_page of narrow text: number or name; 0 is UTF-8. newline: "nel" or "lf", the byte that is U+000A
    precision digits of a number; scale: those after the decimal point, of a timestamp those of its fraction
    model     the format of a date in text or in digits: "%YYYY-%MM-%DD"; first_year: of 100, for two-digit years

    `man ZVRTPlanCreate` tells each at length, as ZVRT_KIND_... and ZVRT_TYPE_...
    """

    def __new__(cls, kind, length=0, *flags, code_page=0, newline=None, precision=0, scale=0, model=None, first_year=0):
        return super().__new__(cls, kind, length, flags, code_page, newline, precision, scale, model, first_year)

    def __getnewargs_ex__(self):
        return (self.kind, self.length, *self.flags), {name: getattr(self, name) for name in self._fields[3:]}


class Problem(_NamedTuple):
    """Why one value is refused: status and its name, the byte in the slot (-1: none alone), what stands there, the bytes
    that the slot would need (ZVRT_RC_TRUNCATED), and a sentence."""
    status: int
    name: str
    offset: int
    unit: int
    needed: int
    text: str

    def __str__(self):
        return f"{self.name}: {self.text}"


class Outcome(_NamedTuple):
    """What a run did.

    values        the target: what was given, or a memoryview of new memory, of int and float if that is what they are
    status        a memoryview of a status for each value, 0 where it was converted
    lengths       of text, and where values can be null: a memoryview of the bytes of each value, -1 for a null; else None
    done, refused, nulls, empty    how many
    first_refused, first_status    the index and the status of the first refused value, or -1 and 0
    """
    values: object
    status: memoryview
    lengths: object
    done: int
    refused: int
    nulls: int
    empty: int
    first_refused: int
    first_status: int


_FORMATS = {("int", 1): "b", ("int", 2): "h", ("int", 4): "i", ("int", 8): "l", ("uint", 1): "B", ("uint", 2): "H",
            ("uint", 4): "I", ("uint", 8): "L", ("float", 4): "f", ("float", 8): "d", ("days", 0): "i",
            ("micros", 0): "l"}


class Plan:
    """A conversion rule, made once and run over any number of values, by any number of threads at once.

    from_type, to_type: a Type each. options: any of round_half_even round_half_away cut_fraction cut_text substitute
    exact_float single_form as_single_call; without one every value arrives exactly as it is or is refused.

    Raises zvrt.Error where there is no such conversion.
    """

    def __init__(self, from_type, to_type, *options):
        self.from_type, self.to_type, self.options = from_type, to_type, options
        self._plan = _zvrt.Plan(tuple(from_type), tuple(to_type), options)

    def run(self, source, target=None, *, count=None, offset=0, stride=None, starts=None, lengths=None, select=None):
        """Converts values; the interpreter lock is released meanwhile.

        source    anything with a buffer: bytes, a memory map, a numpy array. An array whose items are slots of the
                  type is taken as it is, whatever its strides; of anything else
        offset, stride    say where the first slot begins and how far it is to the next, in bytes
        starts    an array of int64 in place of the stride: where each value begins, from the offset
        lengths   an array of int64: the bytes of each value, -1 for a null
        select    a byte for each value, 0 leaves it out
        target    a buffer that can be written; without one there is new memory of zeros
        count     how many values; without it as many as there are

        A refused value leaves its slot as it is. Returns an Outcome.
        """
        made, status, sizes, *counts = self._plan.run(source, offset, stride, count, starts, lengths, select, target)
        if made is not None:
            form = _FORMATS.get((self.to_type.kind, self.to_type.length))
            target = memoryview(made).cast(form) if form else memoryview(made)
        return Outcome(target, memoryview(status).cast("I"), sizes and memoryview(sizes).cast("l"), *counts)

    def explain(self, value):
        """Why one value is refused: a Problem, or None where it is converted. `value`: the bytes of its slot."""
        problem = Problem(*self._plan.explain(value))
        return problem if problem.status else None

    def __reduce__(self):
        return Plan, (self.from_type, self.to_type, *self.options)

    def __repr__(self):
        return f"<zvrt.Plan: {self.from_type.kind} to {self.to_type.kind}>"


def explain(what, from_type=None, to_type=None):
    """A sentence about a status (a number, or an object with `status`): what it means and what to do.

    With types, why a plan between them refuses the value `what`: a Problem, or None where it is converted.
    """
    if from_type is not None:
        return Plan(from_type, to_type).explain(what)
    return _zvrt.status_text(getattr(what, "status", what) or 0)

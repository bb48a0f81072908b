"""Mainframe record files and database columns, converted exactly and fast.

A record file that a copybook describes becomes a DataFrame, or Arrow data for whoever reads its interface:

    import zvrt
    layout = zvrt.Layout.from_copybook("people.cpy")
    people = layout.read("people.dat")          # nothing is read yet
    frame = people.to_pandas()
    for refusal in people.rejects: print(refusal)
    layout.write("again.dat", frame)

Without pandas: `for batch in people: batch["NAME"].to_pylist()`; numpy.asarray(batch["VISITS"]) is the column without a
copy; and any library that takes objects with __arrow_c_stream__ takes `people` itself.

One column of values in memory, without a file:

    plan = zvrt.Plan(zvrt.Type("packed", 5, scale=2), zvrt.Type("float", 8))
    outcome = plan.run(values, stride=214, offset=40)
    numpy.asarray(outcome.values)

Options are those of the command zvrt-records, with _ for -; `man zvrt-records` tells them at length. What cannot be
converted is never guessed: it is refused, with its place, its bytes, a status and a sentence. Work is done without the
interpreter lock. Every object may be used by several threads.
"""
import errno as _errno
import json as _json
import os as _os
from typing import NamedTuple as _NamedTuple

from . import _zvrt
from ._plans import Outcome, Plan, Problem, Type, explain
from ._zvrt import Batch, Column, Error

__version__ = _zvrt.version
__all__ = ["Layout", "Records", "Range", "Reject", "Written", "Batch", "Column", "Plan", "Type", "Outcome", "Problem", "Error",
           "explain"]


class Reject(_NamedTuple):
    """A cell that was refused, or bytes that belong to no record (`field` is empty then)."""
    record: int
    field: str
    offset: int
    bytes: bytes
    status: int
    name: str
    text: str

    def __str__(self):
        return f"record {self.record}, {self.field or 'no field'}: {self.name}: {self.text}"


class Written(_NamedTuple):
    """What Layout.write() did: rows of the table, records in the file, cells and records refused, and these (100,000 at
    most) as a list of Reject, whose `record` is the row, from 1, and whose `bytes` are the text of the cell."""
    rows: int
    records: int
    refused: int
    rejects: list


class Range(_NamedTuple):
    """Records of a file: the first, from 1, and how many; and the bytes that they take, where that is known."""
    first: int
    count: int
    offset: int = None
    bytes: int = None


class Records(_zvrt.Records):
    """A record file as a table, from Layout.read(). It is read anew by each iteration, stream and to_pandas().

    Iterating gives batches. __arrow_c_stream__ gives the same as a stream, each column nullable.
    """

    @property
    def columns(self):
        """The names of the columns and their Arrow formats: {'NAME': 'u', 'BALANCE': 'd:7,2'}."""
        return dict(self._columns())

    def _latest(self):
        if self._journal() is None:
            for _ in self:
                pass
        return self._journal()

    @property
    def rejects(self):
        """What was refused when the file was last read, a list of Reject, the first 100,000 of them.

        A file that was not read yet is read for it.
        """
        return [Reject(*each) for each in self._latest()[0]]

    @property
    def counts(self):
        """Of the same reading: {'records': read, 'rows': carried into the table, 'refused': cells refused}."""
        _, refused, read, carried = self._latest()
        return {"records": read, "rows": carried, "refused": refused}

    def to_pandas(self, *, decimals="decimal"):
        """The table as a pandas.DataFrame.

        Integers are nullable (Int64 and the like), text is str, dates are datetime.date, a null among objects is None.
        Decimals are decimal.Decimal objects, or with decimals="float" the nearest float64, where a null is NaN.
        """
        from ._pandas import frame_of
        return frame_of(self, decimals)

    def __repr__(self):
        return f"<zvrt.Records: {', '.join(self.columns)}>"


class Layout:
    """The records that a copybook describes. Make one with Layout.from_copybook()."""

    def __init__(self, text, name="copybook", *, binary_size=None, sync=None, replacing=None, include=None):
        """`text`: the copybook, bytes or str. `name`: what it is called in messages. Options as from_copybook()."""
        if isinstance(text, str):
            text = text.encode()
        options = {"binary_size": binary_size, "sync": sync, "replacing": replacing, "include": _folders(include)}
        self._make(bytes(text), name, options, None)

    def _make(self, *arguments):
        self._arguments = arguments
        self._layout = _zvrt.Layout(*arguments)

    @classmethod
    def from_copybook(cls, source, *, binary_size=None, sync=None, replacing=None, include=None):
        """Reads a copybook: a file's name, or the text itself (bytes, or a str with a line break in it).

        binary_size: bytes of binary items by their digits: "2-4-8", "1-2-4-8" or "1--8".
        sync: boundary of SYNC items of 10 to 18 digits: 4 or 8.
        replacing: words that stand for others: {":TAG:": "CUST"}.
        include: a folder, or several, of the copybooks that COPY names. Those of a file are looked for beside it first,
            those of a text nowhere else. All are read at once: a pickled Layout has them with it.

        Raises zvrt.Error with the line and column of what cannot be read.
        """
        options = {"binary_size": binary_size, "sync": sync, "replacing": replacing}
        if isinstance(source, (bytes, bytearray)) or isinstance(source, str) and "\n" in source:
            return cls(source, include=include, **options)
        with open(source, "rb") as file:
            name = _os.fsdecode(source)
            return cls(file.read(), name, include=[_os.path.dirname(name) or ".", *_folders(include)], **options)

    def __reduce__(self):
        text, name, options, _ = self._arguments
        return _remade, (text, name, options, self._layout.copies())

    def items(self):
        """Every item as a dict: level, name, picture, usage, offset, length, occurs, redefines and more."""
        return [_json.loads(line) for line in self._layout.json().splitlines()]

    def __str__(self):
        return self._layout.text()

    def read(self, source, *, range=None, first=None, count=None, columns=None, on_reject="skip", max_rejects=0,
             segment=None, record_number=None, record_format="F", rdw_order="big", rdw_includes_itself=True,
             rdw_adjust=0, record_length=None, length_field=None, skip_header=0, skip_trailer=0, record_header=0,
             record=None, redefines="all", odo=None, code_page=None, newline=None, low_values="blank", trim="right",
             native=None, float=None, null=None, keep_bytes=False, batch_bytes=None, _table=None):
        """A record file as a table: Records. The file itself is read when the table is asked for.

        source: a file's name, several names that are read one after the other, or the bytes themselves.

        Which rows and columns
          first, count    only these records, the first one is 1
          range           instead of these a Range, from ranges()
          columns         only these, by name
          on_reject       a row with a cell that is refused: "skip" it, "keep" it with a null there, or "stop"
          max_rejects     stop after so many refusals; 0: never
          segment         "FIELD=VALUE[,VALUE...]:RECORD": only records of that value, which are RECORD's; where those of
                          other values have other lengths or must not be lost, read_segments() reads all
          record_number   a column RECORD_NUMBER; with a segment unless told otherwise

        What the file looks like
          record_format        "F", "FB" fixed; "V" length words; "VB" blocks of them; "D" lines
          rdw_order            "big" or "little"; rdw_includes_itself, rdw_adjust: what length words count
          record_length        of fixed records, if not the layout's
          length_field         the field that holds the record's length
          skip_header, skip_trailer, record_header    bytes before and after all records, and before each
          odo                  "shift": items after a variable table follow its last used entry; "max": its last one

        What the bytes mean
          record          which 01 record, or which meaning of a redefinition
          redefines       "all" meanings as columns of their own, or the "first"
          code_page       number or name, such as 37, 1047 or "cp273"; else the copybook's, else 37
          newline         the byte of an EBCDIC page that is U+000A: "nel" or "lf"
          low_values      bytes 00 in text: "blank", "refuse" or "keep"
          trim            blanks of text that are not taken: "right", "both" or "none"
          native, float   COMP-5 is "big" or "little"; COMP-1 and COMP-2 are "ibm" or "ieee"
          null            what stands for a null: {"SHIPPED": "zeros", "NOTE": "blanks"}
          keep_bytes      a column RECORD_BYTES, and those of what stands around the record where the file has such a thing:
                          with them write() changes only fields whose cells changed

        batch_bytes: about how many bytes of the file a batch holds; 1 MiB if not told.
        """
        options = dict(locals())
        for name in ("self", "source", "range"):
            del options[name]
        options["table"] = options.pop("_table")
        if range is not None:
            options.update(first=range[0], count=range[1], extent=_extent_of(range))
        return Records(self._layout, _source(source), options)

    def read_segments(self, source, segments, **options):
        """A file of several kinds of record, a table each: a dict of Records by the names in `segments`.

        segments: a list of "FIELD=VALUE[,VALUE...]:RECORD", one for each kind; such a record is RECORD's.

        Each table has a column RECORD_NUMBER, by which write_segments() puts the records back into their order. A record of
        no kind is among the rejects of the first table. Each table reads the file anew. Other options as read().
        """
        segments = _segments(segments)
        names = dict.fromkeys(each.rpartition(":")[2] for each in segments)
        return {name: self.read(source, **options, segment=segments, _table=at) for at, name in enumerate(names)}

    def write(self, path, data, *, replace=False, on_reject="skip", max_rejects=0, columns=None, record_format="F",
              rdw_order="big", rdw_includes_itself=True, rdw_adjust=0, record_length=None, length_field=None,
              skip_header=0, skip_trailer=0, record_header=0, record=None, redefines="all", odo=None, code_page=None,
              newline=None, binary="std", native=None, float=None, null=None, keep_bytes=False):
        """Writes a table into a record file, and returns a Written.

        data: a pandas.DataFrame; a dict of columns, each a numpy array or a sequence of objects; or anything with
        __arrow_c_stream__ or __arrow_c_array__, such as Records. Columns are found by their names. Those of
        redefinitions and of tables of variable length may lack. A column RECORD_NUMBER is passed over.

        Dates may be datetime.date, timestamps with the time 00:00, or text as 2024-02-29; where the field has a time of day,
        dates, timestamps, or text as 2024-02-29 12:34:56. What a field would lose is refused, as ZVRT_RC_FRACTION_LOST: a
        column of times goes into a field of dates by its own .dt.normalize() only.

        The file is written beside its place, and takes it when all rows are there and on the disk: whatever happens
        before leaves what stood there. Nothing that exists is replaced unless `replace` is true.

        on_reject: a row with a cell that is refused: "skip" it, "keep" it with that field empty, or "stop". A record that its
        file could not give back, as RX_LENGTH or RX_NEWLINE says, is left out even then.
        binary: COMP is written as its picture says ("std"), or over its whole range ("full").
        keep_bytes: the data has the columns that read(keep_bytes=True) gave it.
        Other options as read().
        """
        options = dict(locals())
        for name in ("self", "path", "data"):
            del options[name]
        return self._write(path, [data], options)

    def write_segments(self, path, tables, segments, **options):
        """Writes tables of several kinds of record into one file, by their columns RECORD_NUMBER; returns a Written.

        tables: a dict of what write() takes, by the names in `segments`, as read_segments() returns it. `segments` and other
        options as there and in write(). The `record` of a Reject counts the rows of all tables in their order.
        """
        segments = _segments(segments)
        names = list(dict.fromkeys(each.rpartition(":")[2] for each in segments))
        if set(tables) != set(names):
            raise ValueError(f"tables of {', '.join(map(str, tables))} for segments {', '.join(names)}")
        return self._write(path, [tables[name] for name in names], {**options, "segment": segments, "table": 0})

    def _write(self, path, tables, options):
        if not options.get("replace") and _os.path.lexists(path):
            raise FileExistsError(_errno.EEXIST, "exists already; replace=True replaces it", _os.fspath(path))
        from ._given import capsules_of
        capsules = [capsules_of(table) for table in tables]
        read, written, refused, refusals = _zvrt.write(self._layout, path, capsules, options)
        return Written(read, written, refused, [Reject(*each) for each in refusals])

    def ranges(self, source, parts, **options):
        """Cuts a file into at most `parts` of about one size: a list of Range for read(). Options are those of read().

        The ranges of files with length words, lines or lengths of their own are found by one pass over the file.
        """
        return [Range(*each) for each in Records(self._layout, _source(source), {"table": 0, **options})._cuts(parts)]


def _remade(text, name, options, copies):
    layout = Layout.__new__(Layout)
    layout._make(text, name, options, copies)
    return layout


def _folders(include):
    """A list of names, of one folder or several."""
    if include is None:
        return []
    return [_os.fsdecode(each) for each in ([include] if isinstance(include, (str, bytes, _os.PathLike)) else include)]


def _segments(segments):
    if isinstance(segments, str) or not segments:
        raise ValueError("segments: a list of FIELD=VALUE:RECORD is wanted")
    return list(segments)


def _extent_of(range):
    if len(range) < 4 or range[2] is None:
        return None
    return range[2], range[3]


def _source(source):
    """Names are looked up at once, so that a file that is not there is a FileNotFoundError."""
    for name in source if isinstance(source, (list, tuple)) else [source]:
        if isinstance(name, (str, _os.PathLike)) and name != "-":
            _os.stat(name)
    return source

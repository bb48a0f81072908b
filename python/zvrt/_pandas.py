"""Batches to a pandas.DataFrame, and back."""
import numpy
import pandas

from ._plans import Plan, Type

_INTEGERS = {"c": "Int8", "s": "Int16", "i": "Int32", "l": "Int64", "C": "UInt8", "S": "UInt16", "I": "UInt32",
             "L": "UInt64"}


def _nulls(columns, rows):
    """True where a row is null; None where none is."""
    if not any(column.null_count for column in columns):
        return None
    mask = numpy.zeros(rows, bool)
    at = 0
    for column in columns:
        if column.null_count:
            bits = numpy.unpackbits(numpy.asarray(column.validity), bitorder="little", count=len(column))
            numpy.equal(bits, 0, out=mask[at:at + len(column)])
        at += len(column)
    return mask


def _values(columns, dtype):
    if not columns:
        return numpy.empty(0, dtype)
    return numpy.concatenate([numpy.asarray(column) for column in columns])


def _objects(columns, rows):
    objects = numpy.empty(rows, object)
    at = 0
    for column in columns:
        column._fill(objects, at)
        at += len(column)
    return objects


def _floats(columns, scale):
    """Each decimal as the float nearest to it."""
    plan = Plan(Type("decimal", precision=38, scale=scale), Type("float", 8))
    return _values([plan.run(column.data, count=len(column), stride=16).values for column in columns], float)


def _series(format, columns, rows, decimals):
    if format in _INTEGERS:
        values = _values(columns, _INTEGERS[format].lower())
        mask = _nulls(columns, rows)
        return pandas.arrays.IntegerArray(values, numpy.zeros(rows, bool) if mask is None else mask)
    if format in ("f", "g") or format.startswith("d:") and decimals == "float":
        values = _values(columns, "f" + ("4" if format == "f" else "8")) if format in ("f", "g") else _floats(
            columns, int(format.rpartition(",")[2]))
        mask = _nulls(columns, rows)
        if mask is not None:
            values[mask] = numpy.nan
        return values
    return _objects(columns, rows)


def frame_of(records, decimals):
    if decimals not in ("decimal", "float"):
        raise ValueError(f"decimals={decimals!r}: 'decimal' or 'float' is wanted")
    batches = list(records)
    rows = sum(len(batch) for batch in batches)
    formats = records._columns()
    return pandas.DataFrame({name: _series(format, [batch[at] for batch in batches], rows, decimals)
                             for at, (name, format) in enumerate(formats)}, copy=False)

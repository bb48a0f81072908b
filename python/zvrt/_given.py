"""What Layout.write() takes, as capsules of the Arrow interface."""
import array
import datetime
import sys

from . import _zvrt

_EPOCH = datetime.datetime(1970, 1, 1)
_KEPT = ("RECORD_BYTES", "BYTES_BEFORE", "BYTES_AFTER")
_FORMATS = {"i1": "c", "i2": "s", "i4": "i", "i8": "l", "u1": "C", "u2": "S", "u4": "I", "u8": "L", "f4": "f", "f8": "g"}


def _objects(values):
    """A list of objects: dates and timestamps as such, everything else as text. NaN, NaT and pandas.NA are nulls."""
    values = [None if each is None or type(each).__name__ in ("NAType", "NaTType") or each != each else each
              for each in values]
    kinds = {type(each) for each in values if each is not None}
    if kinds and all(issubclass(kind, datetime.datetime) for kind in kinds):
        if any(each is not None and each.tzinfo is not None for each in values):
            raise ValueError("a timestamp with a time zone cannot be written; convert it to the zone of the file first")
        numbers = array.array("q", [0 if each is None else (each - _EPOCH) // datetime.timedelta(microseconds=1)
                                    for each in values])
        return "tsu:", numbers, bytes(each is None for each in values)
    if kinds == {datetime.date}:
        numbers = array.array("i", [0 if each is None else each.toordinal() - 719163 for each in values])
        return "tdD", numbers, bytes(each is None for each in values)
    return "U", values, None


def _numpy(values):
    numpy = sys.modules["numpy"]
    if values.ndim != 1:
        raise ValueError("a column has one dimension")
    if isinstance(values, numpy.ma.MaskedArray):
        format, data, nulls = _numpy(values.data)
        mask = numpy.ma.getmaskarray(values)
        return format, data, mask if nulls is None else mask | numpy.asarray(nulls, bool)
    kind = values.dtype.kind
    if kind == "b":
        return "C", values.astype(numpy.uint8), None
    if kind == "M":
        return "tsu:", numpy.ascontiguousarray(values.astype("datetime64[us]")).view(numpy.int64), numpy.isnat(values)
    format = _FORMATS.get(values.dtype.str[1:]) if kind in "iuf" else None
    if format is None:
        return _objects(values.tolist())
    native = numpy.ascontiguousarray(values.astype(values.dtype.newbyteorder("="), copy=False))
    return format, native, numpy.isnan(native) if kind == "f" else None


def _series(series):
    pandas = sys.modules["pandas"]
    nulls = series.isna().to_numpy()
    if not isinstance(series.dtype, pandas.api.extensions.ExtensionDtype):
        return _numpy(series.to_numpy())
    types = pandas.api.types
    if types.is_bool_dtype(series.dtype):
        return "C", series.to_numpy("uint8", na_value=0), nulls
    if types.is_integer_dtype(series.dtype) or types.is_float_dtype(series.dtype):
        dtype = series.dtype.numpy_dtype
        return _FORMATS[dtype.str[1:]], series.to_numpy(dtype, na_value=0), nulls
    return _objects(series.astype(object).tolist())


def _bytes(values):
    """What --keep-bytes kept: bytes and nulls, however they are held."""
    return [None if each is None or type(each).__name__ == "NAType" or each != each else bytes(each) for each in values]


def _column(name, values):
    if name in _KEPT:
        return "Z", _bytes(values), None
    if "pandas" in sys.modules and isinstance(values, sys.modules["pandas"].Series):
        return _series(values)
    if "numpy" in sys.modules and isinstance(values, sys.modules["numpy"].ndarray):
        return _numpy(values)
    return _objects(list(values))


def capsules_of(data):
    """A capsule of a stream, or a pair of capsules of a schema and an array."""
    is_frame = "pandas" in sys.modules and isinstance(data, sys.modules["pandas"].DataFrame)
    if is_frame or isinstance(data, dict):
        return _zvrt.table([(str(name), *_column(name, values)) for name, values in data.items()])
    if hasattr(data, "__arrow_c_stream__"):
        return data.__arrow_c_stream__()
    if hasattr(data, "__arrow_c_array__"):
        return data.__arrow_c_array__()
    raise TypeError("a DataFrame, a dict of columns, or data with __arrow_c_stream__ or __arrow_c_array__ is wanted")

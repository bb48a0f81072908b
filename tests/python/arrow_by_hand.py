"""Arrow's structures read through ctypes, as the interface describes them: a reader of nobody's."""
import ctypes
from ctypes import POINTER, c_char_p, c_int, c_int64, c_void_p


class Schema(ctypes.Structure):
    pass


class Array(ctypes.Structure):
    pass


class Stream(ctypes.Structure):
    pass


Schema._fields_ = [("format", c_char_p), ("name", c_char_p), ("metadata", c_void_p), ("flags", c_int64),
                   ("n_children", c_int64), ("children", POINTER(POINTER(Schema))), ("dictionary", POINTER(Schema)),
                   ("release", ctypes.CFUNCTYPE(None, POINTER(Schema))), ("private_data", c_void_p)]
Array._fields_ = [("length", c_int64), ("null_count", c_int64), ("offset", c_int64), ("n_buffers", c_int64),
                  ("n_children", c_int64), ("buffers", POINTER(c_void_p)), ("children", POINTER(POINTER(Array))),
                  ("dictionary", POINTER(Array)), ("release", ctypes.CFUNCTYPE(None, POINTER(Array))),
                  ("private_data", c_void_p)]
Stream._fields_ = [("get_schema", ctypes.CFUNCTYPE(c_int, POINTER(Stream), POINTER(Schema))),
                   ("get_next", ctypes.CFUNCTYPE(c_int, POINTER(Stream), POINTER(Array))),
                   ("get_last_error", ctypes.CFUNCTYPE(c_char_p, POINTER(Stream))),
                   ("release", ctypes.CFUNCTYPE(None, POINTER(Stream))), ("private_data", c_void_p)]

_pointer = ctypes.pythonapi.PyCapsule_GetPointer
_pointer.restype, _pointer.argtypes = c_void_p, [ctypes.py_object, c_char_p]


def inside(capsule, structure):
    name = {Schema: b"arrow_schema", Array: b"arrow_array", Stream: b"arrow_array_stream"}[structure]
    found = ctypes.cast(_pointer(capsule, name), POINTER(structure)).contents
    found.capsule = capsule  # which owns it
    return found


def types(schema):
    return [(schema.children[i].contents.name.decode(), schema.children[i].contents.format.decode())
            for i in range(schema.n_children)]


def _valid(array, row):
    bits = array.buffers[0]
    return not bits or ctypes.string_at(bits + row // 8, 1)[0] >> row % 8 & 1


def values(array, format):
    """int and str, the two kinds that tests need; None for a null."""
    found = []
    for row in range(array.offset, array.offset + array.length):
        if not _valid(array, row):
            found.append(None)
        elif format == "u":
            begin, end = ctypes.cast(array.buffers[1], POINTER(ctypes.c_int32))[row:row + 2]
            found.append(ctypes.string_at(array.buffers[2] + begin, end - begin).decode())
        else:
            found.append(ctypes.cast(array.buffers[1], POINTER({"l": c_int64}[format]))[row])
    return found


def read(stream):
    """All rows of a stream as a dict of lists; the stream is released."""
    schema, columns = Schema(), {}
    assert stream.get_schema(ctypes.byref(stream), ctypes.byref(schema)) == 0
    known = types(schema)
    columns = {name: [] for name, _ in known}
    while True:
        array = Array()
        if stream.get_next(ctypes.byref(stream), ctypes.byref(array)):
            sentence = stream.get_last_error(ctypes.byref(stream)).decode()
            schema.release(ctypes.byref(schema))
            stream.release(ctypes.byref(stream))
            raise RuntimeError(sentence)
        if not array.release:
            break
        for at, (name, format) in enumerate(known):
            columns[name] += values(array.children[at].contents, format)
        array.release(ctypes.byref(array))
    schema.release(ctypes.byref(schema))
    stream.release(ctypes.byref(stream))
    return columns

#!/usr/bin/env python3
"""Which statuses each exported function returns, by calling it: status_survey.py SOURCE LIBRARY_FOLDER [--write]

Calls every function with sources, sizes, code pages and formats of every sort and collects what it returns. The result
has to be what docs/generator/statuses.csv says, from which the documents are made; --write writes that file. A status
of 20000 and more is a platform library's and counts as `platform`.
"""
import ctypes as c
import itertools
import os
import pathlib
import re
import resource
import struct
import sys

sys.path.insert(0, str(pathlib.Path(sys.argv[1], "docs/generator")))
sys.dont_write_bytecode = True
import header  # noqa: E402

MEGABYTE = 1 << 20
# What a platform that fails gives them is tried with a platform made to fail, in tests/core/library_test.cpp.
PASS_ON_THE_PLATFORM = ("ZVRTInitDataConversion", "ZVRTTermDataConversion")


class FmtCode(c.Structure):
    _fields_ = [(name, c.c_uint32) for name in ("literal", "code", "len", "pos")]


class DtFormat(c.Structure):
    _fields_ = [("reserved", c.c_uint8 * 16), ("model", c.c_void_p), ("modelLen", c.c_int32), ("end", c.c_uint8 * 4)]


class FldDef(c.Structure):
    _fields_ = [("reserved", c.c_uint8 * 32), ("codePage", c.c_uint32), ("kind", c.c_char), ("gap", c.c_uint8 * 3),
                ("dtFormat", c.c_void_p), ("end", c.c_uint8 * 24)]


class DateWithModel(c.Structure):
    _fields_ = [("year", c.c_int16), ("month", c.c_uint16), ("day", c.c_uint16), ("model", c.c_wchar_p)]


def wide(text: str) -> bytes:
    return text.encode("utf-32-le", "surrogatepass")


def record(*fields: int) -> bytes:
    return struct.pack("<hHHHHHI8x", *fields)


NARROW = [b"", b"abc", b"12", b"-5", b"+1", b"1 2", b"1.2.3", b"1" * 30, b"a\xC3(", b"caf\xC3", b"\xFF", b"x" * 40000,
          b"1" * 300, b"   ", b"2024-03-05 13:45:10.5", b"2024-13-05 13:45", b"0000-01-01", b"2024-01-32", b"2024-01-01 25:00",
          b"2024-01-01 10:77", b"2024-01-01 10:10:77", b"2024-01-01 1x", b"\xC1\xC2"]
WIDE = ([wide(each.decode("latin-1")) for each in NARROW if each != b"caf\xC3"] +
        [wide("5 \u20AC"), struct.pack("<III", 0x61, 0x80000000, 0x62), wide("0e1"), wide("1e400"), wide("x1")])
TIMESTAMPS = [record(2024, 3, 5, 13, 45, 10, 1), record(0, 3, 5, 0, 0, 0, 0), record(2024, 13, 5, 0, 0, 0, 0),
              record(2024, 2, 30, 0, 0, 0, 0), record(2024, 3, 5, 24, 0, 0, 0), record(2024, 3, 5, 0, 60, 0, 0),
              record(2024, 3, 5, 0, 0, 60, 0)]
TIMES = [struct.pack("<HHH", *each) for each in ((13, 45, 10), (24, 0, 0), (0, 60, 0), (0, 0, 60))]
PACKED = [b"\x12\x3C", b"\x0C", b"\x1A\x3C", b"\xC1\xC2", b"\x0D", b"\x12" * 300 + b"\x3C"]
VARNUMS = [b"\x01\x80", b"\x02\xC1\x02", b"\x03\x3E\x64\x66", b"\x00\x80", b"\x02\xFF\x02"]
NUMBERS = [bytes(8), b"\x01" + bytes(7), b"\xFF" * 8]
DOUBLES = [struct.pack("<d", each) for each in (0.0, 1.5, float("inf"))]
SINGLES = [struct.pack("<f", each) for each in (0.0, 1.5, float("inf"))]
MODELS = ["%YYYY-%MM-%DD %HH24:%MI:%SS.%FFF", "%YYYY-%MM-%DD", "%HH:%MI", "lit", "%YY/%M", "%SS", "%MMM"]
SIZES = [-1, 0, 1, 2, 3, 4, 8, 9, 16, 24, 40, 60, 1000, 200000]

NARROW_KINDS, WIDE_KINDS = ("Char", "Varchar", "VarcharSz", "Sz"), ("WChar", "WVarchar", "WVarcharSz", "WSz", "Wchar")
VALUES = {"Dbl": DOUBLES, "Flt": SINGLES, "DecPacked": PACKED, "OraVarnum": VARNUMS, "ZVRTTS": TIMESTAMPS,
          "ZVRTDate": [each[:6] for each in TIMESTAMPS], "ZVRTTime": TIMES}


class Survey:
    def __init__(self, library: pathlib.Path):
        self.library = c.CDLL(str(library / "libZVRTDataCnvLib.so"))
        self.statuses: dict[str, set[str]] = {}
        self.room = c.create_string_buffer(400000)
        self.kept: list[object] = []
        self.formats = [self.format(model) for model in MODELS]

    def note(self, name: str, status: int) -> int:
        status &= 0xFFFFFFFF
        word = "platform" if 20000 <= status < 0xFFFFFFFF else str(status - (1 << 32) if status >> 31 else status)
        self.statuses.setdefault(name, set()).add(word)
        return status

    def call(self, name: str, *arguments) -> int:
        return self.note(name, getattr(self.library, name)(*arguments))

    def format(self, model: str) -> DtFormat:
        codes, kind = (FmtCode * (len(model) + 1))(), c.c_int32(0)
        self.library.ZVRTGetFormatCodes(c.c_wchar_p(model), codes, c.byref(kind))
        self.kept.append(codes)
        return DtFormat(model=c.addressof(codes), modelLen=len(model))

    def field(self, page: int, format: DtFormat | None) -> FldDef:
        return FldDef(codePage=page, dtFormat=c.addressof(format) if format else None)

    def conversion(self, name: str, sources: list[bytes], lengths, fields) -> None:
        function = getattr(self.library, name)
        for source, field in itertools.product(sources, fields):
            buffer = c.create_string_buffer(source, len(source) + 100)
            for size, length in itertools.product(SIZES, lengths(source)):
                given, out = c.c_int32(length or 0), c.c_uint32(0)
                self.note(name, function(buffer, None if length is None else c.byref(given), self.room, size, c.byref(out),
                                         c.byref(field) if field else None))


def sources_of(name: str):
    """The values and lengths that a conversion is tried with, by the source word of its name."""
    word = re.match(r"ZVRTCnv(?:DateTime)?(\w+?)(?:_Unsigned)?To", name)[1]
    if word in VALUES:
        return VALUES[word], lambda source: [len(source)]
    if word not in NARROW_KINDS + WIDE_KINDS:
        return NUMBERS, lambda source: [None]
    texts = NARROW if word in NARROW_KINDS else WIDE
    if word in ("Varchar", "WVarchar"):
        return [struct.pack("<H", len(text) & 0xFFFF) + text for text in texts if len(text) < 65536], lambda source: [None, 0]
    if word in ("Char", "WChar"):
        return texts, lambda source: [None, 0, 2, len(source)]
    if word == "Wchar":
        return texts, lambda source: [None, 0, len(source) // 4]
    return texts, lambda source: [None, 0]


def try_conversions(survey: Survey, functions, pages) -> None:
    for function in functions:
        if not function.is_conversion:
            continue
        name = function.name
        sources, lengths = sources_of(name)
        is_date = "DateTime" in name or "ZVRT" in name.removeprefix("ZVRTCnv")
        formats = survey.formats if is_date else [None]
        fields = [survey.field(page, format) for page in pages for format in formats]
        if pages[0] == 0:
            fields.append(None)
        survey.conversion(name, sources, lengths, fields)
        if is_date or "DblTo" in name or "FltTo" in name:
            out = c.c_uint32(0)
            survey.call(name, None, None, survey.room, 1000, c.byref(out), c.byref(fields[0]))


def try_others(survey: Survey, pages) -> None:
    call, room, out = survey.call, survey.room, c.c_uint32(0)
    number, length = c.c_int32(0), c.c_int32(0)
    texts = [b"", b"abc", b"caf\xC3", b"\xFD\xBF\xBF\xBF\xBF\xBF", b"\xC3("]
    for text, size in itertools.product(texts, (0, 2, 100)):
        call("Convert8To32", room, size, text, len(text), c.byref(out))
        call("Convert8To16", room, size, text, len(text), c.byref(out))
    for text, size in itertools.product(WIDE + [struct.pack("<I", 0xD800)], (0, 2, 100)):
        call("Convert32To8", room, size, text, len(text) // 4, c.byref(out))
        call("Convert32To16", text, len(text) // 4, room, size, c.byref(out))
    for text, size in itertools.product([b"a\0", b"a\0b\0", b"\x00\xD8"], (0, 1, 100)):
        call("Convert16To8", room, size, text, len(text) // 2, c.byref(out))
        call("Convert16To32", text, len(text) // 2, room, size, c.byref(out))
    for text in texts[1:]:
        status, position = c.c_uint32(0), c.c_char_p(text)
        survey.library.ConvertFrom8(c.byref(out), c.byref(position), len(text) if text != b"caf\xC3" else 0,
                                    c.byref(status), c.byref(c.c_uint32()))
        survey.note("ConvertFrom8", status.value)
        cut = c.c_uint32(0)
        survey.library.ConvertFrom8(c.byref(out), c.byref(c.c_char_p(b"\xC3")), 1, c.byref(cut), c.byref(c.c_uint32()))
        survey.note("ConvertFrom8", cut.value)
    for code, size in itertools.product((0x61, 0x20AC, 0x80000000), (0, 10)):
        status, position = c.c_uint32(0), c.c_void_p(c.addressof(room))
        survey.library.ConvertTo8(c.byref(position), size, c.c_uint32(code), c.byref(status), c.byref(out))
        survey.note("ConvertTo8", status.value)
    for page, text, size in itertools.product(pages, NARROW[:14], (0, 4, 1000)):
        field = c.byref(survey.field(page, None))
        call("ZVRT_MultiByteToWideChar", field, text, len(text), room, size, c.byref(out))
        call("InitializeCharBufferWithSpaces", room, size, field)
        for letter in (0, 1):
            room.raw = text + bytes(200)
            length.value = letter * len(text)
            call("TrimSpaces", room, c.byref(length), 1, 1, page, c.c_char(b"\0"))
        number.value = size
        for value in (0, 5):
            number.value = size
            call("ZVRTCnvIntToVarcharSz", value, room, c.byref(number), page, c.c_char(b"\0"))
        for count in (-1, min(len(text), 11), 12):
            call("ZVRTCnvVarcharSzToInt", text + bytes(12), c.byref(number), 0, count, page, c.c_char(b"\0"))
    for page, text, size in itertools.product(pages, WIDE, (0, 4, 1000)):
        call("ZVRT_WideCharToMultiByte", c.byref(survey.field(page, None)), text, len(text), room, size, c.byref(out))
    for text in NARROW[:8]:
        room.raw = text + bytes(200)
        length.value = len(text)
        call("TrimSpacesA", room, c.byref(length), 1, 1)
        room.raw = wide(text.decode("latin-1")) + bytes(200)
        call("TrimSpacesW", room, c.byref(length), 1, 1)
        call("TrimAllSpacesTabsW", room, c.byref(length))
        value = c.c_uint32(0)
        call("ZVRTCnvCharToInt", text, len(text), c.byref(value))
        source = wide(text.decode("latin-1")) + bytes(4)
        call("ZVRTCnvWVarcharSzToInt", source, c.byref(number), 0, 10)
        call("ZVRTCnvWVarcharSzToInt2", source, c.byref(length), c.byref(number), 0, 10)
    for value in (0, 5):
        call("ZVRTCnvIntToWVarcharSz", value, room, c.byref(out))
    for form, size in itertools.product((b"%d", b"%s", b"%.0d", b"%20d"), (0, 8, 1000)):
        call("ZVRTCnvIntToUni", room, size, form, 0, c.byref(out))
    for value, precision, size in itertools.product((1.5, float("nan")), (-2, -1, 3), (0, 100)):
        call("FloatToString", room, size, c.c_int16(precision), c.c_double(value))
    try_date_functions(survey)
    call("ConvertBCDToOraVarNum", room, b"\x01\x02", 2, 0, c.c_char(b"+"))
    survey.statuses.setdefault("VerifyCodePageInfo", set())


def try_date_functions(survey: Survey) -> None:
    call, room, out = survey.call, survey.room, c.c_uint32(0)
    for record_, kind in itertools.product(TIMESTAMPS, (1, 2, 3, 4)):
        call("ZVRTValidateDateTime", record_, kind)
        for size in (0, 1, 5, 10, 100):
            call("ZVRTGetStringFromTS", record_, room, size, c.byref(out))
            call("ZVRTGetStringAFromTS", record_, room, size, c.byref(out))
            for format in survey.formats:
                call("ZVRTTSToWVarcharSz", room, size, c.c_void_p(format.model), record_, kind, c.byref(out))
    for model in MODELS + ["%X"]:
        codes = (FmtCode * 64)()
        call("ZVRTGetFormatCodes", c.c_wchar_p(model), codes, c.byref(c.c_int32(0)))
    for format, text, length in itertools.product(survey.formats, WIDE, (0, 10)):
        source = text + bytes(4)
        call("ZVRTWVarcharSzToTS", source, 1000, c.c_void_p(format.model), length, room, 3)
        model = c.c_void_p(format.model)
        buffer = c.create_string_buffer(source, len(source))
        cursor = c.c_void_p(c.addressof(buffer))
        call("ZVRTGetNextCodePosInSourceW", c.byref(model), c.byref(cursor), room)
    literal = (FmtCode * 3)(FmtCode(literal=0x7C), FmtCode(code=1, len=4), FmtCode(code=21))
    buffer = c.create_string_buffer(wide("no bar"), 100)
    call("ZVRTGetNextCodePosInSourceW", c.byref(c.c_void_p(c.addressof(literal))), c.byref(c.c_void_p(c.addressof(buffer))), room)
    for model, text in itertools.product(MODELS + ["%X", ""], NARROW):
        date = DateWithModel(model=model)
        call("ZVRTDateCharToDate", text + b"\0", c.byref(date))
        units = text.decode("latin-1").encode("utf-16-le")
        call("ZVRTUTF16DateCharToDate", units, len(units) // 2, c.byref(date))
    call("ZVRTUTF16DateCharToDate", b"\x00\xD8", 1, c.byref(DateWithModel(model=MODELS[0])))


def exhaust_memory() -> None:
    """Leaves no block of 16 KiB to the C library. Python itself lives on in what it has."""
    spare = [bytearray(100) for _ in range(200000)]
    libc = c.CDLL(None)
    libc.malloc.restype = c.c_void_p
    del spare
    with open("/proc/self/statm") as file:
        used = int(file.read().split()[0]) * os.sysconf("SC_PAGE_SIZE")
    resource.setrlimit(resource.RLIMIT_AS, (used, used))
    while libc.malloc(16384):
        pass


def try_without_memory(survey: Survey, functions) -> None:
    characters = 2 * MEGABYTE
    narrow, wide_text = c.create_string_buffer(b"1" * characters), c.create_string_buffer(wide("1") * characters + bytes(4))
    prefixed = c.create_string_buffer(struct.pack("<H", 32000) + b"1" * 32000)
    packed = c.create_string_buffer(b"\x11" * characters, characters)
    sources = {"Varchar": prefixed, "WVarchar": prefixed, "DecPacked": packed, "ZVRTTS": TIMESTAMPS[0]}
    sources |= {kind: narrow for kind in ("Char", "VarcharSz", "Sz")}
    sources |= {kind: wide_text for kind in ("WChar", "Wchar", "WVarcharSz", "WSz")}
    long_format = survey.format(MODELS[0])
    long_format.modelLen = MEGABYTE
    field, utf16 = survey.field(0, long_format), c.create_string_buffer(b"1\0" * characters)
    date, out = DateWithModel(model=MODELS[0]), c.c_uint32(0)
    calls = []
    for function in functions:
        match = re.match(r"ZVRTCnv(?:DateTime)?(\w+?)(?:_Unsigned)?To", function.name)
        if function.is_conversion and match[1] in sources:
            needs_length = match[1] in ("Char", "WChar", "Wchar", "DecPacked")
            calls.append((function.name, sources[match[1]], c.byref(c.c_int32(characters)) if needs_length else None,
                          survey.room, 1000, c.byref(out), c.byref(field)))
    calls.append(("TrimSpaces", narrow, c.byref(c.c_int32(0)), 1, 1, 37, c.c_char(b"\0")))
    calls.append(("ZVRTDateCharToDate", narrow, c.byref(date)))
    calls.append(("ZVRTUTF16DateCharToDate", utf16, characters, c.byref(date)))
    exhaust_memory()
    for call in calls:
        survey.call(*call)


def in_child(survey: Survey, functions, work) -> None:
    """What a process of its own finds, since it does not live on as it was."""
    reader, writer = os.pipe()
    child = os.fork()
    if child == 0:
        survey.statuses = {}
        work(survey, functions)
        for name, statuses in survey.statuses.items():
            os.write(writer, f"{name} {' '.join(statuses)}\n".encode())
        os._exit(0)
    os.close(writer)
    with os.fdopen(reader) as file:
        for line in file:
            name, *statuses = line.split()
            survey.statuses.setdefault(name, set()).update(statuses)
    if os.waitpid(child, 0)[1] != 0:
        raise SystemExit("the process without memory failed")


def main() -> int:
    source = pathlib.Path(sys.argv[1])
    functions = header.read(source / "include/ZVRTDataCnvLib.h").functions()
    survey = Survey(pathlib.Path(sys.argv[2]))
    try_conversions(survey, functions, [37])  # before the initialisation
    try_others(survey, [37])
    survey.call("ZVRTInitDataConversion")
    try_conversions(survey, functions, [0, 37, 1200, 1208, 4242])
    try_others(survey, [0, 37, 1200, 1208, 4242])
    in_child(survey, functions, try_without_memory)
    survey.call("ZVRTTermDataConversion")
    for name in PASS_ON_THE_PLATFORM:
        survey.note(name, 20000)
    order = lambda status: (status == "platform", status == "-1", int(status) if status != "platform" else 0)
    found = "function,statuses\n" + "".join(
        f"{each.name},{' '.join(sorted(survey.statuses.get(each.name, {'not called'}), key=order))}\n" for each in functions)
    path = source / "docs/generator/statuses.csv"
    if "--write" in sys.argv:
        path.write_text(found)
        return 0
    kept = path.read_text()
    for line in sorted(set(found.splitlines()) ^ set(kept.splitlines())):
        print(("found:    " if line in found else "promised: ") + line)
    return 0 if found == kept else 1


sys.exit(main())

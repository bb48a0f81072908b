#!/usr/bin/python3
"""DuckDB over the stream of a record file: duckdb_test.py LIBRARY CSV FOLDER

The public table is written as records from Python, read back as a stream, and DuckDB compares the two, row by row.
"""
import csv
import ctypes
import sys
from pathlib import Path

import arrow_by_hand
import zvrt

library, csv_file, folder = ctypes.CDLL(sys.argv[1]), sys.argv[2], Path(sys.argv[3])
NUMBERS = ("Cost Other", "Cost Repair", "Speed IAS in knots")


class Result(ctypes.Structure):
    _fields_ = [("words", ctypes.c_uint64 * 6)]


library.duckdb_result_error.restype = ctypes.c_char_p
library.duckdb_value_int64.restype = ctypes.c_int64
library.duckdb_value_int64.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64]
database, connection = ctypes.c_void_p(), ctypes.c_void_p()
assert library.duckdb_open(None, ctypes.byref(database)) == 0
assert library.duckdb_connect(database, ctypes.byref(connection)) == 0


def query(sql):
    result = Result()
    if library.duckdb_query(connection, sql.encode(), ctypes.byref(result)):
        raise SystemExit(f"{sql}: {library.duckdb_result_error(ctypes.byref(result)).decode()}")
    cell = library.duckdb_value_int64(ctypes.byref(result), 0, 0)
    library.duckdb_destroy_result(ctypes.byref(result))
    return cell


def expect(sql, expected):
    found = query(sql)
    print(f"{sql}: {found}")
    if found != expected:
        raise SystemExit(f"instead of {expected}")


def scan(name, records):
    stream = arrow_by_hand.inside(records.__arrow_c_stream__(), arrow_by_hand.Stream)
    assert library.duckdb_arrow_scan(connection, name.encode(), ctypes.byref(stream)) == 0
    query(f"CREATE TABLE {name}_copy AS SELECT * FROM {name}")


layout = zvrt.Layout.from_copybook(Path(csv_file).with_name("strikes.cpy"))
with open(csv_file, newline="") as file:
    table = list(csv.DictReader(file))
columns = {name: [row[name] or (None if name in NUMBERS else "") for row in table] for name in table[0]}
folder.mkdir(parents=True, exist_ok=True)
path = folder / "from-python.records"
written = layout.write(path, columns, replace=True)
assert (written.records, written.rejects) == (10000, []), written.rejects[:3]
records = layout.read(path)
scan("strikes", records)
assert records.counts == {"records": 10000, "rows": 10000, "refused": 0}
query(f"CREATE TABLE csv AS SELECT * FROM read_csv('{csv_file}', header=true, nullstr='', types={{'Cost Other':'BIGINT',"
      "'Cost Repair':'BIGINT','Cost Total $':'VARCHAR','Speed IAS in knots':'BIGINT','Flight Date':'DATE'})")
for name in columns:
    if name not in NUMBERS and name != "Flight Date":
        query(f'UPDATE csv SET "{name}" = coalesce("{name}", \'\')')
expect("SELECT count(*) FROM (SELECT * FROM csv EXCEPT ALL SELECT * FROM strikes_copy)", 0)
expect("SELECT count(*) FROM (SELECT * FROM strikes_copy EXCEPT ALL SELECT * FROM csv)", 0)
expect("SELECT count(*) FROM strikes_copy", 10000)
library.duckdb_disconnect(ctypes.byref(connection))
library.duckdb_close(ctypes.byref(database))

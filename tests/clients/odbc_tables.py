#!/usr/bin/env python3
"""zvrt-records over ODBC, with a PostgreSQL server of the test's own and SQLite's driver: odbc_tables.py COMMAND [ROWS]

Every table is compared cell by cell with the CSV that the same command makes of the same records, and every record that
comes back with the one it was, byte by byte.
"""
import csv
import io
import os
import pathlib
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time

from postgres import Server

COMMAND = sys.argv[1] if len(sys.argv) > 1 else "zvrt-records"
ROWS = int(sys.argv[2]) if len(sys.argv) > 2 and sys.argv[2].isdecimal() else 50_000
SECRET = "s3cret;}x"

MANY = """       01 CUSTOMER.
          05 ID      PIC 9(9) COMP.
          05 NAME    PIC X(20).
          05 BALANCE PIC S9(9)V99 COMP-3.
          05 VISITS  PIC 9(4) COMP.
"""
KINDS = """       01 KIND.
          05 ID      PIC 9(4) COMP.
          05 TITLE   PIC N(12). *>@ null=low-values
          05 BIG     PIC S9(36)V99 COMP-3.
          05 WHOLE   PIC S9(18) COMP.
          05 FRACTION COMP-2.
          05 BORN    PIC 9(8). *>@ date=%YYYY%MM%DD null=zeros
          05 SEEN    PIC X(19).
          05 LONGER  PIC X(5000).
"""
PICKY = """CREATE TABLE picky ("ID" integer PRIMARY KEY, name varchar(20), balance numeric(11,2),
 visits smallint CHECK (visits <> 77))"""


def drivers(*names):
    """The driver's library, wherever Debian puts it; None where it is not installed."""
    found = [path for name in names for path in pathlib.Path("/usr/lib").glob(f"*/odbc/{name}")]
    return str(found[0]) if found else None


def run(*arguments, status=0):
    """Output of the command, both streams; its exit status has to be this one, and no password in what it says."""
    made = subprocess.run([COMMAND, *map(str, arguments)], capture_output=True, text=True, timeout=300)
    said = made.stdout + made.stderr
    assert made.returncode == status, f"{arguments}\nstatus {made.returncode}, not {status}\n{said}"
    assert SECRET not in said, f"a password in\n{said}"
    return said


def rows_of(text):
    return list(csv.reader(io.StringIO(text)))


class Place:
    """A database to import into and export from."""

    def __init__(self, folder):
        self.folder = folder

    def bring(self, verb, layout, *rest, status=0):
        return run(verb, "-l", layout, *rest, status=status)

    def csv_of(self, layout, records):
        text = self.folder / "expected.csv"
        self.bring("import", layout, records, text, "--replace")
        return rows_of(text.read_text(encoding="utf-8"))


class Postgres(Place):
    def __init__(self, folder, server, driver):
        super().__init__(folder)
        self.server = server
        self.table = f"odbc:Driver={driver};Servername={server.folder};Database=postgres;Uid=tester;Pwd={{s3cret;}}}}x}}"

    def sql(self, text):
        self.server.sql(text)

    def rows(self, table, order):
        return rows_of(self.server.copy(f'SELECT * FROM "{table}" ORDER BY {order}'))


class Sqlite(Place):
    def __init__(self, folder, driver):
        super().__init__(folder)
        self.file = folder / "odbc.db"
        self.table = f"odbc:Driver={driver};Database={self.file};Pwd={{s3cret;}}}}x}}"

    def sql(self, text):
        with sqlite3.connect(self.file) as database:
            database.execute(text)

    def rows(self, table, order):
        with sqlite3.connect(self.file) as database:
            return [["" if cell is None else str(cell) for cell in row]
                    for row in database.execute(f'SELECT * FROM "{table}" ORDER BY {order}')]


def packed(value, digits):
    text = str(abs(value)).rjust(digits + 1 - digits % 2, "0") + ("D" if value < 0 else "C")
    return bytes.fromhex(text.rjust(len(text) + len(text) % 2, "0"))


def many_records(count):
    for k in range(count):
        name = f"Name {k * 7919 % 1000003}".ljust(20).encode("cp037")
        yield k.to_bytes(4, "big") + name + packed(k * 104729 % 20000000000 - 10000000000, 11) + (k % 9999).to_bytes(2, "big")


def check_many(place, layout):
    """Rows in bulk, both ways."""
    records = place.folder / "many.dat"
    records.write_bytes(b"".join(many_records(ROWS)))
    place.bring("import", layout, records, place.table, "-t", "many", "--create")
    expected = place.csv_of(layout, records)
    assert place.rows("many", '"ID"') == expected[1:], "the table differs from the CSV"
    back = place.folder / "many.back"
    place.bring("export", layout, place.table, "-t", "many", back, "--order-by", "ID", "--replace")
    assert back.read_bytes() == records.read_bytes(), "the records came back as others"
    place.bring("verify", layout, place.table, "-t", "many", "--order-by", "ID", records)
    print(f"{type(place).__name__}: {ROWS} rows")


def kinds_records():
    """Every type at its bounds; nulls; texts that are empty, outside the BMP, and longer than a driver's buffers."""
    titles = [None, "", "Gr\u00fc\u00dfe", "\U0001d11e clef \U0001d11e", "\u6f22\u5b57", "quote ' \" ;", "back\\n"]
    bigs = [0, 1, -1, 10**38 - 1, 1 - 10**38, 12345678901234567890123456789012345678]
    wholes = [0, 10**18 - 1, 1 - 10**18, 2**53 + 1]
    # Hexadecimal floats: 0, 1, -0.1 and one whose last bit counts.
    floats = ["0000000000000000", "4110000000000000", "C01999999999999A", "4110000000000001"]
    days = ["00000000", "00010101", "20240229", "99991231"]
    moments = ["", "0001-01-01 00:00:00", "2024-02-29 23:59:59"]
    longs = ["", "x", "\u00e4" * 4000, "y" * 5000, "end"]
    for k in range(840):
        title = titles[k % len(titles)]
        wide = bytes(24) if title is None else title.encode("utf-16-be")
        yield (k.to_bytes(2, "big") + wide + b"\0 " * ((24 - len(wide)) // 2) + packed(bigs[k % len(bigs)], 38) +
               wholes[k % len(wholes)].to_bytes(8, "big", signed=True) + bytes.fromhex(floats[k % len(floats)]) +
               days[k % len(days)].encode("cp037") + moments[k % len(moments)].ljust(19).encode("cp037") +
               longs[k % len(longs)].ljust(5000).encode("cp037"))


def check_kinds(place, layout):
    records = place.folder / "kinds.dat"
    records.write_bytes(b"".join(kinds_records()))
    place.bring("import", layout, records, place.table, "-t", "kinds", "--create")
    expected = place.csv_of(layout, records)[1:]
    found = place.rows("kinds", '"ID"')
    for one, other in zip(expected, found, strict=True):
        one[4], other[4] = float(one[4]), float(other[4])
        assert one == other, f"{one}\n{other}"
    back = place.folder / "kinds.back"
    place.bring("export", layout, place.table, "-t", "kinds", back, "--order-by", "id", "--replace")
    assert back.read_bytes() == records.read_bytes(), "the records came back as others"
    place.bring("verify", layout, place.table, "-t", "kinds", "--order-by", "ID", records)


def check_refusals(place, layout):
    """Rows that the table refuses are named, the others stand; without --on-reject skip nothing changes."""
    place.sql(PICKY)
    records = [bytearray(record) for record in many_records(1000)]
    for k in (0, 500, 999):
        records[k][-2:] = (77).to_bytes(2, "big")  # the check
    records[300][:4] = records[299][:4]  # the key
    (place.folder / "picky.dat").write_bytes(b"".join(records))
    rejects = place.folder / "picky.rejects"
    place.sql("INSERT INTO picky VALUES (123456, 'old', 1, 1)")
    told = ("import", layout, place.folder / "picky.dat", place.table, "-t", "picky", "-r", rejects, "--replace")
    said = place.bring(*told, "--on-reject", "stop", status=2)
    assert "stopped at a refusal" in said
    assert [row[:2] for row in place.rows("picky", "1")] == [["123456", "old"]], "a stopped run changed the table"
    place.bring(*told, status=1)
    named = rows_of(rejects.read_text(encoding="utf-8"))[1:]
    bad = {1, 78, 301, 501, 1000}
    assert {int(row[0]) for row in named} == bad, named[:8]
    for row in named:
        assert row[4] == "RX_TABLE" and ("check" in row[5].lower() or "unique" in row[5].lower()), row
    assert [int(row[0]) for row in place.rows("picky", "1")] == [k for k in range(1000) if k + 1 not in bad]
    assert "holds rows already" in place.bring("import", layout, place.folder / "picky.dat", place.table, "-t", "picky",
                                               status=2)


def check_exactness(place, layout):
    """What a server would round or cut without a word is refused by name."""
    place.sql("""CREATE TABLE narrow ("ID" integer, name varchar(20), balance numeric(10,1), visits integer)""")
    (place.folder / "narrow.dat").write_bytes(b"".join(many_records(100)))
    rejects = place.folder / "narrow.rejects"
    place.bring("import", layout, place.folder / "narrow.dat", place.table, "-t", "narrow", "-r", rejects, status=1)
    named = rows_of(rejects.read_text(encoding="utf-8"))[1:]
    expected = [k + 1 for k in range(100) if (k * 104729 - 10**10) % 10 != 0]
    assert [int(row[0]) for row in named] == expected, named[:3]
    assert {(row[1], row[4]) for row in named} == {("BALANCE", "ZVRT_RC_FRACTION_LOST")}, named[0]


def check_wrong(place, layout):
    """What cannot be used is said, with status 2."""
    records = place.folder / "many.dat"
    place.sql("""CREATE TABLE wrong ("ID" integer, name varchar(20), visits integer)""")
    for table, name, said in ((place.table, "nowhere", "nowhere"), (place.table, "wrong", "has no column 'BALANCE'"),
                              (f"odbc:Driver=/nowhere.so;Pwd={{s3cret;}}}}x}}", "t", "no connection"),
                              ("odbc:s3cret;}x", "t", "no connection"), (place.table, "", "--table is needed")):
        for verb in ("import", "export"):
            files = (records, table) if verb == "import" else (table, place.folder / "never.dat")
            made = place.bring(verb, layout, *files, *(("-t", name) if name else ()), status=2)
            assert said in made, made
    assert not (place.folder / "never.dat").exists()


def kill_while_written(server, table):
    lock = f"SELECT count(*) FROM pg_locks WHERE relation = '{table}'::regclass AND mode = 'RowExclusiveLock'"
    while server.sql(lock) == ["0"]:
        time.sleep(0.05)
    time.sleep(0.3)
    server.kill()


def check_lost_server(place, layout):
    """A server that goes away in the middle leaves the table as it was."""
    place.sql('CREATE TABLE lost AS SELECT * FROM many LIMIT 7')
    records = place.folder / "longer.dat"
    records.write_bytes((place.folder / "many.dat").read_bytes() * (3_000_000 // ROWS + 1))
    killer = threading.Thread(target=kill_while_written, args=(place.server, "lost"), daemon=True)
    killer.start()
    endless = place.folder / "endless"
    said = run("import", "-l", layout, records, place.table, "-t", "lost", "--replace", "-r", endless, status=2)
    killer.join(60)
    assert not killer.is_alive(), said
    assert "server" in said or "connection" in said or "terminating" in said, said
    place.server.start()
    assert place.server.sql("SELECT count(*) FROM lost") == ["7"], "something was half done"


def check_document(place):
    """The commands of the guide, as they stand there."""
    people = """       01  PERSON.
           05  NAME        PIC X(6).
           05  BALANCE     PIC S9(5)V99 COMP-3.
           05  VISITS      PIC 9(4) COMP.
"""
    (place.folder / "people.cpy").write_text(people, encoding="utf-8")
    (place.folder / "people.dat").write_bytes(b"\xc1\x95\x95\x81@@\0\1\x25\x0c\0\3\xc2\x85\x95@@@\0\0\x70\x0d\0\0")
    guide = (pathlib.Path(__file__).resolve().parents[2] / "docs/records.md").read_text(encoding="utf-8")
    block = guide.partition("tests/clients/odbc_tables.py runs these commands -->")[2].partition("```console\n")[2].partition("```")[0]
    commands = [line[2:] for line in block.splitlines() if line.startswith("$ ")]
    assert len(commands) == 3, block
    path = f"{pathlib.Path(COMMAND).resolve().parent}:{os.environ['PATH']}"
    subprocess.run(["sh", "-e", "-c", "\n".join(commands)], check=True, cwd=place.folder, env={**os.environ, "PATH": path})


def main():
    server = Server()
    postgres = drivers("psqlodbcw.so")
    sqlite = drivers("libsqlite3odbc.so")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        layouts = []
        for layout, text in (("many", MANY), ("kinds", KINDS)):
            layouts.append(folder / f"{layout}.cpy")
            layouts[-1].write_text(text, encoding="utf-8")
        many, kinds = layouts
        if sqlite:
            place = Sqlite(folder, sqlite)
            check_many(place, many)
            check_kinds(place, kinds)
            check_refusals(place, many)
            check_wrong(place, many)
            check_document(place)
        if postgres and server.is_there():
            with server:
                place = Postgres(folder, server, postgres)
                check_many(place, many)
                check_kinds(place, kinds)
                check_refusals(place, many)
                check_exactness(place, many)
                check_wrong(place, many)
                check_lost_server(place, many)
        elif not sqlite:
            print("no driver and no server")
            sys.exit(77)


if __name__ == "__main__":
    main()

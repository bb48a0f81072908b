#!/usr/bin/env python3
"""Rows a second of zvrt-records over ODBC beside a bare loop: odbc_rates.py COMMAND LOOP [ROWS] >docs/figures/odbc.csv

Each is run in turn, five times; the best of each counts. COMMAND's time is that of its whole run, from a record file or
into one.
"""
import pathlib
import subprocess
import sys
import tempfile
import time

from odbc_tables import MANY, drivers, many_records
from postgres import Server

COMMAND, LOOP = sys.argv[1:3]
ROWS = int(sys.argv[3]) // 128000 * 128000 if len(sys.argv) > 3 else 512_000


def measure(name, connection, folder):
    layout, records, back = folder / "many.cpy", folder / "many.dat", folder / "back"
    ours = {"write": ("import", "-l", layout, records, f"odbc:{connection}", "-t", "many", "--replace"),
            "read": ("export", "-l", layout, f"odbc:{connection}", "-t", "many", back, "--replace")}
    subprocess.run([COMMAND, "import", "-l", layout, records, f"odbc:{connection}", "-t", "many", "--create"],
                   check=True, stdout=subprocess.DEVNULL)
    best = {}
    for _ in range(5):
        for way in ("write", "read", "array"):
            if way in ours:
                start = time.monotonic()
                subprocess.run([COMMAND, *ours[way]], check=True, stdout=subprocess.DEVNULL)
                rate = ROWS / (time.monotonic() - start)
                best[way, "zvrt-records"] = max(best.get((way, "zvrt-records"), 0), rate)
            made = subprocess.run([LOOP, way, connection, "many", str(ROWS)], check=True, capture_output=True, text=True)
            best[way, "loop"] = max(best.get((way, "loop"), 0), float(made.stdout))
    for way in ("write", "read"):
        loop, own = best[way, "loop"], best[way, "zvrt-records"]
        array = f"{best['array', 'loop']:.0f}" if way == "write" else ""
        print(f"{name},{way},{ROWS},{own:.0f},{loop:.0f},{own / loop:.2f},{array}", flush=True)


def main():
    print("driver,way,rows,zvrt-records rows/s,bare loop rows/s,ratio,loop by parameter sets rows/s")
    with tempfile.TemporaryDirectory() as name, Server() as server:
        folder = pathlib.Path(name)
        (folder / "many.cpy").write_text(MANY, encoding="utf-8")
        (folder / "many.dat").write_bytes(b"".join(many_records(ROWS)))
        measure("psqlodbcw", f"Driver={drivers('psqlodbcw.so')};Servername={server.folder};Database=postgres;Uid=tester", folder)
        measure("libsqlite3odbc", f"Driver={drivers('libsqlite3odbc.so')};Database={folder}/many.db", folder)


if __name__ == "__main__":
    main()

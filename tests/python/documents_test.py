"""The Python programs of the documents print what the documents say.

Blocks marked `python` are run in order, in one interpreter a document; the block marked `text` after one is what it prints. A
comment <!-- check: file NAME --> before a block makes it a file.
"""
import contextlib
import csv
import io
import os
import re
import sys
import tempfile
import traceback
from pathlib import Path

try:
    import numpy
    import pandas
except ImportError as missing:
    print(missing)
    sys.exit(77)
import zvrt

SOURCE = Path(__file__).parents[2]
BLOCK = re.compile(r"(?:^<!-- check: (?P<words>.*?)-->\n)?^```(?P<kind>\w+)\n(?P<text>.*?)^```\n"
                   r"(?:```text\n(?P<printed>.*?)^```\n)?", re.M | re.S)


def strikes():
    """The record file of the demo, which README.md goes on with."""
    data = SOURCE / "examples/data"
    Path("strikes.cpy").write_bytes((data / "strikes.cpy").read_bytes())
    with open(data / "wildlife-strikes.csv", newline="") as file:
        rows = list(csv.DictReader(file))
    nullable = ("Cost Other", "Cost Repair", "Speed IAS in knots")
    zvrt.Layout.from_copybook("strikes.cpy").write(
        "strikes.dat", {name: [row[name] or (None if name in nullable else "") for row in rows] for name in rows[0]})


def run(name):
    text, names, programs, wrong = (SOURCE / name).read_text(), {}, 0, 0
    for block in BLOCK.finditer(text):
        words = (block["words"] or "").split()
        if words[:1] == ["file"]:
            Path(words[1]).write_text(block["text"])
        if block["kind"] != "python":
            continue
        programs += 1
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            try:
                exec(compile(block["text"], name, "exec"), names)
            except Exception:
                traceback.print_exc(file=printed)
        if printed.getvalue() != (block["printed"] or ""):
            wrong += 1
            line = text.count("\n", 0, block.start("text")) + 1
            print(f"{name}:{line}: this is printed:\n{printed.getvalue()}instead of\n{block['printed']}")
    print(f"{name}: {programs} programs, {wrong} of them wrong")
    return wrong or not programs


failed = False
for document in ("README.md", "docs/python.md"):
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        strikes()
        failed |= bool(run(document))
        os.chdir(SOURCE)
sys.exit(failed)

"""The installed Python package at work: a file is written and read, and all of it comes from the folders of Debian's."""
import os
import sys
import tempfile
from decimal import Decimal

import zvrt

assert zvrt.__file__ == "/usr/lib/python3/dist-packages/zvrt/__init__.py", zvrt.__file__
with open("/proc/self/maps", encoding="ascii") as maps:
    libraries = {line.split()[-1] for line in maps if "libZVRT" in line}
assert {os.path.basename(each).partition(".")[0] for each in libraries} >= {"libZVRTDataCnvLib", "libZVRTColumns"}, libraries
assert all(each.startswith(f"/usr/lib/{sys.implementation._multiarch}/") for each in libraries), libraries

layout = zvrt.Layout("       01 R.\n           05 NAME PIC X(6).\n           05 SUM PIC S9(5)V99 COMP-3.\n")
with tempfile.TemporaryDirectory() as folder:
    path = os.path.join(folder, "people.dat")
    written = layout.write(path, {"NAME": ["Änne", "Ben"], "SUM": ["12.5", "x"]}, code_page=273)
    assert (written.records, [each.name for each in written.rejects]) == (1, ["ZVRT_RC_INVALID_NUMBER"]), written
    [batch] = layout.read(path, code_page=273)
    assert [column.to_pylist() for column in batch.columns] == [["Änne"], [Decimal("12.50")]]
outcome = zvrt.Plan(zvrt.Type("packed", 2), zvrt.Type("int", 8)).run(bytes.fromhex("123C456D"))
assert memoryview(outcome.values).tolist() == [123, -456]

#!/usr/bin/env python3
"""Lists the exported functions that no benchmark calls: timed.py SOURCE. None may be left out but those that convert nothing.

A function of `...Out` is its sibling with another unit of the length, and timed with it.
"""

import pathlib
import re
import sys

CONVERT_NOTHING = {
    "ZVRTInitDataConversion", "ZVRTTermDataConversion", "VerifyCodePageInfo", "InitializeCharBufferWithSpaces", "ZVRTValidateDateTime",
    "ZVRTGetNextCodePosInSourceW",
}


def main():
    source = pathlib.Path(sys.argv[1])
    exported = set(re.findall(r"^    (\w+);", (source / "src/exports.map").read_text(), re.MULTILINE))
    calls = set()
    for path in (source / "bench").glob("*.cpp"):
        calls |= set(re.findall(r"\w+", re.sub(r"//.*|\"[^\"\n]*\"", "", path.read_text())))
    if len(exported) < 100 or not CONVERT_NOTHING <= exported:
        sys.exit("src/exports.map is not as expected")
    untimed = sorted(name for name in exported - CONVERT_NOTHING - calls if re.sub(r"Out$", "", name) not in calls)
    for name in untimed:
        print(name)
    print(f"{len(untimed)} of {len(exported)} exported functions are timed by no benchmark")
    sys.exit(1 if untimed else 0)


if __name__ == "__main__":
    main()

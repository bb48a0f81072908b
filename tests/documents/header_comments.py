#!/usr/bin/env python3
"""The comments of the public header fit its declarations: header_comments.py SOURCE

Each @param names a parameter of its function; a function with a prototype of its own describes all of its parameters or
leans on another function; every function has a comment and a line in the list of exported names; the count of those
that share one list of arguments is right, here and in the documents.
"""
import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(sys.argv[1], "docs/generator")))
sys.dont_write_bytecode = True
import header  # noqa: E402


def faults_of(function: header.Function):
    arguments = re.search(r"\((.*)\)", function.prototype)[1]
    names = [] if arguments == "void" else [re.search(r"(\w+)$", each)[1] for each in arguments.split(", ")]
    described = list(function.comment.params)
    if not function.comment.text:
        yield "has no comment"
    for name in described:
        if name not in names:
            yield f"describes {name}, which it does not have"
    undescribed = [name for name in names if name not in described]
    # A short comment names its arguments in the text.
    if undescribed and not function.is_conversion and (described or len(names) > 2):
        yield f"does not describe {', '.join(undescribed)}"


def main() -> int:
    source = pathlib.Path(sys.argv[1])
    functions = header.read(source / "include/ZVRTDataCnvLib.h").functions()
    faults = [f"{each.name} {fault}" for each in functions for fault in faults_of(each)]
    exported = set((source / "tests/abi/exported_names.txt").read_text().split())
    faults += [f"{name} is exported or declared, not both" for name in exported ^ {each.name for each in functions}]
    shared, all_of_them = sum(each.is_conversion for each in functions), len(functions)
    for name, count in {"include/ZVRTDataCnvLib.h": f"the {shared} conversions", "docs/guide.md": f"{shared} of the {all_of_them}",
                        "docs/man/ZVRTDataCnvLib.3": f"It has {all_of_them} functions", "README.md": f"{all_of_them} functions"}.items():
        if count not in (source / name).read_text():
            faults.append(f"{name} does not say '{count}'")
    print("\n".join(faults) or f"{len(functions)} functions")
    return 1 if faults else 0


sys.exit(main())

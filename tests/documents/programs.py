#!/usr/bin/env python3
"""The C programs of the documents do what the documents say: programs.py SOURCE LIBRARY_FOLDER [DOCUMENT...]

A block marked `c` that has a `main` is compiled against the built library, with warnings as errors, and run. The block
marked `text` that follows it is what it has to print.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

PROGRAM = re.compile(r"^```c\n(.*?)^```\n(?:```text\n(.*?)^```\n)?", re.MULTILINE | re.DOTALL)


def run(program: str, source: pathlib.Path, library: pathlib.Path, folder: str) -> str:
    file, binary = pathlib.Path(folder, "program.c"), pathlib.Path(folder, "program")
    file.write_text(program)
    compiler = os.environ.get("CC", "cc")
    built = subprocess.run(
        [compiler, "-std=c11", "-Wall", "-Wextra", "-Werror", f"-I{source}/include", file, f"-L{library}",
         "-lZVRTDataCnvLib", "-lZVRTColumns", f"-Wl,-rpath,{library}", "-o", binary], text=True, capture_output=True)
    if built.returncode != 0:
        return built.stderr
    done = subprocess.run([binary], text=True, capture_output=True, timeout=60)
    return done.stdout + (f"exit status {done.returncode}\n" if done.returncode else "")


def main() -> int:
    source, library = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    programs, wrong = 0, 0
    with tempfile.TemporaryDirectory() as folder:
        for name in sys.argv[3:]:
            text = (source / name).read_text()
            for match in PROGRAM.finditer(text):
                if "int main(" not in match[1]:
                    continue
                programs += 1
                place = f"{name}:{text.count(chr(10), 0, match.start()) + 1}"
                printed = run(match[1], source, library, folder)
                if match[2] is None or printed != match[2]:
                    wrong += 1
                    print(f"{place}: this is printed:\n{printed}\n{place}: and this is promised:\n{match[2]}")
    print(f"{programs} programs, {wrong} of them wrong")
    return 1 if wrong or programs == 0 else 0


sys.exit(main())

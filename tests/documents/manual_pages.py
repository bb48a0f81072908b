#!/usr/bin/env python3
"""The manual pages, those made from the headers and those of docs/man: manual_pages.py SOURCE

Each function has one, which names it and has a description that the index of manual pages can read; none of them makes
the formatter warn. That of zvrt-records explains its statuses. Exit status 77: there is no formatter.
"""
import gzip
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile


def faults_of(page: pathlib.Path):
    text = gzip.decompress(page.read_bytes()) if page.suffix == ".gz" else page.read_bytes()
    formatted = subprocess.run(["groff", "-t", "-man", "-Tutf8", "-Kutf8", "-ww", "-rLL=80n"], input=text,
                               capture_output=True)
    if formatted.stderr:
        yield formatted.stderr.decode().splitlines()[0]
    if b".SH SYNOPSIS" not in text:
        yield "no synopsis"
    if shutil.which("lexgrog"):
        indexed = subprocess.run(["lexgrog", page], capture_output=True, text=True).stdout
        name = page.name.split(".")[0]
        if f'"{name} - ' not in indexed:
            yield f"the index reads: {indexed.strip()}"


def main() -> int:
    source = pathlib.Path(sys.argv[1])
    if shutil.which("groff") is None:
        print("skipped: groff is missing")
        return 77
    faults = []
    with tempfile.TemporaryDirectory() as folder:
        for public in sorted(source.glob("include/*.h")):
            subprocess.run([sys.executable, "-B", source / "docs/generator/man_pages.py", public, folder, "1.2.3"], check=True)
        explained = (source / "docs/man/zvrt-records.1").read_text()
        statuses = re.findall(r'"(RX_\w+)", "([^"]*)"', (source / "records/codec/status.cpp").read_text())
        faults += [f"zvrt-records.1: {name} is not explained as in the rejects" for name, text in statuses
                   if f"\n{name}|T{{\n{text}\nT}}\n" not in explained]
        if not statuses:
            faults.append("no status of zvrt-records was found")
        made = set(pathlib.Path(folder).glob("*.3.gz"))
        exported = set((source / "tests/abi/exported_names.txt").read_text().split())
        if lacking := exported - {page.name.removesuffix(".3.gz") for page in made}:
            faults.append(f"no page for {', '.join(sorted(lacking))}")
        for page in sorted(made | set(source.glob("docs/man/*.[0-9]"))):
            faults += [f"{page.name}: {fault}" for fault in faults_of(page)]
    print("\n".join(faults) or f"{len(made)} pages of functions")
    return 1 if faults else 0


sys.exit(main())

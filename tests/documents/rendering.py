#!/usr/bin/env python3
"""The headers and documents as doxygen renders them: rendering.py SOURCE

A row that a line break or a missing bar has destroyed is not refused by doxygen: it becomes a paragraph with bars in it,
and the table ends before it or has fewer rows than its source. So this asks of doxygen's XML: each row has as many cells
as its table has columns, no bar stands in running text, each file has as many rows as its source, and what the source
quotes as `code` is shown as it is there (a percent sign was once dropped).
Exit status 77: doxygen is not there.
"""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as xml

VERBATIM = {"programlisting", "verbatim", "preformatted", "computeroutput", "formula", "definition", "argsstring",
            "initializer", "type"}


def render(source: pathlib.Path, output: str) -> None:
    settings = (source / "docs/Doxyfile").read_text()
    settings += f"\nOUTPUT_DIRECTORY={output}\nGENERATE_HTML=NO\nGENERATE_XML=YES\nWARN_AS_ERROR=NO\nWARNINGS=NO\n"
    subprocess.run(["doxygen", "-"], input=settings, text=True, cwd=source, check=True, stderr=subprocess.DEVNULL)


def running_text(node: xml.Element):
    """Text that is neither code nor quoted."""
    if node.tag in VERBATIM:
        return
    yield node.text or ""
    for child in node:
        yield from running_text(child)
        yield child.tail or ""


def location(node: xml.Element) -> str:
    place = node.find("location")
    return "" if place is None else place.get("file", "")


def faults_of(root: xml.Element, name: str):
    for table in root.iter("table"):
        rows = table.findall("row")
        for number, row in enumerate(rows, 1):
            cells = len(row.findall("entry"))
            if cells != int(table.get("cols")):
                yield f"{name}: row {number} of a table of {table.get('cols')} columns has {cells} cells"
    for text in running_text(root):
        if "|" in text:
            yield f"{name}: a bar in running text, so a row that was not taken for one: {' '.join(text.split())[:100]}"


def quoted_code(path: pathlib.Path):
    """What stands between backticks on one line, outside fenced code."""
    text = re.sub(r"^```.*?^```", "", path.read_text(), flags=re.MULTILINE | re.DOTALL)
    text = re.sub(r"\[`[^`]*`\]\([^)]*\)", "", text)  # the text of a link
    if path.suffix == ".h":
        text = "\n".join(re.findall(r"/\*\*.*?\*/", text, re.DOTALL))
    return re.findall(r"(?<!`)`([^`\n]+)`(?!`)", text)


def rows_in_source(path: pathlib.Path) -> int:
    """Rows of tables, the line below a heading not counted, outside fenced and indented code."""
    rows, fenced = 0, False
    for line in path.read_text().splitlines():
        if line.lstrip().startswith("```"):
            fenced = not fenced
        bare = re.sub(r"^ \* ?", "", line) if path.suffix == ".h" else line
        if not fenced and bare.startswith("|") and not re.fullmatch(r"[|: -]+", bare):
            rows += 1
    return rows


def main() -> int:
    source = pathlib.Path(sys.argv[1]).resolve()
    if shutil.which("doxygen") is None:
        print("skipped: doxygen is missing")
        return 77
    faults, rendered, code = [], {}, {}
    with tempfile.TemporaryDirectory() as output:
        render(source, output)
        for page in sorted(pathlib.Path(output, "xml").glob("*.xml")):
            root = xml.parse(page).getroot()
            for compound in root.iter("compounddef"):
                file = location(compound)
                faults += faults_of(compound, file or page.name)
                rendered[file] = rendered.get(file, 0) + len(list(compound.iter("row")))
                code.setdefault(file, set()).update(" ".join("".join(each.itertext()).split())
                                                    for each in compound.iter("computeroutput"))
    tables = 0
    for path in sorted([*source.glob("include/*.h"), *source.glob("docs/*.md"), source / "README.md"]):
        written = rows_in_source(path)
        shown = sum(rows for file, rows in rendered.items() if pathlib.Path(source, file) == path)
        tables += written
        if written != shown:
            faults.append(f"{path.relative_to(source)}: {written} rows of tables are written, {shown} are rendered")
        shown = set().union(*(spans for file, spans in code.items() if pathlib.Path(source, file) == path))
        for span in quoted_code(path):
            if " ".join(span.split()) not in shown:
                faults.append(f"{path.relative_to(source)}: `{span}` is not rendered as it is written")
    if tables == 0:
        faults.append("no table was found")
    print("\n".join(faults) or f"{tables} rows of tables, all of them rendered")
    return 1 if faults else 0


sys.exit(main())

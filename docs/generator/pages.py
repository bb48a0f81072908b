#!/usr/bin/env python3
"""What the documents take from the header: pages.py SOURCE [--check]

Writes docs/functions.md, and in docs/statuses.md the table of statuses and each line that begins with "Given by:". The
statuses of each function come from statuses.csv, which a test holds to what the functions return. With --check it
writes nothing and fails where a page is not what it would write.
"""
import csv
import pathlib
import re
import sys

import header
import phrases

FUNCTIONS = """# From what you have to what you want

Every function of `libZVRTDataCnvLib`, by what it starts from, with the statuses that it returns besides 0. `platform` is a
status of a platform library; [statuses.md](statuses.md) explains them all. This page is made from the header by
`docs/generator/pages.py`.

Narrow text is UTF-8 or, by the field descriptor, text in another code page. Wide text is UTF-32. Two calls lead from any text to
any other: first to wide text, terminated, then from it. [guide.md](guide.md) explains the kinds, `man` each function.
"""


def statuses_by_function() -> dict[str, list[str]]:
    with open(pathlib.Path(__file__).parent / "statuses.csv") as file:
        return {row["function"]: [each for each in row["statuses"].split() if each != "0"] for row in csv.DictReader(file)}


def functions_page(of: header.Header, given: dict[str, list[str]]) -> str:
    text = FUNCTIONS
    for section in of.sections:
        if not section.functions:
            continue
        text += f"\n## {section.title}\n\n| I have | I want | Function | Statuses |\n|---|---|---|---|\n"
        for function in section.functions:
            have, want = phrases.have_and_want(function)
            text += f"| {have} | {want} | `{function.name}` | {' '.join(given[function.name]) or 'none'} |\n"
    return text


def givers(of: header.Header, given: dict[str, list[str]], word: str) -> str:
    """The functions that give a status: by section where most of it does."""
    parts = []
    for section in of.sections:
        names = [each.name for each in section.functions]
        giving = [name for name in names if word in given[name]]
        others = [name for name in names if name not in giving]
        if not giving:
            continue
        if not others:
            parts.append(f"all of *{section.title}*")
        elif len(others) * 3 < len(names):
            parts.append(f"all of *{section.title}* but " + ", ".join(f"`{name}`" for name in others))
        else:
            parts.append(", ".join(f"`{name}`" for name in giving))
    return "Given by: " + ("; ".join(parts) if parts else "all functions with a status") + "."


def statuses_page(of: header.Header, given: dict[str, list[str]], page: str) -> str:
    rows = "".join(f"| {'-1' if each.number == 0xFFFFFFFF else each.number} | `{each.name}` | {each.meaning} |\n"
                   for each in of.statuses)
    table = f"| Number | Name | Meaning |\n|---|---|---|\n{rows}"
    page = re.sub(r"(?m)^\| Number \| Name \|.*\n(?:\|.*\n)*", lambda _: table, page, count=1)
    for each in of.statuses:
        word = "-1" if each.number == 0xFFFFFFFF else str(each.number)
        section = re.compile(rf"(?m)(^## {re.escape(word)}, `{each.name}`\n(?:(?!## ).*\n)*?)Given by:.*$")
        page, found = section.subn(lambda match: match[1] + givers(of, given, word), page)
        if found != 1 and each.number != 0:
            raise SystemExit(f"docs/statuses.md has no section '## {word}, `{each.name}`' with a line 'Given by:'")
    section = re.compile(r"(?m)(^## 20000 and above.*\n(?:(?!## ).*\n)*?)Given by:.*$")
    return section.sub(lambda match: match[1] + givers(of, given, "platform"), page)


def unnamed_statuses(source: pathlib.Path, page: str) -> list[str]:
    """Statuses of the other two headers that the page does not list with their number."""
    platform, columns = ((source / f"include/{name}.h").read_text() for name in ("ZVRTPlatformStatus", "ZVRTColumns"))
    defined = re.findall(r"#define (ZVRT_\w+_RC_\w+) (\d+)u", platform)
    defined += re.findall(r"#define (ZVRT_RC_\w+)[\s\\]+UINT32_C\((\d+)\)", columns)
    return [name for name, number in defined if not re.search(rf"(?m)^\| {number}\b[^|]*\| `{name}` \|", page)]


def main() -> int:
    source = pathlib.Path(sys.argv[1])
    of, given = header.read(source / "include/ZVRTDataCnvLib.h"), statuses_by_function()
    if missing := [each.name for each in of.functions() if each.name not in given]:
        print(f"statuses.csv does not have {', '.join(missing)}: build the target record_interface")
        return 1
    functions, statuses = source / "docs/functions.md", source / "docs/statuses.md"
    if unnamed := unnamed_statuses(source, statuses.read_text()):
        print(f"{statuses} does not list {', '.join(unnamed)}")
        return 1
    wanted = {functions: functions_page(of, given), statuses: statuses_page(of, given, statuses.read_text())}
    outdated = [path for path, text in wanted.items() if not path.exists() or path.read_text() != text]
    for path in outdated:
        if "--check" in sys.argv:
            print(f"{path} is out of date: build the target record_interface")
        else:
            path.write_text(wanted[path])
    return 1 if outdated and "--check" in sys.argv else 0


sys.exit(main())

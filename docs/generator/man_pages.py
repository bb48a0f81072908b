#!/usr/bin/env python3
"""A manual page for each function of a public header: man_pages.py HEADER FOLDER VERSION

Writes FOLDER/<function>.3.gz. The library has the name of its header. A page holds the function's own comment, the text of its section, its statuses and, for the
conversions with the shared list of arguments, the description of that list. What is written depends on the header, on
statuses.csv and on the version only, so that two builds make the same bytes.
"""
import csv
import gzip
import pathlib
import re
import sys

import header
import phrases

OVERVIEWS = pathlib.Path(__file__).resolve().parent.parent / "man"


def escaped(text: str) -> str:
    """Text that troff prints as it is."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text.startswith((".", "'")) else text


def inline(text: str) -> str:
    """`Code`, statuses and functions in bold, arguments as they are."""
    parts = []
    for piece in re.split(r"(`[^`]*`)", text):
        if piece.startswith("`") and piece.endswith("`") and len(piece) > 1:
            parts.append(f"\\fB{escaped(piece[1:-1])}\\fP")
        else:
            parts.append(re.sub(r"\b(ZVRT_(?:RC|DT)_\w+|(?:ZVRT|Convert|Trim|Float|Verify|Initialize)\w*(?=\(\)))",
                                r"\\fB\1\\fP", escaped(piece)))
    line = "".join(parts)
    return "\\&" + line if line.startswith((".", "'")) else line


def table(rows: list[str]) -> list[str]:
    cells = [[cell.strip() for cell in re.split(r"(?<!\\)\|", row)[1:-1]] for row in rows]
    heading, body = cells[0], cells[2:]
    columns = " ".join(["lx"] * len(heading))
    lines = [".TS", "allbox;", " ".join(["lb"] * len(heading)), columns + "."]
    lines.append("\t".join(inline(cell) for cell in heading))
    for row in body:
        lines.append("\t".join(f"T{{\n{inline(cell)}\nT}}" for cell in row))
    return [*lines, ".TE"]


def blocks(text: str) -> list[str]:
    lines, rows = [], []
    for line in [*text.splitlines(), ""]:
        if line.startswith("|"):
            rows.append(line)
            continue
        if rows:
            lines += table(rows)
            rows = []
        if line.startswith("- "):
            lines += [".IP \\(bu 2", inline(line[2:])]
        elif line == "":
            lines.append(".PP")
        else:
            lines.append(inline(line))
    return lines


def compact(lines: list[str]) -> list[str]:
    """No paragraph mark beside another, before a heading or at an end."""
    kept: list[str] = []
    for line in lines:
        if kept and kept[-1] == ".PP" and (line == ".PP" or line.startswith(".SH") or line.startswith(".SS")):
            kept.pop()
        if line == ".PP" and (not kept or kept[-1].startswith((".SH", ".SS"))):
            continue
        kept.append(line)
    return kept[:-1] if kept and kept[-1] == ".PP" else kept


def synopsis(prototype: str) -> list[str]:
    lead, arguments = re.fullmatch(r"(.*?\()(.*)\)", prototype).groups()
    words = []
    for argument in arguments.split(", "):
        match = re.fullmatch(r"(.*?)(\w+)", argument)
        words.append(f'"{match[1]}" {match[2]}' if match and argument != "void" else f'"{argument}"')
    separator = ' ", " '
    rows = [separator.join(words[i : i + 3]) for i in range(0, len(words), 3)]
    lines = [f'.BI "{lead}" {rows[0]}']
    for row in rows[1:]:
        lines[-1] += ' ","'
        lines.append(f'.BI "    " {row}')
    lines[-1] += ' ");"'
    return lines


def arguments_of(params: dict[str, str]) -> list[str]:
    lines = []
    for name, text in params.items():
        lines += [".TP", f".I {name}", inline(text)]
    return lines


def model_of(function: header.Function, by_name: dict[str, header.Function]) -> header.Function | None:
    """The function that a comment such as "As ZVRTCnvDecPackedToWVarcharSz(), in narrow text." leans on."""
    match = re.search(r"\b[Aa]s (?:by )?(\w+)\(\)", function.comment.text)
    model = by_name.get(match[1]) if match else None
    return model if model is not function else None


def summary(function: header.Function) -> tuple[str, list[str]]:
    """The line of the index, and how the description begins where the comment does not say what is converted."""
    try:
        have, want = phrases.have_and_want(function)
    except SystemExit:  # no words: the comment says it
        return re.split(r"(?<=\w)\.(?:\s|$)", " ".join(function.comment.text.split()))[0], []
    return f"from {have} to {want}".replace("`", ""), [f"From {inline(have)} to {inline(want)}.", ".PP"]


def parameters(of: header.Header, function: header.Function, model: header.Function | None) -> dict[str, str]:
    """The function's own words first, then its model's, then those of the shared list."""
    params = dict(of.conversion.comment.params) if function.is_conversion else {}
    if model:
        of_model = {name: text for name, text in model.comment.params.items()
                    if re.search(rf"\b{name}\b", function.prototype)}
        of_model.update({name: "See DESCRIPTION." for name in of_model if f"{name}:" in function.comment.text})
        params.update(of_model)
    params.update(function.comment.params)
    return params


def statuses(of: header.Header, given: list[str]) -> list[str]:
    lines = []
    for each in of.statuses:
        number = "-1" if each.number == 0xFFFFFFFF else str(each.number)
        if number in given:
            lines += [".TP", f".BR {each.name} \" ({escaped(number)})\"", inline(each.meaning)]
    if "platform" in given:
        lines += [".TP", "any other", "The status of a platform library."]
    return [".SH STATUSES", *lines] if lines else []


def page(of: header.Header, section: header.Section, function: header.Function, given: list[str], library: str,
         version: str) -> str:
    by_name = {each.name: each for each in of.functions()}
    brief, description = summary(function)
    model = model_of(function, by_name)
    params = parameters(of, function, model)
    returns = function.comment.returns or (model.comment.returns if model else "")

    lines = ["'\\\" t", f'.TH {function.name} 3 "" "{library} {version}" "{library} Manual"', ".ad l"]
    lines += [".SH NAME", f"{function.name} \\- {escaped(brief)}"]
    lines += [".SH LIBRARY", f"{library} (\\fIlib{library}\\fP, \\fI\\-l{library}\\fP)"]
    lines += [".SH SYNOPSIS", ".nf", f".B #include <{library}.h>", ".PP", *synopsis(function.prototype), ".fi"]
    lines += [".SH DESCRIPTION", *description, *blocks(function.comment.text)]
    if model and model.comment.text:
        lines += [f".SS {model.name}()", *blocks(model.comment.text)]
    if params:
        lines += [".SH ARGUMENTS", *arguments_of(params)]
    lines += [".SH RETURN VALUE"]
    if returns:
        lines += [inline(returns), ".PP"]
    elif function.is_conversion:
        lines += ["A status.", ".PP"]
    else:
        lines += ["See above.", ".PP"]
    lines += statuses(of, given)
    if section.text:
        lines += [f".SH CONVENTIONS: {section.title.upper()}", *blocks(section.text)]
    siblings = [each.name for each in section.functions if each is not function][:6]
    others = [name for name in re.findall(r"\b(\w+)\(\)", function.comment.text + returns) if name in by_name]
    names = sorted({*siblings, *others} - {function.name})
    if OVERVIEWS.joinpath(f"{library}.3").exists():
        names.insert(0, library)
    if names:
        lines += [".SH SEE ALSO", ",\n".join(f".BR {name} (3)" for name in names)]
    return "\n".join(compact(lines)) + "\n"


def main() -> int:
    source, folder, version = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
    of = header.read(source)
    with open(pathlib.Path(__file__).parent / "statuses.csv") as file:
        given = {row["function"]: row["statuses"].split() for row in csv.DictReader(file)}
    folder.mkdir(parents=True, exist_ok=True)
    for section in of.sections:
        for function in section.functions:
            with open(folder / f"{function.name}.3.gz", "wb") as file:
                with gzip.GzipFile(filename="", mode="wb", compresslevel=9, fileobj=file, mtime=0) as zipped:
                    zipped.write(page(of, section, function, given.get(function.name, []), source.stem, version).encode())
    return 0


sys.exit(main())

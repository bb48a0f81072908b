"""What the public header says, as data: its sections, its functions with their prototypes and comments, its statuses.

The header is written for two readers, a person and doxygen, and follows one form, which this relies on:

    /** @name Title            begins a section; what follows is the text that holds for all of its functions
     * Text. @{ */
    /** Text with @param and @return. */
    ZVRT_API ZVRTConversion Name;              a function with the shared list of six arguments
    ZVRT_API type Name(arguments);             any other function
    #define ZVRT_RC_NAME UINT32_C(n)  /**< Meaning. */
"""
import dataclasses
import pathlib
import re

COMMENT = r"/\*\*(?P<comment>(?:[^*]|\*(?!/))*)\*/"
ITEM = re.compile(
    COMMENT + r"\s*(?:(?P<type>typedef uint32_t ZVRTConversion\([^;]*\);)|ZVRT_API (?P<declaration>[^;]*);)?")
STATUS = re.compile(r"#define (?P<name>ZVRT_RC_\w+) UINT32_C\((?P<number>\w+)\)\s*/\*\*<\s*(?P<meaning>.*?)\s*\*/")


@dataclasses.dataclass
class Comment:
    text: str  # paragraphs, lists and tables, one line each where they were broken for width only
    params: dict[str, str]
    returns: str


@dataclasses.dataclass
class Function:
    name: str
    prototype: str
    is_conversion: bool  # has the shared list of arguments
    comment: Comment


@dataclasses.dataclass
class Section:
    title: str
    text: str
    functions: list[Function]


@dataclasses.dataclass
class Status:
    name: str
    number: int
    meaning: str


@dataclasses.dataclass
class Header:
    conversion: Function | None  # the shared list of arguments, where there is one
    sections: list[Section]
    statuses: list[Status]

    def functions(self):
        return [function for section in self.sections for function in section.functions]


def unfold(comment: str) -> str:
    """A comment's text without its margin, each paragraph and each list entry on one line, tables as they are."""
    lines = [re.sub(r"^\s*\* ?", "", line).rstrip() for line in comment.strip().splitlines()]
    joined: list[str] = []
    for line in lines:
        line = line.strip()
        begins = line == "" or line.startswith(("|", "@", "- "))
        continues = joined and joined[-1] != "" and not joined[-1].startswith("|")
        if not begins and continues:
            joined[-1] += " " + line
        else:
            joined.append(line)
    return "\n".join(joined).strip()


def parse_comment(raw: str) -> Comment:
    text, params, returns = [], {}, ""
    for line in unfold(re.sub(r"@[{}]", "", raw)).splitlines():
        if match := re.match(r"@param\s+(\w+)\s+(.*)", line):
            params[match[1]] = match[2]
        elif match := re.match(r"@return\s+(.*)", line):
            returns = match[1]
        elif not line.startswith("@"):
            text.append(line)
    return Comment("\n".join(text).strip(), params, returns)


def parse_function(declaration: str, raw_comment: str, shared: str) -> Function:
    words = " ".join(declaration.split())
    if words.startswith("ZVRTConversion "):
        name = words.removeprefix("ZVRTConversion ")
        return Function(name, f"uint32_t {name}({shared})", True, parse_comment(raw_comment))
    name = re.search(r"(\w+)\(", words)[1]
    return Function(name, words, False, parse_comment(raw_comment))


def read(path: pathlib.Path) -> Header:
    source = path.read_text()
    sections: list[Section] = [Section("", "", [])]
    conversion = None
    for match in ITEM.finditer(source):
        raw = match["comment"]
        if name := re.search(r"@name (.*)", raw):
            sections.append(Section(name[1].strip(), parse_comment(raw.replace(name[0], "")).text, []))
        if match["type"]:
            arguments = re.search(r"\((.*)\)", " ".join(match["type"].split()))[1]
            conversion = Function("ZVRTConversion", arguments, True, parse_comment(raw))
        elif match["declaration"]:
            sections[-1].functions.append(parse_function(match["declaration"], raw, conversion.prototype if conversion else ""))
    statuses = [Status(match["name"], int(match["number"], 0), match["meaning"]) for match in STATUS.finditer(source)]
    return Header(conversion, [each for each in sections if each.functions or each.title], statuses)

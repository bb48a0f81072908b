"""Totals and gaps of clang's coverage of src/: coverage_report.py FILE EXCLUSIONS

An exclusion is a line "path: text: reason"; it covers every line of the file that contains the text, and where that line
begins a block, the block. A branch counts once for each way out, however many instances of a template it has.
"""
import json
import sys
from collections import defaultdict


def name_of(path):
    return "src/" + path.partition("/src/")[2] if "/src/" in path else None


def covered_lines(segments):
    """Line -> reached: a line is reached by what begins on it, or else by what goes on across it."""
    lines = {}
    count, counts = 0, False
    previous = None
    for line, _, segment_count, has_count, is_entry, is_gap in segments:
        if previous is not None:
            for between in range(previous + 1, line):
                if counts:
                    lines[between] = count > 0
        if counts and line not in lines:
            lines[line] = count > 0
        if has_count and is_entry and not is_gap:
            lines[line] = lines.get(line, False) or segment_count > 0
        count, counts, previous = segment_count, has_count and not is_gap, line
    return lines


def read(path):
    with open(path) as text:
        data = json.load(text)["data"][0]
    lines = {name_of(file["filename"]): covered_lines(file["segments"]) for file in data["files"] if name_of(file["filename"])}
    branches = defaultdict(lambda: defaultdict(lambda: [0, 0]))
    for function in data["functions"]:
        for row in function["branches"]:
            name = name_of(function["filenames"][row[6]])
            if name:
                ways = branches[name][tuple(row[:4])]
                ways[0] += row[4]
                ways[1] += row[5]
    return lines, branches


def read_exclusions(path):
    with open(path) as rows:
        return [row.strip().split(": ", 2) for row in rows if row.strip() and not row.startswith("#")]


class Exclusions:
    def __init__(self, path, sources):
        self.rows = read_exclusions(path)
        self.used = set()
        self.sources = sources

    def lines_of(self, name, text):
        """The numbers of the lines that an exclusion covers."""
        lines = self.sources[name]
        for start, line in enumerate(lines):
            if text not in line:
                continue
            yield start + 1
            if line.endswith("{"):
                close = line[:len(line) - len(line.lstrip())] + "}"
                for inside in range(start + 1, len(lines)):
                    yield inside + 1
                    if lines[inside].startswith(close):
                        break

    def cover(self, name, line):
        for index, (path, text, _) in enumerate(self.rows):
            if path == name and line in self.lines_of(name, text):
                self.used.add(index)
                return True
        return False


def main(coverage, exclusions_path):
    lines, branches = read(coverage)
    sources = {name: open(name).read().split("\n") for name in lines}
    exclusions = Exclusions(exclusions_path, sources)
    reached = {"lines": 0, "branches": 0}
    all_of = {"lines": 0, "branches": 0}
    for name in sorted(lines):
        gaps = []
        for line, is_reached in sorted(lines[name].items()):
            if not is_reached and exclusions.cover(name, line):
                continue
            all_of["lines"] += 1
            reached["lines"] += is_reached
            if not is_reached:
                gaps.append((line, "not reached"))
        for place, ways in sorted(branches[name].items()):
            for count, gap in zip(ways, ("never true", "never false")):
                if count == 0 and exclusions.cover(name, place[0]):
                    continue
                all_of["branches"] += 1
                reached["branches"] += count > 0
                if count == 0 and lines[name].get(place[0], True):
                    gaps.append((place[0], gap))
        for line, gap in sorted(gaps):
            print(f"{name}:{line}: {gap}: {sources[name][line - 1].strip()}")
    for kind in reached:
        print(f"{kind}: {reached[kind]} of {all_of[kind]}, {100 * reached[kind] / all_of[kind]:.1f} %")
    for index, row in enumerate(exclusions.rows):
        print("excluded" if index in exclusions.used else "no longer needed", ": ".join(row), sep=": ")


main(*sys.argv[1:])

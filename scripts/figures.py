#!/usr/bin/env python3
"""What was measured, kept as files from which the documents' tables are made.

    SCRIPT | scripts/figures.py record NAME [LABEL]   takes a script's output into docs/figures/NAME.csv and shows it
    scripts/figures.py render [--check]               writes the tables of the documents; with --check compares them

NAME is bench-avx512, bench-avx2, bench-sse41, bench-baseline (scripts/bench.sh), columns-avx512 and its like
(scripts/bench.sh columns), instructions (scripts/instructions.sh), fuzz (scripts/fuzz.sh), records (scripts/bench-records.sh),
sweeps (scripts/sweeps.sh), coverage (scripts/coverage.sh), mutation (scripts/mutate.py; LABEL tells the sample) or python
(bench/python.py). New rows take the place of those with the same key; of an operation of the benchmarks all rows go. A
document has a table between `<!-- figures: NAME -->` and `<!-- end of figures -->`.
"""
import csv
import pathlib
import re
import statistics
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LEVELS = {"avx512": "AVX-512", "avx2": "AVX2", "sse41": "SSE4.1", "baseline": "SSE2"}

# Of each file: its columns, how many of them are the key, and the line of output that is a row.
BENCH = (("operation", "values", "ours_ns", "peer", "peer_ns", "ratio", "at_most"), 1,
         r"\| ([^|]+) \| ([^|]+) \| ([\d.]+) \| ([^|]+) \| ([\d.]+) \| ([\d.]+) \| ([\d.]+|-) \| [^|]*\|")
COLUMNS = (("conversion", "values", "single_ns", "plan_ns", "gain", "blocks", "runs_of_32", "at_least"), 2,
           r"\| ([^|]+) \| ([^|]+) \|" + r" ([\d.]+) \|" * 6 + r" [^|]*\|")
# What the overview has of the columns.
HOT = ("packed to int64", "packed to double", "UTF-8 to int64", "page 37 to UTF-8", "UTF-8 to page 37, padded", "page 37 to wide",
       "timestamp to UTF-8", "timestamp to wide", "UTF-8 to timestamp")
FILES = {
    "instructions": (("function", "value", "instructions"), 2, r"\| (\w+) \| ([^|]+) \| (\d+) \|"),
    "fuzz": (("configuration", "target", "executions", "outcome"), 2, r"(fuzz\S*) +(\S+) +(\d+) executions, .*: (.*)"),
    "records": (("conversion", "megabytes", "seconds", "rate"), 1, r"\| ([^|]+) \| (\d+) \| ([\d.]+) \| (\d+) \|"),
    "sweeps": (("domain", "cases", "failures"), 1, r"(\w+)(?:, part \d+:)? +(\d+) cases, (\d+) failures.*"),
    "coverage": (("kind", "reached", "all"), 1, r"(\w+): (\d+) of (\d+), .*"),
    "mutation": (("sample", "killed", "mutants"), 1, r"(?P<label>)(\d+) of (\d+) killed, .*"),
    "python": (("measure", "ours", "unit", "peer", "peers", "ratio"), 1,
               r"\| ([^|]+) \| ([\d.e+-]+) \| ([^|]+) \| ([^|]+) \| ([\d.e+-]+) \| ([\d.]+) \|"),
} | {f"bench-{level}": BENCH for level in LEVELS} | {f"columns-{level}": COLUMNS for level in LEVELS}


def read(name: str) -> list[dict[str, str]]:
    path = ROOT / f"docs/figures/{name}.csv"
    if not path.exists():
        return []
    with open(path, newline="") as file:
        return list(csv.DictReader(file))


def added_up(rows: list[dict[str, str]], key) -> list[dict[str, str]]:
    """The parts of a sweep, the runs of a fuzzer as one row. Rows of the benchmarks stay apart."""
    sums: list[dict[str, str]] = []
    for row in rows:
        same = [each for each in sums if key(each) == key(row) and "ratio" not in row]
        for column in ("cases", "failures", "executions"):
            if same and column in row:
                same[0][column] = str(int(same[0][column]) + int(row[column]))
        if not same:
            sums.append(row)
    return sums


def record(name: str, label: str) -> int:
    columns, key_length, pattern = FILES[name]
    found = []
    for line in sys.stdin:
        print(line, end="")
        if match := re.fullmatch(pattern, line.strip()):
            values = [label if group == "" else group for group in match.groups()]
            found.append(dict(zip(columns, values)))
    if not found:
        print(f"figures.py: no row of {name} was found", file=sys.stderr)
        return 1
    key = lambda row: [row[column] for column in columns[:key_length]]
    replaced = [key(row) for row in found]
    rows = [row for row in read(name) if key(row) not in replaced] + added_up(found, key)
    (ROOT / "docs/figures").mkdir(exist_ok=True)
    with open(ROOT / f"docs/figures/{name}.csv", "w", newline="") as file:
        writer = csv.DictWriter(file, columns, lineterminator="\n")
        writer.writeheader()
        writer.writerows(rows)
    return 0


def summary(rows: list[dict[str, str]]) -> str:
    """Geometric mean and worst ratio of an operation, and how many of its rows miss the figure that it is held to."""
    if not rows:
        return ""
    ratios = [float(row["ours_ns"]) / float(row["peer_ns"]) if row["ours_ns"] else float(row["ratio"]) for row in rows]
    missed = sum(row["at_most"] != "-" and ratio > float(row["at_most"]) for row, ratio in zip(rows, ratios))
    return f"{statistics.geometric_mean(ratios):.2f}, {max(ratios):.2f}" + (f", {missed} of {len(rows)} miss" if missed else "")


def bench_table() -> str:
    """Every operation, those with rows that miss their figure first."""
    levels = {level: read(f"bench-{level}") for level in LEVELS}
    levels = {level: rows for level, rows in levels.items() if rows}
    operations = list(dict.fromkeys((row["operation"], row["at_most"]) for rows in levels.values() for row in rows))
    text = "| Operation | At most |" + "".join(f" {LEVELS[level]} |" for level in levels) + "\n"
    text += "|---|---:|" + "---|" * len(levels) + "\n"
    lines = []
    for operation, at_most in operations:
        cells = [summary([row for row in rows if row["operation"] == operation]) for rows in levels.values()]
        lines.append(f"| {operation} | {at_most} | " + " | ".join(cells) + " |\n")
    return text + "".join(sorted(lines, key=lambda line: " miss" not in line))


def gain_cell(rows: list[dict[str, str]], conversion: str) -> str:
    gains = [float(row["gain"]) for row in rows if row["conversion"] == conversion]
    return f"{statistics.median(gains):.1f}" if gains else ""


def columns_table() -> str:
    """Every set of the columns, those below their figure first."""
    levels = {level: read(f"columns-{level}") for level in LEVELS}
    missed = lambda row: float(row["gain"]) < float(row["at_least"])
    text = ""
    for level, rows in levels.items():
        if not rows:
            continue
        text += f"With the kernels for {LEVELS[level]}:\n\n"
        text += "| Conversion | Values | single calls, ns | plan, ns | gain | in runs of 32 | by blocks | at least |\n"
        text += "|---|---|---:|---:|---:|---:|---:|---:|\n"
        for row in sorted(rows, key=missed, reverse=True):
            text += (f"| {row['conversion']} | {row['values']} | {float(row['single_ns']):.1f} | {float(row['plan_ns']):.1f} | {row['gain']} | "
                     f"{row['runs_of_32']} | {row['blocks']} | {row['at_least']}{', missed' if missed(row) else ''} |\n")
        text += "\n"
    return text.rstrip("\n") + "\n"


def gains_table() -> str:
    levels = {level: rows for level in LEVELS if (rows := read(f"columns-{level}"))}
    text = "| Column |" + "".join(f" gain, {LEVELS[level]} |" for level in levels) + "\n|---|" + "---:|" * len(levels) + "\n"
    for conversion in HOT:
        text += f"| {conversion} | " + " | ".join(gain_cell(rows, conversion) for rows in levels.values()) + " |\n"
    return text


def robustness_table() -> str:
    number = lambda value: f"{int(value):,}"
    text = "| Run | Extent | Outcome |\n|---|---|---|\n"
    fuzz, sweeps, coverage, mutation = read("fuzz"), read("sweeps"), read("coverage"), read("mutation")
    outcomes = ", ".join(sorted({row["outcome"] for row in fuzz}))
    text += (f"| fuzzers | {len({row['target'] for row in fuzz})} targets, "
             f"{number(sum(int(row['executions']) for row in fuzz))} executions | {outcomes} |\n")
    for row in sweeps:
        text += f"| sweep: {row['domain']} | {number(row['cases'])} cases | {row['failures']} failures |\n"
    for row in coverage:
        text += f"| coverage of `src/` | {number(row['all'])} {row['kind']} | {number(row['reached'])} reached |\n"
    for row in mutation:
        mutants, killed = int(row["mutants"]), int(row["killed"])
        text += f"| mutants of {row['sample']} | {mutants} | {killed} killed, {100 * killed / mutants:.1f} % |\n"
    return text


def python_table() -> str:
    text = "| Measure | zvrt | | beside | | ratio |\n|---|---:|---|---|---:|---:|\n"
    number = lambda value: f"{float(value):,.4g}"
    for row in read("python"):
        text += (f"| {row['measure']} | {number(row['ours'])} | {row['unit']} | {row['peer']} | {number(row['peers'])} | "
                 f"{number(row['ratio'])} |\n")
    return text


def records_table() -> str:
    text = "| Conversion | Record file, MB | Seconds | MB a second |\n|---|---:|---:|---:|\n"
    for row in read("records"):
        text += f"| {row['conversion']} | {row['megabytes']} | {row['seconds']} | {row['rate']} |\n"
    return text


def render(check: bool) -> int:
    tables = {"bench": bench_table, "robustness": robustness_table, "python": python_table, "columns": columns_table,
              "gains": gains_table, "records": records_table}
    outdated = 0
    for path in [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]:
        text = path.read_text()
        wanted = re.sub(r"(<!-- figures: (\w+) -->\n)(?:(?!<!-- end).*\n)*(<!-- end of figures -->)",
                        lambda match: f"{match[1]}\n{tables[match[2]]()}\n{match[3]}", text)
        if wanted != text and check:
            print(f"{path.relative_to(ROOT)} is out of date: scripts/figures.py render")
            outdated = 1
        elif wanted != text:
            path.write_text(wanted)
    return outdated


def main() -> int:
    if len(sys.argv) >= 3 and sys.argv[1] == "record" and sys.argv[2] in FILES:
        return record(sys.argv[2], sys.argv[3] if len(sys.argv) > 3 else "") or render(False)
    if len(sys.argv) >= 2 and sys.argv[1] == "render":
        return render("--check" in sys.argv)
    print(__doc__, file=sys.stderr)
    return 2


sys.exit(main())

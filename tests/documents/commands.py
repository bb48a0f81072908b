#!/usr/bin/env python3
"""Runs the commands of the documents and compares what they print: commands.py [options] SOURCE DOCUMENT...

A block marked `console` holds commands, each after "$ ", and below each what it prints; a line "..." stands for any
lines. A block marked `sh` holds commands that need only end well. Commands in any other form are refused, since nobody
would run them. A comment before a block says more: <!-- check: WORDS -->

    fresh              only on a fresh machine: it takes minutes, or changes the machine
    root               only as root
    never              not at all, with the reason in the comment
    file NAME          the block is no command but a file, which the commands after it use
    vary EXPRESSION    what matches, such as a time, is not compared; stands last

The commands of a document run in one shell, at the top of the tree. Without options that is a copy of the tree, and the
library of this build is installed in the home folder, as after the document's own commands for it.

    --fresh            run the blocks for a fresh machine as well, where the shell of --shell starts: in the tree
    --user             leave out what only root may do
    --shell COMMAND    what reads the shell script from its standard input
    --build FOLDER     the build whose library is installed; not with --fresh
"""
import argparse
import contextlib
import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys
import tempfile
import time

BLOCK = re.compile(r"(?:^<!-- check: (?P<words>.*?)-->\n)?^```(?P<kind>[a-z]*)\n(?P<text>.*?)^```$", re.M | re.S)
INDENTED = re.compile(r"\n\n((?: {4}.*\n)+)")
MARK = "@@commands"


class Command:
    def __init__(self, place, line, text, expected, vary):
        self.place, self.line, self.text, self.expected, self.vary = place, line, text, expected, vary

    def fault(self, printed: str, status: int) -> str:
        if status != 0:
            return f"ends with {status}:\n{printed[-3000:]}"
        if self.expected is None:
            return ""
        clean = lambda text: re.sub(self.vary, "<varies>", text) if self.vary else text
        pattern = "".join(".*?" if line.strip() == "..." else re.escape(clean(line)) + "\n"
                          for line in self.expected.splitlines())
        if re.fullmatch(pattern, clean(printed), re.S):
            return ""
        return f"prints\n{printed[-3000:]}instead of\n{self.expected}"


def commands_in(text: str, place: str, line: int, vary: str):
    """The commands of a console block."""
    command, expected, start = None, [], line
    for number, each in enumerate(text.splitlines(), line):
        if each.startswith("$ "):
            if command is not None:
                yield Command(place, start, command, "".join(expected), vary)
            command, expected, start = each[2:], [], number
        elif each.startswith("> ") and not expected:
            command += "\n" + each[2:]
        else:
            expected.append(each + "\n")
    if command is not None:
        yield Command(place, start, command, "".join(expected), vary)


def read(source: pathlib.Path, name: str, options):
    """The shell script's parts in order: a command, or the text that makes a file."""
    text = (source / name).read_text()
    outside = BLOCK.sub(lambda match: "\n" * match[0].count("\n"), text)
    for match in INDENTED.finditer(outside):
        raise SystemExit(f"{name}:{outside.count(chr(10), 0, match.start()) + 3}: an indented block: mark it as console, sh or text")
    for match in BLOCK.finditer(text):
        line = text.count("\n", 0, match.start("text")) + 1
        words = (match["words"] or "").strip()
        vary = words.partition("vary ")[2]
        words = words.partition("vary ")[0].split()
        if "file" in words:
            yield f"cat >{shlex.quote(words[words.index('file') + 1])} <<'{MARK}'\n{match['text']}{MARK}\n"
        elif match["kind"] not in ("console", "sh"):
            if match["kind"] in ("bash", "shell") or match["text"].startswith("$ "):
                raise SystemExit(f"{name}:{line}: commands in a block that is not marked console or sh")
        elif "never" in words or "fresh" in words and not options.fresh or "root" in words and options.user:
            continue
        elif match["kind"] == "console":
            yield from commands_in(match["text"], name, line, vary)
        else:
            yield Command(name, line, match["text"], None, vary)


def script_of(parts) -> str:
    script = []
    for part in parts:
        if isinstance(part, str):
            script.append(part)
        else:
            script.append(f"{{\n{part.text}\n}} </dev/null 2>&1\necho \"\n{MARK} $?\"\n")
    return "".join(script)


def run(parts, shell, folder, environment) -> int:
    """Runs one document's commands and tells of each as it ends; the number of faults."""
    commands = [part for part in parts if isinstance(part, Command)]
    process = subprocess.Popen(shell, cwd=folder, env=environment, text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                               errors="replace", start_new_session=True)
    try:
        return follow(process, parts, commands)
    finally:
        # Whatever ends this script ends what the commands have started.
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)


def follow(process, parts, commands) -> int:
    faults, printed, done, start = 0, [], 0, time.monotonic()
    process.stdin.write(script_of(parts))
    process.stdin.close()
    for line in process.stdout:
        if not line.startswith(MARK):
            printed.append(line)
            continue
        command, text = commands[done], "".join(printed)
        # The mark begins a line of its own: one line break before it is ours.
        fault = command.fault(text[:-1], int(line.split()[1]))
        faults += bool(fault)
        print(f"{'FAILED' if fault else 'ok    '} {time.monotonic() - start:5.0f} s  {command.place}:{command.line}: "
              f"{command.text.strip().splitlines()[0]}{' ' + fault if fault else ''}", flush=True)
        printed, done, start = [], done + 1, time.monotonic()
    process.wait()
    if done < len(commands):
        print(f"FAILED {commands[done].place}:{commands[done].line}: the shell ended\n{''.join(printed)}")
        faults += 1
    return faults


def main() -> int:
    signal.signal(signal.SIGTERM, lambda number, frame: sys.exit(143))
    parser = argparse.ArgumentParser()
    parser.add_argument("--fresh", action="store_true")
    parser.add_argument("--user", action="store_true")
    parser.add_argument("--shell", default="bash -s")
    parser.add_argument("--build")
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("documents", nargs="+")
    options = parser.parse_args()
    options.user |= not options.fresh and os.getuid() != 0
    source = options.source.resolve()
    documents = {name: list(read(source, name, options)) for name in options.documents}
    if not any(isinstance(part, Command) for parts in documents.values() for part in parts):
        raise SystemExit("no command was found")
    shell = shlex.split(options.shell)
    if options.fresh:
        return 1 if sum(run(parts, shell, None, None) for parts in documents.values()) else 0
    with tempfile.TemporaryDirectory() as folder:
        tree, home = pathlib.Path(folder, "tree"), pathlib.Path(folder, "home")
        prefix = home / "zvrt"
        tree.mkdir()
        subprocess.run("scripts/files.sh | tar -cT - | tar -x --no-same-owner -C " + shlex.quote(str(tree)), cwd=source,
                       shell=True, check=True)
        subprocess.run(["cmake", "--install", options.build, "--prefix", prefix], check=True, stdout=subprocess.DEVNULL)
        environment = dict(os.environ, HOME=str(home), PATH=f"{prefix}/bin:{os.environ['PATH']}", PKG_CONFIG_PATH=f"{prefix}/lib/pkgconfig",
                           CMAKE_PREFIX_PATH=str(prefix), LD_LIBRARY_PATH=f"{prefix}/lib", MANPATH=f"{prefix}/share/man")
        return 1 if sum(run(parts, shell, tree, environment) for parts in documents.values()) else 0


sys.exit(main())

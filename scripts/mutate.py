#!/usr/bin/env python3
"""Changes one operator, constant or branch of src/ or platform/ at a time and runs the tests: is there a test for each?

    scripts/mutate.py [--count 300] [--seed 1] [--jobs 2] [--only PATTERN]

Prints each mutant that no test notices with its place, and the totals. The sample is decided by the seed; with --only,
it is taken from the files whose paths begin with the regular expression. A mutant that does not compile, or compiles to the
same libraries, is none and another takes its place. Works on copies of what is committed.
"""
import argparse
import glob
import hashlib
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
# Binary operators stand between blanks here, which tells them from brackets of templates and from signs.
SWAPS = [(" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), (" == ", " != "), (" != ", " == "),
         (" + ", " - "), (" - ", " + "), (" * ", " / "), (" / ", " * "), (" % ", " / "), (" && ", " || "), (" || ", " && "),
         (" << ", " >> "), (" >> ", " << "), (" & ", " | "), (" | ", " & "), (" += ", " -= "), (" -= ", " += "),
         ("true", "false"), ("false", "true"), ("std::min(", "std::max("), ("std::max(", "std::min(")]
NUMBER = re.compile(r"(?<![\w.'\"])(0x[0-9A-Fa-f']+|\d[\d']*)(U|u|ULL|LL)?(?![\w.'\"])")
CONDITION = re.compile(r"\b(if|while) \((?!const Status|constexpr)(.*)\)")
STATEMENT = re.compile(r"^\s+(?!return|break|case|const|auto|using|static|default|\})[\w:*\[\]>.-]+(\(.*\)| [-+|&]?= .*|\+\+|--);$")


def code_of(line):
    """The line without comments, and nothing of lines that hold no code that runs."""
    if re.match(r"\s*(#|//|using |namespace |static_assert|template|extern|\[\[)", line):
        return ""
    return re.sub(r"//.*", "", line)


def mutants_of(path, lines):
    for index, line in enumerate(lines):
        code = code_of(line)
        for before, after in SWAPS:
            for found in re.finditer(re.escape(before) if before[0] == " " else r"\b" + re.escape(before), code):
                yield path, index, line[:found.start()] + after + line[found.end():]
        if "include" not in code:
            for found in NUMBER.finditer(code):
                value = int(found.group(1).replace("'", ""), 0)
                yield path, index, line[:found.start(1)] + str(value + 1) + line[found.end(1):]
        for found in CONDITION.finditer(code):
            if "constexpr" not in code[:found.start()]:
                yield path, index, line[:found.start(2)] + "!(" + found.group(2) + ")" + line[found.end(2):]
        if STATEMENT.match(code):
            yield path, index, ""


def snapshot():
    """The tree as it is committed, so that one may go on working in it."""
    listed = subprocess.run(["git", "ls-tree", "-r", "-z", "--name-only", "HEAD"], cwd=ROOT, capture_output=True, check=True)
    commit = subprocess.run(["git", "rev-parse", "HEAD"], cwd=ROOT, capture_output=True, text=True, check=True).stdout.strip()
    return commit, [name for name in listed.stdout.decode().split("\0") if re.fullmatch(r"(src|platform)/.*\.(cpp|h)", name)]


def lines_of(commit, path):
    shown = subprocess.run(["git", "show", f"{commit}:{path}"], cwd=ROOT, capture_output=True, text=True, check=True)
    return shown.stdout.split("\n")


class Worker:
    """A copy of the tree with a build of its own, and the tests in the order of the time they take."""

    def __init__(self, folder, commit):
        self.tree = os.path.join(folder, "tree")
        self.build = os.path.join(folder, "build")
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(self.tree)
        archive = subprocess.run(["git", "archive", commit], cwd=ROOT, capture_output=True, check=True)
        subprocess.run(["tar", "-x", "-C", self.tree], input=archive.stdout, check=True)
        self.run(["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                  "-DCMAKE_CXX_FLAGS_RELEASE=-O1", "-DZVRT_BUILD_TESTS=ON"], 600)
        if not self.compiles():
            sys.exit("the tree does not build")
        self.original = self.fingerprint()
        self.seconds = {}
        for test in self.tests():
            start = time.monotonic()
            if not self.passes(test, 600):
                sys.exit(f"{test} fails without any change")
            self.seconds[test] = time.monotonic() - start

    def run(self, command, seconds):
        """True where the command ends well in time. It and what it started are ended with it."""
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        try:
            return process.wait(seconds) == 0
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            return False

    def compiles(self):
        return self.run(["ninja", "-C", self.build, "-j1"], 1200)

    def fingerprint(self):
        """Of all shared libraries: the two public ones and the three of the platform."""
        digest = hashlib.sha256()
        for path in sorted(glob.glob(os.path.join(self.build, "lib", "**", "*.so"), recursive=True)):
            with open(path, "rb") as library:
                digest.update(library.read())
        return digest.digest()

    def tests(self):
        for folder, _, names in os.walk(os.path.join(self.build, "tests")):
            for name in names:
                path = os.path.join(folder, name)
                if name.endswith("_test") and os.access(path, os.X_OK):
                    yield os.path.relpath(path, self.build)

    def passes(self, test, seconds):
        return self.run([os.path.join(self.build, test), "--gtest_fail_fast"], seconds)

    def order_for(self, path):
        """The family's own tests first, the short ones first among them."""
        library, family = path.split("/")[:2]
        family, stem = family if library == "src" else library, os.path.basename(path).split(".")[0]
        return sorted(self.seconds, key=lambda test: (stem not in test, f"/{family}/" not in test, self.seconds[test]))

    def judge(self, mutant):
        """The test that notices; "" where none does; nothing where it is no mutant."""
        path, index, line = mutant
        target = os.path.join(self.tree, path)
        with open(target) as text:
            original = text.read()
        lines = original.split("\n")
        lines[index] = line
        with open(target, "w") as text:
            text.write("\n".join(lines))
        try:
            if not self.compiles() or self.fingerprint() == self.original:
                return None
            for test in self.order_for(path):
                if not self.passes(test, max(10, 8 * self.seconds[test])):
                    return test
            return ""
        finally:
            with open(target, "w") as text:
                text.write(original)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--only", default="")
    options = parser.parse_args()

    commit, paths = snapshot()
    lines = {path: lines_of(commit, path) for path in paths if re.match(options.only, path)}
    everything = [mutant for path in lines for mutant in mutants_of(path, lines[path])]
    random.Random(options.seed).shuffle(everything)
    print(f"{len(everything)} places to change", flush=True)
    pending = iter(everything)
    lock = threading.Lock()
    verdicts = []

    def work(number):
        worker = Worker(os.path.join(ROOT, "build", "mutants", str(number)), commit)
        while True:
            with lock:
                mutant = next(pending, None)
                if mutant is None or len(verdicts) >= options.count:
                    return
            noticed = worker.judge(mutant)
            if noticed is None:
                continue
            path, index, line = mutant
            before = lines[path][index].strip()
            with lock:
                verdicts.append(noticed)
                verdict = f"killed by {os.path.basename(noticed)}" if noticed else "SURVIVED"
                print(f"{path}:{index + 1}: {verdict}: {before}  ->  {line.strip() or '(removed)'}", flush=True)

    threads = [threading.Thread(target=work, args=(number,)) for number in range(options.jobs)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    killed = sum(1 for verdict in verdicts if verdict)
    print(f"{killed} of {len(verdicts)} killed, {100 * killed / max(len(verdicts), 1):.1f} %")


main()

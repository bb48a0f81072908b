#!/usr/bin/env python3
"""The page of `inspect --html` as a browser reads it.

The browser's tree has to be the page's own, so that it had nothing to repair; its items have to be those of
`layout --json`, and its map the bytes of the record. Texts that look like markup must arrive as texts.
"""
import html.parser
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

COPYBOOK = """       01 CUSTOMER.
          05 NAME PIC X(12).
          05 BALANCE PIC S9(5)V99 COMP-3.
          05 TAGS OCCURS 2.
             10 TAG PIC X(2).
             10 TAG-NUMBER REDEFINES TAG PIC 9(2).
          05 FILLER PIC X(3).
"""
NAMES = ["<script>x", "\"><b>&amp;", "</td></table", "plain", "a\x05b\x1fc"]


class Tree(html.parser.HTMLParser):
    """The elements in order, the items' attributes, and the bytes of each map."""

    def __init__(self, text):
        super().__init__(convert_charrefs=True)
        self.elements, self.items, self.maps, self.texts = [], [], [], []
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        assert tag != "script" and not {"src", "href"} & set(attributes), f"<{tag}> is or loads something"
        if tag == "tbody":  # the browser's, in any table
            return
        self.elements.append((tag, tuple(sorted(attributes.items()))))
        if attributes.get("class") == "item":
            self.items.append(attributes)
        if attributes.get("class") == "map":
            self.maps.append("")

    def handle_endtag(self, tag):
        if tag != "tbody":
            self.elements.append(("/" + tag,))

    def handle_data(self, data):
        self.texts.append(data)
        if self.elements and self.elements[-1][0] == "span":
            self.maps[-1] += data


def run(*command, status=(0,)):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    assert done.returncode in status, f"{command}: {done.returncode}\n{done.stderr}"
    return done


def main():
    tool = sys.argv[1]
    browser = shutil.which("chromium") or shutil.which("chromium-browser")
    if browser is None:
        print("no chromium: skipped")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        base = pathlib.Path(folder)
        layout, records, page = base / "customer.cpy", base / "records", base / "page.html"
        layout.write_text(COPYBOOK)
        made = [name.ljust(12).encode("cp037") + bytes.fromhex("0012345C" if i != 3 else "FFFFFFFF")
                + "AB12".encode("cp037") + b"\x40" * 3 for i, name in enumerate(NAMES)]
        records.write_bytes(b"".join(made))
        # Exit status 1: a record is refused.
        run(tool, "inspect", "-l", str(layout), "--limit", "5", "--html", str(page), str(records), status=(1,))
        text = page.read_text(encoding="utf-8")
        run(tool, "inspect", "-l", str(layout), "--html", str(page), str(records), status=(2,))
        assert page.read_text(encoding="utf-8") == text, "a page was replaced unasked"
        run(tool, "inspect", "-l", str(layout), "--html", str(records), "--replace", str(records), status=(2,))
        assert records.read_bytes() == b"".join(made), "the records were replaced"

        shown = run(browser, "--headless", "--no-sandbox", "--disable-gpu", "--enable-logging=stderr",
                    f"--user-data-dir={base}/profile", "--dump-dom", page.as_uri())
        assert "CONSOLE" not in shown.stderr, shown.stderr
        written, read = Tree(text), Tree(shown.stdout)
        assert written.elements == read.elements, "the browser repaired the page"
        told = [json.loads(line) for line in run(tool, "layout", "--json", str(layout)).stdout.splitlines()]
        assert [(i["data-path"], int(i["data-offset"]), int(i["data-length"]), int(i["data-occurs"]))
                for i in read.items] == [(i["path"], i["offset"], i["length"], i["occurs"]) for i in told]
        assert read.maps == [each.hex().upper() for each in made + [made[3]]], read.maps
        for name in NAMES[:4]:
            assert f"'{name}'" in read.texts, name
    print(f"{len(told)} items and {len(read.maps)} records shown")
    return 0


if __name__ == "__main__":
    sys.exit(main())

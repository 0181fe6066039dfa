#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Joins the page out of its sources into one file.

usage: make_page.py MODULE.wasm PAGE.html

In index.html {{a.js b.js}} stands for these files, one after the other; other files than text come
in base64. The module is {{arvessa.wasm}}.
"""
import base64
import pathlib
import re
import sys

TEXT = {".css", ".js"}


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    folder = pathlib.Path(__file__).parent
    module, page = map(pathlib.Path, sys.argv[1:])

    def content(name):
        path = module if name == "arvessa.wasm" else folder / name
        if path.suffix in TEXT:
            # One licence line stands on top of the page.
            return re.sub(r"^.*SPDX-License-Identifier.*\n", "", path.read_text("utf-8"))
        return base64.b64encode(path.read_bytes()).decode()

    def joined(match):
        return "\n".join(content(name) for name in match[1].split())

    text = (folder / "index.html").read_text("utf-8")
    page.write_text(re.sub(r"\{\{(.*?)\}\}", joined, text), "utf-8", newline="\n")


main()

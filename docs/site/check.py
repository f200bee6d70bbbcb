#!/usr/bin/env python3
"""Checks the site that Doxygen has made: every link leads to a file and a place in it, nothing is taken from the net,
and every exported function has a documentation of its own.

Usage: check.py FOLDER
"""

import html
import pathlib
import re
import sys
from urllib.parse import unquote

ROOT = pathlib.Path(__file__).resolve().parents[2]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    site = pathlib.Path(sys.argv[1])
    pages = {path.name: path.read_text(encoding="utf-8") for path in site.glob("*.html")}
    places = {name: set(re.findall(r'(?:id|name)="([^"]+)"', text)) for name, text in pages.items()}
    faults = []
    count = 0
    for name, text in pages.items():
        for tag, link in re.findall(r'<(a|link|script|img|iframe|object)\b[^>]*?\b(?:href|src|data)="([^"]*)"', text):
            link = unquote(html.unescape(link))
            if re.match(r"\w+:|//", link):
                if tag != "a" and not link.startswith("javascript:"):
                    faults.append(f"{name} takes {link} from the net")
                continue
            file, _, place = link.partition("#")
            count += 1
            if file and not (site / file).exists():
                faults.append(f"{name} links to {link}, which is not there")
            elif place and place not in places.get(file or name, set()):
                faults.append(f"{name} links to {link}, which has no such place")
    for sheet in site.glob("*.css"):
        if re.search(r"url\(['\"]?(?:\w+:)?//", sheet.read_text(encoding="utf-8")):
            faults.append(f"{sheet.name} takes something from the net")

    exports = re.findall(r"\b(zel\w+);", (ROOT / "src" / "zeldc.map").read_text(encoding="utf-8"))
    for export in exports:
        if not any(re.search(r'<h2 class="memtitle">.*</span>' + export + r"\(\)", text) for text in pages.values()):
            faults.append(f"{export} has no documentation")

    for fault in faults:
        print(fault, file=sys.stderr)
    print(f"{len(pages)} pages, {count} links, {len(exports)} functions, {len(faults)} faults")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()

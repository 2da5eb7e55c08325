#!/usr/bin/env python3
"""Follows every link of Markdown documents: check_links.py ROOT DOCUMENT-OR-DIRECTORY...

A link must lead to a file below ROOT, and one with a mark (#heading) to a heading of that document. Links out into the
net are not followed. Ends with 1 and says which link of which line leads nowhere.
"""
import pathlib
import re
import sys

LINK = re.compile(r"(?<!\\)\]\(\s*<?([^)\s>]+)>?[^)]*\)|^\s{0,3}\[[^\]]+\]:\s+(\S+)")
OUTWARD = re.compile(r"^[a-z][a-z0-9+.-]*:", re.IGNORECASE)


def prose(text):
    """The numbered lines outside of blocks of code, without what looks like a link inside code."""
    fenced = False
    for number, line in enumerate(text.splitlines(), 1):
        if line.lstrip().startswith("```"):
            fenced = not fenced
        elif not fenced and not line.startswith(("    ", "\t")):
            yield number, re.sub(r"`[^`]*`", lambda code: code[0].replace("](", "] ("), line)


def marks(document):
    """What the headings of a document are called in links."""
    found = set()
    for _, line in prose(document.read_text(encoding="utf-8")):
        heading = re.match(r"#{1,6}\s+(.*?)\s*#*$", line)
        if heading:
            found.add(re.sub(r"[^\w\- ]", "", heading[1].lower()).replace(" ", "-"))
    return found


def failure(root, document, target):
    """Why a link of a document leads nowhere, or None."""
    path, _, mark = target.partition("#")
    file = (document.parent / path).resolve() if path else document
    if not file.is_relative_to(root):
        return "leads out of the tree"
    if not file.exists():
        return "leads nowhere"
    if mark and mark not in marks(file):
        return "names no heading of " + file.name
    return None


def main(arguments):
    root = pathlib.Path(arguments[0]).resolve()
    documents = []
    for name in arguments[1:]:
        place = root / name
        documents += sorted(place.rglob("*.md")) if place.is_dir() else [place]
    followed = failed = 0
    for document in documents:
        for number, line in prose(document.read_text(encoding="utf-8")):
            for match in LINK.finditer(line):
                target = match[1] or match[2]
                if OUTWARD.match(target):
                    continue
                followed += 1
                why = failure(root, document, target)
                if why:
                    failed += 1
                    print(f"{document.relative_to(root)}:{number}: {target} {why}")
    print(f"{len(documents)} documents, {followed} links followed, {failed} lead nowhere")
    return 1 if failed or followed == 0 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

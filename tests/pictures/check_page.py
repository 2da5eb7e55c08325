"""check_page.py PAGE [--pictures N]: elements are closed in the order in which they were opened, nothing refers to
another file, and the pictures, if asked for, are that many, and show a body in colours before a light background."""

import base64
import html.parser
import re
import struct
import sys
import zlib

VOID = {"meta", "img", "br", "link", "input"}


class Page(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.open = []
        self.pictures = []

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("src", "href", "xlink:href", "data", "action"):
                assert value.startswith("data:image/png;base64,"), f"{tag} refers to {value[:60]}"
                self.pictures.append(base64.b64decode(value.split(",")[1]))
        if tag not in VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attributes):
        assert tag in ("rect", "line"), tag

    def handle_endtag(self, tag):
        assert self.open and self.open.pop() == tag, f"</{tag}> at {self.getpos()}"


def pixels(png):
    """The colours of a picture without filters, line by line."""
    assert png[:8] == b"\x89PNG\r\n\x1a\n"
    at, packed, size = 8, b"", None
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        data = png[at + 8:at + 8 + length]
        assert struct.unpack(">I", png[at + 8 + length:at + 12 + length])[0] == zlib.crc32(kind + data)
        if kind == b"IHDR":
            size = struct.unpack(">II", data[:8])
        packed += data if kind == b"IDAT" else b""
        at += 12 + length
    lines = zlib.decompress(packed)
    width, height = size
    assert len(lines) == height * (3 * width + 1)
    return [lines[y * (3 * width + 1) + 1 + 3 * x:][:3] for y in range(height) for x in range(width)]


def main(name, count=None):
    page = Page()
    text = open(name, encoding="utf-8").read()
    page.feed(text)
    page.close()
    assert not page.open, page.open
    assert not re.search(r"url\(|@import", text.split("</style>")[0]), "a style refers to something"
    if count is None:
        return
    assert len(page.pictures) == int(count), len(page.pictures)
    for picture in page.pictures:
        colours = pixels(picture)
        white = sum(colour == b"\xff\xff\xff" for colour in colours)
        yellow = sum(colour[0] > 150 and colour[1] > 130 and colour[2] < 90 for colour in colours)
        violet = sum(colour[1] < 70 and colour[2] > colour[1] for colour in colours)
        assert white > 0.3 * len(colours) and yellow > 30 and violet > 30, (white, yellow, violet, len(colours))
    assert len(set(page.pictures)) == len(page.pictures), "two pictures are the same"


main(sys.argv[1], *sys.argv[3:4])

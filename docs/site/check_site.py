"""Follows the links of the site that was built: check_site.py FOLDER NAMES [BROWSER].

Every page, picture, script, style sheet and anchor that a page of the site refers to has to be there, and what a page
needs to be shown has to come from the site itself. Links out of the site are counted and left alone. The index of the
search has to know the pages, and with a browser it is asked, without a server. Every exported operation that the file
NAMES lists has to be described."""

import html.parser
import pathlib
import re
import subprocess
import sys
import urllib.parse

# Attributes that load something, and those that lead somewhere.
LOADS = {("script", "src"), ("img", "src"), ("source", "src"), ("iframe", "src"), ("video", "src")}
LEADS = {("a", "href"), ("area", "href")}
STYLE = re.compile(rb"url\(\s*['\"]?([^'\")]+)")


class Page(html.parser.HTMLParser):
    """The anchors of a page, and what it refers to: (place, whether it is loaded)."""

    def __init__(self, path):
        super().__init__()
        self.anchors, self.references = set(), []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.anchors.update(values[name] for name in ("id", "name") if values.get(name))
        for name, value in attrs:
            loads = (tag, name) in LOADS or (tag, name, values.get("rel")) == ("link", "href", "stylesheet")
            if value and (loads or (tag, name) in LEADS):
                self.references.append((value, loads))


def broken(place, page, pages, root):
    """Why a reference inside the site leads nowhere, or None."""
    parts = urllib.parse.urlsplit(place)
    path = urllib.parse.unquote(parts.path)
    target = (page.parent / path).resolve() if path else page
    if not target.is_relative_to(root):
        return "leads out of the site's folder"
    if target.is_dir():
        target = target / "index.html"
    if not target.exists():
        return "is not there"
    anchor = urllib.parse.unquote(parts.fragment)
    if anchor and target in pages and anchor not in pages[target].anchors:
        return "has no such anchor"
    return None


def problems_of_styles(root):
    """What style sheets refer to and the site does not have."""
    for sheet in root.rglob("*.css"):
        for place in STYLE.findall(sheet.read_bytes()):
            text = place.decode()
            if text.startswith(("data:", "#")):
                continue
            if "://" in text or not (sheet.parent / text.split("?")[0].split("#")[0]).exists():
                yield f"{sheet.relative_to(root)}: {text} is not in the site"


def problems_of_search(root, pages):
    """Why the search would not find a page."""
    index = root / "searchindex.js"
    if not index.exists():
        yield "there is no searchindex.js"
        return
    text = index.read_text(encoding="utf-8")
    for path in pages:
        name = path.relative_to(root).with_suffix("").as_posix()
        if name not in ("index", "genindex", "search", "py-modindex") and f'"{name}"' not in text:
            yield f"the search does not know {name}"


def problems_of_names(pages, names):
    """Operations that the reference does not have."""
    anchors = set().union(*(page.anchors for page in pages.values()))
    for name in names:
        if f"c.{name}" not in anchors:
            yield f"the reference does not describe {name}"


def problems_of_asking(root, browser):
    """What is wrong with the answer of the search page, opened as a file."""
    address = (root / "search.html").as_uri() + "?q=invariants"
    command = [browser, "--headless", "--no-sandbox", "--disable-gpu", "--virtual-time-budget=10000", "--dump-dom"]
    done = subprocess.run([*command, address], capture_output=True, text=True, timeout=120, check=False)
    if 'href="docs/theory.html' not in done.stdout:
        yield f"the search for \"invariants\" does not give the page that explains them: {done.stderr[-500:]}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in sorted(root.rglob("*.html")) if "_downloads" not in path.parts}
    problems, inside, outside = [], 0, 0
    for path, page in pages.items():
        for place, loads in page.references:
            parts = urllib.parse.urlsplit(place)
            if parts.scheme in ("data", "javascript", "mailto"):
                continue
            if parts.scheme or parts.netloc:
                outside += 1
                reason = "is loaded from elsewhere" if loads else None
            else:
                inside += 1
                reason = broken(place, path, pages, root)
            if reason:
                problems.append(f"{path.relative_to(root)}: {place} {reason}")
    problems += [*problems_of_styles(root), *problems_of_search(root, pages)]
    problems += problems_of_names(pages, pathlib.Path(sys.argv[2]).read_text(encoding="utf-8").split())
    for browser in sys.argv[3:]:
        problems += problems_of_asking(root, browser)
    print("\n".join(sorted(set(problems))))
    print(f"{len(pages)} pages, {inside} links inside and {outside} out of the site, {len(problems)} problems")
    return 1 if problems or len(pages) < 2 else 0


if __name__ == "__main__":
    sys.exit(main())

"""The animated viewer in a notebook: the page that `sbr view` makes."""

from __future__ import annotations

import html
import os
import tempfile
from typing import TYPE_CHECKING, Optional

from .program import RecordLike, _file_of, _run

if TYPE_CHECKING:
    from .body import PathLike


class View:
    """A page that shows a body; a notebook shows it in a frame. `save` writes it as a file of its own."""

    def __init__(self, page: str, height: int) -> None:
        self.page = page  #: the HTML text, complete in itself
        self.height = height  #: of the frame, in pixels

    def save(self, path: "PathLike") -> None:
        """Writes the page to a file."""
        with open(path, "w", encoding="utf-8") as file:
            file.write(self.page)

    def _repr_html_(self) -> str:
        page = html.escape(self.page, quote=True)
        return f'<iframe srcdoc="{page}" width="100%" height="{self.height}" style="border:0"></iframe>'

    def __repr__(self) -> str:
        return f"View({len(self.page)} characters)"


def view(record: RecordLike, other: Optional[RecordLike] = None, *, height: int = 600,
         max_nodes: Optional[int] = None) -> View:
    """The page of a record, or of two side by side.

    A body has to be what its file holds. ``max_nodes`` bounds the nodes that the page shows (100000 by default).
    """
    files = [_file_of(record)] + ([_file_of(other)] if other is not None else [])
    bound = [] if max_nodes is None else [f"--max-nodes={max_nodes}"]
    with tempfile.TemporaryDirectory() as folder:
        target = os.path.join(folder, "page.html")
        _run(["view", "--no-open", "-o", target, *bound, "--", *files])
        with open(target, encoding="utf-8") as file:
            return View(file.read(), height)

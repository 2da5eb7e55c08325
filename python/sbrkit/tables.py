"""Results that show themselves as tables: in a terminal, in a notebook, in pandas."""

from __future__ import annotations

import html
from typing import Any, Dict, List, Sequence

import numpy as np

_ROWS_SHOWN = 60


def _cell(value: Any) -> str:
    if isinstance(value, (float, np.floating)):
        return f"{value:.6g}"
    return str(value)


class Table:
    """A mixin: a result with columns of equal length.

    A class that uses it gives ``_columns()``: the titles with their values.
    """

    def _columns(self) -> Dict[str, Any]:
        raise NotImplementedError

    def _title(self) -> str:
        return type(self).__name__

    def _rows(self) -> List[List[str]]:
        columns = self._columns()
        return [[_cell(value) for value in row] for row in zip(*columns.values())]

    def __repr__(self) -> str:
        rows = [list(self._columns())] + self._rows()
        shown = rows if len(rows) <= _ROWS_SHOWN else rows[:_ROWS_SHOWN]
        widths = [max(len(row[c]) for row in shown) for c in range(len(rows[0]))]
        lines = ["  ".join(cell.rjust(width) for cell, width in zip(row, widths)) for row in shown]
        if len(shown) < len(rows):
            lines.append(f"... {len(rows) - len(shown)} more rows")
        return "\n".join([self._title(), *lines])

    def _repr_html_(self) -> str:
        def row(cells: Sequence[str], tag: str) -> str:
            return "<tr>" + "".join(f"<{tag}>{html.escape(cell)}</{tag}>" for cell in cells) + "</tr>"

        rows = self._rows()
        body = "".join(row(cells, "td") for cells in rows[:_ROWS_SHOWN])
        more = f"<p>... {len(rows) - _ROWS_SHOWN} more rows</p>" if len(rows) > _ROWS_SHOWN else ""
        head = row(list(self._columns()), "th")
        return f"<p><b>{html.escape(self._title())}</b></p><table><thead>{head}</thead><tbody>{body}</tbody></table>{more}"

    def to_pandas(self) -> Any:
        """The table as a ``pandas.DataFrame``; pandas has to be installed."""
        import pandas

        return pandas.DataFrame({title: list(values) for title, values in self._columns().items()})

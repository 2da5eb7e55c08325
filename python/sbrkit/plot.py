"""Plots of bodies with matplotlib, which has to be installed."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Optional

import numpy as np

if TYPE_CHECKING:
    from .analysis import Mac, ModesLike
    from .body import Body


def _axes(axes: Optional[Any]) -> Any:
    if axes is not None:
        return axes
    import matplotlib.pyplot as pyplot

    return pyplot.subplots()[1]


def plot_mac(values: "Mac", axes: Any = None) -> Any:
    """A map of the modal assurance criterion; gives the axes."""
    axes = _axes(axes)
    image = axes.imshow(values.values, vmin=0.0, vmax=1.0, cmap="viridis", origin="lower")
    axes.set_xticks(range(len(values.numbers_b)), [str(n) for n in values.numbers_b])
    axes.set_yticks(range(len(values.numbers_a)), [str(n) for n in values.numbers_a])
    axes.set_xlabel("mode")
    axes.set_ylabel("mode")
    axes.set_title("MAC")
    axes.figure.colorbar(image, ax=axes)
    return axes


class BodyPlots:
    """The plots of a body; each takes axes of matplotlib or makes them, and gives them."""

    def __init__(self, body: "Body") -> None:
        self._body = body

    def frequencies(self, axes: Any = None) -> Any:
        """The frequencies over the mode numbers."""
        axes = _axes(axes)
        modes = self._body.modes
        axes.bar(modes.numbers, modes.frequencies)
        axes.set_xlabel("mode")
        axes.set_ylabel("frequency, Hz")
        # A dollar sign would begin a formula.
        axes.set_title(self._body.header.title.replace("$", r"\$") or "Frequencies")
        return axes

    def mac(self, other: "Optional[ModesLike]" = None, axes: Any = None) -> Any:
        """The modal assurance criterion with another body, or with itself."""
        from .analysis import mac

        return plot_mac(mac(self._body, other), axes)

    def effective_mass(self, axes: Any = None) -> Any:
        """The shares of the effective modal masses, summed over the modes, of the six rigid motions."""
        from .analysis import effective_mass

        axes = _axes(axes)
        result = effective_mass(self._body)
        for index, name in enumerate(("x", "y", "z", "rx", "ry", "rz")):
            axes.step(result.numbers, np.cumsum(result.fractions[:, index]), where="post", label=name)
        axes.set_xlabel("mode")
        axes.set_ylabel("effective mass, summed share")
        axes.legend()
        return axes

"""Pictures of tables, functions, maps and random fields: `plot`, and `_repr_html_` for notebooks.

matplotlib is imported when the first picture is made: it takes 0.3 s, all else of zeibreku 0.1 s.
"""

import base64
import html
import io
import operator
import textwrap
import warnings

import numpy

from zeibreku import _core, _fields, _tables

_MOST_MARKERS = 50
_MOST_BREAKS = 100_000  # of a line; a grid gets its breakpoints if they are fewer than its steps
_MOST_LINES = 10
_LINE = 401  # points of a line, besides breakpoints
_GRID = 200  # of each side of a grid, likewise


def _axes(ax):
    if ax is not None:
        if not hasattr(ax, "set_xlabel"):
            raise TypeError(f"ax: expected matplotlib Axes, got {ax!r:.60}")
        return ax
    import matplotlib.pyplot

    return matplotlib.pyplot.subplots(layout="constrained")[1]


def _index(value, name):
    try:
        return operator.index(value)
    except TypeError:
        raise TypeError(f"{name}: expected an integer, got {value!r:.60}") from None


def _line(ax, x, y, marked, keywords):
    """Draw a line through ascending `x`, with dots at those of `marked`."""
    if 0 < len(marked) <= _MOST_MARKERS:
        dots = {"marker": "o", "markersize": 3, "markevery": numpy.isin(x, marked).nonzero()[0]}
        keywords = {**dots, **keywords}
    ax.plot(x, y, **keywords)


def _steps(lower, upper, marked, count, most):
    """`count` numbers between the bounds, and those of `marked` if they are `most` or fewer."""
    marked = numpy.asarray(marked if len(marked) <= most else ())
    inside = marked[(lower <= marked) & (marked <= upper)]
    return numpy.union1d(numpy.linspace(lower, upper, count), inside)


class _Function:
    def plot(self, ax=None, *, interval=None, **keywords):
        """Draw the function as a line, and return the matplotlib Axes.

        Parameters
        ----------
        ax : matplotlib.axes.Axes
            Where to draw; a new figure if None.
        interval : pair (lower, upper)
            The arguments to draw. By default those of the points of a multipoint function, and from
            0 to 1 for others.
        **keywords
            Passed on to `Axes.plot`.

        Examples
        --------
        >>> import zeibreku
        >>> axes = zeibreku.PowerUnitaryMap(exponent=2).plot(color="black")
        >>> axes.get_xlabel()
        'x'
        """
        function = getattr(self, "element", self)  # of a container
        points = numpy.asarray(getattr(function, "domain_values", ()))
        marked = points[: len(getattr(function, "range_values", ()))]
        if interval is None:
            interval = (marked.min(), marked.max()) if len(set(marked)) > 1 else (0.0, 1.0)
        ends = numpy.sort(_tables._numbers(interval, "interval"), axis=None)
        if ends.shape != (2,) or not numpy.isfinite(ends).all():
            raise ValueError(f"interval: expected two finite numbers, got {interval!r}")
        x = _steps(*ends, marked, _LINE, _MOST_BREAKS)
        values = self(x)
        ax = _axes(ax)
        _line(ax, x, values, marked, keywords)
        ax.set(xlabel="x", ylabel="f(x)")
        return ax


def _box(bounds, at):
    """The box of a table, the first two variables with any width, and where to cut the others."""
    lower, upper = numpy.asarray(bounds, float).reshape(-1, 2).T
    if not lower.size:
        raise ValueError("the table has no axes")
    if not numpy.isfinite(bounds).all():
        raise ValueError("the table has no finite bounds")
    shown = numpy.flatnonzero(lower < upper)[:2]
    if at is None:
        at = lower + 0.5 * (upper - lower)
    at = _tables._numbers(at, "at")
    if at.shape != lower.shape:
        raise ValueError(f"at: expected {lower.size} coordinates, got shape {at.shape}")
    return lower, upper, shown if shown.size else numpy.array([0]), at


class _Table:
    def plot(self, ax=None, *, value=None, at=None, **keywords):
        """Draw the values over the grid, and return the matplotlib Axes.

        One variable gives a line for each table, two give colours. If there are more, the picture
        is a section: the first two vary, and the title names the others. Where no table gives a
        value, nothing is drawn.

        Parameters
        ----------
        ax : matplotlib.axes.Axes
            Where to draw; a new figure if None.
        value : int
            Which of several tables to draw. By default ten lines at most, or the first in colours.
        at : array of shape (n,)
            The point through which the section goes, the middle of the grid by default.
        **keywords
            Passed on to `Axes.plot` or `Axes.pcolormesh`. `label` names the colours.

        Examples
        --------
        >>> import zeibreku
        >>> table = zeibreku.Table(axes=([0, 1], [0, 2, 4]), values=[[1, 2, 3], [2, 4, 5]])
        >>> axes = table.plot(cmap="cividis")
        >>> axes.get_xlabel(), axes.get_ylabel()
        ('x[0]', 'x[1]')
        """
        lower, upper, shown, at = _box(self.bounds, at)
        breaks = getattr(self, "axes", [()] * len(at))
        steps, most = (_LINE, _MOST_BREAKS) if len(shown) == 1 else (_GRID, _GRID)
        sides = [_steps(lower[i], upper[i], breaks[i], steps, most) for i in shown]
        points = numpy.broadcast_to(at, (*map(len, reversed(sides)), len(at))).copy()
        for i, mesh in zip(shown, numpy.meshgrid(*sides)):
            points[..., i] = mesh
        values = self(points).reshape(*points.shape[:-1], -1)
        count = values.shape[-1]
        if count == 0:
            raise ValueError("the table has no values")
        if value is not None and not -count <= _index(value, "value") < count:
            raise ValueError(f"value: expected one of {count} tables, got {value}")
        ax = _axes(ax)
        names = ["x"] if len(at) == 1 else [f"x[{i}]" for i in range(len(at))]
        ax.set_xlabel(names[shown[0]])
        if len(shown) == 1:
            some = range(min(count, _MOST_LINES)) if value is None else [value]
            for k in some:
                label = {"label": f"value[{k}]"} if len(some) > 1 else {}
                _line(ax, sides[0], values[..., k], breaks[shown[0]], {**label, **keywords})
            ax.set_ylabel("value" if count == 1 or len(some) > 1 else f"value[{some[0]}]")
            if len(some) > 1:
                ax.legend()
        else:
            value = value or 0
            ax.set_ylabel(names[shown[1]])
            ax.set_facecolor("0.9")
            label = "value" if count == 1 else f"value[{value}]"
            _colours(ax, *sides, values[..., value], label, keywords)
        rest = [f"{names[i]} = {at[i]:.4g}" for i in range(len(at)) if i not in shown]
        if rest:
            ax.set_title(textwrap.fill(", ".join(rest), 40), fontsize="medium")
        return ax


def _colours(ax, x, y, values, label, keywords):
    """Draw a grid in colours, with a scale that a keyword may name."""
    keywords = {"shading": "nearest", "rasterized": True, **keywords}
    label = keywords.pop("label", label)
    mesh = ax.pcolormesh(x, y, numpy.ma.masked_invalid(values), **keywords)
    ax.figure.colorbar(mesh, ax=ax, label=label)


class _Field:
    def plot(self, ax=None, *, shape=(100, 100), seed=1, **keywords):
        """Draw one field in colours, and return the matplotlib Axes.

        Parameters
        ----------
        ax : matplotlib.axes.Axes
            Where to draw; a new figure if None.
        shape : pair (rows, columns)
            The number of cells. The axes are in the unit of `spacing`.
        seed : int
            The field is that of ``self(shape, seed=seed)``.
        **keywords
            Passed on to `Axes.pcolormesh`. `label` names the colours.

        Examples
        --------
        >>> import math, zeibreku
        >>> field = zeibreku.RandomField(lambda d: math.exp(-d / 8))
        >>> field.plot(shape=(20, 50), label="height, m").get_aspect()
        1.0
        """
        values = self(shape, seed=seed)
        if values.ndim != 2 or values.size == 0:
            raise ValueError(f"shape: expected (rows, columns), got {shape!r}")
        ax = _axes(ax)
        y, x = (self.spacing * numpy.arange(side) for side in values.shape)
        _colours(ax, x, y, values, "value", keywords)
        ax.set(xlabel="x", ylabel="y", aspect="equal")
        return ax


def _repr_html_(self):
    """Return HTML for notebooks: a picture, and what `repr` gives.

    Without matplotlib, and where nothing can be drawn, it is the text alone.
    """
    text = f'<pre style="white-space: pre-wrap">{html.escape(repr(self))}</pre>'
    try:
        from matplotlib.figure import Figure

        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            figure = Figure(figsize=(4, 2.7), layout="constrained")
            self.plot(figure.add_subplot())
            file = io.BytesIO()
            figure.savefig(file, format="png", dpi=100)
    except Exception:  # an element that cannot be drawn still has to be shown
        return text
    picture = base64.b64encode(file.getvalue()).decode()
    return f'<img alt="plot" src="data:image/png;base64,{picture}">{text}'


_BEHAVIOURS = {
    _core.ScalarFunction: _Function,
    _core.ScalarFunctionContainer: _Function,
    _core.UnitaryMap: _Function,
    _core.UnitaryMapContainer: _Function,
    _core.Table: _Table,
    _core.CompositeBranch: _Table,
    _core.CompositeFunction: _Table,
    _core.FrozenTable: _Table,
    _core.FrozenComposite: _Table,
    _fields.RandomField: _Field,
}
for _class, _behaviour in _BEHAVIOURS.items():
    _class.plot = _behaviour.plot
    _class._repr_html_ = _repr_html_

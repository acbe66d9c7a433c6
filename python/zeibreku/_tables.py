"""Tables made of arrays."""

import math
import numbers

import numpy

from zeibreku import _core

Table = _core.Table
TableAxis = _core.TableAxis

_init = Table.__init__

_core.CompositeBranch.__doc__ += """

A point goes to the child whose box contains it, else to one that may extrapolate to it, the left
child first. Where there is none, the values are NaN. The parts of a branch are copies.

Parameters
----------
left, right : Table or CompositeBranch
    Both, or neither.

Notes
-----
Programs in C++ read branches inside a CompositeFunction only.

Examples
--------
>>> from zeibreku import CompositeBranch, Table
>>> low = Table(axes=([0.1, 0.4],), values=[0.12, 0.3])
>>> high = Table(axes=([0.6, 1.0],), values=[0.36, 0.34])
>>> CompositeBranch(left=low, right=high)([0.25, 0.5, 0.8]).round(3)
array([0.21,  nan, 0.35])
"""

_core.CompositeFunction.__doc__ += """

Parameters
----------
element : Table or CompositeBranch, optional
    A copy of it is kept.

Examples
--------
>>> from zeibreku import CompositeFunction, Table
>>> function = CompositeFunction(Table(axes=([0.1, 0.4],), values=[0.12, 0.3]))
>>> function.bounds
array([[0.1, 0.4]])
>>> round(function(0.25), 3)
0.21
"""

Table.__doc__ += """

Parameters
----------
axes : tuple of n arrays of shape (m,), or of TableAxis; or one of them
    The breakpoints of each axis, which ascend or descend strictly. An array makes an axis that is
    searched by bisection and holds the last value beyond both ends. A TableAxis has options of its
    own.
values : array of shape (m0, m1, ...), or (m0, m1, ..., k) for k tables over the same axes
    The values at the breakpoints.
independent_data, dependent_data
    The same as components of documents, in the place of `axes` and `values`.

Examples
--------
>>> from zeibreku import Table, TableAxis
>>> load = TableAxis(
...     independent_vector=[0.1, 0.2, 0.4], search_option="bisection",
...     lower_boundary_option="extrapolate",
... )
>>> efficiency = Table(axes=(load,), values=[0.12, 0.2, 0.3])
>>> efficiency([0.05, 0.3, 0.5]).round(3)
array([0.08, 0.25, 0.3 ])
>>> efficiency.values
array([0.12, 0.2 , 0.3 ])
"""


def _method(function):
    setattr(Table, function.__name__, function)
    return function


def _numbers(value, name):
    """The argument as an array of float64."""
    return _core._numbers(value, name).astype(float, copy=False)


def _axis(name, value):
    if isinstance(value, TableAxis):
        return value
    points = _numbers(value, name)
    if points.ndim != 1 or points.size == 0:
        raise ValueError(f"{name}: expected an array of shape (m,), got one of {points.shape}")
    steps = numpy.diff(points)
    if not (numpy.isfinite(points).all() and ((steps > 0).all() or (steps < 0).all())):
        raise ValueError(f"{name}: expected finite breakpoints that ascend or descend strictly")
    return TableAxis(independent_vector=points, search_option="bisection")


def _axes(value):
    try:
        items = [value] if isinstance(value, TableAxis) else list(value)
    except TypeError:
        raise TypeError(f"axes: expected a tuple of arrays, got {value!r}") from None
    if not isinstance(value, tuple) and items and isinstance(items[0], numbers.Real):
        items = [items]  # one array
    return [_axis(f"axes[{d}]", item) for d, item in enumerate(items)]


def _flat_tables(shape, value):
    """The flat tables of an array: the first axis varies fastest."""
    values = _numbers(value, "values")
    if values.shape == shape:
        return [values.ravel(order="F")]
    if values.shape[:-1] != shape or values.ndim == 0:
        sizes = "".join(f"{size}, " for size in shape)
        expected = f"({sizes.rstrip(' ') if len(shape) == 1 else sizes[:-2]}) or ({sizes}k)"
        text = f"values: expected an array of shape {expected}, got one of {values.shape}"
        raise ValueError(text)
    return [values[..., table].ravel(order="F") for table in range(values.shape[-1])]


@_method
def __init__(self, *, axes=None, values=None, **components):
    if axes is None and values is None:
        _init(self, **components)
        return
    if axes is None or values is None:
        missing, given = ("axes", "values") if axes is None else ("values", "axes")
        raise TypeError(f"Table: {missing} is missing, which {given} needs")
    for name, component in (("axes", "independent_data"), ("values", "dependent_data")):
        if component in components:
            raise TypeError(f"Table: {name} and {component} are both given")
    axes = _axes(axes)
    shape = tuple(len(axis.independent_vector) for axis in axes)
    tables = _flat_tables(shape, values)
    _init(self, independent_data=axes, dependent_data=tables, **components)


def _get_axes(self):
    """The breakpoints of each axis, a tuple of read-only arrays of float64."""
    return tuple(axis.independent_vector for axis in self.independent_data)


def _shaped(values, shape):
    try:
        return values.reshape(shape, order="F")
    except ValueError as error:  # more axes than numpy has
        raise ValueError(f"values: {error}") from None


def _get_values(self):
    """The values at the breakpoints, a read-only array of float64.

    Its shape is that of `values=`: one axis for each of `axes`, and one for the tables unless there
    is one. A value that a table lacks is NaN. The array is a copy; assign one of the same grid,
    with any number of tables, to change the values. Raises ValueError if numpy has fewer axes.
    """
    shape = tuple(len(axis) for axis in self.axes)
    tables = self.dependent_data
    size = math.prod(shape)
    if len(tables) == 1 and len(tables[0]) >= size:
        return _shaped(tables[0][:size], shape)
    values = numpy.full((size, len(tables)), numpy.nan, order="F")
    for column, table in enumerate(tables):
        values[: len(table), column] = table[:size]
    values = _shaped(values, shape if len(tables) == 1 else (*shape, len(tables)))
    values.flags.writeable = False
    return values


def _set_values(self, value):
    shape = tuple(len(axis) for axis in self.axes)
    self.dependent_data = _flat_tables(shape, value)


Table.axes = property(_get_axes)
Table.values = property(_get_values, _set_values)
Table._keywords = ("axes", "values")

"""Random fields."""

import math
import operator
from dataclasses import dataclass
from typing import Any

import numpy

from zeibreku import _core

_MOST_SQUARES = 2**32


@dataclass(frozen=True)
class RandomField:
    """Gaussian values around a mean, whose correlation between two cells depends on their distance.

    Surface roughness, soil, frozen turbulence. Call it with a shape for an array of values.

    Parameters
    ----------
    correlation : ScalarFunction, ScalarFunctionContainer or callable
        A function of the distance, in the unit of `spacing`. `correlation(0)` is the variance; if
        it is not positive and finite, the field is `mean` everywhere. Other values are limited to
        the variance. An element is not copied: its changes affect the next call.
    spacing : float
        The distance between neighbouring cells, positive and finite.
    mean : float
        Any finite number, in the unit of the field.
    num_random_samples : int
        The number of samples that are summed into a field, 0 to 4294967295. Below some dozens the
        axes of single samples are visible. Time grows in proportion.

    Examples
    --------
    >>> import math, zeibreku
    >>> field = zeibreku.RandomField(lambda d: 4 * math.exp(-d / 8), mean=20.0)
    >>> temperature = field((40, 60), seed=1)
    >>> temperature.shape, bool((temperature == field((40, 60), seed=1)).all())
    ((40, 60), True)
    """

    correlation: Any
    spacing: float = 1.0
    mean: float = 0.0
    num_random_samples: int = 100

    def __post_init__(self):
        function = self.correlation
        kinds = (_core.ScalarFunction, _core.ScalarFunctionContainer)
        if not isinstance(function, kinds) and not callable(function):
            expected = "a scalar function or a callable"
            raise TypeError(f"correlation: expected {expected}, got {function!r}")
        spacing = _core._real(self.spacing, "spacing")
        if not 0.0 < spacing < math.inf:
            raise ValueError(f"spacing: expected a positive, finite number, got {spacing!r}")
        mean = _core._real(self.mean, "mean")
        if not math.isfinite(mean):
            raise ValueError(f"mean: expected a finite number, got {mean!r}")
        samples = _core._count(self.num_random_samples, "num_random_samples")
        for name, value in (("spacing", spacing), ("mean", mean), ("num_random_samples", samples)):
            object.__setattr__(self, name, value)

    def __call__(self, shape, *, seed=None):
        """Return a new array of the shape, bit-identical on every machine for one seed.

        Parameters
        ----------
        shape : int or sequence of int
            (..., rows, columns). Further axes ahead are independent fields, drawn one after the
            other; (n,) and n are one row of n cells. The diagonal of a field with K cells must be
            below 65536.
        seed : int, optional
            0 to 4294967295. Without one, the values continue the stream that the C++ library shares
            in this process; the first ones are the same in every process.

        Returns
        -------
        numpy.ndarray
            float64. The library computes in the array's own memory, which belongs to the array.

        Raises
        ------
        TypeError, ValueError
            A wrong argument, by its name. An exception of `correlation` arrives as it is.

        Notes
        -----
        `correlation` is evaluated once for each multiple of the spacing up to the diagonal: K + 2
        times. A call takes K**3 / 6 multiplications and, for each sample, K**2 and some nanoseconds
        a cell, all without the GIL, and memory for 1.5 K**2 numbers besides the array. Ctrl-C ends
        it at a call of `correlation` or between two fields; it waits while one field is filled.

        Examples
        --------
        >>> import zeibreku
        >>> tent = zeibreku.MultipointScalarFunction(
        ...     domain_values=[0, 5, 10], range_values=[4, 0, 0])
        >>> zeibreku.RandomField(tent, mean=20.0)((4, 6), seed=1)[0].round(2)
        array([23.61, 23.13, 19.94, 19.02, 16.75, 19.45])
        """
        shape = _shape(shape)
        rows, columns = ((1, 1) + shape)[-2:]
        if rows * rows + columns * columns >= _MOST_SQUARES:
            raise ValueError(f"shape: expected a diagonal below 65536 cells, got {shape!r}")
        if seed is not None:
            seed = _core._count(seed, "seed")
        correlation = self.correlation
        if isinstance(correlation, _core.ScalarFunctionContainer):
            correlation = correlation.element
            if correlation is None:
                raise ValueError("correlation: the container is empty")
        array = numpy.empty(shape)
        fields = array.reshape((math.prod(shape[:-2]), rows, columns))
        _core._fill_fields(
            fields, correlation, self.spacing, self.mean, self.num_random_samples, seed
        )
        return array


def _shape(shape):
    """The shape as a tuple of integers that are not negative."""
    try:
        sides = tuple(map(operator.index, shape if numpy.iterable(shape) else (shape,)))
    except TypeError:
        raise TypeError(f"shape: expected integers, got {shape!r}") from None
    if any(side < 0 for side in sides):
        raise ValueError(f"shape: expected no negative side, got {shape!r}")
    return sides

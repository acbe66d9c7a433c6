"""What `GaussQuadrature` can do besides its component."""

from zeibreku import _core


def integrate(self, f, a, b, vectorized=True):
    """Return the integral of `f` from `a` to `b` as a float, bit-identical to that in C++.

    Parameters
    ----------
    f : callable
        By default it is called once, with the array of all nodes, of shape (order,): first the
        middle if the order is odd, then pairs from the inside out, the node towards `b` first. It
        returns an array of this shape.
    a, b : float
        Finite limits, in the unit of the argument; swapped ones change the sign.
    vectorized : bool
        False calls `f` with one node at a time, a float, in the same order; it returns a number.

    Raises
    ------
    TypeError, ValueError
        A wrong argument, by its name, or an order that is not supported, as a document may have it.
        An exception of `f` arrives as it is.

    Notes
    -----
    Exact up to rounding for polynomials of degree 2 order - 1 or less. At a kink or a singularity
    inside of the interval, integrate the pieces.

    Examples
    --------
    >>> import math, numpy, zeibreku
    >>> rule = zeibreku.GaussQuadrature(12)
    >>> abs(rule.integrate(numpy.exp, 0, 1) - (math.e - 1)) < 1e-15
    True
    >>> round(rule.integrate(math.sin, 0, math.pi, vectorized=False), 12)
    2.0
    """
    return self._integrate(f, a, b, vectorized)


def abscissas_and_weights(self):
    """Return the nodes of [-1, 1] that are not negative, ascending, and their weights.

    Two read-only arrays of shape ((order + 1) // 2,), without a copy of the library's tables; the
    nodes are symmetric. Raises ValueError if the order is not supported.

    Examples
    --------
    >>> import zeibreku
    >>> zeibreku.GaussQuadrature(2).abscissas_and_weights()
    (array([0.57735027]), array([1.]))
    """
    return self._tables()


# In C++ an order that is not supported leaves the rule as it was.
_core.GaussQuadrature.order.__doc__ = """The number of nodes: 2 to 20, 32, 64, 96, 100 or 128.

A document may hold another order, with which `integrate` raises ValueError. Increase it if the
error is too large; of a smooth f a dozen nodes usually reach rounding. Default: 10."""
_core.GaussQuadrature.integrate = integrate
_core.GaussQuadrature.abscissas_and_weights = abscissas_and_weights

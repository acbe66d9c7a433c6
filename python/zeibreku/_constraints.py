"""What constraints can do besides their components."""

from zeibreku import _core


def __call__(self, x):
    """Return the value c(x): a float for one point, else an array of shape (...).

    Parameters
    ----------
    x : array_like of shape (..., n), or tuple of n arrays
        Points of any number n of coordinates; terms of those that are missing are left out. The
        arrays of a tuple are the coordinates apart, and broadcast together.

    Raises
    ------
    TypeError, ValueError
        `x` has no numbers, or no axis, or the container is empty.

    Examples
    --------
    >>> import zeibreku
    >>> disc = zeibreku.QuadraticConstraint(
    ...     offset=-1, second_order_index_pairs=[[0, 0], [1, 1]], second_order_coefficients=[1, 1])
    >>> disc([3.0, 4.0])
    24.0
    >>> disc(([0.0, 1.0, 2.0], 1.0))
    array([0., 1., 4.])
    """
    return _core._constraint_values(self, x)


def gradient(self, x):
    """Return the unit vectors along the gradients, an array of shape (..., n) for points `x` of it.

    Only the direction is given; a gradient of zero stays zero. The constraint itself does not
    change. `x` is as for a call, and so are the exceptions.

    Examples
    --------
    >>> import zeibreku
    >>> limit = zeibreku.LinearConstraint(
    ...     first_order_indices=[0, 1], first_order_coefficients=[3, 4])
    >>> limit.gradient([[0.0, 0.0], [5.0, 1.0]])
    array([[0.6, 0.8],
           [0.6, 0.8]])
    """
    return _core._constraint_gradients(self, x)


for _class in (_core.Constraint, _core.ConstraintContainer):
    _class.__call__ = __call__
    _class.gradient = gradient

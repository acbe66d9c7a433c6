"""What several tests of the Python module need: an example of each element."""

import numpy
import pytest

import zeibreku as z

# Each class with components that differ from its defaults.
EXAMPLES = [
    z.NelderMead(alpha=1.5, max_total_steps=7, simplex_edge_lengths=[0.5, 0.25]),
    z.HookeJeeves(directions_mode="rotated", edge_lengths=numpy.arange(1.0, 4.0)),
    z.MultidirectionalSearch(default_simplex_edge_length=0.1),
    z.ImplicitFiltering(tau=1e-3),
    z.Sequence(
        number_passes=2,
        optimizer_sequence=[
            z.NelderMead(beta=0.4),
            z.Sequence(optimizer_sequence=[z.HookeJeeves()]),
        ],
    ),
    z.LinearScalarFunction(start_value=-1.0, end_value=float("inf")),
    z.MultipointScalarFunction(domain_values=[0.0, 1.0, 3.0], range_values=[2.0, -0.0, 1e-300]),
    z.PowerUnitaryMap(exponent=3.0),
    z.SCurveUnitaryMap(center=0.25, initial_slope=0.5),
    z.LinearConstraint(
        offset=-1.0, first_order_indices=[0, 2], first_order_coefficients=[1.0, 2.0]
    ),
    z.QuadraticConstraint(
        offset=2.0, second_order_index_pairs=[[0, 1], [2, 2]], second_order_coefficients=[1.0, 0.5]
    ),
    z.TableAxis(independent_vector=[0.0, 1.0, 4.0], search_option="bisection"),
    z.Table(
        independent_data=[z.TableAxis(independent_vector=[0.0, 1.0])],
        dependent_data=[[1.0, 2.0], [3.0, 4.0]],
    ),
    z.CompositeBranch(
        left=z.Table(axes=([0.0, 1.0],), values=[1.0, 2.0]),
        right=z.CompositeBranch(
            left=z.Table(axes=([2.0, 3.0],), values=[1.0, 2.0]),
            right=z.Table(axes=([5],), values=[7]),
        ),
    ),
    z.GaussQuadrature(order=7),
    z.Variable(name="mass", start=3.0, lower=0.0, scale=2.0),
    z.Search(
        variables=[z.Variable(name="x", start=1.0)],
        optimizer=z.NelderMead(alpha=1.25),
        constraints=[z.LinearConstraint(offset=0.5)],
        target_value=0.25,
        max_evaluations=4294967295,
    ),
    z.SearchReport(reason="target", best_point=[1.0], best_value=2.0),
    z.OptimizerContainer(z.NelderMead(gamma=3.0)),
    z.ScalarFunctionContainer(z.LinearScalarFunction(end_value=2.0)),
    z.UnitaryMapContainer(z.PowerUnitaryMap(exponent=2.0)),
    z.ConstraintContainer(z.LinearConstraint(offset=4.0)),
    z.CompositeFunction(z.Table(dependent_data=[[1.0]])),
    z.Optimizers([z.HookeJeeves(), z.NelderMead()]),
    z.Constraints([z.LinearConstraint(offset=1.0), z.QuadraticConstraint()]),
    z.Variables([z.Variable(name="x"), z.Variable(name="y")]),
]


def name_of(element):
    return type(element).__name__


@pytest.fixture(params=EXAMPLES, ids=name_of)
def element(request):
    """A fresh example of an element."""
    return request.param.__copy__()

"""Tables and composite functions: values, gradients, threads, documents."""

import copy
import itertools
import math
import pickle
import sys
from concurrent.futures import ThreadPoolExecutor

import numpy
import pytest

import zeibreku as z
from test_functions import bits

random = numpy.random.default_rng(1)

X, Y = numpy.array([0.0, 0.5, 2.0]), numpy.array([3.0, 1.0])
EXTRAPOLATE = dict.fromkeys(("lower_boundary_option", "upper_boundary_option"), "extrapolate")
ONE = z.Table(axes=(X, Y), values=[[0, 1], [2, 5], [7, 4]])
TWO = z.Table(axes=(X, Y), values=random.random((3, 2, 2)))
WIDE = z.Table(
    axes=[
        z.TableAxis(independent_vector=axis, **EXTRAPOLATE, search_option="equal_spaced")
        for axis in ([0.0, 0.5], Y)
    ],
    values=ONE.values[:2],
)
LINE = z.Table(axes=(X,), values=[1, 3, 2])
CONSTANT = z.Table(axes=(), values=4.0)
TREE = z.CompositeFunction(
    z.CompositeBranch(
        left=z.CompositeBranch(
            left=z.Table(axes=([0, 1], [0, 1]), values=random.random((2, 2))),
            right=z.Table(axes=([2, 3], [0, 2]), values=random.random((2, 2, 3))),
        ),
        right=z.Table(
            axes=([5, 6], z.TableAxis(independent_vector=[0, 1], **EXTRAPOLATE)),
            values=random.random((2, 2)),
        ),
    )
)
TABLES = {"one": ONE, "two": TWO, "wide": WIDE, "line": LINE, "constant": CONSTANT}
FUNCTIONS = {**TABLES, "tree": TREE, "branch": TREE.element}
FUNCTIONS.update({f"frozen {name}": function.freeze() for name, function in FUNCTIONS.items()})


def points_of(function, count):
    """Points inside, outside, at breakpoints, and without a coordinate."""
    points = random.uniform(-1, 7, (count, function.dimension))
    points[::3] = random.choice([0.0, 0.5, 1.0, 2.0, 3.0, 5.0], points[::3].shape)
    points[::11] = numpy.nan
    return points


@pytest.fixture(params=FUNCTIONS)
def function(request):
    return FUNCTIONS[request.param]


def test_values():
    assert ONE((0.5, 2)) == 3.5 and ONE([0.25, 3]) == 1.0 and ONE((9, 9)) == 7.0
    assert WIDE([3.5, 3]) == 14.0 and LINE(0.25) == 2.0 and CONSTANT(()) == CONSTANT([]) == 4.0
    assert TREE([5.5, 0.5]).shape == (3,) and numpy.isnan(TREE([1.5, 0.5])).all()
    assert numpy.isnan(TREE([0.5, 0.5])).tolist() == [False, True, True]
    assert not numpy.isnan(TREE([5.5, 9])[0]) and numpy.isnan(TREE([9, 9])).all()
    assert numpy.isnan(ONE([numpy.nan, 1]))


def test_blocks_have_the_bits_of_single_points(function):
    n = function.dimension
    points = points_of(function, 60)
    values, gradient = function.value_and_gradient(points)
    tail = function(points[:1]).shape[1:]
    assert values.shape == (60, *tail) and gradient.shape == (60, *tail, n)
    for point, value, slope in zip(points, values, gradient):
        assert bits(function(point)) == bits(value) == bits(function(tuple(point)))
        assert bits(function.gradient(point)) == bits(slope)
        single = function.value_and_gradient(point)
        assert type(single[0]) is type(function(point)) and type(single[1]) is numpy.ndarray
        assert bits(single[0]) == bits(value) and bits(single[1]) == bits(slope)
    for shape in ((60,), (3, 4, 5), (0,), (2, 0), (1, 1)):
        block = numpy.ascontiguousarray(points[: math.prod(shape)]).reshape(*shape, n)
        for result, expected in (
            (function(block), values),
            (function.gradient(block), gradient),
        ):
            assert result.dtype == float and result.flags.c_contiguous and result.flags.writeable
            assert result.shape == shape + expected.shape[1:]
            assert bits(result) == bits(expected[: math.prod(shape)])


def test_tuples_have_the_coordinates_apart():
    x, y = numpy.linspace(-1, 3, 5), numpy.linspace(0, 4, 7)
    grid = numpy.stack(numpy.meshgrid(x, y, indexing="ij"), axis=-1)
    for function in (ONE, TWO, TREE, TREE.freeze()):
        assert bits(function((x[:, None], y))) == bits(function(grid))
        assert bits(function(tuple(numpy.meshgrid(x, y, indexing="ij")))) == bits(function(grid))
        assert bits(function((0.5, y))) == bits(function([(0.5, item) for item in y]))
        assert bits(function.gradient((x[:, None], y))) == bits(function.gradient(grid))
    assert bits(LINE((x,))) == bits(LINE(x)) == bits(LINE(x[:, None]))
    assert LINE((x[:, None] + y,)).shape == (5, 7) and type(LINE((0.5,))) is float
    assert type(ONE((numpy.float64(1), 2))) is type(ONE((1, 2))) is float
    assert LINE([1]).shape == (1,) and LINE(numpy.array(1)) == LINE(1)


@pytest.mark.parametrize(
    "points, exception, text",
    [
        ([1.0], ValueError, r"shape \(\.\.\., 2\), got one of shape \(1,\)"),
        (1.0, ValueError, r"got one of shape \(\)"),
        ([[1.0, 2.0, 3.0]], ValueError, r"got one of shape \(1, 3\)"),
        ([], ValueError, r"got one of shape \(0,\)"),
        ((1.0,), ValueError, r"a tuple of 2 array\(s\), .*got 1"),
        ((1.0, 2.0, 3.0), ValueError, "got 3"),
        (([1, 2], [1, 2, 3]), ValueError, r"\(\(2,\), \(3,\)\)"),
        ("12", TypeError, "an array of numbers, got '12'"),
        (["1", "2"], TypeError, "dtype <U1"),
        ([1j, 2.0], TypeError, "complex128"),
        ([[1], [2, 3]], TypeError, "an array of numbers"),
        ([10**400, 2], TypeError, "dtype object"),
        (None, TypeError, "dtype object"),
    ],
)
def test_wrong_points_are_named(points, exception, text):
    for function in (ONE, TWO, TREE, ONE.freeze(), TREE.freeze()):
        for call in (function, function.gradient, function.value_and_gradient):
            with pytest.raises(exception, match=f"^points: .*{text}"):
                call(points)
    with pytest.raises(TypeError, match=r"^points\[1\]: .*dtype <U1"):
        ONE((1.0, ["a"]))
    with pytest.raises(ValueError, match=r"\(\.\.\., 1\) or \(m,\), got one of shape \(2, 3\)"):
        LINE(numpy.zeros((2, 3)))


def test_gradients_are_those_of_the_cells():
    assert ONE.gradient([0.25, 2]).tolist() == [6.0, -1.0]
    inside = random.uniform([0, 1], [2, 3], (50, 2))
    values, gradient = TWO.value_and_gradient(inside)
    for axis, step in enumerate(1e-7 * numpy.eye(2)):
        slope = (TWO(inside + step) - TWO(inside - step)) / 2e-7
        assert numpy.allclose(gradient[..., axis], slope, atol=1e-5)
    # The end cell's slope at an end, 0 beyond one that limits, and the last slope beyond another.
    assert LINE.gradient([-1, 0, 0.5, 2, 3]).ravel().tolist() == [0, 4, -1 / 1.5, -1 / 1.5, 0]
    assert WIDE.gradient([-1, 3])[0] == WIDE.gradient([0, 3])[0] == 4.0
    assert z.Table(axes=([1],), values=[5]).gradient(1).tolist() == [0]
    assert numpy.isnan(TREE.gradient([1.5, 0.5])).all()


def test_axes_and_values():
    for shape in ((), (1,), (4,), (2, 3), (2, 3, 4)):
        axes = tuple(numpy.arange(float(size)) for size in shape)
        for tail in ((), (2,), (0,)):
            values = random.random(shape + tail)
            table = z.Table(axes=axes, values=values)
            assert [axis.tolist() for axis in table.axes] == [axis.tolist() for axis in axes]
            assert table.dimension == len(shape) and bits(table.values) == bits(values)
            assert table.values.shape == values.shape and not table.values.flags.writeable
            at = numpy.array(list(itertools.product(*axes))).reshape(*shape, len(shape))
            assert bits(table(at)) == bits(values)
    assert z.Table(axes=(z.TableAxis(),), values=[]).values.shape == (0,)
    flat = z.Table(axes=(X, Y), values=numpy.arange(6.0).reshape(3, 2)).dependent_data
    assert flat[0].tolist() == [0, 2, 4, 1, 3, 5]
    assert z.Table(axes=(X,), values=random.random((3, 1)).astype("f4")).values.shape == (3,)
    short = z.Table(
        independent_data=[z.TableAxis(independent_vector=X)], dependent_data=[[1, 2], [1, 2, 3, 4]]
    )
    assert bits(short.values) == bits([[1, 1], [2, 2], [numpy.nan, 3]])
    assert ONE.bounds.tolist() == [[0, 2], [1, 3]] and TREE.bounds.tolist() == [[0, 6], [0, 2]]
    assert z.Table(axes=numpy.array(X), values=[1, 2, 3]) == z.Table(axes=(X,), values=[1, 2, 3])
    many = numpy.ones((1,) * 32)
    assert z.Table(axes=[[0]] * 32, values=many).values.shape == many.shape
    with pytest.raises(ValueError, match="^values: maximum supported dimension.* 32"):
        z.Table(independent_data=[z.TableAxis(independent_vector=[0])] * 33).values
    assert ONE.freeze().bounds.tolist() == ONE.bounds.tolist() and CONSTANT.bounds.shape == (0, 2)


@pytest.mark.parametrize(
    "keywords, exception, text",
    [
        ({"axes": (X,)}, TypeError, "values is missing"),
        ({"values": [1]}, TypeError, "axes is missing"),
        ({"axes": 1, "values": [1]}, TypeError, "^axes: "),
        ({"axes": (1,), "values": [1]}, ValueError, r"^axes\[0\]: .*shape"),
        ({"axes": (X, "a"), "values": [1]}, TypeError, r"^axes\[1\]: "),
        ({"axes": ([],), "values": []}, ValueError, r"^axes\[0\]: .*shape"),
        ({"axes": ([0, 0],), "values": [1, 1]}, ValueError, r"^axes\[0\]: .*strictly"),
        ({"axes": ([0, 2, 1],), "values": [1, 1, 1]}, ValueError, r"^axes\[0\]: .*strictly"),
        ({"axes": ([0, math.inf],), "values": [1, 1]}, ValueError, r"^axes\[0\]: .*finite"),
        ({"axes": ([0, math.nan],), "values": [1, 1]}, ValueError, r"^axes\[0\]: .*finite"),
        ({"axes": (X,), "values": [1, 2]}, ValueError, r"^values: .* \(3,\) or \(3, k\), .*\(2,\)"),
        ({"axes": (X, Y), "values": numpy.zeros((2, 3))}, ValueError, r"^values: .*\(3, 2, k\)"),
        ({"axes": (X,), "values": [1, 2, 1j]}, TypeError, "^values: .*complex128"),
        ({"axes": (X,), "values": [[1], [2, 3]]}, TypeError, "^values: "),
        ({"axes": (X,), "values": [1, 2, 3], "dependent_data": []}, TypeError, "dependent_data"),
        ({"axes": (X,), "values": [1, 2, 3], "alfa": 1}, TypeError, "alfa"),
    ],
)
def test_wrong_axes_and_values_are_named(keywords, exception, text):
    with pytest.raises(exception, match=text):
        z.Table(**keywords)


def test_a_change_reaches_the_next_call():
    table = copy.copy(LINE)
    frozen = table.freeze()
    point = 0.25
    before = table(point)
    table.dependent_data = [[10, 30, 20]]
    assert table(point) == 20.0 and frozen(point) == before == LINE(point)
    table.set_params(independent_data=[z.TableAxis(independent_vector=[0, 0.25, 1])])
    assert table(point) == 30.0 and table.freeze()(point) == 30.0
    table.values = numpy.arange(6.0).reshape(3, 2)
    assert bits(table(point)) == bits([2.0, 3.0]) and bits(table.values[1]) == bits([2.0, 3.0])
    table.values = [10, 30, 20]
    with pytest.raises(ValueError, match=r"^values: .*\(3,\) or \(3, k\)"):
        table.values = [10, 30]
    with pytest.raises(TypeError):
        table.dependent_data = [["a"]]
    assert table(point) == 30.0

    composite = z.CompositeFunction(table)
    assert composite(point) == 30.0
    composite.element = LINE
    assert composite(point) == before
    composite.element = None
    assert composite == z.CompositeFunction()
    with pytest.raises(ValueError, match="^element: there is none"):
        composite(point)

    branch = z.CompositeBranch(left=table, right=LINE)
    assert branch(point) == 30.0
    table.dependent_data = [[0, 0, 0]]
    assert branch(point) == 30.0  # it has a copy
    branch.left = table
    assert branch(point) == 0.0


def test_the_search_option_linear_bisects():
    axis = z.TableAxis(independent_vector=[0.0, 0.1, 0.2, 3.0])
    table = z.Table(axes=(axis,), values=[0, 1, 0, 9])
    points = random.random(50) * 3
    bisecting = z.Table(axes=(axis.independent_vector,), values=[0, 1, 0, 9])
    assert bits(table(points)) == bits(bisecting(points))


def test_children_of_a_branch():
    branch = z.CompositeBranch(left=ONE, right=WIDE)
    assert branch.get_params() == {"left": ONE, "right": WIDE}
    with pytest.raises(AttributeError, match="'left'.*read-only"):
        branch.left.dependent_data = []
    for change in (
        lambda: z.CompositeBranch(left=ONE),
        lambda: z.CompositeBranch(right=ONE),
        lambda: setattr(branch, "left", None),
        lambda: branch.set_params(right=None),
    ):
        with pytest.raises(ValueError, match="^(left|right): missing; a branch has two children"):
            change()
    for wrong in (1, z.NelderMead(), TREE):
        with pytest.raises(TypeError, match="^left: expected a Table, a CompositeBranch or None"):
            branch.left = wrong
    assert branch == z.CompositeBranch(left=ONE, right=WIDE)
    branch.right = branch  # a copy of itself
    assert branch.right.right == WIDE and branch.right.left == branch.left == ONE
    assert branch.set_params(left=None, right=None) == z.CompositeBranch()
    part = TREE.element.left
    assert z.CompositeBranch(left=part, right=part)([0.5, 0.5]).tobytes() == bits(part([0.5, 0.5]))
    with pytest.raises(AttributeError, match="read-only"):
        part.set_params(left=ONE, right=ONE)


def test_equality_does_not_depend_on_calls(function):
    if isinstance(function, (z.FrozenTable, z.FrozenComposite)):
        assert copy.copy(function) is copy.deepcopy(function) is function
        assert "Frozen" in repr(function) and str(function.dimension) in repr(function)
        with pytest.raises(TypeError, match="cannot pickle a Frozen.*pickle the element"):
            pickle.dumps(function)
        return
    twin = z.from_xml(function.to_xml())
    twin(points_of(twin, 3))
    for other in (twin, pickle.loads(pickle.dumps(twin)), copy.copy(twin)):
        assert other == function
        assert bits(other(points_of(other, 0))) == b""
        points = points_of(other, 20)
        assert bits(other(points)) == bits(function(points))
    if not isinstance(function, z.CompositeFunction):
        assert z.CompositeFunction(function).element == function


def test_two_threads_share_a_frozen_function(function):
    points = numpy.concatenate([points_of(function, 40)] * 1000)
    expected = bits(function.value_and_gradient(points[:40])[1]) * 1000
    with ThreadPoolExecutor(2) as executor:
        for gradient in executor.map(function.gradient, [points] * 4):
            assert bits(gradient) == expected


def test_a_change_during_a_block_of_another_thread():
    """A block that has begun has the values of the table at its beginning."""
    table = copy.copy(LINE)
    points = numpy.full(200_000, 0.25)
    allowed = {float(value) for value in range(100)}
    with ThreadPoolExecutor(1) as executor:
        blocks = [executor.submit(table, points) for _ in range(20)]
        for value in range(100):
            table.dependent_data = [[value] * 3]
        for block in blocks:
            assert len(set(block.result().tolist())) == 1 and block.result()[0] in allowed


def test_frozen_functions_have_no_constructor():
    for kind in (z.FrozenTable, z.FrozenComposite):
        with pytest.raises(TypeError):
            kind()


def test_memory_is_released():
    table = z.Table(axes=(numpy.arange(1e5),), values=numpy.zeros(100_000))
    part = z.CompositeFunction(table).element
    points = numpy.zeros((1000, 1))

    def use():
        for _ in range(10):
            frozen = copy.copy(table).freeze()
            frozen(points), part(points), copy.copy(part)(points), table.values

    def resident():
        with open("/proc/self/statm") as sizes:
            return int(sizes.read().split()[1]) * 4096

    use()
    before = resident()
    use()
    assert resident() - before < 5e6
    assert sys.getrefcount(points) == 2


# The examples of SciPy's page on RegularGridInterpolator, with the answers that it prints, or gives
# where it only plots them.


def test_page_of_scipy_values_at_points():
    axes = numpy.linspace(1, 4, 11), numpy.linspace(4, 7, 22), numpy.linspace(7, 9, 33)
    xg, yg, zg = numpy.meshgrid(*axes, indexing="ij", sparse=True)
    interp = z.Table(axes=axes, values=2 * xg**3 + 3 * yg**2 - zg)
    pts = numpy.array([[2.1, 6.2, 8.3], [3.3, 5.2, 7.1]])
    assert interp(pts).round(8).tolist() == [125.80469388, 146.30069388]


def test_page_of_scipy_extrapolation():
    x, y = numpy.array([-2, 0, 4]), numpy.array([-2, 0, 2, 5])
    xg, yg = numpy.meshgrid(x, y, indexing="ij")
    axes = [z.TableAxis(independent_vector=axis, **EXTRAPOLATE) for axis in (x, y)]
    interp = z.Table(axes=axes, values=xg**2 + yg**2)
    grid = tuple(numpy.meshgrid(*[numpy.linspace(-4, 9, 31)] * 2, indexing="ij"))
    assert interp((-4.0, -4.0)) == 16.0 and interp((9.0, 9.0)) == 36.0 + 53.0
    scipy = pytest.importorskip("scipy.interpolate")
    peer = scipy.RegularGridInterpolator(
        (x, y), xg**2 + yg**2, bounds_error=False, fill_value=None
    )
    assert numpy.allclose(interp(grid), peer(grid), rtol=1e-13)

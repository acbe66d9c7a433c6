"""Calls of scalar functions and of unitary maps, and the arrays that calls take."""

import sys
import threading

import numpy
import pytest

import zeibreku as z

LINE = z.LinearScalarFunction(start_value=1.0, end_value=4.0)
ROOF = z.MultipointScalarFunction(domain_values=[0, 1, 3], range_values=[0, 10, 0])
FUNCTIONS = [
    LINE,
    ROOF,
    z.PowerUnitaryMap(exponent=3),
    z.SCurveUnitaryMap(center=0.25, initial_slope=0.5),
    z.ScalarFunctionContainer(ROOF),
    z.UnitaryMapContainer(z.PowerUnitaryMap(exponent=0.5)),
]
NUMBERS = numpy.array([-0.5, -0.0, 0.25, 0.3, 1.0, 7.0, numpy.inf, numpy.nan])


def bits(values):
    return numpy.asarray(values).tobytes()


def test_values():
    assert LINE(0.5) == 2.5 and LINE(-1) == -2.0
    assert ROOF(numpy.float32(2.0)) == 5.0 and z.PowerUnitaryMap(exponent=2)(0.5) == 0.25
    assert z.SCurveUnitaryMap(center=0.25)(0.25) == pytest.approx(0.5)
    assert z.SCurveUnitaryMap()([0, 0.5, 1]).tolist() == [0, 0.5, 1]
    curve = z.SCurveUnitaryMap()
    before = curve(0.3)
    curve.center_slope = 8.0
    assert curve(0.3) < before
    assert z.ScalarFunctionContainer()(3) == 3.0


@pytest.mark.parametrize("function", FUNCTIONS, ids=lambda f: type(f).__name__)
def test_arrays_have_the_bits_of_single_calls(function):
    each = numpy.array([function(float(x)) for x in NUMBERS])
    assert type(function(0.5)) is type(function(1)) is type(function(numpy.array(0.5))) is float
    for x in (NUMBERS, NUMBERS.reshape(2, 4), list(NUMBERS), NUMBERS[:, None]):
        values = function(x)
        assert values.dtype == float and values.shape == numpy.shape(x)
        assert bits(values.ravel()) == bits(each)
    long = numpy.tile(NUMBERS, 1000)  # evaluated without the GIL
    assert bits(function(long)) == bits(numpy.tile(each, 1000))
    assert function(long[::-3]).tobytes() == bits(numpy.tile(each, 1000)[::-3])
    assert function([]).shape == (0,) and function(numpy.empty((2, 0, 3))).shape == (2, 0, 3)


@pytest.mark.parametrize(
    "x", ["1", ["1"], 1j, numpy.array([1j]), None, [None], [[1], [1, 2]], {}, numpy.array(["a"])]
)
def test_what_is_no_number_is_named(x):
    for function in (LINE, FUNCTIONS[2]):
        with pytest.raises(TypeError, match="^x: expected an array of numbers"):
            function(x)


def strange(array):
    """The same numbers as arrays that cannot be used as they are, and with what cannot be seen."""
    wide = numpy.full((*array.shape, 2), 99.0)
    wide[..., 0] = array
    packed = numpy.zeros(array.shape, dtype=[("pad", "i1"), ("x", "f8")])
    packed["x"] = array
    bytes_apart = numpy.zeros(8 * array.size + 1, numpy.uint8)[1:].view(float).reshape(array.shape)
    bytes_apart[...] = array
    fixed = array.copy()
    fixed.flags.writeable = False
    return {
        "plain": array,
        "strided": wide[..., 0],
        "reversed": array[::-1].copy()[::-1],
        "fortran": numpy.asfortranarray(array),
        "swapped": array.astype(">f8"),
        "packed": packed["x"],
        "unaligned": bytes_apart,
        "read-only": fixed,
        "long double": array.astype(numpy.longdouble),
        "list": array.tolist(),
        "masked": numpy.ma.masked_array(array),
    }


@pytest.mark.parametrize("kind", strange(numpy.zeros((1, 1))))
def test_every_layout_has_the_same_values(kind):
    points = numpy.random.default_rng(1).random((6, 2))
    given = strange(points)[kind]
    assert bits(ROOF(given)) == bits(ROOF(points.copy()))
    table = z.Table(axes=([0, 1], [0, 0.5, 1]), values=[[0, 1, 5], [7, 2, 1]])
    assert bits(table(given)) == bits([table(tuple(point)) for point in points.tolist()])
    again = z.Table(axes=([0, 1, 2, 3, 4, 5], [0, 1]), values=given)
    assert bits(again.values) == bits(points)


@pytest.mark.parametrize("dtype", ["f2", "f4", "i1", "u8", "i8", "?"])
def test_other_types_are_converted(dtype):
    numbers = numpy.array([[0, 1], [1, 1]]).astype(dtype)
    assert bits(LINE(numbers)) == bits(LINE(numbers.astype(float)))


def test_arguments_are_read_and_results_are_new():
    numbers = numpy.array([0.25, 0.5])
    first, second = LINE(numbers), LINE(numbers)
    assert not numpy.shares_memory(first, numbers) and not numpy.shares_memory(first, second)
    first[:] = 0.0
    assert numbers.tolist() == [0.25, 0.5] and LINE(numbers).tolist() == [1.75, 2.5]


def runs_while(call, most):
    """How often another thread has made the call when this one runs: it stops the other one."""
    ready, stop = threading.Lock(), []
    calls = []

    def work():
        ready.release()
        while not stop and len(calls) < most:
            call()
            calls.append(None)

    ready.acquire()
    thread = threading.Thread(target=work)
    thread.start()
    ready.acquire()
    stop.append(True)
    thread.join()
    return len(calls)


@pytest.fixture
def no_switches():
    """Threads take turns only where the GIL is released."""
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000.0)
    yield
    sys.setswitchinterval(interval)


def test_the_gil_is_released_for_large_blocks_only(no_switches):
    table = z.Table(axes=([0, 1], [0, 1]), values=[[0, 1], [2, 3]])
    tree = z.CompositeFunction(z.CompositeBranch(left=table, right=table))
    for call, points in [
        (LINE, numpy.zeros(100_000)),
        (table, numpy.zeros((100_000, 2))),
        (table.freeze(), numpy.zeros((100_000, 2))),
        (table.freeze().gradient, numpy.zeros((100_000, 2))),
        (tree, numpy.zeros((100_000, 2))),
    ]:
        assert runs_while(lambda: call(points), 10_000) < 10_000
        assert runs_while(lambda: call(points[:10]), 1000) == 1000

"""Constraints, quadrature, random fields and lint, with the bits of the C++ library."""

import contextlib
import copy
import ctypes
import functools
import gc
import itertools
import math
import operator
import os
import pathlib
import pickle
import re
import signal
import subprocess
import sys
import threading

import numpy
import pytest

import zeibreku as z

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "guide" / "checking.md"
LINEAR = z.LinearConstraint(
    offset=-1.0, first_order_indices=[0, 2], first_order_coefficients=[0.1, -0.7]
)
QUADRATIC = z.QuadraticConstraint(
    offset=0.3,
    first_order_indices=[1],
    first_order_coefficients=[0.9],
    second_order_index_pairs=[[0, 0], [0, 2]],
    second_order_coefficients=[1.1, -0.7],
)
TENT = z.LinearScalarFunction(start_value=1.0, end_value=0.5)


def lorentz(x):
    return 2.0 / (1.0 + x * x)


def hexes(values):
    """The bits of an array of any shape, as C++ prints them with %a."""
    return [float(value).hex() for value in numpy.ravel(values)]


def floats(text):
    return hexes([float.fromhex(word) for word in text.split()])


# --- Constraints.

POINTS = [[0.1, 0.2, 0.3], [-1.5, 2.5, 1e-3]]
VALUES = {
    "linear": floats("-0x1.3333333333333p+0 -0x1.2694467381d7dp+0"),
    "quadratic": floats("0x1.e147ae147ae14p-2 0x1.41aacd9e83e42p+2"),
}
GRADIENTS = {
    "linear": floats("0x1.21a1851ff630bp-3 0x0p+0 -0x1.fadaa8f7eed52p-1") * 2,
    "quadratic": floats(
        "0x1.6af867c841789p-7 0x1.fe6d51f19c0f8p-1 -0x1.3d995acf39483p-4 "
        "-0x1.d839f59beee53p-1 0x1.0185fe59dc514p-2 0x1.2c71a8be2bb41p-2"
    ),
}
CONSTRAINTS = pytest.mark.parametrize(
    "name, constraint",
    [
        ("linear", LINEAR),
        ("quadratic", QUADRATIC),
        ("quadratic", z.ConstraintContainer(QUADRATIC)),
    ],
)


@CONSTRAINTS
def test_constraints_have_the_bits_of_cpp(name, constraint):
    before = copy.copy(constraint)
    x = numpy.array(POINTS)
    for points, shape in (
        (x, (2,)),
        (POINTS, (2,)),
        (x.reshape(1, 2, 1, 3), (1, 2, 1)),
        (numpy.asfortranarray(x), (2,)),
        (numpy.repeat(x, 2, axis=1)[:, ::2], (2,)),
        (x[::-1][::-1], (2,)),
        (tuple(x.T), (2,)),
        ((x[:, :1].reshape(2, 1), x[:, 1:2], x[:, 2:]), (2, 1)),
        (numpy.frombuffer(x.tobytes()).reshape(2, 3), (2,)),
    ):
        values, gradients = constraint(points), constraint.gradient(points)
        assert values.shape == shape and gradients.shape == (*shape, 3)
        assert hexes(values) == VALUES[name] and hexes(gradients) == GRADIENTS[name]
    for point in (POINTS[1], tuple(POINTS[1]), x[1]):
        assert type(constraint(point)) is float and hexes(constraint(point)) == VALUES[name][1:]
        assert hexes(constraint.gradient(point)) == GRADIENTS[name][3:]
    # As many points as the GIL is released for.
    many = numpy.tile(x, (800, 1))
    assert hexes(constraint(many)) == VALUES[name] * 800
    assert hexes(constraint.gradient(many)) == GRADIENTS[name] * 800
    assert constraint == before  # the last gradient is none of its value


def test_points_of_other_types_and_lengths():
    for dtype in ("f4", "i8", "u1", "?", ">f8"):
        x = numpy.array([[1, 0, 1], [0, 1, 1]], dtype)
        assert hexes(QUADRATIC(x)) == hexes(QUADRATIC(x.astype(float)))
    one = z.LinearConstraint(first_order_indices=[0], first_order_coefficients=[2.0])
    assert one([3.0]) == one((3.0,)) == 6.0 and one(numpy.array([3.0])).__class__ is float
    assert one([[3.0], [4.0]]).tolist() == [6.0, 8.0] and one.gradient([3.0]).tolist() == [1.0]
    assert one([]) == one(()) == 0.0 and one(numpy.empty((2, 0))).tolist() == [0.0, 0.0]
    assert one(numpy.empty((0, 4))).shape == (0,)
    assert one.gradient(numpy.empty((3, 0, 4))).shape == (3, 0, 4)


@pytest.mark.parametrize(
    "x, exception, text",
    [
        (3.0, ValueError, r"shape \(\.\.\., n\)"),
        ("ab", TypeError, "array of numbers"),
        (["a"], TypeError, "<U1"),
        ([1j], TypeError, "complex"),
        (None, TypeError, "object"),
        ([[1.0], [1.0, 2.0]], TypeError, "array of numbers"),
        (([1.0, 2.0], [1.0, 2.0, 3.0]), ValueError, "broadcast"),
    ],
)
def test_a_wrong_point_is_named(x, exception, text):
    for call in (LINEAR, LINEAR.gradient):
        with pytest.raises(exception, match=f"^x: .*{text}"):
            call(x)
    for call in (z.ConstraintContainer(), z.ConstraintContainer().gradient):
        with pytest.raises(ValueError, match="^element: .*empty"):
            call([1.0])


# --- Quadrature.

INTEGRALS = {
    2: "0x1.75fa68fae3f6dp+0",
    7: "0x1.660ad0c014dadp+0",
    10: "0x1.660b0274a4b0bp+0",
    128: "0x1.660b02c736a08p+0",
}


@pytest.mark.parametrize("order", INTEGRALS)
def test_integrals_have_the_bits_and_the_order_of_cpp(order):
    rule = z.GaussQuadrature(order)
    single, blocks = [], []

    def f(x):
        (single if isinstance(x, float) else blocks).append(x)
        return 1.0 / (1.0 + x * x)

    for vectorized in (True, False):
        value = rule.integrate(f, -0.3, 2, vectorized)
        assert type(value) is float and value.hex() == INTEGRALS[order]
    assert len(blocks) == 1 and hexes(blocks[0]) == hexes(single)
    # First the middle, then pairs from the inside out.
    abscissas, weights = rule.abscissas_and_weights()
    del rule
    gc.collect()
    middle, half, odd = 0.85, 1.15, order % 2
    assert single[:odd] == [middle] * odd
    assert single[odd::2] == [middle + half * x for x in abscissas[odd:]]
    assert single[odd + 1 :: 2] == [middle - half * x for x in abscissas[odd:]]
    assert math.isclose(2.0 * weights.sum() - odd * weights[0], 2.0, rel_tol=1e-14)
    assert not weights.flags.writeable and not abscissas.flags.owndata


def test_a_function_may_change_its_rule_or_raise():
    rule = z.GaussQuadrature(7)
    error = LookupError("here")

    def change(x):
        rule.order = 10
        return 1.0 / (1.0 + x * x)

    def bad(x):
        raise error

    for vectorized in (True, False):
        rule.order = 7
        assert rule.integrate(change, -0.3, 2, vectorized).hex() == INTEGRALS[7]
        with pytest.raises(LookupError) as caught:
            rule.integrate(bad, 0, 1, vectorized)
        assert caught.value is error
        assert rule.integrate(change, -0.3, 2, vectorized).hex() == INTEGRALS[10]
    assert rule.integrate(lambda x: x.astype(int), 0, 1) == 0.0


@pytest.mark.parametrize(
    "call, exception, text",
    [
        (lambda: z.GaussQuadrature(21), ValueError, "order: .*128, got 21"),
        (lambda: z.GaussQuadrature(order=0), ValueError, "order: .*got 0"),
        (lambda: z.GaussQuadrature(7).set_params(order=1), ValueError, "order: .*got 1"),
        (lambda: z.GaussQuadrature("7"), TypeError, "order: .*integer"),
        (lambda: z.GaussQuadrature().integrate(3, 0, 1), TypeError, "f: .*callable"),
        (lambda: z.GaussQuadrature().integrate(abs, "0", 1), TypeError, "a: .*number"),
        (lambda: z.GaussQuadrature().integrate(abs, 0, math.inf), ValueError, "b: .*finite"),
        (lambda: z.GaussQuadrature().integrate(lambda x: 1.0, 0, 1), ValueError, r"f: .*\(\)"),
        (lambda: z.GaussQuadrature().integrate(lambda x: x[1:], 0, 1), ValueError, r"f: .*\(9,\)"),
        (lambda: z.GaussQuadrature().integrate(lambda x: x * 1j, 0, 1), TypeError, r"f\(x\): "),
        (lambda: z.GaussQuadrature().integrate(str, 0, 1, False), TypeError, "f: .*number"),
        (lambda: z.GaussQuadrature().integrate(abs, 0, 1, "no"), TypeError, "vectorized: .*'no'"),
        (lambda: z.GaussQuadrature().integrate(numpy.complex128, 0, 1, False), TypeError, "f: .*n"),
    ],
)
def test_a_wrong_rule_or_integrand_is_named(call, exception, text):
    with pytest.raises(exception, match=f"^{text}"):
        call()


def test_a_document_may_have_an_unknown_order():
    rule = z.GaussQuadrature.from_xml(z.GaussQuadrature(7).to_xml().replace("7<", "21<"))
    assert rule.order == 21 and pickle.loads(pickle.dumps(rule)) == rule
    with pytest.raises(ValueError, match="^order: .*got 21"):
        rule.integrate(numpy.cos, 0, 1)
    with pytest.raises(ValueError, match="^order: .*got 1"):
        rule.order = 1
    rule.order = 7
    with pytest.raises(ValueError, match="^order: "):
        rule.order = 8000
    assert rule == z.GaussQuadrature(7)


# --- Random fields.

FIELDS = floats(
    "0x1.fa3e34ee8e519p+1 0x1.de74539c503cbp+1 0x1.e332698106c06p+1 "
    "0x1.c4dedfdcd00a2p+1 0x1.2378925c330b6p+2 0x1.2378925c330b6p+2 "
    "0x1.871281cd1536bp+0 -0x1.115e6ba65fb19p-1 -0x1.4a5e2acf9bbc9p-1 "
    "0x1.106ed774eda2ap+0 0x1.99bab70643a8ap-1 0x1.99bab70643a8ap-1"
)
ROW = floats("0x1.20d02fc110b39p-2 0x1.21d95b16b0bf7p+0 0x1.3fb1015f8c732p-1 0x1.5c9c2432c615cp-1")


def test_fields_have_the_bits_of_cpp_in_any_shape():
    field = z.RandomField(lorentz, 0.5, mean=3, num_random_samples=20)
    assert hexes(field((2, 3), seed=11)) == FIELDS[:6]
    for shape in ((2, 2, 3), [2, 1, 2, 3], (1, 2, numpy.int8(2), 3)):
        array = field(shape, seed=11)
        assert array.shape == tuple(shape) and hexes(array) == FIELDS
    for function in (TENT, z.ScalarFunctionContainer(TENT), lambda d: 1.0 - 0.5 * d):
        row = z.RandomField(function, spacing=0.25)
        for shape in (4, (4,), numpy.array([4]), (1, 4), (1, 1, 4)):
            assert hexes(row(shape, seed=11)) == ROW
    assert field((), seed=1).shape == () and hexes(field((), seed=1)) == hexes(field(1, seed=1))
    for shape in (0, (0, 3), (3, 0), (0, 2, 3), (2, 0, 0)):
        assert field(shape).shape == (shape if isinstance(shape, tuple) else (shape,))
    again = pickle.loads(pickle.dumps(z.RandomField(TENT, 2.0)))
    assert again == eval(repr(again), vars(z)) == z.RandomField(TENT, 2.0) != z.RandomField(TENT)


STREAM = """
import zeibreku
field = zeibreku.RandomField(lambda d: 2.0 / (1.0 + d * d))
first = field((2, 3))
assert (field((2, 3), seed=1) == field((2, 3), seed=1)).all()
second = field((2, 3))
assert (field((2, 2, 3), seed=5489) == [first, second]).all() and (first != second).any()
"""


def test_without_a_seed_a_field_continues_the_shared_stream():
    subprocess.run([sys.executable, "-c", STREAM], check=True)


def test_an_array_outlives_its_field():
    field = z.RandomField(copy.copy(TENT), 0.25)
    stack = field((3, 1, 4), seed=11)
    part, twin = stack[0], field((3, 1, 4), seed=11)
    assert stack.flags.owndata and stack.flags.writeable and stack.flags.c_contiguous
    twin[:] = 0.0
    del field, stack
    gc.collect()
    assert hexes(part) == ROW


def test_an_element_is_not_copied():
    tent = copy.copy(TENT)
    field = z.RandomField(tent, 0.25)
    assert hexes(field(4, seed=11)) == ROW
    tent.start_value = 4.0
    assert field.correlation is tent and hexes(field(4, seed=11)) != ROW


def test_a_correlation_may_raise_and_draw():
    error = LookupError("here")
    calls, fails = [], True

    def correlation(distance):
        calls.append(distance)
        z.RandomField(TENT)((2, 2))  # draws from the stream outside
        z.RandomField(TENT)((2, 2), seed=3)
        if fails and len(calls) == 3:
            raise error
        return lorentz(distance)

    field = z.RandomField(correlation, 0.5, 3.0, 20)
    references = sys.getrefcount(correlation)
    with pytest.raises(LookupError) as caught:
        field((2, 2, 3), seed=11)
    assert caught.value is error and calls == [0.0, 0.0, 0.5]
    error.__traceback__ = None
    del caught
    fails = False
    calls.clear()
    assert hexes(field((2, 2, 3), seed=11)) == FIELDS
    assert calls == [0.0, 0.0, 0.5, 1.0, 1.5, 2.0]  # once for all fields of a call
    assert sys.getrefcount(correlation) == references


@pytest.mark.parametrize(
    "call, exception, text",
    [
        (lambda: z.RandomField(3), TypeError, "correlation: .*got 3"),
        (lambda: z.RandomField(TENT, "1"), TypeError, "spacing: .*number"),
        (lambda: z.RandomField(TENT, 0), ValueError, "spacing: .*positive"),
        (lambda: z.RandomField(TENT, math.inf), ValueError, "spacing: .*finite"),
        (lambda: z.RandomField(TENT, math.nan), ValueError, "spacing: "),
        (lambda: z.RandomField(TENT, mean=math.nan), ValueError, "mean: .*finite"),
        (lambda: z.RandomField(TENT, num_random_samples=-1), ValueError, "num_random_samples: "),
        (lambda: z.RandomField(TENT)((2.0, 2)), TypeError, "shape: .*integers"),
        (lambda: z.RandomField(TENT)("ab"), TypeError, "shape: .*integers"),
        (lambda: z.RandomField(TENT)((2, -1)), ValueError, "shape: .*negative"),
        (lambda: z.RandomField(TENT)((-1, 2, 2)), ValueError, "shape: .*negative"),
        (lambda: z.RandomField(TENT)(65536), ValueError, "shape: .*65536"),
        (lambda: z.RandomField(TENT)(2, seed=-1), ValueError, "seed: .*got -1"),
        (lambda: z.RandomField(TENT)(2, seed=0.5), TypeError, "seed: .*integer"),
        (lambda: z.RandomField(z.ScalarFunctionContainer())(2), ValueError, "correlation: .*empty"),
        (lambda: z.RandomField(str)(2), TypeError, "correlation: .*result, got '0.0'"),
    ],
)
def test_a_wrong_field_is_named(call, exception, text):
    with pytest.raises(exception, match=f"^{text}"):
        call()


# --- Callbacks: Ctrl-C, other threads, the end of the interpreter.


def integrate(function):
    return z.GaussQuadrature(7).integrate(function, 0, 1, vectorized=False)


def make_field(function):
    return z.RandomField(function)((3, 3), seed=1)


@pytest.mark.parametrize("call", [integrate, make_field])
def test_interrupts_end_within_one_call(call):
    calls = []

    def function(x):
        calls.append(x)
        if len(calls) == 2:
            signal.raise_signal(signal.SIGINT)
        return 1.0

    with pytest.raises(KeyboardInterrupt):
        call(function)
    assert len(calls) == 2

    # Functions in C do not look for signals.
    interrupt = map(ctypes.CDLL(None)["raise"], itertools.repeat(int(signal.SIGINT)))
    numbers = itertools.count(1.0)
    values = map(operator.itemgetter(0), zip(numbers, interrupt))
    with pytest.raises(KeyboardInterrupt):
        call(functools.partial(next, values))
    assert next(numbers) == 2.0


@contextlib.contextmanager
def ready(call):
    """Gives a function that lets another thread do `call`, once somebody releases the GIL."""
    lock = threading.Lock()
    lock.acquire()

    def other():
        with lock:
            call()

    thread = threading.Thread(target=other)
    thread.start()
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)
    try:
        yield lock.release
    finally:
        sys.setswitchinterval(interval)
        thread.join()


MANY = numpy.zeros((100000, 3))  # numpy releases the GIL while it makes them
BIG = z.MultipointScalarFunction(
    domain_values=numpy.arange(20000.0), range_values=numpy.arange(20000.0)
)


@pytest.mark.parametrize(
    "call",
    [
        lambda: z.RandomField(TENT)((150, 150), seed=1),
        lambda: LINEAR(MANY),
        lambda: QUADRATIC.gradient(MANY),
        lambda: z._core._lint_text(BIG.to_xml(), [], None),
    ],
)
def test_other_threads_run_meanwhile(call):
    ran = []
    with ready(lambda: ran.append(True)) as go:
        go()
        for _ in range(1000):
            if ran:
                break
            call()
        assert ran


def test_interrupts_end_a_stack_of_fields():
    fields = numpy.full((100000, 2, 2), math.nan)
    with ready(lambda: signal.raise_signal(signal.SIGINT)) as go:
        with pytest.raises(KeyboardInterrupt):
            go()
            z._core._fill_fields(fields, TENT, 1.0, 0.0, 2000, 1)
    assert not numpy.isnan(fields[0]).any() and numpy.isnan(fields[-1]).all()


DAEMON = """
import threading, zeibreku
started = threading.Event()
def function(x):
    started.set()
    return 1.0
def run():
    while True:
        {call}
threading.Thread(target=run, daemon=True).start()
started.wait()
print("end")
"""


@pytest.mark.parametrize(
    "call",
    [
        "zeibreku.RandomField(function)((30, 30), seed=1)",
        "zeibreku.GaussQuadrature(128).integrate(function, 0, 1, vectorized=False)",
    ],
)
def test_a_daemon_thread_does_not_outlive_the_interpreter(call):
    for _ in range(3):
        ended = subprocess.run(
            [sys.executable, "-c", DAEMON.format(call=call)],
            check=True, capture_output=True, text=True, timeout=120,
        )
        assert ended.stdout == "end\n" and ended.stderr == ""


# --- Lint.


@pytest.fixture
def wing(tmp_path):
    """The faulty document of the page."""
    path = tmp_path / "wing.xml"
    path.write_text(re.search(r"```xml\n(.*?)```", PAGE.read_text(), re.S)[1])
    return path


def test_findings_have_rules_and_places(wing):
    found = z.lint(wing)
    assert [(f.rule, f.severity, f.line, f.column) for f in found] == [
        ("equal-spaced", "error", 8, 11),
        ("table-length", "error", 18, 7),
        ("finite", "warning", 20, 44),
    ]
    assert {f.file for f in found} == {str(wing)}
    assert found[1].path.endswith("dependentData/item")
    assert found[1].message.startswith("the table has 11 values, its grid 4 x 3 = 12")
    assert [f.rule for f in z.lint(os.fsencode(wing), disable=["equal-spaced", "finite"])] == [
        "table-length"
    ]
    if "ZEIBREKU_PROGRAM" in os.environ:
        run = subprocess.run(
            [os.environ["ZEIBREKU_PROGRAM"], "check", "--lint", str(wing)],
            capture_output=True, text=True,
        )
        assert run.stdout.splitlines() == [str(f) for f in found]


def test_an_element_is_linted_as_its_document(wing):
    element = z.read(wing)
    found = z.lint(element)
    # A comment of the file is none of the element.
    assert [f.rule for f in found] == ["equal-spaced", "linear-steps", "table-length", "finite"]
    line = element.to_xml().splitlines()[found[0].line - 1]
    assert found[0].file == "<string>" and line[found[0].column - 1 :].startswith("<item>5<")
    assert z.lint(z.NelderMead()) == ()


def test_a_correlation_is_linted_on_its_grid():
    box = z.MultipointScalarFunction(domain_values=[0, 10, 10.1, 20], range_values=[1, 1, 0, 0])
    assert z.lint(box) == ()
    assert [f.rule for f in z.lint(box, correlation=(50, 0.5))] == ["correlation"]
    assert z.lint(TENT, correlation=(4, 0.25)) == ()


def test_rules_are_those_of_the_page():
    rules = z.lint_rules()
    names = re.findall(r"^\| `([a-z-]+)` \|", PAGE.read_text(), re.M)
    assert [rule.name for rule in rules] == names
    assert {rule.severity for rule in rules} == {"error", "warning"}
    assert all(rule.description.endswith(".") for rule in rules)


@pytest.mark.parametrize(
    "arguments, exception, text",
    [
        ({"source": 3}, TypeError, "source: .*got 3"),
        ({"source": "a\0b"}, ValueError, "source: embedded null byte"),
        ({"disable": "finite"}, TypeError, "disable: .*'finite'"),
        ({"disable": 3}, TypeError, "disable: "),
        ({"disable": ["budgets"]}, ValueError, "disable: .*'budgets'; did you mean 'budget'"),
        ({"correlation": 3}, TypeError, "correlation: .*got 3"),
        ({"correlation": (1, 0.5)}, ValueError, r"correlation: .*got \(1, 0.5\)"),
        ({"correlation": (2, math.inf)}, ValueError, "correlation: .*finite"),
        ({"correlation": ("2", 1.0)}, TypeError, r"correlation\[0\]: .*integer"),
    ],
)
def test_a_wrong_lint_is_named(arguments, exception, text, caplog):
    with pytest.raises(exception, match=f"^{text}"):
        z.lint(**{"source": TENT, **arguments})
    assert not caplog.records


def test_a_refused_document_raises(tmp_path, caplog):
    path = tmp_path / "bad.xml"
    text = z.NelderMead().to_xml().replace("<alpha>", "<alpha>x")
    path.write_text(text)
    line = text[: text.index("<alpha>")].count("\n") + 1
    with pytest.raises(z.ReadError) as caught:
        z.lint(path)
    assert [(m.file, m.line) for m in caught.value.messages] == [(str(path), line)]
    assert not caplog.records
    none = tmp_path / "none.xml"
    for missing, error in ((none, FileNotFoundError), (tmp_path, IsADirectoryError)):
        for use in (z.lint, z.read, lambda path: z.Record(path).load()):
            with pytest.raises(error, match=re.escape(f" {str(missing)!r}")):
                use(missing)

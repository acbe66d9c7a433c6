"""Searches: results, callbacks, exceptions, workers, records."""

import concurrent.futures
import ctypes
import functools
import gc
import itertools
import math
import multiprocessing
import operator
import os
import pathlib
import pickle
import signal
import subprocess
import sys
import threading
import traceback
import types
import weakref

import numpy
import pytest
import scipy.optimize
import scipy.sparse

import failures
import zeibreku as z
from functions import bad, rosenbrock, rosenbrock_many

START = [-1.2, 1.0]
SEARCH = z.make_search(START)
FOUND = z.minimize(rosenbrock, START, max_evaluations=5)
OPTIMIZERS = [
    z.NelderMead(default_simplex_edge_length=0.5),
    z.HookeJeeves(default_edge_length=0.5, directions_mode="random"),
    z.MultidirectionalSearch(default_simplex_edge_length=0.5),
    z.ImplicitFiltering(default_simplex_edge_length=0.5),
    z.Sequence(
        optimizer_sequence=[z.HookeJeeves(max_function_evaluations=40), z.NelderMead()],
    ),
]


@pytest.fixture(params=OPTIMIZERS, ids=lambda optimizer: type(optimizer).__name__)
def optimizer(request):
    return request.param


def in_c(values):
    """A function in C, which returns the next of the values and never lets other threads run."""
    return functools.partial(next, values)


def bits(report):
    """A report without what is the run's alone."""
    names = ["reason", "best_point", "best_value", "answer_point", "answer", "evaluations"]
    values = [numpy.asarray(getattr(report, name)) for name in names]
    return [value.tobytes() if value.dtype.kind == "f" else str(value) for value in values]


@pytest.mark.skipif("ZEIBREKU_PROGRAM" not in os.environ, reason="built without the program")
def test_the_program_finds_the_same_bits(optimizer, tmp_path):
    bounds = [(-2, 2), (None, 3)]
    search = z.make_search(START, optimizer=optimizer, bounds=bounds, max_evaluations=60)
    search.write(tmp_path / "search.xml")
    functions = pathlib.Path(__file__).with_name("functions.py")
    subprocess.run(
        [os.environ["ZEIBREKU_PROGRAM"], "search", "search.xml", "--report", "report.xml"]
        + ["--record", "record", "--quiet", "--", sys.executable, "-S", "-E", str(functions)],
        cwd=tmp_path,
        check=True,
        stdout=subprocess.DEVNULL,
    )
    assert bits(z.read(tmp_path / "search.xml").run(rosenbrock)) == bits(
        z.SearchReport.read(tmp_path / "report.xml")
    )
    assert z.Record(tmp_path / "record").load().verify() == "same"


def test_every_way_to_evaluate_has_the_same_bits(optimizer, tmp_path):
    search = z.make_search(START, optimizer=optimizer, max_evaluations=150)
    plain = bits(search.run(rosenbrock))
    assert bits(search.run(rosenbrock_many, vectorized=True)) == plain
    assert bits(search.run(lambda x, a, b: rosenbrock(x), (1, 2))) == plain
    assert bits(search.run(rosenbrock, record=tmp_path / "record")) == plain
    with concurrent.futures.ThreadPoolExecutor(4) as executor:
        assert bits(search.run(rosenbrock, workers=executor)) == plain
    search.remember = False
    assert bits(search.run(rosenbrock)) == plain
    asking = z.AskTell(search)
    while not asking.finished:
        for point in asking.next(3):
            asking.tell(point, rosenbrock(point))
    assert bits(asking.report) == plain


def test_spawned_processes_find_the_same_bits():
    found = z.minimize(rosenbrock, START, workers=2, max_evaluations=30)
    assert bits(found.report) == bits(z.minimize(rosenbrock, START, max_evaluations=30).report)
    assert multiprocessing.active_children() == []
    with pytest.raises(LookupError, match="no value") as caught:
        z.minimize(bad, START, workers=2)
    assert caught.value.args[1] != os.getpid()


def test_processes_that_fail():
    found = z.minimize(failures.failing, START, workers=2, max_evaluations=30)
    assert bits(found.report) == bits(
        z.minimize(failures.failing, START, max_evaluations=30).report
    )
    assert found.report.failures > 0
    with pytest.raises(concurrent.futures.process.BrokenProcessPool, match="^fun: "):
        z.minimize(failures.dying, START, workers=2)
    with pytest.raises(TypeError, match="fun: .*cannot load it.*NameError: elsewhere"):
        z.minimize(failures.OnlyHere(), START, workers=2)
    with pytest.raises(RuntimeError, match="Unpicklable: one"):
        z.minimize(failures.unpicklable, START, workers=2)
    assert multiprocessing.active_children() == []


class Overloaded(concurrent.futures.Executor):
    """Evaluates the first point, never comes to the second, and refuses the third."""

    def __init__(self):
        self.futures = []

    def submit(self, fun, *args):
        if len(self.futures) == 2:
            raise BufferError("full")
        self.futures.append(concurrent.futures.Future())
        if len(self.futures) == 1:
            self.futures[0].set_result(fun(*args))
        return self.futures[-1]


def test_executors_of_the_user():
    raised = KeyError("one")

    def fun(x):
        raise raised

    with concurrent.futures.ThreadPoolExecutor(2) as executor:
        with pytest.raises(KeyError) as caught:
            z.minimize(fun, START, workers=executor)
        assert caught.value is raised
        with pytest.raises(TypeError, match="fun: expected a number as result, got .*j"):
            z.minimize(lambda x: numpy.complex128(1j), START, workers=executor)
    with concurrent.futures.ProcessPoolExecutor(1) as processes:
        with pytest.raises(TypeError, match="fun: .*pickle"):
            z.minimize(fun, START, workers=processes)
    with pytest.raises(RuntimeError, match="after shutdown"):
        z.minimize(rosenbrock, START, workers=executor)
    overloaded = Overloaded()
    with pytest.raises(BufferError):
        z.minimize(rosenbrock, START, optimizer=OPTIMIZERS[2], workers=overloaded)
    assert [future.cancelled() for future in overloaded.futures] == [False, True]


def test_searches_of_several_threads_at_once():
    plain = bits(z.minimize(rosenbrock, START).report)
    with concurrent.futures.ThreadPoolExecutor(8) as executor:
        searches = [executor.submit(z.minimize, rosenbrock, START) for _ in range(16)]
    assert all(bits(search.result().report) == plain for search in searches)


@pytest.mark.parametrize(
    "keywords, reason, status",
    [
        ({}, "finished", 0),
        ({"target": 0.5}, "target", 1),
        ({"stall_evaluations": 5, "stall_improvement": 1e9}, "stalled", 2),
        ({"max_evaluations": 3}, "evaluations", 3),
        ({"max_seconds": 0}, "time", 4),
        ({"callback": lambda progress: progress.evaluation == 2}, "cancelled", 5),
        ({"callback": lambda progress: numpy.True_}, "cancelled", 5),
        ({"constraints": z.LinearConstraint(offset=1.0)}, "finished", 7),  # never feasible
    ],
)
def test_reasons(keywords, reason, status):
    found = z.minimize(rosenbrock, START, **keywords)
    assert (found.reason, found.status, found["reason"]) == (reason, status, reason)
    assert found.success == (status < 3)
    assert ("No feasible point" in found.message) == (found.report.best_point.size == 0)
    assert found.x.shape == (2,) and (found.nfev == 0 or found.fun == rosenbrock(found.x))


@pytest.mark.parametrize("scales", [[1.0], [1.0] * 2, [1.0] * 4, [1e6, 1e-3]])
def test_the_default_optimizer_finds_a_symmetric_minimum(scales):
    n, sizes = len(scales), numpy.array(scales)
    for start in (0.0 * sizes, sizes):
        found = z.minimize(lambda x: ((x / sizes - 2.0) ** 2).sum(), start, scales=scales)
        assert found.success and abs(found.x / sizes - 2.0).max() < 1e-3
    valley = numpy.full(8 * n, -1.2)  # 200 evaluations for each variable are not enough
    spent = z.minimize(scipy.optimize.rosen, valley)
    assert (spent.status, spent.success, spent.report.evaluations) == (3, False, 1600 * n)
    chain = z.default_optimizer(numpy.zeros(n), 101).optimizer_sequence
    assert [part.max_function_evaluations for part in chain] == [25, 101]


def test_failures_are_passed_over_and_end_a_search_without_a_value():
    def failing(x):
        if x[0] > 0.5:
            raise z.EvaluationFailure("beyond the half")
        return rosenbrock(x)

    found = z.minimize(failing, START)
    assert found.fun < 0.251 and found.x[0] <= 0.5 and found.report.failures > 0
    with concurrent.futures.ThreadPoolExecutor(2) as executor:
        record = z.Record()
        parallel = z.minimize(failing, START, workers=executor, record=record)
    assert bits(parallel.report) == bits(found.report)
    texts = {entry["text"] for entry in record.entries.values() if entry["failed"]}
    assert texts == {"beyond the half"}

    def never(x):
        raise z.EvaluationFailure("never")

    found = z.minimize(never, START)
    assert (found.reason, found.status, found.success, found.nfev) == ("failed", 6, False, 5)
    assert math.isnan(found.fun) and list(found.x) == START


@pytest.mark.parametrize("keywords", [{}, {"remember": False}, {"record": None, "callback": print}])
@pytest.mark.parametrize("n", [2, 40])
def test_an_exception_arrives_as_the_same_object(keywords, n, capsys):
    class Own(Exception):
        pass

    raised = Own("hello")

    def inner(x):
        raise raised

    def fun(x):
        return 0.0 if x[0] == 1.0 else inner(x)

    with pytest.raises(Own) as caught:
        z.minimize(fun, numpy.ones(n), **keywords)
    assert caught.value is raised
    names = [frame.name for frame in traceback.extract_tb(raised.__traceback__)]
    assert names[0].startswith("test_an") and names[-2:] == ["fun", "inner"]
    with pytest.raises(Own):
        z.minimize(rosenbrock, START, callback=inner)


@pytest.mark.parametrize("raised", [KeyboardInterrupt, z.EvaluationFailure])
def test_exceptions_of_a_conversion_are_those_of_the_function(raised):
    class Result:
        def __array__(self, *args):
            raise raised

        __float__ = __array__

    for keywords in ({}, {"vectorized": True}):
        if raised is KeyboardInterrupt:
            with pytest.raises(raised):
                z.minimize(lambda x: Result(), START, **keywords)
        else:
            assert z.minimize(lambda x: Result(), START, **keywords).reason == "failed"


def test_interrupts_end_within_one_evaluation():
    count = 0

    def fun(x):
        nonlocal count
        count += 1
        if count == 5:
            signal.raise_signal(signal.SIGINT)
        return rosenbrock(x)

    with pytest.raises(KeyboardInterrupt):
        z.minimize(fun, START)
    assert count == 5

    # Functions in C do not look for signals.
    interrupt = getattr(ctypes.CDLL(None), "raise")
    signals = zip(itertools.repeat(1.0), map(interrupt, itertools.repeat(int(signal.SIGINT))))
    record = z.Record()
    with pytest.raises(KeyboardInterrupt):
        z.minimize(in_c(map(operator.itemgetter(0), signals)), START, record=record)
    assert len(record.entries) == 0


def test_an_array_that_is_kept_is_not_used_again():
    points, views, copies = [], [], []

    def fun(x):
        copies.append(x.copy())
        points.append(x) if len(copies) % 2 else views.append(x[:1])
        return rosenbrock(x)

    z.minimize(fun, START)
    assert all((a == b).all() for a, b in zip(points, copies[::2]))
    assert all(a[0] == b[0] for a, b in zip(views, copies[1::2]))

    seen = set()

    def spoiled(x):
        seen.add(id(x))
        value = rosenbrock(x)
        x[:] = numpy.nan
        if len(seen) == 1:
            x.shape = (2, 1)
        elif len(seen) == 2:
            x.setflags(write=False)
        return value

    assert bits(z.minimize(spoiled, START).report) == bits(z.minimize(rosenbrock, START).report)
    batches = []

    def keep(x):
        batches.append((x, x.copy()))
        return rosenbrock_many(x)

    z.minimize(keep, START, vectorized=True)
    assert all((a == b).all() for a, b in batches)


@pytest.mark.parametrize(
    "keywords, exception, text",
    [
        ({"fun": 1}, TypeError, "fun: expected a function"),
        ({"fun": lambda x: None}, TypeError, "fun: expected a number as result, got None"),
        ({"fun": lambda x: [1, 2]}, TypeError, r"fun: expected a number as result, got \[1, 2\]"),
        ({"fun": lambda x: numpy.complex128(1)}, TypeError, "fun: expected a number as result"),
        ({"fun": lambda x: numpy.array("1.5")}, TypeError, "fun: expected a number as result"),
        ({"fun": lambda x: 10**400}, ValueError, "fun: .*too large for a double"),
        ({"fun": lambda x: 1, "vectorized": True}, ValueError, r"fun: .*\(1,\).*got shape \(\)"),
        ({"fun": lambda x: ["a"] * 3, "vectorized": True}, TypeError, "fun: expected an array"),
        ({"x0": []}, ValueError, "x0: "),
        ({"x0": [[1.0]]}, ValueError, r"x0: .*\(1, 1\)"),
        ({"x0": ["a"]}, TypeError, "x0: expected an array of numbers"),
        ({"x0": [math.nan]}, ValueError, 'variable "x0": start: expected a finite number'),
        ({"optimizer": "nm"}, TypeError, "optimizer: "),
        ({"bounds": [(0, 1)]}, ValueError, "bounds: expected 2 pairs, got 1"),
        ({"bounds": [(0, 1), (2, 1)]}, ValueError, r"bounds\[1\]: .*\(2.0, 1.0\)"),
        ({"bounds": [(0, 1), (0, "5")]}, TypeError, r"bounds\[1\]: "),
        ({"bounds": [(0, 1), (0, 10**400)]}, ValueError, r"bounds\[1\]: .*too large"),
        ({"bounds": scipy.optimize.Bounds([0] * 3, 1)}, ValueError, "bounds.lb: expected 2"),
        ({"constraints": {"type": "ineq"}}, TypeError, "constraints: expected a zeibreku.Linear"),
        ({"constraints": [1]}, TypeError, r"constraints\[0\]: "),
        ({"constraints": 1}, TypeError, "constraints: "),
        (
            {"constraints": scipy.optimize.NonlinearConstraint(rosenbrock, 0, 1)},
            TypeError,
            "constraints: .*NonlinearConstraint",
        ),
        (
            {"constraints": [types.SimpleNamespace(A=[["a"]], lb=0.0, ub=1.0)]},
            ValueError,
            r"constraints\[0\]: ",
        ),
        *(
            ({"constraints": scipy.optimize.LinearConstraint(*parts)}, ValueError, text)
            for parts, text in [
                (([[1, math.nan]], 0, 1), r"^constraints: .*numbers of shape \(m, 2\) as A, got"),
                (([[1]], 0, 1), "^constraints: .*as A, got array"),
                (([[1, 1]], math.inf, math.inf), "^constraints: expected lb < inf and ub > -inf"),
            ]
        ),
        ({"max_evaluations": 0.5}, TypeError, "max_evaluations: expected an integer"),
        ({"max_evaluations": -1}, ValueError, "max_evaluations: expected an integer from 0"),
        ({"max_seconds": -1}, ValueError, "^max_seconds: expected a number from 0 on"),
        ({"target": "0.5"}, TypeError, "target: "),
        ({"target": 10**400}, ValueError, "target: .*too large"),
        ({"seed": -1}, ValueError, "seed: "),
        ({"callback": 1}, TypeError, "callback: "),
        ({"workers": 0}, ValueError, "workers: "),
        ({"workers": "2"}, TypeError, "workers: "),
        ({"workers": concurrent.futures.ThreadPoolExecutor}, TypeError, "workers: .*ThreadPool"),
        ({"workers": 2, "fun": lambda x: 1.0}, TypeError, "^fun: .*pickle"),
        ({"workers": 2, "args": lambda x: 1.0}, TypeError, "^args: .*pickle"),
        ({"vectorized": "no"}, TypeError, "vectorized: expected True or False"),
        ({"names": ["a", "a"]}, ValueError, "a name of its own"),
        ({"names": ["a"]}, ValueError, "names: expected 2"),
        ({"names": 1}, TypeError, "names: expected a list"),
        ({"names": ["a", 2]}, TypeError, r"names\[1\]: expected a string, got 2"),
        ({"scales": [1, 0]}, ValueError, "scale: expected a number"),
        ({"record": 3}, TypeError, "record: expected a path, got 3"),
        ({"record": "a\0b"}, ValueError, "record: embedded null byte"),
    ],
)
def test_what_is_refused_is_named(keywords, exception, text, caplog):
    with pytest.raises(exception, match=text):
        z.minimize(**{"fun": rosenbrock, "x0": START, **keywords})
    assert not caplog.records


def test_bounds_and_constraints_in_every_form():
    forms = [
        [(-1.5, None), (None, 0.5)],
        numpy.array([[-1.5, numpy.inf], [-numpy.inf, 0.5]]),
        scipy.optimize.Bounds([-1.5, -math.inf], [math.inf, 0.5]),
        (pair for pair in [(-1.5, math.inf), (None, 0.5)]),
    ]
    first, *others = [bits(z.minimize(rosenbrock, START, bounds=b).report) for b in forms]
    assert all(other == first for other in others)
    seen = []
    found = z.minimize(lambda x: seen.append(x[1]) or rosenbrock(x), START, bounds=forms[0])
    assert max(seen) == 0.5 and abs(found.x[1] - 0.5) < 1e-6

    own = z.LinearConstraint(
        offset=-0.5, first_order_indices=[0, 1], first_order_coefficients=[1.0, 1.0]
    )
    theirs = scipy.optimize.LinearConstraint([[1.0, 1.0]], -math.inf, 0.5)
    sparse = scipy.optimize.LinearConstraint(scipy.sparse.csr_matrix([[1.0, 1.0]]), -math.inf, 0.5)
    forms = (own, [own], theirs, sparse, (c for c in [own]))
    results = [z.minimize(rosenbrock, START, constraints=c) for c in forms]
    assert len({tuple(bits(r.report)) for r in results}) == 1
    assert results[0].x.sum() <= 0.5 + 1e-12
    above = scipy.optimize.LinearConstraint([[1.0, 1.0]], 3.0, math.inf)
    assert abs(z.minimize(rosenbrock, START, constraints=above).x.sum() - 3.0) < 1e-3


def test_a_callback_sees_every_evaluation(capsys):
    seen = []
    found = z.minimize(rosenbrock, START, callback=seen.append, max_evaluations=20)
    assert [p.evaluation for p in seen] == list(range(20))
    assert all(p.fun == rosenbrock(p.x) and not p.failed for p in seen if not p.is_from_record)
    assert seen[-1].best_fun == found.fun == min(p.fun for p in seen)
    assert (seen[-1].best_x == found.x).all()
    start = f"Progress(evaluation=19, x={seen[-1].x!r}, fun={seen[-1].fun}, failed=False, "
    assert repr(seen[-1]).startswith(start)

    def stop(progress):
        raise StopIteration

    assert z.minimize(rosenbrock, START, callback=stop).reason == "cancelled"


def test_as_a_method_of_scipy(optimizer):
    own = z.minimize(rosenbrock, START, optimizer=optimizer, bounds=[(0, 2), (None, 3)])
    best = []
    theirs = scipy.optimize.minimize(
        lambda x, a: rosenbrock(x) * a,
        START,
        args=(1.0,),
        method=optimizer,
        bounds=[(0, 2), (None, 3)],
        callback=lambda x: best.append(rosenbrock(x)),
    )
    assert isinstance(theirs, scipy.optimize.OptimizeResult)
    assert bits(theirs.report) == bits(own.report) and theirs.fun == own.fun
    assert best == sorted(set(best), reverse=True) and best[-1] == own.fun
    for keywords, name in [
        ({"jac": lambda x: x}, "jac"),
        ({"hess": lambda x: x}, "hess"),
        ({"callback": 3}, "callback: expected a function, got 3"),
        ({"hessp": lambda x, p: x}, "hessp"),
        ({"tol": 1e-3}, "tol"),
        ({"options": {"maxiter": 3}}, "maxiter: .*max_(total_steps|function_evaluations)"),
        ({"constraints": {"type": "eq", "fun": sum}}, "constraints"),
    ]:
        with pytest.raises(TypeError, match=f"^{name}"):
            scipy.optimize.minimize(rosenbrock, START, method=optimizer, **keywords)
    with pytest.raises(TypeError, match=r"^method: expected an object, such as \w+\(\), got the"):
        scipy.optimize.minimize(rosenbrock, START, method=type(optimizer))
    found = scipy.optimize.minimize(rosenbrock, START, method=optimizer, options={"maxfev": 9})
    assert found.report.evaluations == 9 and found.status == 3
    options = {"maxfev": None, "max_seconds": None, "seed": None}
    found = scipy.optimize.minimize(rosenbrock, START, method=optimizer, options=options)
    assert bits(found.report) == bits(z.minimize(rosenbrock, START, optimizer=optimizer).report)


def test_scipys_tutorial():
    """The Nelder-Mead example of SciPy's tutorial on optimization."""
    x0 = numpy.array([1.3, 0.7, 0.8, 1.9, 1.2])
    optimizer = z.NelderMead(
        default_simplex_edge_length=0.1,
        stopping_threshold=1e-16,
        max_function_evaluations=2000,
        max_total_steps=2000,
        restart_check_period=200,
    )
    ours = scipy.optimize.minimize(scipy.optimize.rosen, x0, method=optimizer)
    theirs = scipy.optimize.minimize(
        scipy.optimize.rosen, x0, method="nelder-mead", options={"xatol": 1e-8}
    )
    assert ours.success and theirs.success
    assert abs(ours.x - 1.0).max() < 1e-7 and abs(theirs.x - 1.0).max() < 1e-7


def test_nlopts_tutorial():
    """The example of NLopt's tutorial. Its constraints are not linear: as penalties of its own."""

    def fun(x):
        if x[1] < 0:
            raise z.EvaluationFailure("outside")
        return math.sqrt(x[1])

    def weighted(x):
        violations = ((a * x[0] + b) ** 3 - x[1] for a, b in ((2, 0), (-1, 1)))
        return fun(x) + 10.0 * sum(max(0.0, violation) for violation in violations)

    chain = z.default_optimizer([1.234, 5.678], 400).set_params(number_passes=5)
    found = z.minimize(weighted, [1.234, 5.678], optimizer=chain, bounds=[(None, None), (0, None)])
    assert abs(found.fun - 0.5443310476) < 1e-4
    assert abs(found.x - [1 / 3, 8 / 27]).max() < 1e-3


def test_a_record_is_resumed(tmp_path):
    path = tmp_path / "record"
    whole = z.minimize(rosenbrock, START)

    def dying(x):
        dying.left -= 1
        if dying.left < 0:
            raise KeyError
        return rosenbrock(x)

    dying.left = 30
    with pytest.raises(KeyError):
        z.minimize(dying, START, record=path)
    resumed = z.minimize(rosenbrock, START, record=path)
    assert bits(resumed.report) == bits(whole.report)
    assert resumed.nfev == whole.nfev - 30
    dying.left, parallel = 30, tmp_path / "parallel"
    with concurrent.futures.ThreadPoolExecutor(3) as executor:
        with pytest.raises(KeyError):
            z.minimize(dying, START, record=parallel, workers=executor)
        resumed = z.minimize(rosenbrock, START, record=parallel, workers=executor)
    assert bits(resumed.report) == bits(whole.report)
    record = z.Record(path).load()
    assert record.verify() == "same" and len(record.runs) == 2
    assert record.search == z.make_search(START)
    assert record.points.shape == (whole.report.evaluations, 2)
    assert list(map(rosenbrock, record.points)) == list(record.values)
    assert len(record.entries) == whole.nfev and max(record.asked) == whole.nfev - 1
    assert list(record.entries[0]["point"]) == START and record.entries[0]["failed"] is False
    with pytest.raises(ValueError, match="seed"):
        z.minimize(rosenbrock, START, record=path, seed=2)
    path.write_text("zeibreku-record 1\nx\n")
    for use in (lambda: z.minimize(rosenbrock, START, record=path), z.Record(path).load):
        with pytest.raises(z.ReadError, match=f"{path}:2"):
            use()
    with pytest.raises(ValueError, match="record: empty"):
        z.Record().verify()
    with pytest.raises(ValueError, match="^record: in memory"):
        z.Record().load()
    assert [repr(z.Record()), repr(z.Record("a b"))] == ["Record()", "Record('a b')"]


def test_a_record_in_use_is_refused():
    record = z.Record()

    def fun(x):
        with pytest.raises(RuntimeError, match="record: in use"):
            record.points
        with pytest.raises(RuntimeError, match="record: in use"):
            z.minimize(rosenbrock, START, record=record)
        return rosenbrock(x)

    assert z.minimize(fun, START, record=record, max_evaluations=3).nfev == 2
    assert record.values.shape == (3,)


def test_ask_and_tell():
    asking = z.AskTell(z.make_search(START, max_evaluations=10), z.Record())
    (first,) = asking.next()
    assert list(first) == START and (asking.next()[0] == first).all()
    asking.tell_failure(first, "lost")
    with pytest.raises(ValueError, match="point: expected 2 coordinates, got 1"):
        asking.tell([1.0], 0.0)
    assert not asking.finished and asking.report.reason == "cancelled"
    while not asking.finished:
        point = asking.next()[0]
        asking.tell(point, rosenbrock(point))
    assert asking.next(3) == [] and asking.report.reason == "evaluations"
    assert asking.report.failures == 1


@pytest.mark.parametrize(
    "call, exception, text",
    [
        (lambda asking, point: z.AskTell(z.Search()), ValueError, "^variables: expected at least"),
        (lambda asking, point: z.AskTell(asking, None), TypeError, "^search: expected a zeibreku"),
        (lambda asking, point: z.AskTell(SEARCH, __file__), z.ReadError, f"{__file__}:1"),
        (lambda asking, point: asking.next(-1), ValueError, "^count: "),
        (lambda asking, point: asking.next(2.0), TypeError, "^count: "),
        (lambda asking, point: asking.tell(point, None), TypeError, "^value: "),
        (lambda asking, point: asking.tell_failure(point, None), TypeError, "^text: "),
        (lambda asking, point: z.Record(3), TypeError, "^path: "),
        (lambda asking, point: z.Record(durable_after="a"), TypeError, "^durable_after: "),
        (lambda asking, point: z.Record(durable_after=-1), ValueError, "^durable_after: "),
        (lambda asking, point: asking.report.text([1]), TypeError, r"^names\[0\]: "),
        (lambda asking, point: FOUND.report.text("abc"), TypeError, "^names: expected a list"),
        (lambda asking, point: FOUND.report.text(["a"]), ValueError, "^names: expected 2 names"),
        (lambda asking, point: pickle.dumps(asking, 0), TypeError, "^cannot pickle 'AskTell'"),
        (lambda asking, point: z.default_optimizer(point, "a"), TypeError, "^max_evaluations: "),
    ],
)
def test_what_asking_refuses_is_named(call, exception, text, caplog):
    asking = z.AskTell(SEARCH)
    with pytest.raises(exception, match=text):
        call(asking, asking.next()[0])
    assert not caplog.records and asking.report.evaluations == 0


def test_searches_nest_and_warnings_are_logged(caplog):
    def outer(x):
        return z.minimize(lambda y: (y[0] - x[0]) ** 2, [0.0]).fun + x[0] ** 2

    assert z.minimize(outer, [1.0]).fun < 1e-6
    inner = []
    z.minimize(rosenbrock, START, callback=lambda progress: inner.append(outer(progress.x)))
    assert len(set(inner)) > 1
    assert not caplog.records

    def messages(x):
        assert ["moved" in record.getMessage() for record in caplog.records] == [True]
        return rosenbrock(x)

    z.minimize(messages, START, bounds=[(0, 1), (0, 1)])
    messages([1.0, 1.0])
    z.minimize(rosenbrock, START, bounds=[(0, 1), (0, 1)], max_seconds=0)  # none is evaluated
    assert len(caplog.records) == 2


def test_other_threads_run_between_evaluations():
    count = [0.0]
    ready, done = threading.Event(), threading.Event()

    def counting():
        ready.set()
        while not done.is_set():
            count[0] += 1.0

    thread = threading.Thread(target=counting)
    thread.start()
    ready.wait()
    record = z.Record()
    function = in_c(map(count.__getitem__, itertools.repeat(0)))
    endless = z.NelderMead(
        stopping_threshold=-1.0, max_function_evaluations=40000, max_total_steps=40000
    )
    z.minimize(function, numpy.ones(100), optimizer=endless, remember=False, record=record)
    done.set()
    thread.join()
    assert len(set(record.values)) > 3


def test_nothing_is_kept_after_a_search():
    class Function:
        def __call__(self, x):
            return rosenbrock(x)

    class Failing(Function):
        def __call__(self, x):
            raise KeyError(self)

    for kind in (Function, Failing):
        for keywords in ({}, {"callback": lambda p: None}, {"record": z.Record()}):
            fun = kind()
            alive = weakref.ref(fun)
            try:
                z.minimize(fun, START, **keywords)
            except KeyError:
                pass
            del fun
            gc.collect()
            assert alive() is None


MEMORY = """
import gc, resource, zeibreku
def fun(x): return x[0] * x[0]
def bad(x): raise ValueError
def use(calls, exceptions):
    optimizer = zeibreku.NelderMead(stopping_threshold=-1, max_total_steps=10**9,
                                    max_function_evaluations=calls)
    search = zeibreku.make_search([1.0, 2.0], optimizer=optimizer, remember=False)
    search.run(fun)
    for i in range(exceptions):
        try: search.run(bad)
        except ValueError: pass
    gc.collect()
def size():
    return int(open("/proc/self/statm").read().split()[1]) * resource.getpagesize()
use(1000, 1000)
before = size()
use(1000000, 100000)
print(size() - before)
"""

WORKERS = """
import multiprocessing, signal, sys
sys.path.insert(0, {folder!r})
import failures, zeibreku
try:
    zeibreku.minimize(failures.hanging, {start}, ({start}, {number}), workers=2)
except KeyboardInterrupt:
    print(multiprocessing.active_children())
"""

DAEMON = """
import threading, zeibreku
started = threading.Event()
def fun(x):
    started.set()
    return x[0] * x[0]
def search():
    while True:
        zeibreku.minimize(fun, [1.0] * {n}, remember=False, vectorized={v})
threading.Thread(target=search, daemon=True).start()
started.wait()
print("end")
"""


def output(program):
    return subprocess.run(
        [sys.executable, "-c", program], check=True, capture_output=True, text=True, timeout=120
    )


@pytest.mark.skipif(not os.path.exists("/proc/self/statm"), reason="needs /proc")
@pytest.mark.skipif("ZEIBREKU_SANITIZED" in os.environ, reason="a sanitizer keeps memory")
def test_calls_and_exceptions_leave_no_memory():
    assert int(output(MEMORY).stdout) < 2e6


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGKILL])
def test_workers_end_with_the_search(number):
    # Workers have the same pipe as standard output: it ends after the last one.
    folder = str(pathlib.Path(__file__).parent)
    program = WORKERS.format(folder=folder, start=START, number=int(number))
    run = subprocess.run(
        [sys.executable, "-c", program],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        timeout=60,
        start_new_session=True,
    )
    expected = (0, "[]\n") if number == signal.SIGINT else (-signal.SIGKILL, "")
    assert (run.returncode, run.stdout) == expected
    assert "KeyboardInterrupt" not in run.stderr


@pytest.mark.parametrize("n, v", [(1, False), (50, False)])
def test_a_daemon_thread_does_not_outlive_the_interpreter(n, v):
    for _ in range(5):
        ended = output(DAEMON.format(n=n, v=v))
        assert ended.stdout == "end\n" and ended.stderr == ""

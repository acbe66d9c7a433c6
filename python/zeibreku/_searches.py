"""Searches: `minimize`, and what the classes of searches can do besides their components."""

import math
import os
import sys

import numpy

from zeibreku import _core, _documents, _pool

_MESSAGES = {
    "finished": "The optimizer has returned: it has converged, or its own budget is spent.",
    "target": "A feasible point is as good as the target.",
    "stalled": "The best value has not improved in the last evaluations.",
    "evaluations": "The limit of evaluations is reached.",
    "time": "The limit of time is reached.",
    "cancelled": "The search was cancelled.",
    "failed": "The search has no value: every evaluation failed, or an evaluation broke.",
}
_REASONS = list(_MESSAGES)
_SUCCESS = {"finished", "target", "stalled"}
_INFEASIBLE = len(_REASONS)  # the status of a search that would be a success with a feasible point


class OptimizeResult(dict):
    """What `minimize` found: a dictionary whose keys are attributes too, as SciPy's."""

    def __getattr__(self, name):
        try:
            return self[name]
        except KeyError:
            raise AttributeError(name) from None

    __setattr__ = dict.__setitem__
    __delattr__ = dict.__delitem__

    def __dir__(self):
        return list(self)

    def __repr__(self):
        width = max(map(len, self), default=0) + 1
        return "\n".join(f"{name:>{width}}: {value!r}" for name, value in self.items())


# --- Arguments.


def _vector(values, name):
    vector = numpy.atleast_1d(_core._numbers(values, name).astype(float))
    if vector.ndim != 1 or vector.size == 0:
        raise ValueError(f"{name}: expected a list of numbers, got shape {vector.shape}")
    return vector


def _limits(bounds, n):
    """The lower and the upper bounds from pairs, or from an object with `lb` and `ub`."""
    if bounds is None:
        return numpy.full(n, -math.inf), numpy.full(n, math.inf)
    if hasattr(bounds, "lb") and hasattr(bounds, "ub"):
        sides = []
        for side, name in ((bounds.lb, "bounds.lb"), (bounds.ub, "bounds.ub")):
            side = _vector(side, name)
            if side.size not in (1, n):
                raise ValueError(f"{name}: expected {n} numbers, got {side.size}")
            sides.append(numpy.broadcast_to(side, n))
        lower, upper = sides
    else:
        try:
            pairs = [tuple(pair) for pair in bounds]
        except TypeError:
            raise TypeError(f"bounds: expected pairs or Bounds, got {bounds!r:.60}") from None
        if len(pairs) != n:
            raise ValueError(f"bounds: expected {n} pairs, got {len(pairs)}")
        lower, upper = numpy.empty(n), numpy.empty(n)
        for i, pair in enumerate(pairs):
            if len(pair) != 2:
                raise ValueError(f"bounds[{i}]: expected a pair, got {pair!r:.60}")
            for side, value, none in zip((lower, upper), pair, (-math.inf, math.inf)):
                side[i] = none if value is None else _core._real(value, f"bounds[{i}]")
    for i in range(n):
        if not lower[i] <= upper[i]:
            raise ValueError(f"bounds[{i}]: expected lower <= upper, got {lower[i], upper[i]}")
    return lower, upper


def _constraint_list(constraints, n):
    if constraints is None:
        return []
    single = isinstance(constraints, (_core.Constraint, dict)) or not numpy.iterable(constraints)
    found = []
    for i, constraint in enumerate([constraints] if single else constraints):
        name = "constraints" if single else f"constraints[{i}]"
        if isinstance(constraint, _core.Constraint):
            found.append(constraint)
        elif all(hasattr(constraint, part) for part in ("A", "lb", "ub")):
            found += _linear(constraint, name, n)
        else:
            raise TypeError(
                f"{name}: expected a zeibreku.LinearConstraint or QuadraticConstraint, or SciPy's "
                f"LinearConstraint, got {constraint!r:.60}"
            )
    return found


def _linear(constraint, name, n):
    """SciPy's lb <= A x <= ub as constraints c(x) <= 0."""
    matrix = constraint.A.toarray() if hasattr(constraint.A, "toarray") else constraint.A
    try:
        matrix = numpy.atleast_2d(numpy.asarray(matrix, dtype=float))
        lowers, uppers = (
            numpy.broadcast_to(numpy.asarray(side, dtype=float), len(matrix))
            for side in (constraint.lb, constraint.ub)
        )
    except (TypeError, ValueError) as error:
        kind = TypeError if isinstance(error, TypeError) else ValueError
        raise kind(f"{name}: {error}") from None
    if matrix.shape[1:] != (n,) or not numpy.isfinite(matrix).all():
        text = f"{name}: expected finite numbers of shape (m, {n}) as A, got {constraint.A!r:.60}"
        raise ValueError(text)
    for row, lower, upper in zip(matrix, lowers, uppers):
        for sign, side in ((-1.0, lower), (1.0, upper)):
            if math.isnan(side) or side == -sign * math.inf:
                raise ValueError(f"{name}: expected lb < inf and ub > -inf, got {side}")
            if math.isfinite(side):
                yield _core.LinearConstraint(
                    offset=-sign * side,
                    first_order_indices=numpy.flatnonzero(row),
                    first_order_coefficients=sign * row[row != 0],
                )


def default_optimizer(x0, max_evaluations=0):
    """Return the optimizer that `minimize` takes if none is given.

    It is the chain that the page "Choosing an optimizer" advises: Hooke and Jeeves for a quarter of
    the budget, then Nelder and Mead until they converge or the search ends. The edges are a tenth
    of each coordinate, 0.1 where it is 0. The budget is `max_evaluations`, or 200 n if that is 0.
    """
    x0 = _vector(x0, "x0")
    edges = numpy.where(x0 == 0.0, 0.1, 0.1 * abs(x0))
    budget = _core._count(max_evaluations, "max_evaluations") or 200 * x0.size
    return _core.Sequence(
        optimizer_sequence=[
            _core.HookeJeeves(
                edge_lengths=edges,
                max_function_evaluations=budget // 4,
                min_total_reduction=1e-8,
                reduction_factor=0.25,
            ),
            _core.NelderMead(
                simplex_edge_lengths=edges,
                stopping_threshold=1e-10,
                max_function_evaluations=budget,
                max_total_steps=budget,
                max_expansion_steps=budget,
                restart_check_period=40 * (x0.size + 1),
            ),
        ]
    )


def make_search(
    x0,
    *,
    optimizer=None,
    bounds=None,
    constraints=(),
    names=None,
    scales=None,
    max_evaluations=0,
    max_seconds=math.inf,
    target=math.nan,
    stall_evaluations=0,
    stall_improvement=0.0,
    seed=1,
    remember=True,
):
    """Return the `Search` of these arguments, those of `minimize`.

    A search is an element: it can be written to a file, which the program `zeibreku search` and
    `zeibreku.read` take.
    """
    x0 = _vector(x0, "x0")
    n = x0.size
    lower, upper = _limits(bounds, n)
    scales = numpy.ones(n) if scales is None else _vector(scales, "scales")
    names = [f"x{i}" for i in range(n)] if names is None else _core._texts(names, "names")
    for name, values in (("scales", scales), ("names", names)):
        if len(values) != n:
            raise ValueError(f"{name}: expected {n}, as many as x0 has, got {len(values)}")
    if optimizer is None:
        with numpy.errstate(all="ignore"):  # the search refuses wrong scales
            start = x0 / scales
        # Its end by this limit is no success, while that by an optimizer's own budget would be.
        limit = 0 if max_evaluations is None else max_evaluations
        max_evaluations = _core._count(limit, "max_evaluations") or 200 * n
        optimizer = default_optimizer(start, max_evaluations)
    if not isinstance(optimizer, _core.Optimizer):
        raise TypeError(f"optimizer: expected a zeibreku.Optimizer, got {optimizer!r:.60}")
    keywords = {
        "max_evaluations": max_evaluations,
        "max_seconds": max_seconds,
        "target_value": None if target is None else _core._real(target, "target"),
        "stall_evaluations": stall_evaluations,
        "stall_improvement": stall_improvement,
        "seed": seed,
        "remember": remember,
    }
    return _core.Search(
        variables=[
            _core.Variable(name=name, start=start, lower=low, upper=high, scale=scale)
            for name, start, low, high, scale in zip(names, x0, lower, upper, scales)
        ],
        optimizer=optimizer,
        constraints=_constraint_list(constraints, n),
        **{name: value for name, value in keywords.items() if value is not None},
    )


# --- Runs.


def _record(record):
    if record is None or isinstance(record, _core.Record):
        return record
    return _core.Record(_documents.file_name(record, "record"))


def _run(search, fun, args, callback, vectorized, workers, record):
    if not callable(fun):
        raise TypeError(f"fun: expected a function, got {fun!r:.60}")
    if callback is not None and not callable(callback):
        raise TypeError(f"callback: expected a function, got {callback!r:.60}")
    args = args if isinstance(args, tuple) else (args,)
    vectorized = _core._flag(vectorized, "vectorized")
    record = _record(record)
    pool = _pool.pool_of(workers, fun, args)
    with pool as used:
        if vectorized and used is not None:
            raise ValueError("vectorized: expected False with several workers")
        report, texts = _core._run(search, fun, args, vectorized, used, callback, record)
    if texts is not None:
        raise _documents.refusal(texts)
    return report


def run(
    self, fun, args=(), *, callback=None, vectorized=False, workers=1, record=None
):
    """Search with the function `fun(x, *args)` and return the `SearchReport`.

    The arguments are those of `minimize`. Raises ValueError if the search or the record is
    refused.
    """
    return _run(self, fun, args, callback, vectorized, workers, record)


_core.Search.run = run


def _result(report, search):
    reason = report.reason
    best = report.best_point
    found = best if best.size else report.answer_point
    message = _MESSAGES[reason]
    status = _REASONS.index(reason)
    if not best.size:
        message += " No feasible point was found."
        status = _INFEASIBLE if reason in _SUCCESS else status
    if not found.size:
        found = [variable.start for variable in search.variables]
    return {
        "x": numpy.array(found),
        "fun": report.best_value if best.size else report.answer,
        "nfev": report.evaluations_made,
        "success": reason in _SUCCESS and best.size > 0,
        "status": status,
        "message": message,
        "reason": reason,
        "report": report,
    }


def minimize(
    fun,
    x0,
    args=(),
    *,
    optimizer=None,
    bounds=None,
    constraints=(),
    max_evaluations=0,
    max_seconds=math.inf,
    target=math.nan,
    seed=1,
    callback=None,
    vectorized=False,
    workers=1,
    record=None,
    names=None,
    scales=None,
    stall_evaluations=0,
    stall_improvement=0.0,
    remember=True,
):
    """Search for a minimum of a function of several variables without its derivatives.

    Parameters
    ----------
    fun : callable
        ``fun(x, *args)`` returns a number. `x` is an array of shape (n,), which the search uses
        again for the next point unless you keep it. It may raise `EvaluationFailure` where it has
        no value; every other exception ends the search and reaches you.
    x0 : array of shape (n,)
        Where the search starts.
    args : tuple
        Further arguments of `fun`.
    optimizer : Optimizer
        How to search; `default_optimizer(x0 / scales, max_evaluations)` if None.
    bounds : n pairs (lower, upper), or scipy.optimize.Bounds
        None is no bound. No evaluation is outside.
    constraints : list of Constraint, or of scipy.optimize.LinearConstraint
        A point is feasible where each is at most 0.
    max_evaluations : int
        The largest number of evaluations; 0 is no limit, or 200 n if `optimizer` is None. None,
        here and below, is the default.
    max_seconds : float
        The limit of time in seconds.
    target : float
        The value at which a feasible point is good enough.
    seed : int
        Of the random numbers of optimizers that draw some.
    callback : callable
        ``callback(progress)`` after each evaluation. If it returns True, or raises StopIteration,
        the search ends as cancelled. `Progress` has `evaluation`, `x`, `fun`, `failed`,
        `is_from_record`, `best_x`, `best_fun` and `seconds`.
    vectorized : bool
        Whether `fun` takes an array of m points, of shape (m, n), and returns one of shape (m,).
    workers : int or executor
        How many processes evaluate, started by spawn; or an executor of `concurrent.futures`, such
        as one of threads. The answer has the same bits for every number.
    record : path or Record
        A file that keeps every evaluation. With one that is there the search goes on from it.
    names, scales : lists of n
        The names of the variables, and the sizes of typical changes of them. The optimizer works on
        x / scales, so that its edge lengths are in units of the scales.
    stall_evaluations : int
    stall_improvement : float
        The search ends if so many evaluations improve the best value by no more than this part.
    remember : bool
        Whether a point that was evaluated before gets its value without a call.

    Returns
    -------
    OptimizeResult
        With `x`, `fun`, `nfev`, `success`, `status`, `message`, `reason` and `report`.

    Examples
    --------
    >>> import zeibreku
    >>> def bowl(x):
    ...     return (x[0] - 1)**2 + 4 * x[1]**2
    >>> result = zeibreku.minimize(bowl, [3, 2], bounds=[(0, None), (-1, 5)])
    >>> result.success, abs(result.x - [1, 0]).max() < 1e-3
    (True, True)
    """
    search = make_search(
        x0,
        optimizer=optimizer,
        bounds=bounds,
        constraints=constraints,
        names=names,
        scales=scales,
        max_evaluations=max_evaluations,
        max_seconds=max_seconds,
        target=target,
        stall_evaluations=stall_evaluations,
        stall_improvement=stall_improvement,
        seed=seed,
        remember=remember,
    )
    report = _run(search, fun, args, callback, vectorized, workers, record)
    return OptimizeResult(_result(report, search))


# --- As a method of scipy.optimize.minimize.

_OPTIONS = {
    "max_evaluations", "max_seconds", "target", "seed", "vectorized", "workers", "record", "names",
    "scales", "stall_evaluations", "stall_improvement", "remember",
}  # fmt: skip


# What components of optimizers do that SciPy's options do.
_TOLERANCES = ("stopping_threshold", "min_total_reduction", "tau")
_SCIPYS = {
    "tol": _TOLERANCES,
    "ftol": _TOLERANCES,
    "fatol": _TOLERANCES,
    "xtol": _TOLERANCES,
    "xatol": _TOLERANCES,
    "maxiter": ("max_total_steps", "max_function_evaluations"),
    "initial_simplex": ("simplex_edge_lengths", "edge_lengths"),
}


def _cure(optimizer, option):
    """What to set in the place of an option of SciPy."""
    keywords = _SCIPYS.get(option, ())
    own = [name for name in keywords if name in optimizer._components]
    if own:
        return f"; set its {own[0]}, as in {type(optimizer).__name__}({own[0]}=...)"
    return f"; set that of its optimizers, such as {keywords[0]}" if keywords else ""


def _best_points(callback):
    """SciPy's callback(xk), called with each new best point."""
    best = None

    def call(progress):
        nonlocal best
        if progress.best_fun == progress.best_fun and progress.best_fun != best:
            best = progress.best_fun
            return callback(progress.best_x)
        return False

    return call


def __call__(
    self,
    fun,
    x0,
    args=(),
    jac=None,
    hess=None,
    hessp=None,
    bounds=None,
    constraints=(),
    callback=None,
    **options,
):
    """Search as a `method` of `scipy.optimize.minimize`.

    Options are the keywords of `zeibreku.minimize`, `maxfev`, and `disp`. None is an option that is
    not given.
    """
    for name, value in (("jac", jac), ("hess", hess), ("hessp", hessp)):
        if value is not None:
            raise TypeError(f"{name}: {type(self).__name__} uses no derivatives")
    if "maxfev" in options:
        options.setdefault("max_evaluations", options.pop("maxfev"))
    shows = options.pop("disp", False)
    for name in options:
        if name not in _OPTIONS:
            raise TypeError(f"{name}: no option of {type(self).__name__}{_cure(self, name)}")
    found = minimize(
        fun,
        x0,
        args,
        optimizer=self,
        bounds=bounds,
        constraints=constraints,
        callback=_best_points(callback) if callable(callback) else callback,
        **options,
    )
    if shows:
        print(found.message)
    scipy = sys.modules.get("scipy.optimize")
    return scipy.OptimizeResult(found) if scipy else found


_core.Optimizer.__call__ = __call__


# --- Progress, reports and records.


def _repr_progress(self):
    names = ("evaluation", "x", "fun", "failed", "is_from_record", "best_x", "best_fun", "seconds")
    return f"Progress({', '.join(f'{name}={getattr(self, name)!r}' for name in names)})"


_core.Progress.__repr__ = _repr_progress


def text(self, names=()):
    """Return the report for a person, some lines of text. `names` are those of all variables."""
    names = _core._texts(names, "names")
    n = max(self.answer_point.size, self.best_point.size)
    if names and n and len(names) != n:
        raise ValueError(f"names: expected {n} names, got {len(names)}")
    return _core._report_text(self, names)


_core.SearchReport.text = text


def _repr_record(self):
    return f"Record({'' if self._path is None else repr(os.fsdecode(self._path))})"


def load(self):
    """Read the file without locking or changing it, also while a search writes to it.

    Returns the record. Raises ReadError if the file is no record, and OSError if it cannot be
    opened.
    """
    if self._path is not None:
        _documents.check_file(self._path)
    good, texts = self._load()
    if not good:
        raise _documents.ReadError(list(texts))
    return self


def _check(record):
    if record._is_empty:
        raise ValueError("record: empty; load() reads its file")


def search(self):
    """The search of the record. Raises ValueError before a run or `load`."""
    _check(self)
    return self._search()


def verify(self):
    """Replay the record without an evaluation and return "same".

    Or return the first evaluation at which the search now asks for another point.
    """
    _check(self)
    return self._verify()


_record_init = _core.Record.__init__


def _init_record(self, path=None, *, durable_after=1.0, ends_on_error=False):
    path = None if path is None else _documents.file_name(path)
    if path == b"":
        raise ValueError("path: expected the name of a file, got ''")
    durable_after = _core._real(durable_after, "durable_after")
    if not durable_after >= 0.0:
        text = f"durable_after: expected a number of seconds from 0 on, got {durable_after}"
        raise ValueError(text)
    _record_init(self, path, durable_after, _core._flag(ends_on_error, "ends_on_error"))


_core.Record.__doc__ = """The evaluations of a search, in a file that grows, or in memory.

A search that gets a record takes the values in it, and goes on where they end, with the same bits.
A search opens the file, or creates it. `load` reads it for a report.

Parameters
----------
path : path, optional
    The file; in memory without it.
durable_after : float
    A search makes the file durable with the first evaluation this many seconds or more after the
    last time, and at its end. 0 is every evaluation, infinity is never.
ends_on_error : bool
    Whether a search ends, as cancelled, if the file cannot be written. By default it goes on.

Examples
--------
>>> import zeibreku
>>> record = zeibreku.Record()
>>> result = zeibreku.minimize(lambda x: x[0]**2, [1.0], record=record)
>>> record.points[0], record.values[0], record.verify()
(array([1.]), 1.0, 'same')
"""
_init_record.__qualname__ = "Record"  # for the texts of exceptions
_core.Record.__init__ = _init_record
_core.Record.__repr__ = _repr_record
_core.Record.load = load
_core.Record.search = property(search)
_core.Record.verify = verify


# --- Ask and tell.

_asking_init = _core.AskTell.__init__


def _init_asking(self, search, record=None):
    if not isinstance(search, _core.Search):
        raise TypeError(f"search: expected a zeibreku.Search, got {search!r:.60}")
    _asking_init(self, search, _record(record))
    if self._refusal is not None:
        raise _documents.refusal(self._refusal)


def next(self, count=1):
    """Return up to `count` points whose values are wanted, a list of arrays of shape (n,).

    First those that the search has asked for, then those that it will probably ask for next. A
    point is given again until `tell` brings its value. The list is empty if the search has ended.
    """
    return self._next(_core._count(count, "count"))


def tell(self, point, value):
    """Bring the value at a point, in any order of points."""
    self._tell(point, _core._real(value, "value"))


def tell_failure(self, point, text=""):
    """Report that a point has no value, and why. The search goes on without it."""
    self._tell_failure(point, _core._text(text, "text"))


_core.AskTell.__doc__ = """A search whose evaluations you make yourself, when and where you like.

It gives points, and you bring their values. The points and the answer have the bits of
`Search.run`. A call that raises changes nothing.

Parameters
----------
search : Search
    Such as `make_search` returns; a copy is kept. `max_seconds` is not used.
record : path or Record, optional
    Keeps the values, so that another program may go on. Without it they are in memory.

Raises
------
ValueError
    The search or the record is refused; ReadError if the file is damaged.

Examples
--------
>>> import zeibreku
>>> asking = zeibreku.AskTell(zeibreku.make_search([3.0, 2.0], max_evaluations=30))
>>> while not asking.finished:
...     for point in asking.next(4):
...         asking.tell(point, (point**2).sum())
>>> asking.report.reason
'evaluations'
"""
_init_asking.__qualname__ = "AskTell"
_core.AskTell.__init__ = _init_asking
_core.AskTell.next = next
_core.AskTell.tell = tell
_core.AskTell.tell_failure = tell_failure


# Without it, the oldest protocol of pickle would make an object without C++, which ends the process.
def _refuse_pickle(self):
    raise TypeError(f"cannot pickle {type(self).__name__!r} object")


for _class in (_core.AskTell, _core.Progress, _core.Record):
    _class.__reduce__ = _refuse_pickle

#!/usr/bin/env python3
"""Measures what a search costs besides a Python function, against NLopt and SciPy.

    PYTHONPATH=build/release/python benchmarks/python_callbacks.py [SECONDS]

A row is the time of one evaluation of |x0 - 1| + |x1 - 1| by Nelder-Mead, with the best settings of
each library: no memory of points, no tolerance that ends the search, a budget of evaluations. NLopt
ends after some 200 evaluations in any case, and searches again. The row "call" is a loop that calls
the function with one array.

The last rows are batches: multidirectional search on Rosenbrock's function of 100 variables, and the
same calls of the function alone. The rows take turns for SECONDS (10 by default), and the median of
the rounds counts.
"""

import statistics
import sys
import time

import nlopt
import numpy
import scipy.optimize

import zeibreku

CALLS = 20000
START = numpy.array([-1.2, 1.0])


def fun(x):
    return abs(x[0] - 1.0) + abs(x[1] - 1.0)


def fun_and_gradient(x, gradient):
    return abs(x[0] - 1.0) + abs(x[1] - 1.0)


def call():
    x = START.copy()
    for _ in range(CALLS):
        fun(x)
    return CALLS


def search():
    optimizer = zeibreku.NelderMead(
        stopping_threshold=-1.0,
        max_total_steps=10**9,
        max_function_evaluations=CALLS,
        max_expansion_steps=10**9,
        restart_check_period=2**32 - 1,
        default_simplex_edge_length=0.1,
    )
    return zeibreku.make_search(START, optimizer=optimizer, remember=False)


def by_zeibreku():
    return search().run(fun).evaluations_made


def by_nlopt():
    optimizer = nlopt.opt(nlopt.LN_NELDERMEAD, 2)
    optimizer.set_min_objective(fun_and_gradient)
    optimizer.set_maxeval(CALLS)
    optimizer.set_initial_step(0.1)
    calls = 0
    while calls < CALLS:
        optimizer.optimize(START)
        calls += optimizer.get_numevals()
    return calls


def by_scipy():
    options = {"maxfev": CALLS, "maxiter": 10**9, "xatol": -1.0, "fatol": -1.0}
    return scipy.optimize.minimize(fun, START, method="nelder-mead", options=options).nfev


def many(points):
    a, b = points[:, :-1], points[:, 1:]
    return (100.0 * (b - a * a) ** 2 + (1.0 - a) ** 2).sum(axis=1)


BATCHES = zeibreku.make_search(
    numpy.ones(100),
    optimizer=zeibreku.MultidirectionalSearch(
        stopping_threshold=-1.0, max_function_evaluations=CALLS
    ),
    remember=False,
)


def sizes():
    found = []
    BATCHES.run(lambda x: found.append(len(x)) or many(x), vectorized=True)
    return found


def batches_alone(parts=[]):
    if not parts:
        points = numpy.random.default_rng(1).normal(size=(200, 100))
        parts += [points[:size] for size in sizes()]
    for part in parts:
        many(part)
    return sum(map(len, parts))


def batches():
    return BATCHES.run(many, vectorized=True).evaluations_made


ROWS = [call, by_zeibreku, by_nlopt, by_scipy, batches_alone, batches]


def main():
    end = time.perf_counter() + (float(sys.argv[1]) if len(sys.argv) > 1 else 10.0)
    times = {row: [] for row in ROWS}
    for row in ROWS:
        row()
    while time.perf_counter() < end:
        for row in ROWS:
            start = time.perf_counter()
            calls = row()
            times[row].append((time.perf_counter() - start) / calls)
    median = {row: statistics.median(rounds) * 1e6 for row, rounds in times.items()}
    for row in ROWS:
        print(f"{row.__name__:15} {median[row]:8.3f} µs an evaluation")
    for row, other in [(by_zeibreku, by_nlopt), (by_zeibreku, by_scipy), (batches, batches_alone)]:
        print(f"{row.__name__} / {other.__name__}: {median[row] / median[other]:.3f}")


if __name__ == "__main__":
    main()

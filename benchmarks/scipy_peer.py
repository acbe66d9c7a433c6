#!/usr/bin/python3
"""Runs SciPy's searches on the problems of a benchmark that serves them.

    benchmarks/scipy_peer.py build/release/benchmarks/bounded
    benchmarks/scipy_peer.py build/release/benchmarks/constrained
    benchmarks/scipy_peer.py                                       # the cost of an evaluation

The benchmark evaluates every point, so the functions are the same to the last bit.
"""

import math
import subprocess
import sys
import time
import warnings
from typing import NamedTuple

import numpy
import scipy
from scipy.optimize import Bounds, minimize

TOLERANCE = {"bounded": 1e-5, "constrained": 1e-3}


class Spent(Exception):
    """Ends a search whose budget is spent."""


class Problem(NamedTuple):
    index: int
    name: str
    constraints: int
    minimum: float
    start: numpy.ndarray
    lower: numpy.ndarray
    upper: numpy.ndarray


class Server:
    def __init__(self, program):
        self.process = subprocess.Popen(
            [program, "--serve"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )
        self.problems = []
        for index in range(int(self.process.stdout.readline())):
            name, n, constraints, minimum, *numbers = self.process.stdout.readline().split()
            vectors = numpy.array(numbers, dtype=float).reshape(3, int(n))
            self.problems.append(
                Problem(index, name, int(constraints), float(minimum), *vectors)
            )

    def evaluate(self, problem, x):
        text = " ".join(repr(float(component)) for component in x)
        print(problem.index, text, file=self.process.stdin, flush=True)
        return [float(value) for value in self.process.stdout.readline().split()]


class Observed:
    """Counts the evaluations, and notes the lowest value of a feasible point."""

    def __init__(self, server, problem, budget):
        self.server = server
        self.problem = problem
        self.budget = budget
        self.evaluations = 0
        self.lowest = math.inf
        self.highest = -math.inf
        self.last = None

    def values(self, x):
        """f(x) and the constraints; one evaluation however many of them a search wants."""
        is_new = self.last is None or not numpy.array_equal(self.last[0], x)
        if is_new or self.problem.constraints == 0:
            if self.evaluations >= self.budget:
                raise Spent
            self.evaluations += 1
            values = self.server.evaluate(self.problem, x)
            self.last = (numpy.array(x), values)
            inside = numpy.all(x >= self.problem.lower) and numpy.all(x <= self.problem.upper)
            if inside and all(c <= 0.0 for c in values[1:]):
                self.lowest = min(self.lowest, values[0])
            if values[0] > self.highest:
                self.highest = values[0]
        return self.last[1]

    def __call__(self, x):
        value = self.values(x)[0]
        return self.highest if math.isnan(value) else value


def solves_bounded(server, problem, adaptive, sized):
    """Whether Nelder-Mead solves it. If it ends early, it starts again where it ended."""
    f = Observed(server, problem, 200 * (len(problem.start) + 1))
    options = {"xatol": 0, "fatol": 0, "maxiter": 10**9, "maxfev": 10**9, "adaptive": adaptive}
    x = problem.start
    try:
        while True:
            if sized:  # as ours: a tenth of the box, into it
                step = 0.1 * (problem.upper - problem.lower)
                step[x + step > problem.upper] *= -1
                options["initial_simplex"] = numpy.vstack([x, x + numpy.diag(step)])
            before = f.evaluations
            bounds = Bounds(problem.lower, problem.upper)
            x = minimize(f, x, method="Nelder-Mead", bounds=bounds, options=options).x
            if f.evaluations == before:
                break
    except Spent:
        pass
    at_start = server.evaluate(problem, problem.start)[0]
    return f.lowest <= TOLERANCE["bounded"] * at_start


def bounded(server):
    names = list(dict.fromkeys(problem.name for problem in server.problems))
    print(f"{'SciPy Nelder-Mead, problems solved':44}", *(f"{name:>12}" for name in names))
    for adaptive in (False, True):
        for sized in (False, True):
            counts = [
                sum(
                    solves_bounded(server, problem, adaptive, sized)
                    for problem in server.problems
                    if problem.name == name
                )
                for name in names
            ]
            title = f"adaptive {adaptive}, {'a tenth of the box' if sized else 'its own simplex'}"
            print(f"{title:44}", *(f"{count:12}" for count in counts))


def constrained(server):
    """COBYLA with its first radius and its final one, restarted where it ends."""
    for radius in (1.0, 0.5, 0.1):
        solved = evaluations = 0
        for problem in server.problems:
            f = Observed(server, problem, 12 * 200 * (len(problem.start) + 1))
            sides = [(numpy.subtract, problem.lower), (numpy.subtract, problem.upper)]
            conditions = [
                {"type": "ineq", "fun": lambda x, f=f, i=i: -f.values(x)[i + 1]}
                for i in range(problem.constraints)
            ]
            for sign, bound in ((1, problem.lower), (-1, problem.upper)):
                conditions += [
                    {"type": "ineq", "fun": lambda x, s=sign, b=b, i=i: s * (x[i] - b)}
                    for i, b in enumerate(bound)
                    if math.isfinite(b)
                ]
            x = problem.start
            target = problem.minimum + TOLERANCE["constrained"] * max(1, abs(problem.minimum))
            try:
                before = -1
                while f.evaluations != before:
                    before = f.evaluations
                    x = minimize(
                        f, x, method="COBYLA", constraints=conditions,
                        options={"rhobeg": radius, "tol": 1e-9, "catol": 0, "maxiter": 10**6},
                    ).x
            except Spent:
                pass
            solved += f.lowest <= target
        print(f"SciPy COBYLA, rhobeg {radius}: {solved} of {len(server.problems)}")


def cost():
    """Microseconds per evaluation of SciPy's Nelder-Mead, and of the function by itself."""

    def cheap(x):
        return x[0] * x[0] + 2 * x[1] * x[1] + 3 * x[2] * x[2] + x[3] * x[3] + x[0] * x[3]

    for n in (4, 20):
        start = numpy.array([1.0 if i % 2 else -1.2 for i in range(n)])
        for bounds in (None, Bounds(-1e3 * numpy.ones(n), 1e3 * numpy.ones(n))):
            times = []
            for _ in range(9):
                options = {"xatol": 0, "fatol": 0, "maxiter": 10**9, "maxfev": 200 * n}
                begin = time.perf_counter()
                result = minimize(cheap, start, method="Nelder-Mead", bounds=bounds, options=options)
                times.append((time.perf_counter() - begin) / result.nfev)
            alone = []
            for _ in range(9):
                begin = time.perf_counter()
                for _ in range(1000):
                    cheap(start)
                alone.append((time.perf_counter() - begin) / 1000)
            print(
                f"n = {n}, {'bounded' if bounds else 'free'}: {1e6 * sorted(times)[4]:.1f} us,"
                f" the function {1e6 * sorted(alone)[4]:.2f} us"
            )


if __name__ == "__main__":
    warnings.simplefilter("ignore")  # of starts on a bound
    print(f"SciPy {scipy.__version__}, NumPy {numpy.__version__}")
    if len(sys.argv) == 1:
        cost()
    else:
        server = Server(sys.argv[1])
        if any(problem.constraints for problem in server.problems):
            constrained(server)
        else:
            bounded(server)

#!/usr/bin/python3
"""Runs SciPy's searches on the problems of a benchmark that serves them.

    benchmarks/scipy_peer.py build/release/benchmarks/bounded
    benchmarks/scipy_peer.py build/release/benchmarks/constrained
    benchmarks/scipy_peer.py tables                                # a block of points in tables
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
from scipy.interpolate import RegularGridInterpolator
from scipy.optimize import Bounds, minimize


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
    """Counts the evaluations, and notes the first feasible point with a value up to `target`."""

    def __init__(self, server, problem, target, budget):
        self.server = server
        self.problem = problem
        self.target = target
        self.budget = budget
        self.evaluations = 0
        self.solved_after = math.inf
        self.is_nearly_solved = False  # with violations up to 1e-6
        self.highest = -math.inf
        self.last = None

    def values(self, x):
        """f(x) and the constraints; one evaluation however many of them a search wants."""
        is_new = self.last is None or not numpy.array_equal(self.last[0], x)
        if is_new or self.problem.constraints == 0:
            self.evaluations += 1
            values = self.server.evaluate(self.problem, x)
            self.last = (numpy.array(x), values)
            if values[0] <= self.target and self.evaluations <= self.budget:
                violation = max([*values[1:], *(self.problem.lower - x), *(x - self.problem.upper)])
                if violation <= 0.0:
                    self.solved_after = min(self.solved_after, self.evaluations)
                self.is_nearly_solved |= violation <= 1e-6
            if values[0] > self.highest:
                self.highest = values[0]
        return self.last[1]

    def __call__(self, x):
        value = self.values(x)[0]
        return self.highest if math.isnan(value) else value

    def spend(self, search):
        """Runs a search from the start. If it ends early, it starts again where it ended."""
        x = self.problem.start
        before = -1
        while before < self.evaluations < self.budget:
            before = self.evaluations
            x = search(x, self.budget - before)


def solves_bounded(server, problem, adaptive, sized):
    """Whether Nelder-Mead solves it."""
    target = 1e-5 * server.evaluate(problem, problem.start)[0]
    f = Observed(server, problem, target, 200 * (len(problem.start) + 1))

    def search(x, rest):
        options = {"xatol": 0, "fatol": 0, "maxiter": 10**9, "maxfev": rest, "adaptive": adaptive}
        if sized:  # as ours: a tenth of the box, into it
            step = 0.1 * (problem.upper - problem.lower)
            step[x + step > problem.upper] *= -1
            options["initial_simplex"] = numpy.vstack([x, x + numpy.diag(step)])
        bounds = Bounds(problem.lower, problem.upper)
        return minimize(f, x, method="Nelder-Mead", bounds=bounds, options=options).x

    f.spend(search)
    return f.solved_after <= f.budget


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
    """COBYLA with several first radii."""
    for radius in (2.0, 1.0, 0.5, 0.1):
        runs = []
        for problem in server.problems:
            target = problem.minimum + 1e-3 * max(1.0, abs(problem.minimum))
            f = Observed(server, problem, target, 1200 * (len(problem.start) + 1))
            conditions = [
                {"type": "ineq", "fun": lambda x, f=f, i=i: -f.values(x)[i + 1]}
                for i in range(problem.constraints)
            ]
            for sign, bounds in ((1, problem.lower), (-1, problem.upper)):
                conditions += [
                    {"type": "ineq", "fun": lambda x, s=sign, b=bound, i=i: s * (x[i] - b)}
                    for i, bound in enumerate(bounds)
                    if math.isfinite(bound)
                ]

            def search(x, rest):
                options = {"rhobeg": radius, "tol": 1e-9, "catol": 0, "maxiter": rest}
                return minimize(
                    f, x, method="COBYLA", constraints=conditions, options=options
                ).x

            f.spend(search)
            runs.append(f)
        solved = sum(f.solved_after <= f.budget for f in runs)
        nearly = sum(f.is_nearly_solved for f in runs)
        gradients = sorted(f.solved_after / (len(f.problem.start) + 1) for f in runs)
        print(
            f"COBYLA, rhobeg {radius}: {solved} of {len(runs)}, {nearly} with c <= 1e-6;"
            f" median {gradients[len(runs) // 2]:.0f} (n + 1)"
        )


def cost():
    """Microseconds per evaluation of SciPy's Nelder-Mead, and of the function by itself."""

    def cheap(x):
        return x[0] * x[0] + 2 * x[1] * x[1] + 3 * x[2] * x[2] + x[3] * x[3] + x[0] * x[3]

    for n in (4, 20):
        start = numpy.array([1.0 if i % 2 else -1.2 for i in range(n)])
        for bounds in (None, Bounds(-1e3 * numpy.ones(n), 1e3 * numpy.ones(n))):
            times = []
            options = {"xatol": 0, "fatol": 0, "maxiter": 10**9, "maxfev": 200 * n}
            for _ in range(9):
                begin = time.perf_counter()
                result = minimize(
                    cheap, start, method="Nelder-Mead", bounds=bounds, options=options
                )
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


def tables():
    """Nanoseconds per point of a block of 20,000, on the grids of the benchmark `frozen`."""
    random = numpy.random.default_rng(1)
    for n, count in ((1, 1000), (2, 300), (3, 45), (4, 16), (6, 8)):
        axes = [numpy.linspace(0, 1, count)] * n
        f = RegularGridInterpolator(axes, random.random([count] * n))
        times = []
        for _ in range(21):
            points = random.random((20_000, n))
            begin = time.perf_counter()
            f(points)
            times.append((time.perf_counter() - begin) / len(points))
        print(f"RegularGridInterpolator, {n}-D: {1e9 * sorted(times)[10]:.0f} ns")


if __name__ == "__main__":
    warnings.simplefilter("ignore")  # of starts on a bound
    print(f"SciPy {scipy.__version__}, NumPy {numpy.__version__}")
    if len(sys.argv) == 1:
        cost()
    elif sys.argv[1] == "tables":
        tables()
    else:
        server = Server(sys.argv[1])
        if any(problem.constraints for problem in server.problems):
            constrained(server)
        else:
            bounded(server)

#!/usr/bin/env python3
"""Measures tables in Python, against the C++ blocks and SciPy.

    PYTHONPATH=build/release/python benchmarks/python_tables.py [SECONDS [FROZEN]]

FROZEN is the program of benchmarks/frozen.cpp, build/release/benchmarks/frozen by default. A table
of n axes is that of this program: random values, and 20,000 random points that are new in each
round. "C++" is its `evaluateMany`: it runs between the rounds, and the median of its medians
counts. SciPy's rows are its fastest settings, without checks of bounds: RegularGridInterpolator,
interpn, and map_coordinates, which gets indices instead of coordinates and prefilters nothing. The
rows take turns for SECONDS (20 by default). "write", "dumps" and "dump" have a table of ten million
values each, in a process of its own: the least time of three, and the memory besides the table.
"""

import json
import os
import pickle
import statistics
import subprocess
import sys
import tempfile
import time

import numpy
import scipy.interpolate
import scipy.ndimage

import zeibreku

POINTS = 20000
SIZES = {1: 1000, 2: 300, 3: 45, 4: 16}
random = numpy.random.default_rng(1)


class Case:
    """The programs for tables of n axes."""

    def __init__(self, n):
        self.n = n
        size = SIZES[n]
        axes = (numpy.arange(size) / (size - 1.0),) * n
        values = random.random((size,) * n)
        table = zeibreku.Table(axes=axes, values=values)
        frozen = table.freeze()
        options = {"method": "linear", "bounds_error": False, "fill_value": None}
        grid = scipy.interpolate.RegularGridInterpolator(axes, values, **options)
        self.programs = {
            "table": table,
            "frozen": frozen,
            "gradient": table.value_and_gradient,
            "RegularGridInterpolator": grid,
            "interpn": lambda points: scipy.interpolate.interpn(axes, values, points, **options),
            "map_coordinates": lambda points: scipy.ndimage.map_coordinates(
                values, points.T * (size - 1.0), order=1, prefilter=False, mode="nearest"
            ),
        }
        self.times = {name: [] for name in [*self.programs, "C++"]}
        points = self.points()
        each = numpy.ravel([frozen(point) for point in points])
        assert numpy.array_equal(table(points), each)
        assert numpy.allclose(table(points), grid(points), rtol=1e-12, atol=0.0)

    def points(self):
        return random.random((POINTS, self.n))

    def run(self):
        for name, program in self.programs.items():
            program(self.points())  # brings its table into the caches
            points = self.points()
            start = time.perf_counter()
            program(points)
            self.times[name].append((time.perf_counter() - start) / POINTS * 1e9)

    def run_in_c(self, binary):
        command = [binary, f"--benchmark_filter=^{self.n}-D block / live"]
        text = subprocess.check_output(
            [*command, "--benchmark_format=json"], text=True, stderr=subprocess.DEVNULL
        )
        self.times["C++"].append(json.loads(text)["benchmarks"][0]["ours_ns"])

    def report(self):
        median = {name: statistics.median(times) for name, times in self.times.items()}
        for name, own in median.items():
            print(f"{self.n}-D {name:24} {own:8.1f} ns a point, of {len(self.times[name])}")
        for name in ("C++", "RegularGridInterpolator", "interpn", "map_coordinates"):
            print(f"{self.n}-D table / {name}: {median['table'] / median[name]:.3f}")


def one_point():
    """A call with one point, as separate floats and as an array."""
    axes = (numpy.arange(30.0),) * 2
    values = random.random((30, 30))
    table = zeibreku.Table(axes=axes, values=values)
    grid = scipy.interpolate.RegularGridInterpolator(axes, values, bounds_error=False)
    array = numpy.array([1.5, 2.5])
    for name, call in {
        "table((x, y))": lambda: table((1.5, 2.5)),
        "table(array)": lambda: table(array),
        "RegularGridInterpolator(array)": lambda: grid(array),
    }.items():
        rounds = []
        for _ in range(5):
            start = time.perf_counter()
            for _ in range(1000):
                call()
            rounds.append(time.perf_counter() - start)
        print(f"{name:31} {min(rounds) * 1e3:8.3f} µs a call")


def peak(name):
    """The memory of the process in MB."""
    with open("/proc/self/status") as status:
        line = next(line for line in status if line.startswith(name))
    return int(line.split()[1]) / 1e3


def document(task):
    """Prints the time and the memory of one task with a table of ten million values."""
    axes = (numpy.arange(1000.0), numpy.arange(10000.0))
    table = zeibreku.Table(axes=axes, values=random.random((1000, 10000)))
    with open("/proc/self/clear_refs", "w") as peaks:
        peaks.write("5")
    before = peak("VmRSS")
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "table")
        start = time.perf_counter()
        if task == "write":
            table.write(path)
        elif task == "dumps":
            pickle.dumps(table)
        else:
            with open(path, "wb") as file:
                pickle.dump(table, file)
        print(time.perf_counter() - start, peak("VmHWM") - before)


def documents():
    found = {task: [] for task in ("write", "dumps", "dump")}
    for _ in range(3):
        for task, results in found.items():
            command = [sys.executable, __file__, "--document", task]
            text = subprocess.check_output(command, text=True)
            results.append([float(word) for word in text.split()])
    for task, results in found.items():
        seconds, memory = min(results)
        ratio = seconds / min(found["write"])[0]
        print(f"{task:6} {seconds:6.2f} s, {memory:6.0f} MB, / write: {ratio:.2f}")


def main():
    if sys.argv[1:2] == ["--document"]:
        document(sys.argv[2])
        return
    end = time.perf_counter() + (float(sys.argv[1]) if len(sys.argv) > 1 else 20.0)
    frozen = sys.argv[2] if len(sys.argv) > 2 else "build/release/benchmarks/frozen"
    cases = [Case(n) for n in SIZES]
    while time.perf_counter() < end or len(cases[0].times["C++"]) < 3:
        for case in cases:
            case.run_in_c(frozen)
            for _ in range(10):
                case.run()
    for case in cases:
        case.report()
    one_point()
    documents()


if __name__ == "__main__":
    main()

"""Functions that a process of workers imports."""

import os
import sys


def rosenbrock(x):
    return 100.0 * (x[1] - x[0] * x[0]) ** 2 + (1.0 - x[0]) ** 2


def rosenbrock_many(points):
    return 100.0 * (points[:, 1] - points[:, 0] * points[:, 0]) ** 2 + (1.0 - points[:, 0]) ** 2


def bad(x):
    raise LookupError("no value", os.getpid())


if __name__ == "__main__":  # one evaluation of the program `zeibreku search`
    print(repr(rosenbrock([float(word) for word in sys.stdin.read().split()])))

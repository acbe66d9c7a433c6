"""Functions that fail in a process of workers."""

import os
import signal

import zeibreku
from functions import rosenbrock


class Beyond(zeibreku.EvaluationFailure):
    def __init__(self, point, limit):
        super().__init__(f"{point} is beyond {limit}")


def failing(x):
    if x[0] > -1.0:
        raise Beyond(float(x[0]), -1.0)
    return rosenbrock(x)


class Unpicklable(Exception):
    def __init__(self, first, second):
        super().__init__(first)


def unpicklable(x):
    raise Unpicklable("one", "two")


def load_elsewhere():
    raise NameError("elsewhere")


class OnlyHere:
    """A function that can be pickled, and cannot be loaded."""

    def __reduce__(self):
        return load_elsewhere, ()

    def __call__(self, x):
        return rosenbrock(x)


def dying(x):
    os._exit(3)


def hanging(x, start, number):
    """Never returns. The evaluation of `start` sends a signal: Ctrl-C to all processes, as a
    terminal does, others to that of the search."""
    if list(x) == start:
        os.kill(0 if number == signal.SIGINT else os.getppid(), number)
    while True:
        signal.pause()

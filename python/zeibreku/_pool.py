"""Evaluations of a search by an executor of `concurrent.futures`."""

import concurrent.futures
import multiprocessing
import os
import pickle
import signal
import threading
import time
from concurrent.futures.process import BrokenProcessPool
from multiprocessing.reduction import ForkingPickler

from zeibreku._core import EvaluationFailure, _result

_CURE = (
    "define it at the top of a module that can be imported, "
    "or give an executor of threads as workers"
)
_BROKEN = (
    "fun: a process of the workers has ended. Either the function ended it, or it could not load "
    f"the function: {_CURE}; a script needs 'if __name__ == \"__main__\":'"
)

_task = None  # in a process of our own: the function and its arguments, or why there are none


def _begin(task):
    global _task
    # Ctrl-C goes to the whole group of processes. The search ends this one, or its process does.
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    threading.Thread(target=_end_with_parent, daemon=True).start()
    try:
        _task = pickle.loads(task)
    except Exception as error:  # here it would end the process
        _task = error


def _end_with_parent():
    multiprocessing.parent_process().join()
    os._exit(1)


def _evaluate_task(point):
    if isinstance(_task, Exception):
        name = type(_task).__name__
        raise TypeError(f"fun: the processes cannot load it: {name}: {_task}; {_CURE}")
    try:
        return _evaluate(*_task, point)
    except Exception as error:
        try:
            pickle.loads(pickle.dumps(error))
        except Exception:  # it would end the whole pool
            raise RuntimeError(f"{type(error).__name__}: {error}") from error
        raise


def _evaluate(fun, args, point):
    """Return the outcome, the value or the text, the seconds, and who evaluated."""
    who = os.getpid(), threading.get_ident()
    start = time.perf_counter()
    try:
        outcome, result = "value", _result(fun(point, *args))
    except EvaluationFailure as failure:
        outcome, result = "failure", str(failure)
    return outcome, result, time.perf_counter() - start, who


class Pool:
    """What the search calls: `start`, `finish` and `cancel`, all on its own thread.

    `end` ends what an executor already evaluates.
    """

    def __init__(self, executor, task, count, end=lambda: None):
        self.count = count
        self._executor = executor
        self._task = task
        self._end = end
        self._is_cancelled = False
        self._futures = {}
        self._ended = threading.Event()
        self._workers = {}

    def start(self, ticket, point):
        try:
            future = self._executor.submit(*self._task, point)
        except BrokenProcessPool as error:
            raise BrokenProcessPool(_BROKEN) from error
        self._futures[ticket] = future
        future.add_done_callback(lambda _: self._ended.set())

    def finish(self, seconds):
        """Return what has ended, after waiting for one; nothing after so many seconds."""
        # Ctrl-C can interrupt this anywhere. The futures are looked at, so that none is lost.
        while True:
            self._ended.clear()
            ended = [ticket for ticket, future in self._futures.items() if future.done()]
            if ended or not self._futures or seconds == 0.0:
                return [self._entry(ticket) for ticket in ended]
            if not self._ended.wait(seconds):
                return []

    def cancel(self):
        self._is_cancelled = True
        # A process may already have taken a future that runs next.
        if not all([future.cancel() or future.done() for future in self._futures.values()]):
            self._end()

    def _entry(self, ticket):
        future = self._futures.pop(ticket)
        if future.cancelled():
            return ticket, "cancelled", None, 0.0, 0
        exception = future.exception()
        if self._is_cancelled and isinstance(exception, concurrent.futures.BrokenExecutor):
            return ticket, "cancelled", None, 0.0, 0
        if isinstance(exception, BrokenProcessPool):
            broken, exception = exception, BrokenProcessPool(_BROKEN)
            exception.__cause__ = broken
        if exception is not None:
            return ticket, "exception", exception, 0.0, 0
        outcome, result, seconds, who = future.result()
        return ticket, outcome, result, seconds, self._workers.setdefault(who, len(self._workers))


def _pickled(fun, args):
    try:
        return bytes(ForkingPickler.dumps((fun, args)))
    except Exception as error:
        try:
            ForkingPickler.dumps(fun)
            name, part, cure = "args", args, ""
        except Exception:
            name, part, cure = "fun", fun, f"; {_CURE}"
        text = f"{name}: processes need what can be pickled, got {part!r:.60}: {error}{cure}"
        raise TypeError(text) from error


class _Borrowed:
    """An executor of the caller's."""

    def __init__(self, executor, fun, args):
        if type(executor) is concurrent.futures.ProcessPoolExecutor:  # others pickle more
            _pickled(fun, args)
        # Those of the standard library know how many evaluations they make at once.
        count = getattr(executor, "_max_workers", None) or os.cpu_count() or 1
        self._pool = Pool(executor, (_evaluate, fun, args), count)

    def __enter__(self):
        return self._pool

    def __exit__(self, *exception):
        pass


class _Processes:
    """Processes that are started by spawn, each with the function once."""

    def __init__(self, count, fun, args):
        self._count = count
        self._task = _pickled(fun, args)

    def __enter__(self):
        self._executor = concurrent.futures.ProcessPoolExecutor(
            self._count,
            mp_context=multiprocessing.get_context("spawn"),
            initializer=_begin,
            initargs=(self._task,),
        )
        return Pool(self._executor, (_evaluate_task,), self._count, self._end)

    def __exit__(self, *exception):
        self._executor.shutdown(wait=True, cancel_futures=True)

    def _end(self):
        for process in list((self._executor._processes or {}).values()):
            process.terminate()


class _Nobody:
    def __enter__(self):
        return None

    def __exit__(self, *exception):
        pass


def pool_of(workers, fun, args):
    """Return a context with the pool, None for the calling thread."""
    if hasattr(workers, "submit") and not isinstance(workers, type):
        return _Borrowed(workers, fun, args)
    if isinstance(workers, bool) or not hasattr(workers, "__index__"):
        raise TypeError(f"workers: expected a number or an executor, got {workers!r}")
    count = workers.__index__()
    if not 1 <= count <= 10000:
        raise ValueError(f"workers: expected a number from 1 to 10000, got {count}")
    return _Nobody() if count == 1 else _Processes(count, fun, args)

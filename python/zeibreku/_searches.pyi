import os
from collections.abc import Iterable
from typing import Any, Callable, Optional, Union

import numpy
from numpy.typing import ArrayLike, NDArray

from zeibreku._core import Optimizer, Progress, Record, Search, SearchReport

class OptimizeResult(dict[str, Any]):
    x: NDArray[numpy.float64]
    fun: float
    nfev: int
    success: bool
    status: int
    message: str
    reason: str
    report: SearchReport

def default_optimizer(x0: ArrayLike, max_evaluations: int = ...) -> Optimizer: ...
def make_search(
    x0: ArrayLike,
    *,
    optimizer: Optional[Optimizer] = ...,
    bounds: Any = ...,
    constraints: Any = ...,
    names: Optional[Iterable[str]] = ...,
    scales: Optional[ArrayLike] = ...,
    max_evaluations: Optional[int] = ...,
    max_seconds: Optional[float] = ...,
    target: Optional[float] = ...,
    stall_evaluations: Optional[int] = ...,
    stall_improvement: Optional[float] = ...,
    seed: Optional[int] = ...,
    remember: Optional[bool] = ...,
) -> Search: ...
def minimize(
    fun: Callable[..., Any],
    x0: ArrayLike,
    args: Any = ...,
    *,
    optimizer: Optional[Optimizer] = ...,
    bounds: Any = ...,
    constraints: Any = ...,
    max_evaluations: Optional[int] = ...,
    max_seconds: Optional[float] = ...,
    target: Optional[float] = ...,
    seed: Optional[int] = ...,
    callback: Optional[Callable[[Progress], Any]] = ...,
    vectorized: bool = ...,
    workers: Any = ...,
    record: Union[None, str, os.PathLike[str], Record] = ...,
    names: Optional[Iterable[str]] = ...,
    scales: Optional[ArrayLike] = ...,
    stall_evaluations: Optional[int] = ...,
    stall_improvement: Optional[float] = ...,
    remember: Optional[bool] = ...,
) -> OptimizeResult: ...

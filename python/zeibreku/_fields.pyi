from collections.abc import Callable
from dataclasses import dataclass
from typing import Any, Optional, SupportsFloat, SupportsIndex, Union

import numpy
from numpy.typing import NDArray

from zeibreku._core import ScalarFunction, ScalarFunctionContainer

_Correlation = Union[ScalarFunction, ScalarFunctionContainer, Callable[[float], SupportsFloat]]

@dataclass(frozen=True)
class RandomField:
    correlation: _Correlation
    spacing: float = ...
    mean: float = ...
    num_random_samples: int = ...
    def __post_init__(self) -> None: ...
    def __call__(
        self,
        shape: Union[SupportsIndex, tuple[SupportsIndex, ...], list[SupportsIndex]],
        *,
        seed: Optional[int] = ...,
    ) -> NDArray[numpy.float64]: ...
    def plot(
        self,
        ax: Any = ...,
        *,
        shape: tuple[SupportsIndex, SupportsIndex] = ...,
        seed: int = ...,
        **keywords: Any,
    ) -> Any: ...

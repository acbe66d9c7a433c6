import os
from typing import Any, NamedTuple, Optional, Sequence, Union

from zeibreku._core import Element

class Message(NamedTuple):
    text: str
    file: Optional[str]
    line: Optional[int]
    column: Optional[int]

class ReadError(ValueError):
    messages: tuple[Message, ...]
    def __init__(self, texts: Sequence[str]) -> None: ...

def refusal(texts: Sequence[str]) -> ValueError: ...
def from_xml(text: Union[str, bytes]) -> Any: ...
def read(path: Union[str, os.PathLike[str]]) -> Any: ...
def schema() -> str: ...
def write(element: Element, path: Union[str, os.PathLike[str]]) -> None: ...

"""Documents: reading, writing and schemas."""

import os
import re
import stat
from typing import NamedTuple, Optional

from zeibreku import _core

# The capitals of a component's tag.
_TAG = re.compile(r"(?<=[a-z])[A-Z](?=[a-zA-Z]*: expected)")
_ENCODING = re.compile(r"\ufeff?<\?xml[^>]*?(encoding\s*=\s*(?!.utf-?8\b)[^\s?>]+)", re.I)
_PLACE = re.compile(r"(?P<file>.*?):(?P<line>\d+)(:(?P<column>\d+))?: (?P<rest>.*)", re.S)


class Message(NamedTuple):
    """What is wrong at one place of a document."""

    text: str
    """The whole message."""
    file: Optional[str]
    """The name of the file, "<string>" for a text; None if the message has no place."""
    line: Optional[int]
    """The line, from 1 on."""
    column: Optional[int]
    """The column, from 1 on; None where a message has none."""


class ReadError(ValueError):
    """A document was refused. `messages` has every message with its place."""

    def __init__(self, texts):
        super().__init__(texts)
        self.messages = tuple(_message(text) for text in texts)

    def __str__(self):
        return "\n".join(message.text for message in self.messages)


def _message(text):
    place = _PLACE.fullmatch(text)
    if not place:
        return Message(text, None, None, None)
    column = place["column"]
    return Message(text, place["file"], int(place["line"]), int(column) if column else None)


def refusal(texts):
    """The exception for what a search refused: ReadError if a file is at fault."""
    messages = [_message(text) for text in texts]
    if any(message.line for message in messages):
        return ReadError(list(texts))
    return ValueError("\n".join(map(_own, texts)))


def _own(text):
    """The text of a message of a search, with the name of the argument at its beginning."""
    own = text.removeprefix("search: ")
    return text if own == text else _TAG.sub(lambda tag: "_" + tag[0].lower(), own)


def _taken(answer):
    element, texts = answer
    if element is None:
        raise ReadError(list(texts))
    return element


def file_name(path, name="path", expected="a path"):
    """The path as the library takes it, bytes."""
    try:
        encoded = os.fsencode(path)
    except TypeError:
        raise TypeError(f"{name}: expected {expected}, got {path!r:.60}") from None
    except ValueError as error:
        raise ValueError(f"{name}: {error}") from None
    if b"\0" in encoded:
        raise ValueError(f"{name}: embedded null byte")
    return encoded


def check_file(path):
    """Raise Python's own exception if the file cannot be opened; `path` is from `file_name`."""
    path = os.fsdecode(path)  # for the text of the exception
    # A pipe has no second reader: what the first has opened is lost once it is closed.
    if not stat.S_ISFIFO(os.stat(path).st_mode):
        with open(path, "rb"):
            pass


def from_xml(text):
    """Return the element of an XML document in a string. Its root selects the class.

    Bytes are decoded as they declare; in a string the declared encoding has no meaning. Raises
    ReadError, with every message and its place, if anything in it is refused.
    """
    if not isinstance(text, (str, bytes)):
        raise TypeError(f"text: expected a string, got {text!r}")
    declared = isinstance(text, str) and _ENCODING.match(text)
    if declared:  # it is that of a file; blanks keep the columns of messages
        start, end = declared.span(1)
        text = text[:start] + " " * (end - start) + text[end:]
    return _taken(_core._read_text(text))


def read(path):
    """Return the element of the XML file `path`. Its root selects the class.

    Raises ReadError, with every message and its place, if anything in it is refused, and OSError if
    the file cannot be opened.
    """
    path = file_name(path)
    check_file(path)
    return _taken(_core._read_file(path))


def schema():
    """Return the XML Schema for documents of every element, for editors and validators."""
    return _core._schema()


def write(element, path):
    done, texts = element._write(file_name(path))
    if not done:
        raise OSError("\n".join(texts))

"""The lint: faults of documents that reading does not refuse."""

import difflib
import os
from typing import NamedTuple

from zeibreku import _core, _documents


class LintRule(NamedTuple):
    """A rule of `lint`."""

    name: str
    """Lower-case words joined by hyphens."""
    severity: str
    """"error", or "warning" for what may be meant."""
    description: str
    """What holds in a good document."""


class Finding(NamedTuple):
    """What a rule has found at one element. `str` gives it as a line of a compiler's form."""

    rule: str
    """The name of the rule."""
    severity: str
    """"error", or "warning" for what may be meant."""
    message: str
    """What is wrong, and what to do."""
    file: str
    """The path as it was given, "<string>" for an element."""
    line: int
    """The line of the element's start tag, from 1 on."""
    column: int
    """Its column, from 1 on."""
    path: str
    """The names from the root of the document to the element."""

    def __str__(self):
        place = f"{self.file}:{self.line}:{self.column}: {self.severity}: "
        return place + (f"{self.path}: " if self.path else "") + f"{self.message} [{self.rule}]"


def lint_rules():
    """Return all rules as a tuple of `LintRule`, in the order of the documentation.

    >>> import zeibreku
    >>> zeibreku.lint_rules()[0].name
    'breakpoints'
    """
    return tuple(LintRule(*rule) for rule in _core._lint_rules())


def lint(source, *, disable=(), correlation=None):
    """Return what the rules have found in a document, as a tuple of `Finding`; empty if it is good.

    Parameters
    ----------
    source : path or Element
        An XML file of any element. Of an element its document is checked, `source.to_xml()`, to
        which lines and columns refer.
    disable : iterable of str
        Names of rules that are left out; `lint_rules` has all.
    correlation : (int, float), optional
        The number of distances, 2 to 2000, and their spacing, in the unit of the function's
        argument. The scalar function of the document is checked as the correlation of a random
        field on the distances 0, spacing, 2 spacing, ...

    Raises
    ------
    ReadError
        The document is refused. `messages` has every message with its place.
    OSError
        The file cannot be opened.

    Notes
    -----
    At most 1000 findings of a document are returned. A comment in a file,
    ``<!-- zeibreku-lint: disable=range -->``, silences rules for the next element.

    Examples
    --------
    >>> import zeibreku
    >>> axis = zeibreku.TableAxis(independent_vector=[0.0, 4.0, 2.0])
    >>> [(found.rule, found.line) for found in zeibreku.lint(axis, disable=["linear-steps"])]
    [('breakpoints', 6)]
    """
    names = _names(disable)
    grid = _grid(correlation)
    if isinstance(source, _core.Element):
        findings, texts = _core._lint_text(source.to_xml(), names, grid)
    else:
        path = _documents.file_name(source, "source", "a path or an element")
        _documents.check_file(path)
        findings, texts = _core._lint_file(path, names, grid)
    if findings is None:
        raise _documents.ReadError(list(texts))
    return tuple(
        Finding(rule, severity, message, os.fsdecode(file), *rest)
        for rule, severity, message, file, *rest in findings
    )


def _names(disable):
    """The names of the rules as a list."""
    if isinstance(disable, str):
        raise TypeError(f"disable: expected a list of names, got {disable!r}")
    try:
        names = list(disable)
    except TypeError:
        raise TypeError(f"disable: expected a list of names, got {disable!r}") from None
    known = [rule.name for rule in lint_rules()]
    for name in names:
        if name not in known:
            close = difflib.get_close_matches(str(name), known, 1)
            hint = f"; did you mean {close[0]!r}?" if close else ""
            raise ValueError(f"disable: there is no rule {name!r}{hint}")
    return names


def _grid(correlation):
    if correlation is None:
        return None
    try:
        count, spacing = correlation
    except (TypeError, ValueError):
        expected = "a number of distances and their spacing"
        raise TypeError(f"correlation: expected {expected}, got {correlation!r}") from None
    return count, spacing

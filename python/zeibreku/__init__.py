"""Derivative-free searches, tables, curves, constraints and quadrature, configured by XML.

The classes are those of the C++ library without their prefix. Every result has the bits of the
C++ library.

>>> import zeibreku
>>> result = zeibreku.minimize(lambda x: (x[0] - 1)**2 + 4 * x[1]**2, [3, 2])
>>> abs(result.x[0] - 1) < 1e-3
True
"""

from zeibreku import _core
from zeibreku._core import *  # noqa: F403: the elements
from zeibreku._core import __version__
from zeibreku._documents import Message, ReadError, from_xml, read, schema
from zeibreku import _constraints, _elements, _quadrature, _tables  # noqa: F401: they add methods
from zeibreku._fields import RandomField
from zeibreku._lint import Finding, LintRule, lint, lint_rules
from zeibreku._searches import OptimizeResult, default_optimizer, make_search, minimize
from zeibreku import _plots  # noqa: F401: to the classes above

for _name in _elements.names():
    getattr(_core, _name).__module__ = __name__

__all__ = _elements.names() + [
    "Finding",
    "LintRule",
    "Message",
    "OptimizeResult",
    "RandomField",
    "ReadError",
    "__version__",
    "default_optimizer",
    "from_xml",
    "lint",
    "lint_rules",
    "make_search",
    "minimize",
    "read",
    "schema",
]

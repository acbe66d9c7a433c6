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
from zeibreku import _elements, _tables
from zeibreku._searches import OptimizeResult, default_optimizer, make_search, minimize

__all__ = _elements.names() + [
    "Message",
    "OptimizeResult",
    "ReadError",
    "__version__",
    "default_optimizer",
    "from_xml",
    "make_search",
    "minimize",
    "read",
    "schema",
]

"""What all elements can do besides their components."""

import functools
import inspect
import math

from zeibreku import _core, _documents
from zeibreku._descriptions import DESCRIPTIONS

Element = _core.Element

for _name, (_summary, _texts) in DESCRIPTIONS.items():
    _class = getattr(_core, _name)
    _class.__doc__ = _summary
    for _component, _text in _texts.items():
        vars(_class)[_component].__doc__ = _text


def names():
    """Return the names of the public classes of the extension."""
    return [name for name in vars(_core) if not name.startswith("_")]


def _method(function):
    setattr(Element, function.__name__, function)
    return function


def _class_method(function):
    setattr(Element, function.__name__, classmethod(function))
    return function


def library_class(cls):
    """The class of the library that `cls` is or derives from; None for bases without components."""
    return next((base for base in cls.__mro__ if "_components" in vars(base)), None)


@functools.cache
def _defaults(library):
    return library().get_params()


class _Signature:
    """The keywords of a constructor, for `inspect` and the completion of notebooks.

    A subclass with a constructor of its own has that signature.
    """

    def __get__(self, element, cls):
        library = library_class(cls)
        if element is not None or library is None or cls.__init__ is not library.__init__:
            raise AttributeError("__signature__")
        defaults = _defaults(library)
        only = inspect.Parameter.KEYWORD_ONLY
        kind = only if len(defaults) > 1 else inspect.Parameter.POSITIONAL_OR_KEYWORD
        return inspect.Signature(
            [inspect.Parameter(name, only, default=None) for name in library._keywords]
            + [inspect.Parameter(name, kind, default=value) for name, value in defaults.items()]
        )


Element.__signature__ = _Signature()
Element._keywords = ()  # those of the constructor that are no components


@_method
def __eq__(self, other):
    if not isinstance(other, Element):
        return NotImplemented
    return self._equals(other)


Element.__hash__ = None


@_method
def __copy__(self):
    return self._clone()


@_method
def __deepcopy__(self, memo):
    return self._clone()


@_method
def __reduce__(self):
    return _documents.from_xml, (self._to_bytes(),)


@_method
def get_params(self):
    """Return the components by their names, as keywords that make an equal element."""
    return {name: getattr(self, name) for name in self._components}


@_method
def set_params(self, **params):
    """Set components by keyword and return the element. If one is refused, none is set."""
    # Values are read twice, first into a copy of the element. An iterator ends with the first time.
    lists = {name: list(value) for name, value in params.items() if hasattr(value, "__next__")}
    self._set(**params | lists)
    return self


@_method
def write(self, path):
    """Write the XML document to the file `path`: a complete one replaces the old one at once.

    Raises OSError, and keeps the old file, if that fails.
    """
    _documents.write(self, path)


@_class_method
def from_xml(cls, text):
    """Return the element of this class in an XML document.

    Raises ReadError, with every message and its place, if anything in it is refused, and TypeError
    if it is another element.
    """
    return _of_class(cls, _documents.from_xml(text), "text")


@_class_method
def read(cls, path):
    """Return the element of this class in the XML file `path`; see `from_xml`."""
    return _of_class(cls, _documents.read(path), "path")


@_class_method
def schema(cls):
    """Return the XML Schema for documents with this element as root.

    That of a base class, such as `Optimizer`, is for documents of every element.
    """
    library = library_class(cls)
    return library()._schema() if library else _documents.schema()


def _of_class(cls, element, name):
    if not isinstance(element, cls):
        raise TypeError(f"{name}: expected {cls.__name__}, found {type(element).__name__}")
    return element


_MOST = 20


def _typed(value):
    """The text that Python reads back as the value; a long list is only named."""
    if isinstance(value, float):
        return repr(value) if math.isfinite(value) else f"float({str(value)!r})"
    if isinstance(value, Element):
        return repr(value)
    if isinstance(value, tuple):
        return "[" + ", ".join(_typed(item) for item in value) + "]"
    if hasattr(value, "tolist"):
        if value.size > _MOST:
            return f"<{value.size} numbers>"
        return _typed_list(value.tolist())
    return repr(value)


def _typed_list(value):
    if isinstance(value, list):
        return "[" + ", ".join(_typed_list(item) for item in value) + "]"
    return _typed(value)


def _same(value, default):
    """Whether two components have the same text."""
    if type(value) is tuple:
        return len(value) == len(default) and all(map(_same, value, default))
    if hasattr(value, "tobytes"):
        return value.shape == default.shape and value.tobytes() == default.tobytes()
    if isinstance(value, Element):
        return value == default
    return repr(value) == repr(default)  # nan is nan, and -0.0 is not 0.0


@_method
def __repr__(self):
    cls = type(self)
    defaults = _defaults(library_class(cls))
    parts = [
        f"{name}={_typed(value)}"
        for name, value in self.get_params().items()
        if not _same(value, defaults[name])
    ]
    return f"{cls.__name__}({', '.join(parts)})"

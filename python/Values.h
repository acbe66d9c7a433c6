#pragma once

#include "foundation/core/KrTypes.h"

#include <pybind11/pybind11.h>

#include <string>
#include <vector>

// Numbers, flags and texts from Python. `name` is that of the argument, for the exceptions
// TypeError and ValueError.

/// Raises TypeError with "NAME: expected EXPECTED, got VALUE".
[[noreturn]] void throwType(std::string const& name, std::string const& expected,
                            pybind11::handle value);
/// Raises ValueError with "NAME: TEXT".
[[noreturn]] void throwValue(std::string const& name, std::string const& text);

/// The repr of an object, at most 60 bytes of it.
std::string shortRepr(pybind11::handle value);

/// The name of an item of a list, such as "names[2]".
std::string itemName(std::string const& name, std::size_t index);

/// The number that an object stands for. Complex numbers and texts are refused, arrays of numpy
/// included: TypeError with "NAME: expected EXPECTED, got VALUE", or ValueError if the number is
/// too large. Other exceptions of a method `__float__` pass through.
double realFrom(pybind11::handle value, std::string const& name, char const* expected = "a number");

/// An integer from 0 to 4294967295.
KrU32 countFrom(pybind11::handle value, std::string const& name);

/// True or False, or those of numpy.
bool flagFrom(pybind11::handle value, std::string const& name);

/// A string in UTF-8.
std::string textFrom(pybind11::handle value, std::string const& name);

/// The strings of any iterable but a string.
std::vector<std::string> textsFrom(pybind11::handle value, std::string const& name);

/// The items of any iterable but a string or an element. `expected` says what they are.
pybind11::list listFrom(pybind11::handle value, std::string const& name,
                        std::string const& expected);

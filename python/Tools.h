#pragma once

#include <pybind11/pybind11.h>

#include <string>

class KrGaussQuadrature;

/// The value of a Python function at a number. `name` is that of the argument that has the
/// function. Needs the GIL. Exceptions, also that of Ctrl-C, pass through as
/// `pybind11::error_already_set`.
double valueOf(pybind11::handle function, double argument, std::string const& name);

/// What a Python function returns for one argument; see `valueOf`.
pybind11::object resultOf(pybind11::handle function, pybind11::handle argument);

/// Raises ValueError if the order of a rule, as it was set, is not supported.
void checkQuadrature(KrGaussQuadrature& rule);

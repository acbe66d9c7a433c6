#pragma once

#include <pybind11/pybind11.h>

#include <string>

class KrGaussQuadrature;

/// The value of a Python function at a number. `name` is that of the argument that has the function.
/// Needs the GIL. Its exceptions pass through as `pybind11::error_already_set`, those of Ctrl-C
/// too.
double valueOf(pybind11::handle function, double argument, std::string const& name);

/// What a Python function returns for one argument; see `valueOf`.
pybind11::object resultOf(pybind11::handle function, pybind11::handle argument);

/// Raises ValueError if the order of a rule, as it was set, is not supported.
void checkQuadrature(KrGaussQuadrature& rule);

#pragma once

#include <pybind11/pybind11.h>

// The parts of the extension `zeibreku._core`, in the order in which they are added: a class
// follows its bases.

/// Sends the messages of the library to the logger "zeibreku" of Python's `logging`.
void bindMessages(pybind11::module_& module);

/// Adds the functions that the Python files check arguments by: `_real`, `_numbers`, `_count`, `_flag`,
/// `_text` and `_texts`.
void bindValues(pybind11::module_& module);

/// Adds `Element`, its bases, and all elements of documents.
void bindElements(pybind11::module_& module);

/// Adds the calls of scalar functions and of unitary maps.
void bindFunctions(pybind11::module_& module);

/// Adds the calls of tables and of composite functions, and what they are frozen to.
void bindTables(pybind11::module_& module);

/// Adds what runs searches: records, ask and tell, and the run itself.
void bindSearches(pybind11::module_& module);

/// Adds what constraints can do besides their components.
void bindConstraints(pybind11::module_& module);

/// Adds what `GaussQuadrature` can do besides its component.
void bindQuadrature(pybind11::module_& module);

/// Adds what `RandomField` calls.
void bindFields(pybind11::module_& module);

/// Adds what `lint` calls.
void bindLint(pybind11::module_& module);

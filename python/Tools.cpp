#include "python/Tools.h"

#include "python/Calls.h"
#include "python/Values.h"

namespace py = pybind11;

py::object resultOf(py::handle function, py::handle argument) {
    auto result = py::reinterpret_steal<py::object>(
        callPython([&] { return PyObject_CallOneArg(function.ptr(), argument.ptr()); }));
    // A function that is not written in Python does not look for Ctrl-C.
    if (!result || PyErr_CheckSignals() != 0) {
        throw py::error_already_set();
    }
    return result;
}

double valueOf(py::handle function, double argument, std::string const& name) {
    return realFrom(resultOf(function, py::float_(argument)), name, "a number as result");
}

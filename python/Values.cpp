#include "python/Values.h"

#include "foundation/xml/KrXmlObject.h"
#include "python/Arrays.h"
#include "python/Module.h"

#include <limits>

namespace py = pybind11;

std::string shortRepr(py::handle value) {
    std::string text = py::str(py::repr(value));
    constexpr std::size_t most = 60;
    if (text.size() > most) {
        std::size_t end = most;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U) {
            --end;  // not inside of a character
        }
        text.resize(end);
        text += "...";
    }
    return text;
}

void throwType(std::string const& name, std::string const& expected, py::handle value) {
    throw py::type_error(name + ": expected " + expected + ", got " + shortRepr(value));
}

void throwValue(std::string const& name, std::string const& text) {
    throw py::value_error(name + ": " + text);
}

double realFrom(py::handle value, std::string const& name, char const* expected) {
    if (PyFloat_Check(value.ptr())) {
        return PyFloat_AS_DOUBLE(value.ptr());
    }
    // numpy converts complex numbers and texts.
    if (!PyLong_Check(value.ptr()) && py::hasattr(value, "dtype")) {
        py::object const kind = py::getattr(value.attr("dtype"), "kind", py::none());
        if (PyUnicode_Check(kind.ptr()) && !py::str("fiub").contains(kind)) {
            throwType(name, expected, value);
        }
    }
    double const number = PyFloat_AsDouble(value.ptr());
    if (number == -1.0 && PyErr_Occurred()) {
        bool const isRange = PyErr_ExceptionMatches(PyExc_OverflowError);
        if (!isRange && !PyErr_ExceptionMatches(PyExc_TypeError)) {
            throw py::error_already_set();  // that of a method __float__
        }
        PyErr_Clear();
        if (isRange) {
            throwValue(name, shortRepr(value) + " is too large for a double");
        }
        throwType(name, expected, value);
    }
    return number;
}

KrU32 countFrom(py::handle value, std::string const& name) {
    auto const index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!index) {
        PyErr_Clear();
        throwType(name, "an integer", value);
    }
    unsigned long long const number = PyLong_AsUnsignedLongLong(index.ptr());
    bool const isBad = PyErr_Occurred() != nullptr;
    PyErr_Clear();
    if (isBad || number > std::numeric_limits<KrU32>::max()) {
        throwValue(name, "expected an integer from 0 to 4294967295, got " + shortRepr(value));
    }
    return static_cast<KrU32>(number);
}

bool flagFrom(py::handle value, std::string const& name) {
    if (!PyBool_Check(value.ptr()) &&
        !py::isinstance(value, py::module_::import("numpy").attr("bool_"))) {
        throwType(name, "True or False", value);
    }
    return PyObject_IsTrue(value.ptr()) == 1;
}

std::string textFrom(py::handle value, std::string const& name) {
    if (!PyUnicode_Check(value.ptr())) {
        throwType(name, "a string", value);
    }
    py::ssize_t size = 0;
    char const* const text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
    if (!text) {
        PyErr_Clear();
        throwValue(name, "expected text that has a UTF-8 form, got " + shortRepr(value));
    }
    return {text, static_cast<std::size_t>(size)};
}

py::list listFrom(py::handle value, std::string const& name, std::string const& expected) {
    if (PyUnicode_Check(value.ptr()) || py::isinstance<KrXmlObject>(value)) {
        throwType(name, expected, value);
    }
    auto const items = py::reinterpret_steal<py::object>(PyObject_GetIter(value.ptr()));
    if (!items) {
        PyErr_Clear();
        throwType(name, expected, value);
    }
    auto list = py::reinterpret_steal<py::list>(PySequence_List(items.ptr()));
    return list ? list : throw py::error_already_set();  // that of a generator
}

std::vector<std::string> textsFrom(py::handle value, std::string const& name) {
    py::list const list = listFrom(value, name, "a list of strings");
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < list.size(); ++i) {
        texts.push_back(textFrom(list[i], itemName(name, i)));
    }
    return texts;
}

std::string itemName(std::string const& name, std::size_t index) {
    return name + '[' + std::to_string(index) + ']';
}

void bindValues(py::module_& module) {
    module.def("_real",
               [](py::handle value, std::string const& name) { return realFrom(value, name); });
    module.def("_numbers", [](py::handle value, std::string const& name) {
        return numberArray(value, name, true);
    });
    module.def("_count", &countFrom);
    module.def("_flag", &flagFrom);
    module.def("_text", &textFrom);
    module.def("_texts", [](py::handle value, std::string const& name) {
        py::list list;
        for (std::string const& text : textsFrom(value, name)) {
            list.append(text);
        }
        return py::tuple(list);
    });
}

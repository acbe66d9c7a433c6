#include "python/Calls.h"

#include "python/Arrays.h"
#include "python/Values.h"
#include "search/KrEvaluation.h"

#include <algorithm>
#include <cstring>

namespace py = pybind11;

std::string exceptionText(py::handle exception) {
    auto const text = py::reinterpret_steal<py::object>(PyObject_Str(exception.ptr()));
    if (!text) {
        PyErr_Clear();
        return "an exception without a text";
    }
    return py::reinterpret_steal<py::bytes>(
        PyUnicode_AsEncodedString(text.ptr(), "utf-8", "replace"));
}

py::handle evaluationFailure() {
    // Never released, since the interpreter may end first.
    static PyObject* const type = [] {
        std::string const doc =
            "Raise it in a function that has no value at a point. The search goes on without it.";
        PyObject* const made = PyErr_NewExceptionWithDoc("zeibreku.EvaluationFailure", doc.c_str(),
                                                         PyExc_RuntimeError, nullptr);
        return made ? made : throw py::error_already_set();
    }();
    return type;
}

void throwPythonError() {
    if (PyErr_ExceptionMatches(evaluationFailure().ptr())) {
        throw KrEvaluationFailure(exceptionText(py::error_already_set().value()));
    }
    throw py::error_already_set();
}

// --- The array.

bool ArgumentArray::isReusable(std::size_t rows, std::size_t columns) const {
    if (!array_ || Py_REFCNT(array_.ptr()) != 1) {
        return false;
    }
    // The function may have changed the array in place.
    auto const& array = *py::detail::array_proxy(array_.ptr());
    constexpr int flags =
        py::detail::npy_api::NPY_ARRAY_C_CONTIGUOUS_ | py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    bool const hasShape =
        rows == 0 ? array.nd == 1 && array.dimensions[0] == static_cast<py::ssize_t>(columns)
                  : array.nd == 2 && array.dimensions[0] == static_cast<py::ssize_t>(rows) &&
                        array.dimensions[1] == static_cast<py::ssize_t>(columns);
    static PyObject* const real = py::dtype::of<double>().release().ptr();
    return hasShape && (array.flags & flags) == flags && array.descr == real &&
           array.data == reinterpret_cast<char*>(data_);
}

PyObject* ArgumentArray::get(std::size_t rows, std::size_t columns) {
    if (!isReusable(rows, columns)) {
        auto array = rows == 0 ? py::array_t<double>(static_cast<py::ssize_t>(columns))
                               : py::array_t<double>({rows, columns});
        data_ = array.mutable_data();
        array_ = std::move(array);
    }
    return array_.ptr();
}

// --- One point at a time.

namespace {

// What `conversion` returns for a result. Exceptions of its methods `__float__` and `__array__` are
// those of the function.
template <class Conversion>
auto converted(Conversion const& conversion) {
    try {
        return conversion();
    } catch (py::error_already_set& error) {
        error.restore();
        throwPythonError();
    }
}

}  // namespace

PythonFunction::PythonFunction(py::object function, py::tuple const& arguments,
                               std::size_t dimension, GilRelease& release,
                               std::function<void()> begin)
    : function_(std::move(function)),
      dimension_(dimension),
      release_(release),
      begin_(std::move(begin)),
      stack_(2 + arguments.size()) {
    for (py::handle const argument : arguments) {
        arguments_.push_back(py::reinterpret_borrow<py::object>(argument));
    }
    std::ranges::transform(arguments_, stack_.begin() + 2,
                           [](py::object const& argument) { return argument.ptr(); });
}

PyObject* PythonFunction::call(PyObject* array) const {
    if (begin_) [[unlikely]] {
        std::exchange(begin_, nullptr)();
    }
    stack_[1] = array;
    PyObject* const result = callPython([this] {
        return PyObject_Vectorcall(function_.ptr(), stack_.data() + 1,
                                   (stack_.size() - 1) | PY_VECTORCALL_ARGUMENTS_OFFSET, nullptr);
    });
    if (!result) {
        throwPythonError();
    }
    // A function that is not written in Python does not look for Ctrl-C.
    if (PyErr_CheckSignals() != 0) {
        Py_DECREF(result);
        throw py::error_already_set();
    }
    return result;
}

double PythonFunction::evaluate(KrRealVector const& x) const {
    GilRelease::Pause const pause(release_);
    PyObject* const array = argument_.get(0, x.size());
    std::memcpy(argument_.data(), x.data(), x.size() * sizeof(double));
    auto const result = py::reinterpret_steal<py::object>(call(array));
    if (PyFloat_Check(result.ptr())) {
        return PyFloat_AS_DOUBLE(result.ptr());
    }
    return converted([&] { return realFrom(result, "fun", "a number as result"); });
}

// --- A batch of points.

double VectorizedFunction::evaluate(KrRealVector const& x) const {
    KrRealVector values;
    evaluateMultiple({x}, values);
    return values[0];
}

void VectorizedFunction::evaluateMultiple(std::vector<KrRealVector> const& points,
                                          KrRealVector& values) const {
    values.resize(points.size());
    if (points.empty()) {
        return;
    }
    GilRelease::Pause const pause(release());
    std::size_t const n = points[0].size();
    PyObject* const array = argument().get(points.size(), n);
    double* row = argument().data();
    for (KrRealVector const& point : points) {
        std::memcpy(row, point.data(), n * sizeof(double));
        row += n;
    }
    auto const result = py::reinterpret_steal<py::object>(call(array));
    RealArray const numbers = converted([&] { return realArray(result, "fun"); });
    if (numbers.ndim() != 1 || numbers.shape(0) != static_cast<py::ssize_t>(points.size())) {
        throwValue("fun", "expected a result of shape (" + std::to_string(points.size()) +
                              ",) for points of shape (" + std::to_string(points.size()) + ", " +
                              std::to_string(n) + "), got shape " + shapeText(numbers));
    }
    std::ranges::copy(numbersOf(numbers), values.begin());
}

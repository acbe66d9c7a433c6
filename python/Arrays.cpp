#include "python/Arrays.h"

#include "python/Values.h"

#include <algorithm>

namespace py = pybind11;

py::array numberArray(py::handle value, std::string const& name, bool isReal) {
    std::string const expected = isReal ? "an array of numbers" : "an array of integers";
    if (PyUnicode_Check(value.ptr())) {
        throwType(name, expected, value);
    }
    py::array array;
    try {
        array = py::array(py::reinterpret_borrow<py::object>(value));
    } catch (py::error_already_set const& error) {
        if (error.matches(PyExc_ValueError) || error.matches(PyExc_TypeError)) {
            throwType(name, expected, value);
        }
        throw;
    }
    char const kind = array.dtype().kind();
    bool const isGood = kind == 'i' || kind == 'u' || (isReal && (kind == 'f' || kind == 'b'));
    if (!isGood && (isReal || array.size() > 0)) {
        throwType(name, expected + ", not of dtype " + std::string(py::str(array.dtype())), value);
    }
    return array;
}

RealArray realArray(py::handle value, std::string const& name) {
    constexpr int aligned = py::detail::npy_api::NPY_ARRAY_ALIGNED_;
    if (RealArray::check_(value) && (py::detail::array_proxy(value.ptr())->flags & aligned) != 0) {
        return py::reinterpret_borrow<RealArray>(value);
    }
    return RealArray(numberArray(value, name, true));
}

std::string shapeText(py::array const& array) { return py::str(array.attr("shape")); }

py::object numberOrArray(py::array_t<double> array) {
    return array.ndim() == 0 ? py::object(py::float_(*array.data())) : std::move(array);
}

PointBlock::PointBlock(py::handle points, std::size_t n, std::string const& name) : n_(n) {
    // One point of separate numbers needs no array, which saves most of its time.
    bool const isList = PyList_Check(points.ptr()) && n > 1;
    if ((PyTuple_Check(points.ptr()) || isList) && setNumbers(points)) {
        return;
    }
    if (PyTuple_Check(points.ptr())) {
        setTuple(py::reinterpret_borrow<py::tuple>(points), name);
    } else {
        setArray(points, name);
    }
}

// Takes `points` if they are n floats or integers, floats of numpy included.
bool PointBlock::setNumbers(py::handle points) {
    PyObject* const* const items = PySequence_Fast_ITEMS(points.ptr());
    auto const size = static_cast<std::size_t>(PySequence_Fast_GET_SIZE(points.ptr()));
    auto const isNumber = [](PyObject* item) {
        return PyFloat_Check(item) != 0 || PyLong_CheckExact(item) != 0;
    };
    if (size != n_ || !std::all_of(items, items + size, isNumber)) {
        return false;
    }
    own_.resize(n_);
    std::transform(items, items + size, own_.begin(), PyFloat_AsDouble);
    if (PyErr_Occurred()) {  // an integer that is too large
        PyErr_Clear();
        return false;
    }
    data_ = own_.data();
    return true;
}

void PointBlock::setTuple(py::tuple const& points, std::string const& name) {
    if (points.size() != n_) {
        throwValue(name, "expected a tuple of " + std::to_string(n_) +
                             " array(s), one for each coordinate, got " +
                             std::to_string(points.size()));
    }
    py::list parts;
    py::list shapes;
    for (std::size_t i = 0; i < n_; ++i) {
        parts.append(numberArray(points[i], name + '[' + std::to_string(i) + ']', true));
        shapes.append(parts[i].attr("shape"));
    }
    py::tuple shape;
    try {
        shape = py::module_::import("numpy").attr("broadcast_shapes")(*shapes);
    } catch (py::error_already_set const& error) {
        if (error.matches(PyExc_ValueError)) {
            throwValue(name, "the arrays do not broadcast together: they have the shapes " +
                                 std::string(py::str(py::tuple(shapes))));
        }
        throw;
    }
    for (py::handle const size : shape) {
        shape_.push_back(size.cast<py::ssize_t>());
        count_ *= size.cast<std::size_t>();
    }
    py::array_t<double> array = newArray({n_});
    for (std::size_t i = 0; i < n_; ++i) {
        array[py::make_tuple(py::ellipsis(), i)] = parts[i];
    }
    data_ = array.data();
    array_ = std::move(array);
}

void PointBlock::setArray(py::handle points, std::string const& name) {
    if (n_ == 1 && PyFloat_Check(points.ptr())) {
        own_.assign(1, PyFloat_AS_DOUBLE(points.ptr()));
        data_ = own_.data();
        return;
    }
    RealArray array = realArray(points, name);
    py::ssize_t const axes = array.ndim();
    bool const isPlain = n_ == 1 && axes < 2;  // numbers instead of points of one number
    auto const last = static_cast<std::size_t>(axes > 0 ? array.shape(axes - 1) : 0);
    if (!isPlain && (axes == 0 || last != n_)) {
        throwValue(name, "expected an array of shape (..., " + std::to_string(n_) + ")" +
                             (n_ == 1 ? " or (m,)" : "") + ", got one of shape " +
                             shapeText(array));
    }
    shape_.assign(array.shape(), array.shape() + (isPlain ? axes : axes - 1));
    for (py::ssize_t const size : shape_) {
        count_ *= static_cast<std::size_t>(size);
    }
    data_ = array.data();
    array_ = std::move(array);
}

py::array_t<double> PointBlock::newArray(std::vector<std::size_t> const& tail) const {
    std::vector<py::ssize_t> shape = shape_;
    shape.insert(shape.end(), tail.begin(), tail.end());
    return py::array_t<double>(shape);
}

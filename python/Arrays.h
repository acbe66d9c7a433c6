#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <span>
#include <string>
#include <vector>

// Arrays of numbers from and to Python. `name` is that of the argument, for the exceptions
// TypeError and ValueError.

/// An array of doubles that C++ may read in row-major order.
using RealArray = pybind11::array_t<double, pybind11::array::c_style | pybind11::array::forcecast |
                                                pybind11::detail::npy_api::NPY_ARRAY_ALIGNED_>;

/// The argument as an array of any shape and any type of real numbers, or of integers only.
pybind11::array numberArray(pybind11::handle value, std::string const& name, bool isReal);

/// The argument as an array of doubles of any shape: the same object if it is a row-major array of
/// doubles, else a copy.
RealArray realArray(pybind11::handle value, std::string const& name);

/// The shape as Python writes it.
std::string shapeText(pybind11::array const& array);

/// The numbers of an array. They are valid as long as the array.
inline std::span<double const> numbersOf(RealArray const& array) {
    return {array.data(), static_cast<std::size_t>(array.size())};
}

/// The numbers of a new array.
inline std::span<double> numbersOf(pybind11::array_t<double>& array) {
    return {array.mutable_data(), static_cast<std::size_t>(array.size())};
}

/// Makes the array read-only: for a copy whose changes would not reach the original.
template <class Array>
Array readOnly(Array array) {
    array.attr("setflags")(pybind11::arg("write") = false);
    return array;
}

/// The number of an array of shape (), any other array itself.
pybind11::object numberOrArray(pybind11::array_t<double> array);

/// Points of n coordinates, from an argument in one of these forms:
/// - an array of shape (..., n), without a copy if it is a row-major array of doubles;
/// - a tuple of n arrays that broadcast together, one for each coordinate;
/// - if n is 1, a number or an array of shape (m,) too.
class PointBlock {
public:
    PointBlock(pybind11::handle points, std::size_t n, std::string const& name);

    /// The number of points.
    std::size_t count() const { return count_; }
    /// Whether there is one point, and not a block of one.
    bool isSingle() const { return shape_.empty(); }
    /// The coordinates, point by point. They are valid as long as this object.
    std::span<double const> coordinates() const { return {data_, count_ * n_}; }
    /// The coordinates of one point.
    std::span<double const> point(std::size_t index) const {
        return coordinates().subspan(index * n_, n_);
    }

    /// A new array for results of the shape `tail` at each point: its shape is that of the points
    /// without their last axis, followed by `tail`.
    pybind11::array_t<double> newArray(std::vector<std::size_t> const& tail = {}) const;

private:
    bool setNumbers(pybind11::handle points);
    void setTuple(pybind11::tuple const& points, std::string const& name);
    void setArray(pybind11::handle points, std::string const& name);

    std::size_t const n_;
    std::size_t count_ = 1;
    std::vector<pybind11::ssize_t> shape_;
    pybind11::object array_;   // that of the argument, or a copy
    std::vector<double> own_;  // a point of separate numbers
    double const* data_ = nullptr;
};

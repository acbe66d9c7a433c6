#include "function/multivariable/KrBaseMultivariableConstraint.h"

#include "function/object/KrMultivariableConstraintContainer.h"
#include "python/Arrays.h"
#include "python/Calls.h"
#include "python/Module.h"
#include "python/Values.h"

#include <pybind11/numpy.h>

#include <algorithm>
#include <memory>

namespace py = pybind11;

namespace {

using Constraint = KrBaseMultivariableConstraint;

// Below this number of points the GIL is kept: to take it again may cost 5 ms if another thread of
// Python is busy.
constexpr std::size_t manyPoints = 1000;

// Points of any dimension `n`: a constraint has as many variables as its points.
struct Points {
    std::size_t n;
    PointBlock block;
};

Points pointsFrom(py::handle x) {
    if (PyTuple_Check(x.ptr())) {
        auto const n = static_cast<std::size_t>(PyTuple_GET_SIZE(x.ptr()));
        return {n, PointBlock(x, n, "x")};
    }
    RealArray const array = realArray(x, "x");
    py::ssize_t const axes = array.ndim();
    if (axes == 0) {
        throwValue("x", "expected an array of shape (..., n), got a number");
    }
    auto const n = static_cast<std::size_t>(array.shape(axes - 1));
    if (axes == 1 && n == 1) {  // one point, not a list of numbers
        return {n, PointBlock(py::make_tuple(*array.data()), n, "x")};
    }
    return {n, PointBlock(array, n, "x")};
}

Constraint const& constraintOf(KrXmlObject const& self) {
    if (auto const* const constraint = dynamic_cast<Constraint const*>(&self)) {
        return *constraint;
    }
    auto const& container = dynamic_cast<KrMultivariableConstraintContainer const&>(self);
    if (!container.topElement()) {
        throwValue("element", "the container is empty");
    }
    return *container.topElement();
}

// Calls `use` with a copy of the constraint, point after point. The last gradient is a part of a
// constraint's value, and without the GIL another thread could change the constraint.
template <class Use>
void forEachPoint(KrXmlObject const& self, Points const& points, Use const& use) {
    std::unique_ptr<KrXmlObject> const copy(constraintOf(self).clone());
    auto const& constraint = dynamic_cast<Constraint const&>(*copy);
    GilRelease const release(points.block.count() >= manyPoints);
    KrRealVector point(points.n);
    for (std::size_t i = 0; i < points.block.count(); ++i) {
        std::ranges::copy(points.block.point(i), point.begin());
        use(constraint, point, i);
    }
}

py::object valuesOf(KrXmlObject const& self, py::handle x) {
    Points const points = pointsFrom(x);
    py::array_t<double> array = points.block.newArray();
    double* const values = array.mutable_data();
    forEachPoint(self, points,
                 [&](Constraint const& constraint, KrRealVector const& point, std::size_t i) {
                     values[i] = constraint.evaluate(point);
                 });
    return numberOrArray(std::move(array));
}

py::array gradientsOf(KrXmlObject const& self, py::handle x) {
    Points const points = pointsFrom(x);
    std::size_t const n = points.n;
    py::array_t<double> array = points.block.newArray({n});
    double* const gradients = array.mutable_data();
    forEachPoint(self, points,
                 [&](Constraint const& constraint, KrRealVector const& point, std::size_t i) {
                     std::ranges::copy(constraint.gradient(point), gradients + i * n);
                 });
    return array;
}

}  // namespace

void bindConstraints(py::module_& module) {
    module.def("_constraint_values", &valuesOf);
    module.def("_constraint_gradients", &gradientsOf);
}

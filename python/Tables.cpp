#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrFrozenFunction.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "python/Arrays.h"
#include "python/Calls.h"
#include "python/Element.h"
#include "python/Module.h"
#include "python/Values.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace py = pybind11;

namespace {

// A table or a tree as it was when this was made. It never changes, so that threads share it.
//
// A live element is evaluated by one too, which is made at the first call and kept until the
// element changes. It has the bits of the C++ blocks, it is faster, and the GIL need not be held.
// The live C++ objects would keep the last segment, and a branch the values of an earlier point: a
// value would depend on the points before, and `==` on whether there were any.
class Frozen : public KrFrozenFunction {
public:
    explicit Frozen(KrCompositeFunctionElement const* element) : KrFrozenFunction(element) {
        if (element) {
            bounds_ = element->bounds();
        }
    }

    KrCompositeFunctionElement::Bounds const& bounds() const { return bounds_; }

private:
    KrCompositeFunctionElement::Bounds bounds_;
};

using FrozenPointer = std::shared_ptr<Frozen const>;

struct FrozenTable {
    FrozenPointer function;
};

struct FrozenComposite {
    FrozenPointer function;
};

FrozenPointer const& frozenOf(FrozenTable const& frozen) { return frozen.function; }

FrozenPointer const& frozenOf(FrozenComposite const& frozen) { return frozen.function; }

KrCompositeFunctionElement const* topOf(KrCompositeFunctionElement const& element) {
    return &element;
}

KrCompositeFunctionElement const* topOf(KrCompositeFunctionContainer const& container) {
    return container.topElement();
}

template <class Element>
FrozenPointer frozenOf(Element const& element) {
    std::shared_ptr<void const>& kept = derivedOf(element);
    if (!kept) {
        auto const made = std::make_shared<Frozen const>(topOf(element));
        if (!*made) {
            throwValue("element", "there is none to evaluate");
        }
        kept = made;
    }
    return std::static_pointer_cast<Frozen const>(kept);
}

// What needs no frozen function of a live element, since that copies the values.

template <class Function>
std::size_t dimensionOf(Function const& function) {
    return frozenOf(function)->domainDim();
}

std::size_t dimensionOf(KrTableFunctionInterpolator const& table) {
    return table.independentData().size();
}

using Bounds = KrCompositeFunctionElement::Bounds;

Bounds const& boundsOf(KrCompositeFunctionElement const& element) { return element.bounds(); }

Bounds const& boundsOf(KrCompositeFunctionContainer const& container) { return container.bounds(); }

Bounds const& boundsOf(FrozenTable const& frozen) { return frozen.function->bounds(); }

Bounds const& boundsOf(FrozenComposite const& frozen) { return frozen.function->bounds(); }

// Whether to release the GIL for a block: from about 25 µs on. To release and take it costs 25 ns,
// but beside a thread that is busy in Python a block then waits for up to 5 ms.
bool isLong(Frozen const& function, std::size_t count) {
    constexpr std::size_t fewestCorners = 16384;
    constexpr std::size_t mostAxes = 14;
    std::size_t const corners = std::size_t{1} << std::min(function.domainDim(), mostAxes);
    return count * function.valueCount() >= fewestCorners / corners;
}

std::vector<std::size_t> shapeOf(Frozen const& function, bool isGradient) {
    std::vector<std::size_t> tail;
    if (function.valueCount() != 1) {
        tail.push_back(function.valueCount());
    }
    if (isGradient) {
        tail.push_back(function.domainDim());
    }
    return tail;
}

template <class Function>
py::object values(Function const& self, py::handle points) {
    FrozenPointer const function = frozenOf(self);
    PointBlock const block(points, function->domainDim(), "points");
    if (block.isSingle() && function->valueCount() == 1) {
        double value = 0.0;
        function->evaluate(block.coordinates(), {&value, 1});
        return py::float_(value);
    }
    py::array_t<double> values = block.newArray(shapeOf(*function, false));
    {
        std::span<double> const to = numbersOf(values);
        GilRelease const release(isLong(*function, block.count()));
        function->evaluateMany(block.coordinates(), to);
    }
    return values;
}

template <class Function>
py::tuple valuesAndGradient(Function const& self, py::handle points) {
    FrozenPointer const function = frozenOf(self);
    PointBlock const block(points, function->domainDim(), "points");
    py::array_t<double> values = block.newArray(shapeOf(*function, false));
    py::array_t<double> gradients = block.newArray(shapeOf(*function, true));
    {
        std::span<double> const to = numbersOf(values);
        std::span<double> const slopes = numbersOf(gradients);
        GilRelease const release(isLong(*function, block.count()));
        function->evaluateManyWithGradient(block.coordinates(), to, slopes);
    }
    return py::make_tuple(numberOrArray(std::move(values)), std::move(gradients));
}

template <class Function>
py::array bounds(Function const& self) {
    Bounds const& all = boundsOf(self);
    py::array_t<double> array({all.size(), std::size_t{2}});
    double* next = array.mutable_data();
    for (auto const& ends : all) {
        next = std::copy_n(ends.data(), 2, next);
    }
    return readOnly(std::move(array));
}

// --- Docstrings.

constexpr char const* valuesDoc = R"(Return the values at `points`.

Parameters
----------
points : array of shape (..., n), or tuple of n arrays
    Coordinates of points, in the units of the axes. Each array of a tuple has one coordinate of all
    points; they are broadcast together. If n is 1, a number is a point, and an array of shape (m,)
    is m points.

Returns
-------
float or array of float64
    A new array of shape (...), with k values at each point one of shape (..., k); a float for a
    single value. A value is NaN where the tables have none: at a point that no table of a tree
    covers, and at a missing or NaN coordinate. Beyond its axes a table limits or extrapolates, as
    the options of the axis say. No point raises.

Raises
------
TypeError, ValueError
    If `points` are not real numbers, or have the wrong shape.

Notes
-----
A value has the bits of the C++ block evaluation, and does not depend on the points before.
The GIL is released for large blocks.

Examples
--------
>>> from zeibreku import Table
>>> table = Table(axes=([0, 1], [0, 10]), values=[[0, 10], [1, 11]])
>>> table([0.5, 4])
4.5
>>> table([[0.5, 4], [1, 12]])
array([ 4.5, 11. ])
>>> table(([[0], [1]], [0, 5, 10]))
array([[ 0.,  5., 10.],
       [ 1.,  6., 11.]])
)";

constexpr char const* gradientDoc = R"(Return the gradient at `points`.

Parameters
----------
points : array of shape (..., n), or tuple of n arrays
    As for a call.

Returns
-------
array of float64, of shape (..., n)
    The derivative with respect to each coordinate, in the unit of the value per unit of the axis;
    with k values at each point the shape is (..., k, n). It is that of the cell of the point: at a
    breakpoint, of the cell that begins there, and at an end, of the end cell. Beyond an end that
    limits it is 0. If a value is NaN, its gradient is NaN.

Raises
------
TypeError, ValueError
    If `points` are not real numbers, or have the wrong shape.

Examples
--------
>>> from zeibreku import Table
>>> table = Table(axes=([0, 1], [0, 10]), values=[[0, 10], [1, 11]])
>>> table.gradient([0.5, 4])
array([1., 1.])
)";

constexpr char const* bothDoc =
    R"(Return the values and the gradient at `points`, for less than both calls.

Parameters
----------
points : array of shape (..., n), or tuple of n arrays
    As for a call.

Returns
-------
values : float or array of float64
    As from a call.
gradient : array of float64
    As from `gradient`.

Examples
--------
>>> from zeibreku import Table
>>> table = Table(axes=([0, 1], [0, 10]), values=[[0, 10], [1, 11]])
>>> table.value_and_gradient([0.5, 4])
(4.5, array([1., 1.]))
)";

constexpr char const* freezeDoc = R"(Return the function as it is now, for any number of threads.

The frozen function never changes. It shares what calls have prepared; without a call before, the
values are copied once. It cannot be pickled: pickle this element, and freeze that again.

Examples
--------
>>> from concurrent.futures import ThreadPoolExecutor
>>> from zeibreku import Table
>>> frozen = Table(axes=([0, 1],), values=[0, 10]).freeze()
>>> with ThreadPoolExecutor(2) as executor:
...     list(executor.map(frozen, [0.25, 0.5]))
[2.5, 5.0]
)";

// --- Classes.

template <class Type>
void bindCalls(Type& type) {
    using Function = typename Type::type;
    type.def("__call__", &values<Function>, py::arg("points"), valuesDoc);
    type.def(
        "gradient",
        [](Function const& self, py::handle points) {
            return py::object(valuesAndGradient(self, points)[1]);
        },
        py::arg("points"), gradientDoc);
    type.def("value_and_gradient", &valuesAndGradient<Function>, py::arg("points"), bothDoc);
    type.def_property_readonly(
        "dimension", [](Function const& self) { return dimensionOf(self); },
        "The number n of coordinates of a point; of several tables, the most.");
    type.def_property_readonly("bounds", &bounds<Function>,
                               "The smallest and the largest breakpoint of each axis, an array of "
                               "shape (n, 2). Of several tables, those of all; if n differs, it is "
                               "that of the leftmost table.");
}

template <class T>
void bindFrozen(py::module_& module, char const* name, char const* doc) {
    py::class_<T> type(module, name, doc);
    bindCalls(type);
    type.def("__copy__", [](py::object const& self) { return self; })
        .def("__deepcopy__", [](py::object const& self, py::handle) { return self; })
        .def("__reduce__",
             [name](T const&) -> py::object {
                 throw py::type_error("cannot pickle a " + std::string(name) +
                                      ", which keeps no document; pickle the element that it was "
                                      "frozen from");
             })
        .def("__repr__", [name](T const& self) {
            Frozen const& function = *self.function;
            return '<' + std::string(name) + " of " + std::to_string(function.domainDim()) +
                   " variable(s) and " + std::to_string(function.valueCount()) + " value(s)>";
        });
}

template <class Frozen, class T, class Base>
void bindLive(py::module_& module, char const* name) {
    auto type = py::reinterpret_borrow<ElementClass<T, Base>>(module.attr(name));
    bindCalls(type);
    type.def(
        "freeze", [](T const& self) { return Frozen{frozenOf(self)}; }, freezeDoc);
}

// --- The children of a branch.

using Branch = KrCompositeFunctionBranch;

Branch const& branchOf(KrXmlObject const& element) { return dynamic_cast<Branch const&>(element); }

template <bool isLeft>
py::object child(KrXmlObject const& element) {
    Branch const& branch = branchOf(element);
    KrCompositeFunctionElement const* const child = isLeft ? branch.left() : branch.right();
    return child ? partOf(*child, isLeft ? "left" : "right") : py::none();
}

template <bool isLeft>
void setChild(KrXmlObject& element, py::handle value) {
    auto& branch = dynamic_cast<Branch&>(element);
    if (!value.is_none() && !py::isinstance<KrCompositeFunctionElement>(value)) {
        throwType(isLeft ? "left" : "right", "a Table, a CompositeBranch or None", value);
    }
    if (value.is_none()) {
        Branch other;
        if (KrCompositeFunctionElement const* const kept =
                isLeft ? branch.right() : branch.left()) {
            isLeft ? other.setRight(*kept) : other.setLeft(*kept);
        }
        branch = other;
    } else if (isLeft) {
        branch.setLeft(value.cast<KrCompositeFunctionElement const&>());
    } else {
        branch.setRight(value.cast<KrCompositeFunctionElement const&>());
    }
}

}  // namespace

void bindTables(py::module_& module) {
    py::options options;
    options.disable_function_signatures();
    py::handle const branch = module.attr("CompositeBranch");
    addComponent(branch, Branch(), "left", child<true>, setChild<true>,
                 "The first child, a copy that is read-only; None if there is none. It gets the "
                 "points in its box, and those outside both boxes to which it may extrapolate. "
                 "Default: None.");
    addComponent(branch, Branch(), "right", child<false>, setChild<false>,
                 "The second child, a copy that is read-only; None if there is none. Of the points "
                 "that left does not get, it gets those in its box or to which it may extrapolate. "
                 "A branch has both children or none. Default: None.");

    bindFrozen<FrozenTable>(
        module, "FrozenTable",
        "A table that never changes, from `Table.freeze`. Any number of threads "
        "may call it.");
    bindFrozen<FrozenComposite>(module, "FrozenComposite",
                                "A composite function that never changes, from "
                                "`CompositeFunction.freeze`. Any number of threads may call it.");
    bindLive<FrozenTable, KrTableFunctionInterpolator, KrCompositeFunctionElement>(module, "Table");
    bindLive<FrozenComposite, Branch, KrCompositeFunctionElement>(module, "CompositeBranch");
    bindLive<FrozenComposite, KrCompositeFunctionContainer, KrXmlObject>(module,
                                                                         "CompositeFunction");
}

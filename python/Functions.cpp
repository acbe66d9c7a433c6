#include "function/object/KrScalarFunctionContainer.h"
#include "function/object/KrUnitaryMapContainer.h"
#include "python/Arrays.h"
#include "python/Calls.h"
#include "python/Element.h"
#include "python/Module.h"

#include <algorithm>
#include <memory>

namespace py = pybind11;

namespace {

// From this number of values on, a copy of the function is evaluated without the GIL, since another
// thread may change the function meanwhile. Of a multipoint function with 10 to 20,000 points the
// copy takes as long as 25 to 170 values.
constexpr std::size_t releasingSize = 1000;

template <class Function>
py::object evaluate(Function const& function, py::handle x) {
    if (PyFloat_Check(x.ptr())) {
        return py::float_(function.evaluate(PyFloat_AS_DOUBLE(x.ptr())));
    }
    RealArray const arguments = realArray(x, "x");
    py::array_t<double> values(
        std::vector<py::ssize_t>(arguments.shape(), arguments.shape() + arguments.ndim()));
    auto const fill = [from = numbersOf(arguments), to = numbersOf(values)](Function const& f) {
        std::ranges::transform(from, to.begin(), [&](double number) { return f.evaluate(number); });
    };
    if (numbersOf(values).size() < releasingSize) {
        fill(function);
    } else {
        std::unique_ptr<KrXmlObject> const copy(function.clone());
        GilRelease const release;
        fill(dynamic_cast<Function const&>(*copy));
    }
    return numberOrArray(std::move(values));
}

template <class Function>
void bindCall(py::module_& module, char const* name, char const* doc) {
    using Type = py::class_<Function, KrXmlObject, ElementHolder<Function>>;
    auto type = py::reinterpret_borrow<Type>(module.attr(name));
    type.def("__call__", &evaluate<Function>, py::arg("x"), py::call_guard<MessageDelivery>(), doc);
}

}  // namespace

void bindFunctions(py::module_& module) {
    py::options options;
    options.disable_function_signatures();
    bindCall<KrBaseScalarFunction>(module, "ScalarFunction", R"(Return the values at `x`.

Parameters
----------
x : number or array of real numbers, of any shape
    In the unit of the argument. The class says what it returns outside its data.

Returns
-------
float or array of float64
    A float for a number, else a new array of the shape of `x`, in the unit of the function.

Raises
------
TypeError
    If `x` is not made of real numbers.

Examples
--------
>>> from zeibreku import MultipointScalarFunction
>>> roof = MultipointScalarFunction(domain_values=[0, 1, 2], range_values=[0, 10, 0])
>>> roof(0.25)
2.5
>>> roof([[0.5, 1.5]])
array([[5., 5.]])
)");
    bindCall<KrBaseUnitaryMap>(module, "UnitaryMap", R"(Return the values at `x`.

Parameters
----------
x : number or array of real numbers, of any shape
    Usually from 0 to 1; a number outside is not clamped.

Returns
-------
float or array of float64
    A float for a number, else a new array of the shape of `x`. The map of 0 is 0, that of 1 is 1.

Raises
------
TypeError
    If `x` is not made of real numbers.

Examples
--------
>>> from zeibreku import PowerUnitaryMap
>>> PowerUnitaryMap(exponent=2)([0.0, 0.5, 1.0])
array([0.  , 0.25, 1.  ])
)");
    bindCall<KrScalarFunctionContainer>(module, "ScalarFunctionContainer",
                                        "Return the values of the function at `x`, as "
                                        "`ScalarFunction` does; `x` if there is none.");
    bindCall<KrUnitaryMapContainer>(
        module, "UnitaryMapContainer",
        "Return the values of the map at `x`, as `UnitaryMap` does; `x` if there is none.");
}

#include "function/tools/KrGaussQuadrature.h"

#include "foundation/xml/KrXmlBasicType.h"
#include "python/Arrays.h"
#include "python/Element.h"
#include "python/Module.h"
#include "python/Tools.h"
#include "python/Values.h"

#include <pybind11/numpy.h>

#include <algorithm>
#include <cmath>

namespace py = pybind11;

namespace {

struct Tables {
    double const* abscissas = nullptr;
    double const* weights = nullptr;
};

// The tables of an order. Raises ValueError if it is not supported.
Tables tablesOf(KrU32 order) {
    Tables tables;
    KrGaussQuadrature().obtainAbscissasAndWeights(order, tables.abscissas, tables.weights);
    if (!tables.abscissas) {
        throwValue("order",
                   "expected 2 to 20, 32, 64, 96, 100 or 128, got " + std::to_string(order));
    }
    return tables;
}

KrU32 orderFrom(py::handle value) {
    KrXmlBasicType<KrU32> order;
    componentFromPython(order, value, "order");
    tablesOf(order);
    return order;
}

double limitFrom(py::handle value, std::string const& name) {
    KrXmlBasicType<double> limit;
    componentFromPython(limit, value, name);
    if (!std::isfinite(limit.value())) {
        throwValue(name, "expected a finite number, got " + std::string(py::repr(value)));
    }
    return limit;
}

// The values of `f` at all nodes, by one call.
RealArray valuesOf(py::handle f, KrRealVector const& nodes) {
    py::array_t<double> const argument(static_cast<py::ssize_t>(nodes.size()), nodes.data());
    py::object const result = resultOf(f, argument);
    RealArray values = realArray(result, "f(x)");
    if (values.ndim() != 1 || values.shape(0) != argument.shape(0)) {
        throwValue("f", "expected a result of the shape " + shapeText(argument) +
                            " of its argument, got shape " + shapeText(values) +
                            "; vectorized=False calls it with one number at a time");
    }
    return values;
}

double integrate(KrGaussQuadrature const& self, py::object const& f, py::object const& a,
                 py::object const& b, py::object const& vectorized) {
    // A copy, since `f` may change the element.
    KrGaussQuadrature const rule(self);  // NOLINT(performance-unnecessary-copy-initialization)
    tablesOf(rule.order());
    double const from = limitFrom(a, "a");
    double const to = limitFrom(b, "b");
    KrXmlBasicType<bool> isVectorized;
    componentFromPython(isVectorized, vectorized, "vectorized");
    if (!PyCallable_Check(f.ptr())) {
        throwType("f", "a callable", f);
    }
    if (!isVectorized.value()) {
        return rule.integrate([&](double x) { return valueOf(f, x, "f"); }, from, to);
    }
    // Both calls of the rule visit the same nodes: the first collects them, the second sums.
    KrRealVector nodes;
    rule.integrate([&](double x) { return nodes.push_back(x), 0.0; }, from, to);
    RealArray const values = valuesOf(f, nodes);
    double const* next = values.data();
    return rule.integrate([&](double) { return *next++; }, from, to);
}

// A read-only array of one of the library's tables, which live as long as the library.
py::array tableArray(double const* table, KrU32 order) {
    py::capsule const owner(table, [](void*) {});
    return readOnly(py::array_t<double>(static_cast<py::ssize_t>((order + 1) / 2), table, owner));
}

}  // namespace

void checkQuadrature(KrGaussQuadrature& rule) {
    tablesOf(rule.order());
    rule.setOrder(rule.order());
}

void bindQuadrature(py::module_& module) {
    auto type = py::reinterpret_borrow<ElementClass<KrGaussQuadrature, KrXmlObject>>(
        module.attr("GaussQuadrature"));
    type.def_property(
        "order", [](KrGaussQuadrature const& self) { return self.order(); },
        [](KrGaussQuadrature& self, py::handle value) {
            checkChangeable(self);
            self.setOrder(orderFrom(value));
        });
    type.def("_integrate", &integrate);
    type.def("_tables", [](KrGaussQuadrature const& self) {
        KrU32 const order = self.order();
        Tables const tables = tablesOf(order);
        return py::make_tuple(tableArray(tables.abscissas, order),
                              tableArray(tables.weights, order));
    });
}

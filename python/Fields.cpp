#include "foundation/math/KrRandomScope.h"
#include "foundation/math/KrRandomStream.h"
#include "function/scalar/KrCallableScalarFunction.h"
#include "function/tools/KrRandomTensorTool.h"
#include "python/Calls.h"
#include "python/Module.h"
#include "python/Tools.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <span>

namespace py = pybind11;

namespace {

// While it lives, this thread draws from the stream that it drew from outside of the field.
class OuterStream {
public:
    explicit OuterStream(KrRandomStream* outer)
        : own_(std::exchange(KrRandomScope::slot(), outer)) {}
    ~OuterStream() { KrRandomScope::slot() = own_; }
    OuterStream(OuterStream const&) = delete;
    OuterStream& operator=(OuterStream const&) = delete;

private:
    KrRandomStream* const own_;
};

// Fills an array of shape (fields, rows, columns). Its fields are independent, as those of as many
// calls of the tool in C++. `correlation` is an element or a Python function.
void fillFields(py::array_t<double>& array, py::object const& correlation, double spacing,
                double mean, KrU32 samples, std::optional<KrU32> seed) {
    auto const fields = static_cast<std::size_t>(array.shape(0));
    auto const rows = static_cast<KrU32>(array.shape(1));
    auto const columns = static_cast<KrU32>(array.shape(2));
    std::size_t const size = std::size_t{rows} * columns;
    double* const cells = array.mutable_data();
    // A copy, since another thread may change the element meanwhile.
    std::unique_ptr<KrXmlObject> copy;
    if (py::isinstance<KrBaseScalarFunction>(correlation)) {
        copy.reset(correlation.cast<KrXmlObject const&>().clone());
    }
    auto const* const element = dynamic_cast<KrBaseScalarFunction const*>(copy.get());

    GilRelease release;
    KrRandomStream* const outer = KrRandomScope::current();
    KrRandomStream stream;
    std::optional<KrRandomScope> scope;
    if (seed) {
        stream.seed(*seed);
        scope.emplace(stream);
    }
    KrRealVector values;  // of the correlation, which the fields after the first use again
    std::size_t next = 0;
    KrCallableScalarFunction function([&](double distance) {
        if (next == values.size()) {
            if (element) {
                values.push_back(element->evaluate(distance));
            } else {
                OuterStream const others(outer);
                GilRelease::Pause const pause(release);
                values.push_back(valueOf(correlation, distance, "correlation"));
            }
        }
        return values[next++];
    });
    KrRandomTensorTool tool;
    tool.setNumRandomSamples(samples);
    for (std::size_t field = 0; field < fields; ++field) {
        next = 0;
        tool.fillGaussianRandomArray({cells + field * size, size}, columns, rows, function, spacing,
                                     mean);
        if (field + 1 < fields) {
            GilRelease::Pause const pause(release);
            if (PyErr_CheckSignals() != 0) {
                throw py::error_already_set();
            }
        }
    }
}

}  // namespace

void bindFields(py::module_& module) {
    module.def("_fill_fields", &fillFields, py::arg().noconvert(), py::arg(), py::arg(), py::arg(),
               py::arg(), py::arg());
}

#include "python/Module.h"

#include "foundation/core/KrExport.h"

namespace {

// An object that only `__new__` has made has no C++ object. pybind11 would allocate one without a
// constructor at the first use, by this function of its class.
void refuseUnmade(pybind11::module_ const& module) {
    for (auto const& [name, value] : pybind11::dict(module.attr("__dict__"))) {
        if (!PyType_Check(value.ptr())) {
            continue;
        }
        if (auto* const type =
                pybind11::detail::get_type_info(reinterpret_cast<PyTypeObject*>(value.ptr()))) {
            type->operator_new = [](std::size_t) -> void* {
                throw pybind11::type_error("__init__() of this object was not called");
            };
        }
    }
}

}  // namespace

PYBIND11_MODULE(_core, module) {
    module.doc() = "The compiled part of zeibreku.";
    module.attr("__version__") = KR_VERSION;
    bindMessages(module);
    bindValues(module);
    bindElements(module);
    bindFunctions(module);
    bindTables(module);
    bindSearches(module);
    bindConstraints(module);
    bindQuadrature(module);
    bindFields(module);
    bindLint(module);
    refuseUnmade(module);
}

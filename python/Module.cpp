#include "python/Element.h"
#include "python/Messages.h"

PYBIND11_MODULE(_core, module) {
    module.doc() = "The compiled part of zeibreku.";
    module.attr("__version__") = KR_VERSION;
    bindMessages(module);
    bindElements(module);
    bindFunctions(module);
    bindTables(module);
    bindSearches(module);
    bindConstraints(module);
    bindQuadrature(module);
    bindFields(module);
    bindLint(module);
}

#include "function/object/KrCreators.h"

#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "function/object/KrFunction.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

namespace KrCreators {

void registerOptimizers(KrXmlBaseVariableCompoundType& holder) {
    holder.registerComponentCreator(KrFunction::KrNelderMeadToken, KrNelderMeadOptimizer::creator);
}

}  // namespace KrCreators

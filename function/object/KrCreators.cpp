#include "function/object/KrCreators.h"

#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
#include "function/object/KrFunction.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "function/scalar/KrPowerUnitaryMap.h"
#include "function/scalar/KrSCurveUnitaryMap.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

namespace KrCreators {

void registerScalarFunctions(KrXmlBaseVariableCompoundType& holder) {
    holder.registerComponentCreator(KrFunction::KrLinearScalarFunctionToken,
                                    KrLinearScalarFunction::xmlObjectCreator);
}

void registerUnitaryMaps(KrXmlBaseVariableCompoundType& holder) {
    holder.registerComponentCreator(KrFunction::KrSCurveUnitaryMapToken,
                                    KrSCurveUnitaryMap::xmlObjectCreator);
    holder.registerComponentCreator(KrFunction::KrPowerUnitaryMapToken,
                                    KrPowerUnitaryMap::xmlObjectCreator);
}

void registerConstraints(KrXmlBaseVariableCompoundType& holder) {
    holder.registerComponentCreator(KrFunction::KrLinearMultivariableConstraintToken,
                                    KrLinearMultivariableConstraint::creator);
    holder.registerComponentCreator(KrFunction::KrQuadraticMultivariableConstraintToken,
                                    KrQuadraticMultivariableConstraint::creator);
}

void registerOptimizers(KrXmlBaseVariableCompoundType& holder) {
    holder.registerComponentCreator(KrFunction::KrNelderMeadToken, KrNelderMeadOptimizer::creator);
    holder.registerComponentCreator(KrFunction::KrHookeJeevesToken,
                                    KrHookeJeevesOptimizer::creator);
    holder.registerComponentCreator(KrFunction::KrMultidirectionalSearchToken,
                                    KrMultidirectionalSearchOptimizer::creator);
    holder.registerComponentCreator(KrFunction::KrImplicitFilteringToken,
                                    KrImplicitFilteringOptimizer::creator);
    holder.registerComponentCreator(KrFunction::KrSequenceOptimizerToken,
                                    KrSequenceOptimizer::creator);
}

void registerCompositeFunctions(KrXmlBaseVariableCompoundType& holder) {
    holder.registerComponentCreator(KrFunction::KrTableFunctionInterpolatorToken,
                                    KrTableFunctionInterpolator::creator);
    holder.registerComponentCreator(KrFunction::KrCompositeFunctionBranchToken,
                                    KrCompositeFunctionBranch::creator);
}

}  // namespace KrCreators

#include "function/object/KrCreators.h"

#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
#include "function/object/KrMultivariableConstraintContainer.h"
#include "function/object/KrMultivariableConstraintVector.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/object/KrScalarMultivariableOptimizerVector.h"
#include "function/object/KrUnitaryMapContainer.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "function/scalar/KrMultipointScalarFunction.h"
#include "function/scalar/KrPowerUnitaryMap.h"
#include "function/scalar/KrSCurveUnitaryMap.h"
#include "function/tools/KrGaussQuadrature.h"

KR_SOURCE_VERSION;

namespace {

// Deduces the tag from the base of the class.
template <class Derived, class Base, KrToken const& Tag>
KrToken const& tagOf(KrElement<Derived, Base, Tag> const*) {
    return Tag;
}

// Containers register `xmlObjectCreator` if the class has one: clients see its address in the
// creator maps.
template <class Element>
constexpr KrXmlCreator creatorOf() {
    if constexpr (requires { Element::xmlObjectCreator(); }) {
        return Element::xmlObjectCreator;
    } else {
        return Element::creator;
    }
}

// A list of classes, registered in this order.
template <class... Elements>
struct Classes {
    static void registerWith(KrXmlBaseVariableCompoundType& holder) {
        (holder.registerComponentCreator(tagOf(static_cast<Elements*>(nullptr)),
                                         creatorOf<Elements>()),
         ...);
    }
    static void registerWith(KrXmlFactory& factory) {
        (factory.registerCreator(tagOf(static_cast<Elements*>(nullptr)), creatorOf<Elements>()),
         ...);
    }
};

using ScalarFunctions = Classes<KrLinearScalarFunction>;

using UnitaryMaps = Classes<KrSCurveUnitaryMap, KrPowerUnitaryMap>;

using Constraints = Classes<KrLinearMultivariableConstraint, KrQuadraticMultivariableConstraint>;

using Optimizers =
    Classes<KrNelderMeadOptimizer, KrHookeJeevesOptimizer, KrMultidirectionalSearchOptimizer,
            KrImplicitFilteringOptimizer, KrSequenceOptimizer>;

using CompositeFunctions = Classes<KrTableFunctionInterpolator, KrCompositeFunctionBranch>;

// Classes that no container or vector creates without a factory.
using Others =
    Classes<KrMultipointScalarFunction, KrTableFunctionVectorSearch, KrGaussQuadrature,
            KrScalarFunctionContainer, KrUnitaryMapContainer, KrMultivariableConstraintContainer,
            KrMultivariableConstraintVector, KrScalarMultivariableOptimizerContainer,
            KrScalarMultivariableOptimizerVector, KrCompositeFunctionContainer>;

}  // namespace

namespace KrCreators {

void registerScalarFunctions(KrXmlBaseVariableCompoundType& holder) {
    ScalarFunctions::registerWith(holder);
}

void registerUnitaryMaps(KrXmlBaseVariableCompoundType& holder) {
    UnitaryMaps::registerWith(holder);
}

void registerConstraints(KrXmlBaseVariableCompoundType& holder) {
    Constraints::registerWith(holder);
}

void registerOptimizers(KrXmlBaseVariableCompoundType& holder) { Optimizers::registerWith(holder); }

void registerCompositeFunctions(KrXmlBaseVariableCompoundType& holder) {
    CompositeFunctions::registerWith(holder);
}

KrXmlFactory factory() {
    KrXmlFactory all;
    ScalarFunctions::registerWith(all);
    UnitaryMaps::registerWith(all);
    Constraints::registerWith(all);
    Optimizers::registerWith(all);
    CompositeFunctions::registerWith(all);
    Others::registerWith(all);
    return all;
}

}  // namespace KrCreators

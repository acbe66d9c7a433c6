#pragma once

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
#include "search/KrSearch.h"

#include <gtest/gtest.h>

// A class joins the contract by its entry in one of these lists alone.

/// The elements that consist of components.
using Compounds = testing::Types<
    KrNelderMeadOptimizer, KrLinearScalarFunction, KrMultipointScalarFunction, KrPowerUnitaryMap,
    KrSCurveUnitaryMap, KrLinearMultivariableConstraint, KrQuadraticMultivariableConstraint,
    KrHookeJeevesOptimizer, KrMultidirectionalSearchOptimizer, KrImplicitFilteringOptimizer,
    KrSequenceOptimizer, KrTableFunctionVectorSearch, KrTableFunctionInterpolator,
    KrCompositeFunctionBranch, KrGaussQuadrature, KrSearch, KrSearchReport, KrSearchVariable>;

/// The elements that own one other element.
using Containers =
    testing::Types<KrScalarFunctionContainer, KrUnitaryMapContainer,
                   KrMultivariableConstraintContainer, KrScalarMultivariableOptimizerContainer,
                   KrCompositeFunctionContainer>;

/// The elements that own a list of others.
using Vectors = testing::Types<KrMultivariableConstraintVector,
                               KrScalarMultivariableOptimizerVector, KrSearchVariableVector>;

template <class... A, class... B, class... C>
testing::Types<A..., B..., C...> joined(testing::Types<A...>, testing::Types<B...>,
                                        testing::Types<C...>);
using Elements = decltype(joined(Compounds(), Containers(), Vectors()));

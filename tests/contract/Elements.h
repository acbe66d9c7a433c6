#pragma once

#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
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

#include <gtest/gtest.h>

/// The element classes.
using Elements =
    testing::Types<KrNelderMeadOptimizer, KrLinearScalarFunction, KrMultipointScalarFunction,
                   KrPowerUnitaryMap, KrSCurveUnitaryMap, KrLinearMultivariableConstraint,
                   KrQuadraticMultivariableConstraint, KrHookeJeevesOptimizer,
                   KrMultidirectionalSearchOptimizer, KrImplicitFilteringOptimizer,
                   KrSequenceOptimizer, KrTableFunctionVectorSearch, KrTableFunctionInterpolator,
                   KrCompositeFunctionBranch, KrGaussQuadrature>;

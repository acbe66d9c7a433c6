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

/// The element classes, each with the document of a default object: its tag, its
/// components in their order, and their defaults.

struct NelderMead {
    using Element = KrNelderMeadOptimizer;
    static constexpr char const* document =
        "<nelderMead xmlns=\"urn:zeibreku:function#\"><alpha>1</alpha><beta>0.5</beta>"
        "<gamma>2</gamma><sigma>0.5</sigma><stoppingThreshold>1e-05</stoppingThreshold>"
        "<maxTotalSteps>200</maxTotalSteps><maxFunctionEvaluations>300</maxFunctionEvaluations>"
        "<maxExpansionSteps>100</maxExpansionSteps><restartCheckPeriod>25</restartCheckPeriod>"
        "<eta>1e-04</eta><simplexEdgeLengths count=\"0\"/>"
        "<defaultSimplexEdgeLength>0.01</defaultSimplexEdgeLength></nelderMead>";
};

struct LinearScalarFunction {
    using Element = KrLinearScalarFunction;
    static constexpr char const* document =
        "<linearScalarFunction xmlns=\"urn:zeibreku:function#\"><startValue>0</startValue>"
        "<endValue>1</endValue></linearScalarFunction>";
};

struct MultipointScalarFunction {
    using Element = KrMultipointScalarFunction;
    static constexpr char const* document =
        "<multipointScalarFunction xmlns=\"urn:zeibreku:function#\"><rangeValues count=\"0\"/>"
        "<domainValues count=\"0\"/></multipointScalarFunction>";
};

struct PowerUnitaryMap {
    using Element = KrPowerUnitaryMap;
    static constexpr char const* document =
        "<powerUnitaryMap xmlns=\"urn:zeibreku:function#\"><exponent>1</exponent>"
        "</powerUnitaryMap>";
};

struct SCurveUnitaryMap {
    using Element = KrSCurveUnitaryMap;
    static constexpr char const* document =
        "<sCurveUnitaryMap xmlns=\"urn:zeibreku:function#\"><center>0.5</center>"
        "<initialSlope>0</initialSlope><finalSlope>0</finalSlope><centerSlope>4</centerSlope>"
        "</sCurveUnitaryMap>";
};

struct LinearConstraint {
    using Element = KrLinearMultivariableConstraint;
    static constexpr char const* document =
        "<linearMultivariableConstraint xmlns=\"urn:zeibreku:function#\"><offset>0</offset>"
        "<firstOrderIndices count=\"0\"/><firstOrderCoefficients count=\"0\"/>"
        "</linearMultivariableConstraint>";
};

struct QuadraticConstraint {
    using Element = KrQuadraticMultivariableConstraint;
    static constexpr char const* document =
        "<quadraticMultivariableConstraint xmlns=\"urn:zeibreku:function#\"><offset>0</offset>"
        "<firstOrderIndices count=\"0\"/><firstOrderCoefficients count=\"0\"/>"
        "<secondOrderIndexPairs count=\"0\"/><secondOrderCoefficients count=\"0\"/>"
        "</quadraticMultivariableConstraint>";
};

struct HookeJeeves {
    using Element = KrHookeJeevesOptimizer;
    static constexpr char const* document =
        "<hookeJeeves xmlns=\"urn:zeibreku:function#\"><reductionFactor>0.5</reductionFactor>"
        "<minTotalReduction>0.001</minTotalReduction>"
        "<maxFunctionEvaluations>300</maxFunctionEvaluations><edgeLengths count=\"0\"/>"
        "<defaultEdgeLength>0.01</defaultEdgeLength>"
        "<directionsMode>urn:zeibreku:function#none</directionsMode></hookeJeeves>";
};

struct MultidirectionalSearch {
    using Element = KrMultidirectionalSearchOptimizer;
    static constexpr char const* document =
        "<multidirectionalSearch xmlns=\"urn:zeibreku:function#\"><alpha>1</alpha><beta>0.5</beta>"
        "<gamma>2</gamma><stoppingThreshold>1e-05</stoppingThreshold>"
        "<maxFunctionEvaluations>300</maxFunctionEvaluations><simplexEdgeLengths count=\"0\"/>"
        "<defaultSimplexEdgeLength>0.01</defaultSimplexEdgeLength></multidirectionalSearch>";
};

struct ImplicitFiltering {
    using Element = KrImplicitFilteringOptimizer;
    static constexpr char const* document =
        "<implicitFiltering xmlns=\"urn:zeibreku:function#\">"
        "<lineSearchAlpha>1e-04</lineSearchAlpha><lineSearchBeta>0.5</lineSearchBeta>"
        "<lineSearchMaxIterations>25</lineSearchMaxIterations>"
        "<lineSearchInitialLambdaMultiplier>10</lineSearchInitialLambdaMultiplier>"
        "<tau>0.01</tau><simplexScaleFactor>0.5</simplexScaleFactor>"
        "<maxFunctionEvaluations>300</maxFunctionEvaluations><simplexEdgeLengths count=\"0\"/>"
        "<defaultSimplexEdgeLength>0.01</defaultSimplexEdgeLength></implicitFiltering>";
};

struct Sequence {
    using Element = KrSequenceOptimizer;
    static constexpr char const* document =
        "<sequenceOptimizer xmlns=\"urn:zeibreku:function#\"><numberPasses>1</numberPasses>"
        "<optimizerSequence count=\"0\"/><executeInParallel>false</executeInParallel>"
        "</sequenceOptimizer>";
};

struct TableFunctionVectorSearch {
    using Element = KrTableFunctionVectorSearch;
    static constexpr char const* document =
        "<tableFunctionVectorSearch xmlns=\"urn:zeibreku:function#\" searchOption=\"linear\" "
        "lowerBoundaryOption=\"limit\" upperBoundaryOption=\"limit\">"
        "<independentVector count=\"0\"/></tableFunctionVectorSearch>";
};

struct TableFunctionInterpolator {
    using Element = KrTableFunctionInterpolator;
    static constexpr char const* document =
        "<tableFunctionInterpolator xmlns=\"urn:zeibreku:function#\"><independentData count=\"0\"/>"
        "<dependentData count=\"0\"/></tableFunctionInterpolator>";
};

struct CompositeFunctionBranch {
    using Element = KrCompositeFunctionBranch;
    static constexpr char const* document =
        "<compositeFunctionBranch xmlns=\"urn:zeibreku:function#\"/>";
};

struct GaussQuadrature {
    using Element = KrGaussQuadrature;
    static constexpr char const* document =
        "<gaussQuadrature xmlns=\"urn:zeibreku:function#\"><order>10</order></gaussQuadrature>";
};

using Elements =
    testing::Types<NelderMead, LinearScalarFunction, MultipointScalarFunction, PowerUnitaryMap,
                   SCurveUnitaryMap, LinearConstraint, QuadraticConstraint, HookeJeeves,
                   MultidirectionalSearch, ImplicitFiltering, Sequence, TableFunctionVectorSearch,
                   TableFunctionInterpolator, CompositeFunctionBranch, GaussQuadrature>;

#include "function/object/KrFunction.h"

#include "foundation/xml/KrXml.h"

namespace KrFunction {

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrToken const ns(KrXml::namespaceUri);

KrToken const KrAlphaToken = ns + "alpha";
KrToken const KrAxisAlignedToken = ns + "axisAligned";
KrToken const KrBetaToken = ns + "beta";
KrToken const KrCenterToken = ns + "center";
KrToken const KrCenterSlopeToken = ns + "centerSlope";
KrToken const KrCompositeFunctionBranchToken = ns + "compositeFunctionBranch";
KrToken const KrCompositeFunctionContainerToken = ns + "compositeFunctionContainer";
KrToken const KrDefaultEdgeLengthToken = ns + "defaultEdgeLength";
KrToken const KrDefaultSimplexEdgeLengthToken = ns + "defaultSimplexEdgeLength";
KrToken const KrDependentDataToken = ns + "dependentData";
KrToken const KrDirectionsModeToken = ns + "directionsMode";
KrToken const KrDomainValuesToken = ns + "domainValues";
KrToken const KrEdgeLengthsToken = ns + "edgeLengths";
KrToken const KrEndValueToken = ns + "endValue";
KrToken const KrEtaToken = ns + "eta";
KrToken const KrExecuteInParallelToken = ns + "executeInParallel";
KrToken const KrExponentToken = ns + "exponent";
KrToken const KrFinalSlopeToken = ns + "finalSlope";
KrToken const KrFirstOrderCoefficientsToken = ns + "firstOrderCoefficients";
KrToken const KrFirstOrderIndicesToken = ns + "firstOrderIndices";
KrToken const KrGammaToken = ns + "gamma";
KrToken const KrGaussQuadratureToken = ns + "gaussQuadrature";
KrToken const KrHookeJeevesToken = ns + "hookeJeeves";
KrToken const KrImplicitFilteringToken = ns + "implicitFiltering";
KrToken const KrIndependentDataToken = ns + "independentData";
KrToken const KrIndVectorToken = ns + "independentVector";
KrToken const KrLineSearchInitialLambdaMultiplierToken = ns + "lineSearchInitialLambdaMultiplier";
KrToken const KrInitialSlopeToken = ns + "initialSlope";
KrToken const KrLinearScalarFunctionToken = ns + "linearScalarFunction";
KrToken const KrLinearMultivariableConstraintToken = ns + "linearMultivariableConstraint";
KrToken const KrLineSearchAlphaToken = ns + "lineSearchAlpha";
KrToken const KrLineSearchBetaToken = ns + "lineSearchBeta";
KrToken const KrLineSearchMaxIterationsToken = ns + "lineSearchMaxIterations";
KrToken const KrMultipointScalarFunctionToken = ns + "multipointScalarFunction";
KrToken const KrMaxExpansionStepsToken = ns + "maxExpansionSteps";
KrToken const KrMaxTotalStepsToken = ns + "maxTotalSteps";
KrToken const KrMaxFunctionEvaluationsToken = ns + "maxFunctionEvaluations";
KrToken const KrMinTotalReductionToken = ns + "minTotalReduction";
KrToken const KrMultidirectionalSearchToken = ns + "multidirectionalSearch";
KrToken const KrMultivariableConstraintContainerToken = ns + "multivariableConstraintContainer";
KrToken const KrMultivariableConstraintVectorToken = ns + "multivariableConstraintVector";
KrToken const KrNelderMeadToken = ns + "nelderMead";
KrToken const KrNoneToken = ns + "none";
KrToken const KrNumberPassesToken = ns + "numberPasses";
KrToken const KrOffsetToken = ns + "offset";
KrToken const KrOptimizerContainerToken = ns + "optimizerContainer";
KrToken const KrOptimizerSequenceToken = ns + "optimizerSequence";
KrToken const KrOrderToken = ns + "order";
KrToken const KrPowerUnitaryMapToken = ns + "powerUnitaryMap";
KrToken const KrQuadraticMultivariableConstraintToken = ns + "quadraticMultivariableConstraint";
KrToken const KrRandomToken = ns + "random";
KrToken const KrRangeValuesToken = ns + "rangeValues";
KrToken const KrReductionFactorToken = ns + "reductionFactor";
KrToken const KrRestartCheckPeriodToken = ns + "restartCheckPeriod";
KrToken const KrRotatedToken = ns + "rotated";
KrToken const KrScalarFunctionContainerToken = ns + "scalarFunctionContainer";
KrToken const KrScalarMultivariableOptimizerVectorToken = ns + "scalarMultivariableOptimizerVector";
KrToken const KrSecondOrderCoefficientsToken = ns + "secondOrderCoefficients";
KrToken const KrSecondOrderIndexPairsToken = ns + "secondOrderIndexPairs";
KrToken const KrSequenceOptimizerToken = ns + "sequenceOptimizer";
KrToken const KrSCurveUnitaryMapToken = ns + "sCurveUnitaryMap";
KrToken const KrSigmaToken = ns + "sigma";
KrToken const KrSimplexEdgeLengthsToken = ns + "simplexEdgeLengths";
KrToken const KrSimplexScaleFactorToken = ns + "simplexScaleFactor";
KrToken const KrStartValueToken = ns + "startValue";
KrToken const KrStoppingThresholdToken = ns + "stoppingThreshold";
KrToken const KrTableFunctionInterpolatorToken = ns + "tableFunctionInterpolator";
KrToken const KrTableFunctionVectorSearchToken = ns + "tableFunctionVectorSearch";
KrToken const KrTauToken = ns + "tau";
KrToken const KrUnitaryMapContainerToken = ns + "unitaryMapContainer";

KrToken const KrIndLowerBoundaryToken("lowerBoundaryOption");
KrToken const KrIndSearchToken("searchOption");
KrToken const KrIndUpperBoundaryToken("upperBoundaryOption");
KrToken const KrBoundaryExtrapolateToken("extrapolate");
KrToken const KrBoundaryLimitToken("limit");
KrToken const KrSearchBisectionToken("bisection");
KrToken const KrSearchEqualToken("equal_spaced");
KrToken const KrSearchLinearToken("linear");

}  // namespace KrFunction

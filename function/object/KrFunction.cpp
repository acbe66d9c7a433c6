#include "function/object/KrFunction.h"

#include "foundation/xml/KrXmlTokens.h"

// In a static build, these tokens are initialised before the globals of the program and after the
// tokens of the framework.
#define KR_EARLY [[gnu::init_priority(201)]]

KR_SOURCE_VERSION;

namespace KrFunction {

KR_EARLY KrToken const ns(KrXml::namespaceUri);

KR_EARLY KrToken const KrAlphaToken = ns + "alpha";
KR_EARLY KrToken const KrAxisAlignedToken = ns + "axisAligned";
KR_EARLY KrToken const KrBetaToken = ns + "beta";
KR_EARLY KrToken const KrCenterToken = ns + "center";
KR_EARLY KrToken const KrCenterSlopeToken = ns + "centerSlope";
KR_EARLY KrToken const KrCompositeFunctionBranchToken = ns + "compositeFunctionBranch";
KR_EARLY KrToken const KrCompositeFunctionContainerToken = ns + "compositeFunctionContainer";
KR_EARLY KrToken const KrDefaultEdgeLengthToken = ns + "defaultEdgeLength";
KR_EARLY KrToken const KrDefaultSimplexEdgeLengthToken = ns + "defaultSimplexEdgeLength";
KR_EARLY KrToken const KrDependentDataToken = ns + "dependentData";
KR_EARLY KrToken const KrDirectionsModeToken = ns + "directionsMode";
KR_EARLY KrToken const KrDomainValuesToken = ns + "domainValues";
KR_EARLY KrToken const KrEdgeLengthsToken = ns + "edgeLengths";
KR_EARLY KrToken const KrEndValueToken = ns + "endValue";
KR_EARLY KrToken const KrEtaToken = ns + "eta";
KR_EARLY KrToken const KrExecuteInParallelToken = ns + "executeInParallel";
KR_EARLY KrToken const KrExponentToken = ns + "exponent";
KR_EARLY KrToken const KrFinalSlopeToken = ns + "finalSlope";
KR_EARLY KrToken const KrFirstOrderCoefficientsToken = ns + "firstOrderCoefficients";
KR_EARLY KrToken const KrFirstOrderIndicesToken = ns + "firstOrderIndices";
KR_EARLY KrToken const KrGammaToken = ns + "gamma";
KR_EARLY KrToken const KrGaussQuadratureToken = ns + "gaussQuadrature";
KR_EARLY KrToken const KrHookeJeevesToken = ns + "hookeJeeves";
KR_EARLY KrToken const KrImplicitFilteringToken = ns + "implicitFiltering";
KR_EARLY KrToken const KrIndependentDataToken = ns + "independentData";
KR_EARLY KrToken const KrIndVectorToken = ns + "independentVector";
KR_EARLY KrToken const KrLineSearchInitialLambdaMultiplierToken =
    ns + "lineSearchInitialLambdaMultiplier";
KR_EARLY KrToken const KrInitialSlopeToken = ns + "initialSlope";
KR_EARLY KrToken const KrLinearScalarFunctionToken = ns + "linearScalarFunction";
KR_EARLY KrToken const KrLinearMultivariableConstraintToken = ns + "linearMultivariableConstraint";
KR_EARLY KrToken const KrLineSearchAlphaToken = ns + "lineSearchAlpha";
KR_EARLY KrToken const KrLineSearchBetaToken = ns + "lineSearchBeta";
KR_EARLY KrToken const KrLineSearchMaxIterationsToken = ns + "lineSearchMaxIterations";
KR_EARLY KrToken const KrMultipointScalarFunctionToken = ns + "multipointScalarFunction";
KR_EARLY KrToken const KrMaxExpansionStepsToken = ns + "maxExpansionSteps";
KR_EARLY KrToken const KrMaxTotalStepsToken = ns + "maxTotalSteps";
KR_EARLY KrToken const KrMaxFunctionEvaluationsToken = ns + "maxFunctionEvaluations";
KR_EARLY KrToken const KrMinTotalReductionToken = ns + "minTotalReduction";
KR_EARLY KrToken const KrMultidirectionalSearchToken = ns + "multidirectionalSearch";
KR_EARLY KrToken const KrMultivariableConstraintContainerToken =
    ns + "multivariableConstraintContainer";
KR_EARLY KrToken const KrMultivariableConstraintVectorToken = ns + "multivariableConstraintVector";
KR_EARLY KrToken const KrNelderMeadToken = ns + "nelderMead";
KR_EARLY KrToken const KrNoneToken = ns + "none";
KR_EARLY KrToken const KrNumberPassesToken = ns + "numberPasses";
KR_EARLY KrToken const KrOffsetToken = ns + "offset";
KR_EARLY KrToken const KrOptimizerContainerToken = ns + "optimizerContainer";
KR_EARLY KrToken const KrOptimizerSequenceToken = ns + "optimizerSequence";
KR_EARLY KrToken const KrOrderToken = ns + "order";
KR_EARLY KrToken const KrPowerUnitaryMapToken = ns + "powerUnitaryMap";
KR_EARLY KrToken const KrQuadraticMultivariableConstraintToken =
    ns + "quadraticMultivariableConstraint";
KR_EARLY KrToken const KrRandomToken = ns + "random";
KR_EARLY KrToken const KrRangeValuesToken = ns + "rangeValues";
KR_EARLY KrToken const KrReductionFactorToken = ns + "reductionFactor";
KR_EARLY KrToken const KrRestartCheckPeriodToken = ns + "restartCheckPeriod";
KR_EARLY KrToken const KrRotatedToken = ns + "rotated";
KR_EARLY KrToken const KrScalarFunctionContainerToken = ns + "scalarFunctionContainer";
KR_EARLY KrToken const KrScalarMultivariableOptimizerVectorToken =
    ns + "scalarMultivariableOptimizerVector";
KR_EARLY KrToken const KrSecondOrderCoefficientsToken = ns + "secondOrderCoefficients";
KR_EARLY KrToken const KrSecondOrderIndexPairsToken = ns + "secondOrderIndexPairs";
KR_EARLY KrToken const KrSequenceOptimizerToken = ns + "sequenceOptimizer";
KR_EARLY KrToken const KrSCurveUnitaryMapToken = ns + "sCurveUnitaryMap";
KR_EARLY KrToken const KrSigmaToken = ns + "sigma";
KR_EARLY KrToken const KrSimplexEdgeLengthsToken = ns + "simplexEdgeLengths";
KR_EARLY KrToken const KrSimplexScaleFactorToken = ns + "simplexScaleFactor";
KR_EARLY KrToken const KrStartValueToken = ns + "startValue";
KR_EARLY KrToken const KrStoppingThresholdToken = ns + "stoppingThreshold";
KR_EARLY KrToken const KrTableFunctionInterpolatorToken = ns + "tableFunctionInterpolator";
KR_EARLY KrToken const KrTableFunctionVectorSearchToken = ns + "tableFunctionVectorSearch";
KR_EARLY KrToken const KrTauToken = ns + "tau";
KR_EARLY KrToken const KrUnitaryMapContainerToken = ns + "unitaryMapContainer";

KR_EARLY KrToken const KrIndLowerBoundaryToken{"lowerBoundaryOption"};
KR_EARLY KrToken const KrIndSearchToken{"searchOption"};
KR_EARLY KrToken const KrIndUpperBoundaryToken{"upperBoundaryOption"};
KR_EARLY KrToken const KrBoundaryExtrapolateToken{"extrapolate"};
KR_EARLY KrToken const KrBoundaryLimitToken{"limit"};
KR_EARLY KrToken const KrSearchBisectionToken{"bisection"};
KR_EARLY KrToken const KrSearchEqualToken{"equal_spaced"};
KR_EARLY KrToken const KrSearchLinearToken{"linear"};

}  // namespace KrFunction

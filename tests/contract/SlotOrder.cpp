// The order of the virtual operations is part of the interface. In the ABI of
// both compilers a pointer to a virtual member function holds its offset in the
// table, so that the order can be read off.

#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrInterpolator.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
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
#include "function/tools/KrRandomTensorTool.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

template <class Member>
std::size_t slot(Member member) {
    std::size_t word = 0;
    std::memcpy(&word, &member, sizeof word);
    return (word - 1) / sizeof(void*);
}

// Checks that the members stand in consecutive slots from `first` on; returns the
// slot behind them.
template <class... Members>
std::size_t expectSlots(std::size_t first, Members... members) {
    for (std::size_t const actual : {slot(members)...}) {
        EXPECT_EQ(actual, first++);
    }
    return first;
}

template <class C>
std::size_t expectObjectSlots() {
    using T = C;
    return expectSlots(2, &T::accept, &T::clone, &T::xmlInit, &T::read, &T::readAttribute,
                       &T::write, &T::writeSchema, &T::createSchema, &T::xmlInitialized,
                       &T::setXmlInitialized, &T::specified, &T::setSpecified, &T::isBasicType,
                       &T::equalsDefault, &T::equality, &T::newObject, &T::token);
}

template <class C>
std::size_t expectCompoundSlots() {
    using T = C;
    return expectSlots(
        expectObjectSlots<T>(), &T::readAttributes, &T::readElements, &T::writeAttributes,
        &T::writeElements, &T::writeSchemaAttributes, &T::writeSchemaElements,
        &T::registerComponents, &T::registerComponent, &T::registerComponentReadOnly,
        &T::componentMap, &T::registerAttributeComponent, &T::registerAttributeComponentReadOnly,
        &T::attributeComponentMap, &T::specialDescriptorMap, &T::hasChildren, &T::hasAttributes,
        &T::readValueFromToken, &T::readValueFromSpecialToken, &T::readAttributeFromToken,
        &T::newComponentMap, &T::newSpecialDescriptorMap, &T::createComponentMap,
        &T::createAttributeComponentMap, &T::createSpecialDescriptorMap, &T::isReadOnlyComponent,
        &T::isReadOnlyAttribute);
}

template <class C>
std::size_t expectElementSlots() {
    using T = C;
    return expectSlots(expectCompoundSlots<T>(), &T::container, &T::setContainer);
}

template <class C>
std::size_t expectOptimizerSlots() {
    return expectSlots(expectElementSlots<C>(), &C::findMinimum, &C::findMaximum);
}

// The slots of containers and vectors, up to where the two part.
template <class C>
std::size_t expectVariableCompoundSlots() {
    using T = C;
    return expectSlots(expectObjectSlots<T>(), &T::registerComponentCreators,
                       &T::registerComponentCreator, &T::newObjectFromToken, &T::addLibraries,
                       &T::setAddLibraries, &T::creatorMap, &T::readValueFromToken,
                       &T::processLibraries);
}

template <class C, class T>
std::size_t expectContainerSlots() {
    return expectSlots(expectVariableCompoundSlots<C>(),
                       static_cast<T const* (C::*)() const>(&C::topElement),
                       static_cast<T* (C::*)()>(&C::topElement), &C::setTopElement,
                       &C::setAndDeleteTopElementPointer, &C::setTopElementContainerToThis);
}

TEST(SlotOrder, Functions) {
    using F = KrPowellsQuarticFunction;
    expectSlots(2, &F::evaluate, &F::evaluateMultiple, &F::domainDim, &F::multiplier,
                &F::setMultiplier);
}

TEST(SlotOrder, RandomTensorTool) {
    using T = KrRandomTensorTool;
    expectSlots(2, &T::setRandomSeed, &T::numRandomSamples, &T::setNumRandomSamples,
                &T::getGaussianRandomArray);
}

TEST(SlotOrder, NelderMead) {
    using T = KrNelderMeadOptimizer;
    expectSlots(expectOptimizerSlots<T>(), &T::alpha, &T::setAlpha, &T::beta, &T::setBeta,
                &T::gamma, &T::setGamma, &T::sigma, &T::setSigma, &T::stoppingThreshold,
                &T::setStoppingThreshold, &T::maxTotalSteps, &T::setMaxTotalSteps,
                &T::maxFunctionEvaluations, &T::setMaxFunctionEvaluations, &T::restartCheckPeriod,
                &T::setRestartCheckPeriod, &T::eta, &T::setEta, &T::maxExpansionSteps,
                &T::setMaxExpansionSteps, &T::simplexEdgeLengths, &T::setSimplexEdgeLengths,
                &T::defaultSimplexEdgeLength, &T::setDefaultSimplexEdgeLength, &T::initialize,
                &T::singleStep, &T::exchangeHighVertex, &T::exchangeHighVertexAndContract,
                &T::findMaxAndMin, &T::calculateVertexMeanExcludingMaxPoint, &T::restartIfNeeded);
}

TEST(SlotOrder, HookeJeeves) {
    using T = KrHookeJeevesOptimizer;
    expectSlots(expectOptimizerSlots<T>(), &T::reductionFactor, &T::setReductionFactor,
                &T::minTotalReduction, &T::setMinTotalReduction, &T::maxFunctionEvaluations,
                &T::setMaxFunctionEvaluations, &T::edgeLengths, &T::setEdgeLengths,
                &T::defaultEdgeLength, &T::setDefaultEdgeLength, &T::directionsMode,
                &T::setDirectionsMode, &T::initialize, &T::newExploratoryMove, &T::transitionalMove,
                &T::patternContraction, &T::explore, &T::initializeDirections,
                &T::updateDirections);
}

TEST(SlotOrder, MultidirectionalSearch) {
    using T = KrMultidirectionalSearchOptimizer;
    expectSlots(expectOptimizerSlots<T>(), &T::alpha, &T::setAlpha, &T::beta, &T::setBeta,
                &T::gamma, &T::setGamma, &T::stoppingThreshold, &T::setStoppingThreshold,
                &T::maxFunctionEvaluations, &T::setMaxFunctionEvaluations, &T::simplexEdgeLengths,
                &T::setSimplexEdgeLengths, &T::defaultSimplexEdgeLength,
                &T::setDefaultSimplexEdgeLength, &T::initialize, &T::singleStep, &T::findMaxAndMin,
                &T::findMinIndex, &T::setNewData);
}

TEST(SlotOrder, ImplicitFiltering) {
    using T = KrImplicitFilteringOptimizer;
    expectSlots(expectOptimizerSlots<T>(), &T::lineSearchAlpha, &T::setLineSearchAlpha,
                &T::lineSearchBeta, &T::setLineSearchBeta, &T::lineSearchMaxIterations,
                &T::setLineSearchMaxIterations, &T::tau, &T::setTau, &T::maxFunctionEvaluations,
                &T::setMaxFunctionEvaluations, &T::simplexEdgeLengths, &T::setSimplexEdgeLengths,
                &T::defaultSimplexEdgeLength, &T::setDefaultSimplexEdgeLength,
                &T::simplexScaleFactor, &T::setSimplexScaleFactor,
                &T::lineSearchInitialLambdaMultiplier, &T::setLineSearchInitialLambdaMultiplier,
                &T::initialize, &T::singleStep, &T::findMaxAndMin, &T::findMinIndex);
}

TEST(SlotOrder, Sequence) {
    using T = KrSequenceOptimizer;
    expectSlots(expectOptimizerSlots<T>(), &T::numberPasses, &T::setNumberPasses,
                &T::optimizerSequence, &T::setOptimizerSequence, &T::executeInParallel,
                &T::setExecuteInParallel);
}

TEST(SlotOrder, OptimizerVector) {
    using T = KrScalarMultivariableOptimizerVector;
    using E = KrScalarMultivariableOptimizer;
    expectSlots(
        expectVariableCompoundSlots<T>(), static_cast<E const& (T::*)(KrU32) const>(&T::operator[]),
        static_cast<E& (T::*)(KrU32)>(&T::operator[]), &T::exchange,
        static_cast<bool (T::*)(KrU32)>(&T::erase),
        static_cast<bool (T::*)(KrU32, KrU32)>(&T::erase), &T::pushBack, &T::vectorContainer,
        &T::reserve, &T::resize, &T::clear, &T::assign, &T::size, &T::writeHeaderToStream,
        &T::writeBodyToStream, &T::appendElementToStream, &T::writeFooterToStream);
}

TEST(SlotOrder, OptimizerContainer) {
    using T = KrScalarMultivariableOptimizerContainer;
    expectSlots(expectContainerSlots<T, KrScalarMultivariableOptimizer>(), &T::findMinimum,
                &T::findMaximum);
}

TEST(SlotOrder, ScalarFunctionsAndUnitaryMaps) {
    using L = KrLinearScalarFunction;
    expectSlots(expectElementSlots<L>(), &L::evaluate, &L::startValue, &L::setStartValue,
                &L::endValue, &L::setEndValue);
    using M = KrMultipointScalarFunction;
    expectSlots(expectElementSlots<M>(), &M::evaluate, &M::domainValues, &M::setDomainValues,
                &M::rangeValues, &M::setRangeValues);
    using P = KrPowerUnitaryMap;
    expectSlots(expectElementSlots<P>(), &P::evaluate, &P::exponent, &P::setExponent);
    using S = KrSCurveUnitaryMap;
    expectSlots(expectElementSlots<S>(), &S::evaluate, &S::center, &S::setCenter, &S::initialSlope,
                &S::setInitialSlope, &S::finalSlope, &S::setFinalSlope, &S::centerSlope,
                &S::setCenterSlope, &S::calculateCoefficients);
    using F = KrScalarFunctionContainer;
    expectSlots(expectContainerSlots<F, KrBaseScalarFunction>(), &F::evaluate);
    using U = KrUnitaryMapContainer;
    expectSlots(expectContainerSlots<U, KrBaseUnitaryMap>(), &U::evaluate);
}

// The two operations on a point that constraints and their container have twice.
template <class C, class Point>
auto evaluateOf = static_cast<double (C::*)(Point const&) const>(&C::evaluate);
template <class C, class Point>
auto gradientOf = static_cast<KrRealVector const& (C::*)(Point const&) const>(&C::gradient);

template <class C>
std::size_t expectConstraintSlots() {
    using B = KrBaseMultivariableConstraint;
    return expectSlots(expectElementSlots<C>(), evaluateOf<C, KrRealVector>,
                       gradientOf<C, KrRealVector>, evaluateOf<B, KrXmlRealVector>,
                       gradientOf<B, KrXmlRealVector>, &B::normalizeGradient,
                       &B::copyXmlRealVector);
}

TEST(SlotOrder, Constraints) {
    using L = KrLinearMultivariableConstraint;
    expectSlots(expectConstraintSlots<L>(), &L::offset, &L::setOffset, &L::coefficient,
                &L::setCoefficient);
    using Q = KrQuadraticMultivariableConstraint;
    expectSlots(expectConstraintSlots<Q>(), &Q::offset, &Q::setOffset, &Q::firstOrderCoefficient,
                &Q::setFirstOrderCoefficient,
                static_cast<double (Q::*)(KrU32, KrU32) const>(&Q::secondOrderCoefficient),
                static_cast<void (Q::*)(KrU32, KrU32, double)>(&Q::setSecondOrderCoefficient),
                static_cast<double (Q::*)(KrU32) const>(&Q::secondOrderCoefficient),
                static_cast<void (Q::*)(KrU32, double)>(&Q::setSecondOrderCoefficient));
    using C = KrMultivariableConstraintContainer;
    expectSlots(expectContainerSlots<C, KrBaseMultivariableConstraint>(),
                evaluateOf<C, KrRealVector>, evaluateOf<C, KrXmlRealVector>,
                gradientOf<C, KrRealVector>, gradientOf<C, KrXmlRealVector>);
    using V = KrMultivariableConstraintVector;
    using T = KrBaseMultivariableConstraint;
    expectSlots(
        expectVariableCompoundSlots<V>(), static_cast<T const& (V::*)(KrU32) const>(&V::operator[]),
        static_cast<T& (V::*)(KrU32)>(&V::operator[]), &V::exchange,
        static_cast<KrBoolean (V::*)(KrU32)>(&V::erase),
        static_cast<KrBoolean (V::*)(KrU32, KrU32)>(&V::erase), &V::pushBack, &V::vectorContainer,
        &V::reserve, &V::resize, &V::clear, &V::assign, &V::size, &V::writeHeaderToStream,
        &V::writeBodyToStream, &V::appendElementToStream, &V::writeFooterToStream);
}

TEST(SlotOrder, VectorSearchAndInterpolator) {
    using S = KrVectorSearch<double>;
    expectSlots(2, &S::clone, &S::init, &S::lookUp, &S::size, &S::getIndex, &S::getWeight,
                &S::getBounds, &S::getLimitOrExtrapolate);
    using I = KrInterpolator<double>;
    using Values = std::vector<double>;
    expectSlots(2, &I::clone,
                static_cast<void (I::*)(std::vector<Values>, std::vector<S>)>(&I::init),
                static_cast<void (I::*)()>(&I::init), &I::addDimension, &I::addInterpolator,
                static_cast<Values const& (I::*)() const>(&I::evaluate),
                static_cast<Values const& (I::*)(double, ...) const>(&I::evaluate),
                static_cast<Values const& (I::*)(Values const&) const>(&I::evaluate),
                &I::initBounds, &I::initLimitOrExtrapolate);
}

TEST(SlotOrder, TableFunctionVectorSearch) {
    using T = KrTableFunctionVectorSearch;
    expectSlots(expectCompoundSlots<T>(), &T::init,
                static_cast<void (T::*)(KrRealVector const&)>(&T::independentVector),
                static_cast<void (T::*)(T::BOUNDARY_OPTION const&)>(&T::lowerBoundaryOption),
                static_cast<void (T::*)(T::BOUNDARY_OPTION const&)>(&T::upperBoundaryOption),
                static_cast<void (T::*)(T::SEARCH_OPTION const&)>(&T::searchOption), &T::dimension);
}

template <class C>
std::size_t expectCompositeSlots() {
    using T = C;
    return expectSlots(expectElementSlots<T>(), &T::evaluate, &T::bounds, &T::limitOrExtrapolate,
                       &T::initBounds, &T::initLimitOrExtrapolate, &T::isInBounds,
                       &T::ableToExtrap);
}

TEST(SlotOrder, CompositeFunctions) {
    using B = KrCompositeFunctionBranch;
    expectSlots(expectCompositeSlots<B>(), &B::left, &B::setLeft, &B::right, &B::setRight);
    using T = KrTableFunctionInterpolator;
    expectSlots(expectCompositeSlots<T>(), &T::init, &T::dependentDataPushBack,
                &T::independentDataPushBack);
    using C = KrCompositeFunctionContainer;
    expectSlots(expectContainerSlots<C, KrCompositeFunctionElement>(), &C::evaluate, &C::bounds);
}

TEST(SlotOrder, GaussQuadrature) {
    using T = KrGaussQuadrature;
    expectSlots(expectCompoundSlots<T>(), &T::order, &T::setOrder, &T::integrate,
                &T::obtainAbscissasAndWeights);
}

}  // namespace

// The order of the virtual operations is part of the interface. In the ABI of
// both compilers a pointer to a virtual member function holds its offset in the
// table, so that the order can be read off.

#include "tests/contract/Elements.h"

#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrInterpolator.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/object/KrMultivariableConstraintContainer.h"
#include "function/object/KrMultivariableConstraintVector.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/object/KrScalarMultivariableOptimizerVector.h"
#include "function/object/KrUnitaryMapContainer.h"
#include "function/tools/KrRandomTensorTool.h"
#include "search/KrEvaluationWorkers.h"

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
        EXPECT_EQ(actual, first++) << __PRETTY_FUNCTION__;  // which names the class
    }
    return first;
}

template <class T>
std::size_t expectObjectSlots() {
    return expectSlots(2, &T::accept, &T::clone, &T::xmlInit, &T::read, &T::readAttribute,
                       &T::write, &T::writeSchema, &T::createSchema, &T::xmlInitialized,
                       &T::setXmlInitialized, &T::specified, &T::setSpecified, &T::isBasicType,
                       &T::equalsDefault, &T::equality, &T::newObject, &T::token);
}

template <class T>
std::size_t expectCompoundSlots() {
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

template <class T>
std::size_t expectElementSlots() {
    return expectSlots(expectCompoundSlots<T>(), &T::container, &T::setContainer);
}

template <class C>
std::size_t expectOptimizerSlots() {
    return expectSlots(expectElementSlots<C>(), &C::findMinimum, &C::findMaximum);
}

// The slots of containers and vectors, up to where the two part.
template <class T>
std::size_t expectVariableCompoundSlots() {
    return expectSlots(expectObjectSlots<T>(), &T::registerComponentCreators,
                       &T::registerComponentCreator, &T::newObjectFromToken, &T::addLibraries,
                       &T::setAddLibraries, &T::creatorMap, &T::readValueFromToken,
                       &T::processLibraries);
}

template <class V, class T>
std::size_t expectVectorSlots() {
    return expectSlots(
        expectVariableCompoundSlots<V>(), static_cast<T const& (V::*)(KrU32) const>(&V::operator[]),
        static_cast<T& (V::*)(KrU32)>(&V::operator[]), &V::exchange,
        static_cast<KrBoolean (V::*)(KrU32)>(&V::erase),
        static_cast<KrBoolean (V::*)(KrU32, KrU32)>(&V::erase), &V::pushBack, &V::vectorContainer,
        &V::reserve, &V::resize, &V::clear, &V::assign, &V::size, &V::writeHeaderToStream,
        &V::writeBodyToStream, &V::appendElementToStream, &V::writeFooterToStream);
}

template <class C, class T>
std::size_t expectContainerSlots() {
    return expectSlots(expectVariableCompoundSlots<C>(),
                       static_cast<T const* (C::*)() const>(&C::topElement),
                       static_cast<T* (C::*)()>(&C::topElement), &C::setTopElement,
                       &C::setAndDeleteTopElementPointer, &C::setTopElementContainerToThis);
}

TEST(SlotOrder, FunctionsAndTools) {
    using F = KrPowellsQuarticFunction;
    expectSlots(2, &F::evaluate, &F::evaluateMultiple, &F::domainDim, &F::multiplier,
                &F::setMultiplier);
    using R = KrRandomTensorTool;
    expectSlots(2, &R::setRandomSeed, &R::numRandomSamples, &R::setNumRandomSamples,
                &R::getGaussianRandomArray);
    using G = KrGaussQuadrature;
    expectSlots(expectCompoundSlots<G>(), &G::order, &G::setOrder,
                static_cast<double (G::*)(KrRealRealUnaryFunction const&, double, double) const>(
                    &G::integrate),
                &G::obtainAbscissasAndWeights);
}

TEST(SlotOrder, Optimizers) {
    using N = KrNelderMeadOptimizer;
    expectSlots(expectOptimizerSlots<N>(), &N::alpha, &N::setAlpha, &N::beta, &N::setBeta,
                &N::gamma, &N::setGamma, &N::sigma, &N::setSigma, &N::stoppingThreshold,
                &N::setStoppingThreshold, &N::maxTotalSteps, &N::setMaxTotalSteps,
                &N::maxFunctionEvaluations, &N::setMaxFunctionEvaluations, &N::restartCheckPeriod,
                &N::setRestartCheckPeriod, &N::eta, &N::setEta, &N::maxExpansionSteps,
                &N::setMaxExpansionSteps, &N::simplexEdgeLengths, &N::setSimplexEdgeLengths,
                &N::defaultSimplexEdgeLength, &N::setDefaultSimplexEdgeLength, &N::initialize,
                &N::singleStep, &N::exchangeHighVertex, &N::exchangeHighVertexAndContract,
                &N::findMaxAndMin, &N::calculateVertexMeanExcludingMaxPoint, &N::restartIfNeeded);
    using H = KrHookeJeevesOptimizer;
    expectSlots(expectOptimizerSlots<H>(), &H::reductionFactor, &H::setReductionFactor,
                &H::minTotalReduction, &H::setMinTotalReduction, &H::maxFunctionEvaluations,
                &H::setMaxFunctionEvaluations, &H::edgeLengths, &H::setEdgeLengths,
                &H::defaultEdgeLength, &H::setDefaultEdgeLength, &H::directionsMode,
                &H::setDirectionsMode, &H::initialize, &H::newExploratoryMove, &H::transitionalMove,
                &H::patternContraction, &H::explore, &H::initializeDirections,
                &H::updateDirections);
    using M = KrMultidirectionalSearchOptimizer;
    expectSlots(expectOptimizerSlots<M>(), &M::alpha, &M::setAlpha, &M::beta, &M::setBeta,
                &M::gamma, &M::setGamma, &M::stoppingThreshold, &M::setStoppingThreshold,
                &M::maxFunctionEvaluations, &M::setMaxFunctionEvaluations, &M::simplexEdgeLengths,
                &M::setSimplexEdgeLengths, &M::defaultSimplexEdgeLength,
                &M::setDefaultSimplexEdgeLength, &M::initialize, &M::singleStep, &M::findMaxAndMin,
                &M::findMinIndex, &M::setNewData);
    using I = KrImplicitFilteringOptimizer;
    expectSlots(expectOptimizerSlots<I>(), &I::lineSearchAlpha, &I::setLineSearchAlpha,
                &I::lineSearchBeta, &I::setLineSearchBeta, &I::lineSearchMaxIterations,
                &I::setLineSearchMaxIterations, &I::tau, &I::setTau, &I::maxFunctionEvaluations,
                &I::setMaxFunctionEvaluations, &I::simplexEdgeLengths, &I::setSimplexEdgeLengths,
                &I::defaultSimplexEdgeLength, &I::setDefaultSimplexEdgeLength,
                &I::simplexScaleFactor, &I::setSimplexScaleFactor,
                &I::lineSearchInitialLambdaMultiplier, &I::setLineSearchInitialLambdaMultiplier,
                &I::initialize, &I::singleStep, &I::findMaxAndMin, &I::findMinIndex);
    using S = KrSequenceOptimizer;
    expectSlots(expectOptimizerSlots<S>(), &S::numberPasses, &S::setNumberPasses,
                &S::optimizerSequence, &S::setOptimizerSequence, &S::executeInParallel,
                &S::setExecuteInParallel);
    expectVectorSlots<KrScalarMultivariableOptimizerVector, KrScalarMultivariableOptimizer>();
    using C = KrScalarMultivariableOptimizerContainer;
    expectSlots(expectContainerSlots<C, KrScalarMultivariableOptimizer>(), &C::findMinimum,
                &C::findMaximum);
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
    expectVectorSlots<KrMultivariableConstraintVector, KrBaseMultivariableConstraint>();
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

template <class T>
std::size_t expectCompositeSlots() {
    return expectSlots(expectElementSlots<T>(), &T::evaluate, &T::bounds, &T::limitOrExtrapolate,
                       &T::initBounds, &T::initLimitOrExtrapolate, &T::isInBounds,
                       &T::ableToExtrap);
}

TEST(SlotOrder, TablesAndCompositeFunctions) {
    using V = KrTableFunctionVectorSearch;
    expectSlots(expectCompoundSlots<V>(), &V::init,
                static_cast<void (V::*)(KrRealVector const&)>(&V::independentVector),
                static_cast<void (V::*)(V::BOUNDARY_OPTION const&)>(&V::lowerBoundaryOption),
                static_cast<void (V::*)(V::BOUNDARY_OPTION const&)>(&V::upperBoundaryOption),
                static_cast<void (V::*)(V::SEARCH_OPTION const&)>(&V::searchOption), &V::dimension);
    using B = KrCompositeFunctionBranch;
    expectSlots(expectCompositeSlots<B>(), &B::left, &B::setLeft, &B::right, &B::setRight);
    using T = KrTableFunctionInterpolator;
    expectSlots(expectCompositeSlots<T>(), &T::init, &T::dependentDataPushBack,
                &T::independentDataPushBack);
    using C = KrCompositeFunctionContainer;
    expectSlots(expectContainerSlots<C, KrCompositeFunctionElement>(), &C::evaluate, &C::bounds);
}

TEST(SlotOrder, Searches) {
    expectVectorSlots<KrSearchVariableVector, KrSearchVariable>();
    expectSlots(2, &KrSearchObserver::evaluated);
    using W = KrEvaluationWorkers;
    expectSlots(2, &W::count, &W::start, &W::finish, &W::cancel, &W::directFunction);
}

}  // namespace

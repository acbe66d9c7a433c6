#include "function/optimizer/KrHookeJeevesOptimizer.h"

#include "foundation/core/KrPrint.h"
#include "foundation/math/KrMath.h"
#include "function/optimizer/internal/KrSearch.h"

#include <algorithm>
#include <utility>

KR_SOURCE_VERSION;

namespace {

void setIdentity(KrReArray& matrix, KrU32 n) {
    matrix.resizeArrayAndFill(n, n, 0.0);
    for (KrU32 i = 0; i < n; ++i) {
        matrix[i][i] = 1.0;
    }
}

double dotProduct(KrRealVector const& a, KrRealVector const& b) {
    double sum = 0.0;
    for (std::size_t j = 0; j < a.size(); ++j) {
        sum += a[j] * b[j];
    }
    return sum;
}

// Random directions, made orthonormal by the modified Gram-Schmidt process: each
// projection is taken from what the ones before it have left.
void setRandomOrthonormal(KrReArray& directions) {
    for (KrU32 i = 0; i < directions.numRows(); ++i) {
        KrRealVector& direction = directions[i];
        for (double& component : direction) {
            component = KrMath::unifRand() - 0.5;
        }
        for (KrU32 k = 0; k < i; ++k) {
            KrRealVector const& earlier = directions[k];
            double const projection = dotProduct(direction, earlier);
            for (std::size_t j = 0; j < direction.size(); ++j) {
                direction[j] -= projection * earlier[j];
            }
        }
        double const length = KrMath::sqrt(dotProduct(direction, direction));
        // One unit of the last place below 1e300: seeded searches repeat to the bit.
        double const scale = length > 1e-300 ? 1.0 / length : 9.999999999999999e299;
        for (double& component : direction) {
            component *= scale;
        }
    }
}

// Turns two directions by 45 degrees in their plane. The cosine has nine decimals,
// so that lengths creep by 3e-10 a turn: recorded searches depend on it.
void rotate(KrRealVector& first, KrRealVector& second) {
    constexpr double cosine = 0.707106781;
    for (std::size_t j = 0; j < first.size(); ++j) {
        double const x = first[j];
        double const y = second[j];
        first[j] = cosine * x + cosine * y;
        second[j] = cosine * y - cosine * x;
    }
}

}  // namespace

double KrHookeJeevesOptimizer::search(double sign, KrScalarMultivariableFunction const& f,
                                      KrRealVector const& start, KrRealVector& result) const {
    struct Forgetting {
        State& state;
        ~Forgetting() { state.function = nullptr; }  // which may not live on
    } const forgetting{*state_};
    initialize(sign, f, start, 1.0);
    newExploratoryMove();
    result = state_->basePoint;
    return state_->baseValue;
}

void KrHookeJeevesOptimizer::initialize(double sign, KrScalarMultivariableFunction const& f,
                                        KrRealVector const& start, double /*scale*/) const {
    State& s = *state_;
    KrU32 const n = f.domainDim();
    s.function = &f;
    s.sign = sign;
    std::size_t const given = start.size();
    s.basePoint = start;
    s.basePoint.resize(std::max<std::size_t>(given, n), 0.0);
    s.stepLengths.resize(n);
    for (KrU32 i = 0; i < n; ++i) {
        s.stepLengths[i] = KrSearch::edgeLength(edgeLengths(), defaultEdgeLength(), i);
    }
    s.stepSigns.assign(n, 1.0);
    if (given != n) {
        Kr::Print::instance().write(
            Kr::PrintType::Error,
            "KrHookeJeevesOptimizer::initialize(): Incorrectly sized input. "
            " Input size: %d, Expected: %d\n",
            given, n);
    }
    s.baseValue = sign * f.evaluate(s.basePoint);
    s.evaluations = 1;
    initializeDirections();
    s.totalReduction = 1.0;
    s.searching = true;
}

void KrHookeJeevesOptimizer::newExploratoryMove() const {
    State& s = *state_;
    if (!s.function) {
        return;
    }
    s.trialPoint = s.basePoint;
    s.trialValue = s.baseValue;
    bool const improved = explore();
    if (!s.searching) {
        s.basePoint = s.trialPoint;
        s.baseValue = s.trialValue;
    } else if (improved) {
        handOverTo(&KrHookeJeevesOptimizer::transitionalMove);
    } else {
        handOverTo(&KrHookeJeevesOptimizer::patternContraction);
    }
}

void KrHookeJeevesOptimizer::transitionalMove() const {
    State& s = *state_;
    if (!s.function || s.trialPoint.size() != s.basePoint.size()) {
        return;
    }
    for (std::size_t j = 0; j < s.stepSigns.size(); ++j) {
        double const previousBase = s.basePoint[j];
        s.basePoint[j] = s.trialPoint[j];
        s.trialPoint[j] = 2.0 * s.trialPoint[j] - previousBase;
    }
    s.baseValue = s.trialValue;
    // Evaluated whatever the budget: the exploration around it asks next.
    s.trialValue = s.sign * s.function->evaluate(s.trialPoint);
    ++s.evaluations;
    explore();  // what counts is the comparison with the base, not with the pattern point

    bool const beatsBase = s.baseValue > s.trialValue;
    if (!s.searching) {
        if (beatsBase) {
            s.basePoint = s.trialPoint;
            s.baseValue = s.trialValue;
        }
    } else if (beatsBase) {
        handOverTo(&KrHookeJeevesOptimizer::transitionalMove);
    } else {
        s.trialValue = s.baseValue;
        handOverTo(&KrHookeJeevesOptimizer::newExploratoryMove);
    }
}

void KrHookeJeevesOptimizer::patternContraction() const {
    State& s = *state_;
    bool const stepsAreSmall = minTotalReduction() > s.totalReduction;
    bool const budgetIsSpent = s.evaluations >= maxFunctionEvaluations();
    bool const nothingToExplore = s.stepSigns.empty();
    if (stepsAreSmall || budgetIsSpent || nothingToExplore) {
        return;
    }
    s.totalReduction *= reductionFactor();
    updateDirections();
    handOverTo(&KrHookeJeevesOptimizer::newExploratoryMove);
}

// The states would call one another without end in sight; here the first that is
// entered turns into a loop, which makes the moves that the others name.
void KrHookeJeevesOptimizer::handOverTo(MoveOperation next) const {
    State& s = *state_;
    s.next = next;
    if (s.moving) {
        return;
    }
    struct Moving {
        bool& moving;
        ~Moving() { moving = false; }  // also when the function throws
    } const moving{s.moving};
    s.moving = true;
    while (s.next) {
        MoveOperation const move = std::exchange(s.next, nullptr);
        (this->*move)();
    }
}

bool KrHookeJeevesOptimizer::explore() const {
    State& s = *state_;
    KrU32 const n = static_cast<KrU32>(s.stepSigns.size());
    if (!s.function || s.trialPoint.size() < n) {  // no search has come so far
        return false;
    }
    bool const alongAxes = directionsMode() == NONE;
    if (!alongAxes) {
        s.directions.resizeArray(n, n);  // the mode may have been set since the last update
    }
    KrU32 const budget = maxFunctionEvaluations();
    bool improved = false;
    for (KrU32 i = 0; i < n; ++i) {
        if (s.evaluations >= budget) {
            s.searching = false;
            return improved;
        }
        double const t = s.stepSigns[i] * s.totalReduction;
        double const axisStart = s.trialPoint[i];
        if (!alongAxes) {
            s.directionStart = s.trialPoint;
        }
        auto const tryStep = [&](double factor) {
            if (alongAxes) {
                s.trialPoint[i] = axisStart + factor * s.stepLengths[i];
            } else {
                KrRealVector const& direction = s.directions[i];
                for (KrU32 j = 0; j < n; ++j) {
                    s.trialPoint[j] =
                        s.directionStart[j] + factor * direction[j] * s.stepLengths[j];
                }
            }
            return trialImproves();
        };
        if (tryStep(t)) {
            improved = true;
            continue;
        }
        bool const canStepBack = s.evaluations < budget;
        if (canStepBack && tryStep(-t)) {
            s.stepSigns[i] = -s.stepSigns[i];  // the next exploration tries this side first
            improved = true;
            continue;
        }
        // The trial value is that of the point before both steps.
        if (alongAxes) {
            s.trialPoint[i] = axisStart;
        } else {
            s.trialPoint = s.directionStart;
        }
        if (!canStepBack) {
            s.searching = false;
            return improved;
        }
    }
    return improved;
}

// Evaluates the trial point and keeps its value if that is lower.
bool KrHookeJeevesOptimizer::trialImproves() const {
    State& s = *state_;
    double const value = s.sign * s.function->evaluate(s.trialPoint);
    ++s.evaluations;
    bool const improves = s.trialValue > value;
    if (improves) {
        s.trialValue = value;
    }
    return improves;
}

void KrHookeJeevesOptimizer::initializeDirections() const {
    state_->directionUpdates = 0;  // every search starts from the same directions
    updateDirections();
    // Not counting this one: mode "rotated" rebuilds the identity at the first
    // contraction and turns from the second on.
    state_->directionUpdates = 0;
}

void KrHookeJeevesOptimizer::updateDirections() const {
    State& s = *state_;
    KrU32 const n = static_cast<KrU32>(s.stepSigns.size());
    KrU32 const mode = directionsMode();
    if (mode != NONE) {
        s.directions.resizeArray(n, n);
    }
    std::uint64_t const earlierUpdates = s.directionUpdates++;
    switch (mode) {
        case NONE: break;
        case AXIS_ALIGNED: setIdentity(s.directions, n); break;
        case RANDOM: setRandomOrthonormal(s.directions); break;
        case ROTATED:
            if (earlierUpdates == 0) {
                setIdentity(s.directions, n);
            } else if (n > 0) {
                rotate(s.directions[static_cast<KrU32>(earlierUpdates % n)],
                       s.directions[static_cast<KrU32>((earlierUpdates + 1) % n)]);
            }
            break;
        default:
            Kr::Print::instance().write(
                Kr::PrintType::Error, "KrHookeJeevesOptimizer::updateDirections(): bad mode: %d\n",
                mode);
    }
}

void KrHookeJeevesOptimizer::registerComponents() {
    registerComponent(KrFunction::KrReductionFactorToken, &reductionFactor_);
    registerComponent(KrFunction::KrMinTotalReductionToken, &minTotalReduction_);
    registerComponent(KrFunction::KrMaxFunctionEvaluationsToken, &maxFunctionEvaluations_);
    registerComponent(KrFunction::KrEdgeLengthsToken, &edgeLengths_);
    registerComponent(KrFunction::KrDefaultEdgeLengthToken, &defaultEdgeLength_);
    registerComponent(KrFunction::KrDirectionsModeToken, &directionsMode_);
}

void KrHookeJeevesOptimizer::xmlInit() {
    directionsMode_.setEnumString(NONE, KrFunction::KrNoneToken);
    directionsMode_.setEnumString(AXIS_ALIGNED, KrFunction::KrAxisAlignedToken);
    directionsMode_.setEnumString(RANDOM, KrFunction::KrRandomToken);
    directionsMode_.setEnumString(ROTATED, KrFunction::KrRotatedToken);
    KrTaggedElement::xmlInit();
}

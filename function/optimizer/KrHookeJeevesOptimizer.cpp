#include "function/optimizer/KrHookeJeevesOptimizer.h"

#include "foundation/core/KrPrint.h"
#include "foundation/math/KrMath.h"
#include "function/optimizer/internal/KrPointSet.h"

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

// Makes random orthonormal directions by the modified Gram-Schmidt process: each
// projection is computed after the earlier ones are subtracted.
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
        // One unit in the last place below 1e300, on which the bits of seeded searches depend.
        double const scale = length > 1e-300 ? 1.0 / length : 9.999999999999999e299;
        for (double& component : direction) {
            component *= scale;
        }
    }
}

// Rotates two directions by 45 degrees in their plane. The cosine has nine decimals, so
// that lengths change by 3e-10 per rotation. The bits of recorded searches depend on it.
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
    struct FunctionReset {
        State& state;
        ~FunctionReset() { state.function = nullptr; }  // its lifetime ends after the search
    } const reset{*state_};
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
        s.stepLengths[i] = KrPointSet::edgeLength(edgeLengths(), defaultEdgeLength(), i);
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
    *evaluations_ = 1;
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
        acceptTrial();
    } else if (improved) {
        runMoves(&KrHookeJeevesOptimizer::transitionalMove);
    } else {
        runMoves(&KrHookeJeevesOptimizer::patternContraction);
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
    // Without a check of the budget: the exploration that follows checks it.
    s.trialValue = s.sign * s.function->evaluate(s.trialPoint);
    ++*evaluations_;
    explore();  // its result compares with the pattern point; the base is what counts

    bool const beatsBase = s.baseValue > s.trialValue;
    if (!s.searching) {
        if (beatsBase) {
            acceptTrial();
        }
    } else if (beatsBase) {
        runMoves(&KrHookeJeevesOptimizer::transitionalMove);
    } else {
        s.trialValue = s.baseValue;
        runMoves(&KrHookeJeevesOptimizer::newExploratoryMove);
    }
}

void KrHookeJeevesOptimizer::patternContraction() const {
    State& s = *state_;
    bool const stepsAreSmall = minTotalReduction() > s.totalReduction;
    bool const budgetIsSpent = *evaluations_ >= maxFunctionEvaluations();
    bool const nothingToExplore = s.stepSigns.empty();
    if (stepsAreSmall || budgetIsSpent || nothingToExplore) {
        return;
    }
    s.totalReduction *= reductionFactor();
    updateDirections();
    runMoves(&KrHookeJeevesOptimizer::newExploratoryMove);
}

// Runs `next` and every move that follows from it. If the moves called one another, the
// call stack would grow with each. So a nested call only schedules its move for the loop of
// the outermost one.
void KrHookeJeevesOptimizer::runMoves(MoveOperation next) const {
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

void KrHookeJeevesOptimizer::acceptTrial() const {
    state_->basePoint = state_->trialPoint;
    state_->baseValue = state_->trialValue;
}

// Whether the budget has another evaluation. If not, the search ends.
inline bool KrHookeJeevesOptimizer::checkBudget() const {
    State& s = *state_;
    bool const isLeft = *evaluations_ < s.budget;
    s.searching = s.searching && isLeft;
    return isLeft;
}

// Evaluates the trial point. If its value is lower, keeps it.
inline bool KrHookeJeevesOptimizer::trialImproves() const {
    State& s = *state_;
    double const value = s.sign * s.function->evaluate(s.trialPoint);
    ++*evaluations_;
    bool const improves = s.trialValue > value;
    if (improves) {
        s.trialValue = value;
    }
    return improves;
}

// Tries the step along direction `i`, then the opposite one. Keeps the first that lowers
// the trial value; otherwise the trial point stays as it was.
inline bool KrHookeJeevesOptimizer::exploreDirection(KrU32 i, bool alongAxis) const {
    State& s = *state_;
    double const axisStart = s.trialPoint[i];
    if (!alongAxis) {
        s.directionStart = s.trialPoint;
    }
    auto const step = [&](double factor) {
        if (alongAxis) {
            s.trialPoint[i] = axisStart + factor * s.stepLengths[i];
            return;
        }
        KrRealVector const& direction = s.directions[i];
        for (std::size_t j = 0; j < direction.size(); ++j) {
            s.trialPoint[j] = s.directionStart[j] + factor * direction[j] * s.stepLengths[j];
        }
    };
    double const factor = s.stepSigns[i] * s.totalReduction;
    step(factor);
    if (trialImproves()) {
        return true;
    }
    if (checkBudget()) {
        step(-factor);
        if (trialImproves()) {
            s.stepSigns[i] = -s.stepSigns[i];  // the next exploration tries this side first
            return true;
        }
    }
    if (alongAxis) {
        s.trialPoint[i] = axisStart;
    } else {
        s.trialPoint = s.directionStart;
    }
    return false;
}

bool KrHookeJeevesOptimizer::explore() const {
    State& s = *state_;
    KrU32 const n = static_cast<KrU32>(s.stepSigns.size());
    if (!s.function || s.trialPoint.size() < n) {  // outside of a search
        return false;
    }
    bool const alongAxes = directionsMode() == NONE;
    if (!alongAxes) {
        s.directions.resizeArray(n, n);  // in case the mode was set after the last update
    }
    s.budget = maxFunctionEvaluations();
    bool improved = false;
    for (KrU32 i = 0; i < n && checkBudget(); ++i) {
        improved |= exploreDirection(i, alongAxes);
    }
    return improved;
}

void KrHookeJeevesOptimizer::initializeDirections() const {
    state_->directionUpdates = 0;  // every search starts from the same directions
    updateDirections();
    // This update does not count. So mode "rotated" sets the identity again at the first
    // contraction and rotates from the second on.
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

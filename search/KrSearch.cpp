#include "search/KrSearch.h"

#include "foundation/xml/KrXml.h"
#include "search/KrCallingThread.h"
#include "search/internal/KrSame.h"
#include "search/internal/KrSearchRun.h"

KR_SOURCE_VERSION;

namespace {

// Settings with a NaN differ from their copies: their texts count.
template <class Settings>
bool isSame(Settings const& a, Settings const& b) {
    return a == b || (!(Settings(a) == a) && KrXml::toString(a) == KrXml::toString(b));
}

}  // namespace

void KrSearch::addVariable(std::string const& name, double start, double lower, double upper,
                           double scale) {
    variables_.pushBack(KrSearchVariable(name, start, lower, upper, scale));
}

void KrSearch::setOptimizer(KrScalarMultivariableOptimizer const& optimizer) {
    optimizer_.setTopElement(optimizer);
}

KrSearchReport KrSearch::run(KrScalarMultivariableFunction const& f,
                             KrSearchContext const& context) const {
    KrCallingThread workers(f);
    return run(workers, context);
}

KrSearchReport KrSearch::run(KrEvaluationWorkers& workers, KrSearchContext const& context) const {
    return KrSearchRun(*this, workers, context).run();
}

std::string KrSearch::firstDifference(KrSearch const& other) const {
    std::pair<KrToken const&, bool> const components[] = {
        {KrSearchNames::KrVariablesToken, isSame(variables_, other.variables_)},
        {KrSearchNames::KrOptimizerToken, isSame(optimizer_, other.optimizer_)},
        {KrSearchNames::KrConstraintsToken, isSame(constraints_, other.constraints_)},
        {KrSearchNames::KrMaximiseToken, maximise_ == other.maximise_},
        {KrSearchNames::KrFailureValueToken, krSameNumber(failureValue_, other.failureValue_)},
        {KrSearchNames::KrConstraintWeightToken,
         krSameNumber(constraintWeight_, other.constraintWeight_)},
        {KrSearchNames::KrRememberToken, remember_ == other.remember_},
        {KrSearchNames::KrSeedToken, seed_ == other.seed_},
    };
    for (auto const& [token, isSame] : components) {
        if (!isSame) {
            return std::string(token.localName());
        }
    }
    return "";
}

std::vector<std::string> KrSearch::names() const {
    std::vector<std::string> names;
    for (KrSearchVariable const* const variable : variables_.vectorContainer()) {
        names.push_back(variable ? variable->name() : "");
    }
    return names;
}

void KrSearch::registerComponents() {
    registerComponent(KrSearchNames::KrVariablesToken, &variables_);
    registerComponent(KrSearchNames::KrOptimizerToken, &optimizer_);
    registerComponent(KrSearchNames::KrConstraintsToken, &constraints_);
    registerComponent(KrSearchNames::KrMaximiseToken, &maximise_);
    registerComponent(KrSearchNames::KrMaxEvaluationsToken, &maxEvaluations_);
    registerComponent(KrSearchNames::KrMaxSecondsToken, &maxSeconds_);
    registerComponent(KrSearchNames::KrTargetValueToken, &targetValue_);
    registerComponent(KrSearchNames::KrStallEvaluationsToken, &stallEvaluations_);
    registerComponent(KrSearchNames::KrStallImprovementToken, &stallImprovement_);
    registerComponent(KrSearchNames::KrFailureValueToken, &failureValue_);
    registerComponent(KrSearchNames::KrConstraintWeightToken, &constraintWeight_);
    registerComponent(KrSearchNames::KrRememberToken, &remember_);
    registerComponent(KrSearchNames::KrSeedToken, &seed_);
}

bool KrSearch::operator==(KrSearch const& other) const {
    return KrTaggedElement::operator==(other) && firstDifference(other).empty() &&
           maxEvaluations_ == other.maxEvaluations_ &&
           krSameNumber(maxSeconds_, other.maxSeconds_) &&
           krSameNumber(targetValue_, other.targetValue_) &&
           stallEvaluations_ == other.stallEvaluations_ &&
           krSameNumber(stallImprovement_, other.stallImprovement_);
}

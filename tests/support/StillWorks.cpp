#include "tests/support/StillWorks.h"

#include "foundation/math/KrRandom.h"
#include "foundation/xml/KrXml.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/object/KrMultivariableConstraintContainer.h"
#include "function/object/KrMultivariableConstraintVector.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/object/KrScalarMultivariableOptimizerVector.h"
#include "function/object/KrUnitaryMapContainer.h"
#include "search/KrSearch.h"
#include "search/KrSearchCreators.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

struct Enough {};

// Throws when it was evaluated often enough.
class Bounded : public KrPowellsQuarticFunction {
public:
    double evaluate(KrRealVector const& x) const override {
        if (++count_ == 40) {
            throw Enough();
        }
        return KrPowellsQuarticFunction::evaluate(x);
    }

private:
    mutable int count_ = 0;
};

// Calls `use` with the object as the first of the classes that it is of.
template <class... T, class Use>
bool as(KrXmlObject& object, Use use) {
    auto const tried = [&](auto* typed) { return typed && (use(*typed), true); };
    return (tried(dynamic_cast<T*>(&object)) || ...);
}

}  // namespace

KrXmlFactory const& everyElement() {
    static KrXmlFactory const factory = KrSearchCreators::factory();
    return factory;
}

KrRealVector run(KrXmlObject& object) {
    KrRealVector answers;
    answers.reserve(64);
    auto const add = [&](KrRealVector const& more) {
        answers.insert(answers.end(), more.begin(), more.end());
    };
    static std::vector<KrRealVector> const points = {
        {}, {0.25}, {infinity, -1.0}, {1.0, std::nan(""), 0.5}, {3.0, -1.0, 0.0, 1.0}};
    auto const runFunction = [&](auto& function) {
        for (double const x : {-1.0, 0.0, 0.5, 2.0, infinity, std::nan("")}) {
            answers.push_back(function.evaluate(x));
        }
    };
    auto const runConstraint = [&](auto& constraint) {
        for (KrRealVector const& x : points) {
            answers.push_back(constraint.evaluate(x));
            add(constraint.gradient(x));
        }
    };
    auto const runContainer = [&](KrCompositeFunctionContainer& container) {
        for (KrRealVector const& x : points) {
            KrRealVector y;
            KrBoolean ok = false;
            container.evaluate(x, y, ok);
            add(y);
        }
    };
    auto const runComposite = [&](KrCompositeFunctionElement& element) {
        element.initBounds();
        element.initLimitOrExtrapolate();
        for (KrRealVector const& x : points) {
            KrBoolean ok = false;
            add(element.evaluate(x, ok));
        }
    };
    auto const runOptimizer = [&](auto& optimizer) {
        KrRandom::seed(1);
        KrRealVector found = points.back();
        try {
            answers.push_back(optimizer.findMinimum(Bounded(), found, found));
        } catch (Enough) {
        }
        add(found);
    };
    auto const runSearch = [&](KrSearch search) {
        search.setMaxEvaluations(40);
        search.setMaxSeconds(infinity);  // or the clock would decide
        KrSearchReport const report = search.run(KrPowellsQuarticFunction());
        answers.insert(answers.end(), report.bestPoint().begin(), report.bestPoint().end());
        answers.push_back(report.answer());
    };
    auto const runEach = [&](auto& vector) {
        for (auto* const entry : vector.vectorContainer()) {
            add(run(*entry));
        }
    };
    as<KrScalarMultivariableOptimizer, KrScalarMultivariableOptimizerContainer>(object,
                                                                                runOptimizer) ||
        as<KrBaseScalarFunction, KrScalarFunctionContainer, KrBaseUnitaryMap,
           KrUnitaryMapContainer>(object, runFunction) ||
        as<KrBaseMultivariableConstraint, KrMultivariableConstraintContainer>(object,
                                                                              runConstraint) ||
        as<KrCompositeFunctionContainer>(object, runContainer) ||
        as<KrCompositeFunctionElement>(object, runComposite) || as<KrSearch>(object, runSearch) ||
        as<KrMultivariableConstraintVector, KrScalarMultivariableOptimizerVector>(object, runEach);
    return answers;
}

std::string whatFails(KrXmlObject& object, bool wasRead) {
    std::string const text = KrXml::toString(object);
    if (text.empty()) {
        return "is not written";
    }
    std::unique_ptr<KrXmlObject> const clone(object.clone());
    std::unique_ptr<KrXmlObject> const back(object.newObject());
    // What follows from the components is there only where they were read well.
    KrXmlObject& copy = wasRead ? *back : *clone;
    if (wasRead && !KrXml::readTextInto(text, copy, &everyElement())) {
        return "wrote what is not read:\n" + text;
    }
    if (KrXml::toString(copy) != text) {
        return "is not what was copied or read back:\n" + text;
    }
    // Where there is a NaN, or infinity minus infinity, nothing is equal.
    bool const comparable = text.find("NaN") == text.npos && text.find("INF") == text.npos;
    if ((!object.equality(clone.get()) || !object.equality(&copy)) && comparable) {
        return "differs from its copy:\n" + text;
    }
    auto const bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
    if (!std::ranges::equal(run(object), run(copy), {}, bits, bits)) {
        return "gives other numbers than its copy:\n" + text;
    }
    return {};
}

#pragma once

#include "foundation/xml/KrXml.h"
#include "search/KrSearch.h"
#include "tests/support/Texts.h"

/// Settings of the five optimizers and of directions drawn at random, each with this budget.
inline std::vector<std::string> everyOptimizer(KrU32 budget) {
    std::string const most = component("maxFunctionEvaluations", std::to_string(budget));
    std::string const edge = component("defaultSimplexEdgeLength", "0.5");
    auto const hookeJeeves = [&](std::string const& mode) {
        return component("hookeJeeves",
                         component("directionsMode", "urn:zeibreku:function#" + mode) +
                             component("defaultEdgeLength", "0.5") + most);
    };
    std::string const nelderMead = component("nelderMead", edge + most);
    return {nelderMead,
            hookeJeeves("axisAligned"),
            hookeJeeves("random"),
            component("multidirectionalSearch", edge + most),
            component("implicitFiltering", edge + most),
            component("sequenceOptimizer",
                      component("numberPasses", "2") +
                          component("optimizerSequence", hookeJeeves("rotated") + nelderMead))};
}

/// A search of these settings, with variables "x0", "x1", ... that start there.
inline KrSearch searchOf(std::string const& optimizer, KrRealVector const& start) {
    std::string variables;
    for (std::size_t i = 0; i < start.size(); ++i) {
        std::ostringstream text;
        text.precision(17);
        text << start[i];
        variables += component("variable", component("name", "x" + std::to_string(i)) +
                                               component("start", text.str()));
    }
    KrSearch search;
    // A search that is not read has no variables, and is refused.
    KrXml::fromString(
        document("search", component("variables", variables) + component("optimizer", optimizer)),
        search);
    return search;
}

inline KrRealVector values(KrXmlRealVector const& list) { return {list.begin(), list.end()}; }

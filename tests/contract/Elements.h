#pragma once

#include "function/optimizer/KrNelderMeadOptimizer.h"

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

using Elements = testing::Types<NelderMead>;

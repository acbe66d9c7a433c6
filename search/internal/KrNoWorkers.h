#pragma once

#include "search/KrEvaluationWorkers.h"

#include <limits>

/// Keeps what a search asks for, and evaluates nothing. The search ends at the first points whose
/// values are not known.
class KrNoWorkers : public KrEvaluationWorkers {
public:
    KrU32 count() const override { return std::numeric_limits<KrU32>::max(); }
    void start(std::span<KrEvaluationRequest const> requests) override {
        for (KrEvaluationRequest const& request : requests) {
            points.push_back(request.point);
        }
    }
    bool finish(std::vector<KrEvaluation>&, Time, std::stop_token) override { return false; }
    void cancel() override {}

    std::vector<KrRealVector> points;
};

#pragma once

#include "search/KrEvaluationWorkers.h"

#include <vector>

/// Keeps what a search asks for, and evaluates nothing. The search ends at the first points whose
/// values are not known. Up to `count` points are kept: if it asks for fewer, those that it will
/// probably ask for next follow.
class KrNoWorkers : public KrEvaluationWorkers {
public:
    explicit KrNoWorkers(KrU32 count = 1) : count_(count) {}
    KrU32 count() const override { return count_; }
    void start(std::span<KrEvaluationRequest const> requests) override {
        asked = points.empty() ? requests.size() : asked;
        for (KrEvaluationRequest const& request : requests) {
            points.push_back(request.point);
        }
    }
    bool finish(std::vector<KrEvaluation>&, Time, std::stop_token) override { return false; }
    void cancel() override {}

    std::vector<KrRealVector> points;
    std::size_t asked = 0;  ///< how many of them the search has asked for; they are the first

private:
    KrU32 const count_;
};

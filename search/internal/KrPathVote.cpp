#include "search/internal/KrPathVote.h"

#include "foundation/core/KrExport.h"
#include "search/internal/KrSame.h"

#include <algorithm>
#include <functional>
#include <utility>

KR_SOURCE_VERSION;

void KrPathVote::ask(KrRealVector const& point) {
    for (Opinion& opinion : opinions_) {
        if (opinion.followed < opinion.path.size()) {
            // If the other point has a value, the search may return to the path. If it has none,
            // the next call of `choose` judges the path.
            opinion.isLost = !krSamePoint(opinion.path[opinion.followed], point);
            opinion.followed += opinion.isLost ? 0 : 1;
        }
    }
}

// Only about the last twenty paths count, since the best model changes near the minimum.
void KrPathVote::Opinion::judge() {
    constexpr double memory = 0.95;
    if (followed != 0 || isLost) {  // the search went on
        right = memory * right + static_cast<double>(followed);
        wrong = memory * wrong + (isLost ? 1.0 : 0.0);
    }
}

std::vector<KrRealVector> KrPathVote::choose(std::vector<std::vector<KrRealVector>> paths,
                                             std::size_t count, IsFree const& isFree) {
    struct Candidate {
        KrRealVector point;
        double probability;
    };
    std::vector<Candidate> candidates;
    for (std::size_t i = 0; i < opinions_.size() && i < paths.size(); ++i) {
        Opinion& opinion = opinions_[i];
        opinion.judge();
        opinion.path = std::move(paths[i]);
        opinion.followed = 0;
        opinion.isLost = false;
        // The vote is the cube of the steps that the opinion is right for, on average. The steps
        // themselves give bad opinions too much weight: 1 % less gain.
        double const reliability = opinion.right / (opinion.right + opinion.wrong);
        double const steps = 1.0 / std::max(1.0 - reliability, 0.01);
        double probability = steps * steps * steps;
        for (KrRealVector const& point : opinion.path) {
            probability *= reliability;
            if (!isFree(point)) {
                continue;
            }
            auto const known = std::ranges::find_if(candidates, [&](Candidate const& candidate) {
                return krSamePoint(candidate.point, point);
            });
            if (known == candidates.end()) {
                candidates.push_back({point, probability});
            } else {
                known->probability += probability;
            }
        }
    }
    std::ranges::stable_sort(candidates, std::ranges::greater(), &Candidate::probability);
    std::vector<KrRealVector> chosen;
    for (std::size_t i = 0; i < std::min(count, candidates.size()); ++i) {
        chosen.push_back(std::move(candidates[i].point));
    }
    return chosen;
}

#pragma once

#include "foundation/core/KrTypes.h"

#include <cstddef>
#include <functional>
#include <vector>

/// Chooses the points that a search will most probably ask for, from the paths that several
/// opinions predict for it. A point that many paths share, early and by opinions that were right
/// so far, comes first: an uncertain step gets points of both its outcomes.
class KrPathVote {
public:
    /// Whether a point can be chosen: it is not under way, and can have a value.
    using IsFree = std::function<bool(KrRealVector const& point)>;

    explicit KrPathVote(std::size_t opinions) : opinions_(opinions) {}

    /// Notes a point that the search asks for, known or not.
    void ask(KrRealVector const& point);
    /// Up to `count` free points of the paths. Each opinion has a path: the points without a value
    /// that the search will ask for after the one that it waits for, in order, those under way
    /// included. The next call judges an opinion by how far the search followed its path.
    std::vector<KrRealVector> choose(std::vector<std::vector<KrRealVector>> paths,
                                     std::size_t count, IsFree const& isFree);

private:
    struct Opinion {
        double right = 4.4;  // steps so far, as if it had predicted 88 % of five rightly
        double wrong = 0.6;
        std::vector<KrRealVector> path;
        std::size_t followed = 0;
        bool isLost = false;  // the search waits for a point that is not the path's next

        void judge();
    };

    std::vector<Opinion> opinions_;
};

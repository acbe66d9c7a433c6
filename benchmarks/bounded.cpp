// How many of 27 problems in a box the optimizers solve, with the bounds of `KrSearch` and with
// three other ways to keep a search in its box, compared with NLopt.
//
// Each problem has the minimum 0 at a point x* of the box [0, 10]^n: every fourth coordinate of x*
// is the upper bound, every fourth one the lower bound, the others are inside at random. With
// d = x - x*, the functions are
//
//     smooth    g d + d A d / 2, the eigenvalues of A from 1 to 100, their directions random
//     kinked    g d + the sum of w(i) |q(i) d|, w from 1 to 10, q an orthonormal set at random
//     noisy     the smooth one times 1 + 0.001 phi(x), phi the noise of Moré and Wild
//
// where g is 0 along the coordinates of x* that are inside, and from 1 to 10 elsewhere, so that a
// step into the box raises the value. So x* is the minimum over the box, and the minimum without
// bounds is outside of it. n is 2, 5 and 10; the start is inside the box, or has all coordinates
// on the upper or on the lower bound.
//
// A search has 200 (n + 1) evaluations. It solves a problem if a value of at most 1e-5 f(x0) is
// among them. "After" is the median of the evaluations that solve a problem, over n + 1.
//
// The same problems have values of NaN in a part of the box. In "half" this is the part behind a
// random plane, which lies behind the minimum, seen from the start, by a twentieth of their
// distance. "Between" is a ball half-way from start to minimum, with a radius of a quarter of their
// distance. If the direct way leads along a bound, this ball makes a local minimum.
//
// With --serve, another process evaluates the problems (see Served.h).

#include "benchmarks/Served.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "search/KrSearch.h"

#if ZEIBREKU_HAVE_NLOPT
#include <nlopt.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr double lower = 0.0;
constexpr double upper = 10.0;
constexpr double edge = 1.0;  // a tenth of the box
constexpr double tolerance = 1e-5;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

enum class Kind { smooth, kinked, noisy };
enum class Hole { none, half, between };  // where the values are NaN
enum class Start { inside, onUpper, onLower };

double dot(KrRealVector const& a, KrRealVector const& b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

// The deterministic noise of J. J. Moré and S. M. Wild, from -1 to 1.
double noise(KrRealVector const& x) {
    double norm1 = 0.0;
    double largest = 0.0;
    for (double const component : x) {
        norm1 += std::abs(component);
        largest = std::max(largest, std::abs(component));
    }
    double const phi = 0.9 * std::sin(100.0 * norm1) * std::cos(100.0 * largest) +
                       0.1 * std::cos(std::sqrt(dot(x, x)));
    return phi * (4.0 * phi * phi - 3.0);
}

class Problem : public KrScalarMultivariableFunction {
public:
    Problem(Kind kind, KrU32 n, Start start, Hole hole) : kind_(kind), hole_(hole) {
        std::mt19937 generator(n);
        auto const uniform = [&] { return (static_cast<double>(generator()) + 0.5) / 0x1p32; };
        for (KrU32 i = 0; i < n; ++i) {
            double const inside = lower + (upper - lower) * (0.2 + 0.6 * uniform());
            double const slope = 1.0 + 9.0 * uniform();
            minimum_.push_back(i % 4 == 0 ? upper : i % 4 == 2 ? lower : inside);
            gradient_.push_back(i % 4 == 0 ? -slope : i % 4 == 2 ? slope : 0.0);
            double const startInside = lower + (upper - lower) * (0.1 + 0.8 * uniform());
            start_.push_back(start == Start::inside    ? startInside
                             : start == Start::onUpper ? upper
                                                       : lower);
            weights_.push_back(std::pow(100.0, i / (n - 1.0)));
        }
        while (directions_.size() < n) {  // by Gram and Schmidt
            KrRealVector direction(n);
            std::ranges::generate(direction, [&] { return uniform() - 0.5; });
            for (KrRealVector const& other : directions_) {
                double const share = dot(direction, other);
                for (KrU32 i = 0; i < n; ++i) {
                    direction[i] -= share * other[i];
                }
            }
            double const length = std::sqrt(dot(direction, direction));
            for (double& component : direction) {
                component /= length;
            }
            directions_.push_back(direction);
        }
    }

    double evaluate(KrRealVector const& x) const override {
        KrRealVector d(x);
        KrRealVector way(x);  // from the start to the minimum
        KrRealVector fromMiddle(x);
        for (std::size_t i = 0; i < x.size(); ++i) {
            d[i] -= minimum_[i];
            way[i] = minimum_[i] - start_[i];
            fromMiddle[i] = d[i] + 0.5 * way[i];
        }
        double const length2 = dot(way, way);
        if ((hole_ == Hole::half &&
             std::copysign(1.0, dot(directions_[0], way)) * dot(directions_[0], d) >=
                 0.05 * std::sqrt(length2)) ||
            (hole_ == Hole::between && dot(fromMiddle, fromMiddle) <= 0.0625 * length2)) {
            return nan;
        }
        double value = dot(gradient_, d);
        for (std::size_t i = 0; i < x.size(); ++i) {
            double const along = dot(directions_[i], d);
            value += kind_ == Kind::kinked ? std::sqrt(weights_[i]) * std::abs(along)
                                           : 0.5 * weights_[i] * along * along;
        }
        return kind_ == Kind::noisy ? value * (1.0 + 1e-3 * noise(x)) : value;
    }
    KrU32 domainDim() const override { return static_cast<KrU32>(start_.size()); }

    KrRealVector const& start() const { return start_; }
    Kind kind() const { return kind_; }
    KrU32 budget() const { return 200 * (domainDim() + 1); }

private:
    Kind kind_;
    Hole hole_;
    KrRealVector minimum_;
    KrRealVector gradient_;
    KrRealVector start_;
    KrRealVector weights_;
    std::vector<KrRealVector> directions_;
};

std::vector<Problem> problems(Hole hole) {
    std::vector<Problem> all;
    for (Kind const kind : {Kind::smooth, Kind::kinked, Kind::noisy}) {
        for (KrU32 const n : {2U, 5U, 10U}) {
            for (Start const start : {Start::inside, Start::onUpper, Start::onLower}) {
                all.emplace_back(kind, n, start, hole);
            }
        }
    }
    return all;
}

/// Counts the evaluations, and notes which solves the problem and what the highest value is.
class Observed : public KrScalarMultivariableFunction {
public:
    explicit Observed(Problem const& problem)
        : problem_(problem), target_(tolerance * problem.evaluate(problem.start())) {}

    double evaluate(KrRealVector const& x) const override {
        double const value = problem_.evaluate(x);
        ++evaluations_;
        if (value <= target_ && evaluations_ <= problem_.budget()) {
            solvedAfter_ = std::min(solvedAfter_, evaluations_);
        }
        highest_ = value > highest_ ? value : highest_;
        return value;
    }
    KrU32 domainDim() const override { return problem_.domainDim(); }

    Problem const& problem() const { return problem_; }
    KrU32 evaluations() const { return evaluations_; }
    double highest() const { return highest_; }
    bool isSolved() const { return solvedAfter_ != never; }
    /// In units of n + 1 evaluations.
    double solvedAfter() const {
        return isSolved() ? solvedAfter_ / (domainDim() + 1.0) : infinity;
    }

private:
    static constexpr KrU32 never = ~KrU32{0};

    Problem const& problem_;
    double target_;
    mutable KrU32 evaluations_ = 0;
    mutable KrU32 solvedAfter_ = never;
    mutable double highest_ = -infinity;
};

void configure(KrNelderMeadOptimizer& optimizer, KrU32 n) {
    optimizer.setDefaultSimplexEdgeLength(edge);
    optimizer.setStoppingThreshold(0.0);
    optimizer.setMaxTotalSteps(1'000'000);
    optimizer.setMaxExpansionSteps(1'000'000);
    optimizer.setRestartCheckPeriod(40 * (n + 1));
}

void configure(KrHookeJeevesOptimizer& optimizer, KrU32) {
    optimizer.setDefaultEdgeLength(edge);
    optimizer.setReductionFactor(0.25);
    optimizer.setMinTotalReduction(1e-12);
}

void configure(KrMultidirectionalSearchOptimizer& optimizer, KrU32) {
    optimizer.setDefaultSimplexEdgeLength(edge);
    optimizer.setStoppingThreshold(0.0);
}

void configure(KrImplicitFilteringOptimizer& optimizer, KrU32) {
    optimizer.setDefaultSimplexEdgeLength(edge);
    optimizer.setLineSearchBeta(0.25);
    optimizer.setLineSearchMaxIterations(8);
}

using Run = std::function<void(Observed const& f)>;

// One of our optimizers in a `KrSearch` with bounds.
template <class Optimizer>
void runSearch(Observed const& f) {
    Optimizer optimizer;
    configure(optimizer, f.domainDim());
    optimizer.setMaxFunctionEvaluations(f.problem().budget());
    KrSearch search;
    for (double const start : f.problem().start()) {
        search.addVariable("x" + std::to_string(search.variables().size()), start, lower, upper);
    }
    search.setOptimizer(optimizer);
    search.setMaxEvaluations(f.problem().budget());
    search.run(f);
}

enum class Way { clip, wall, fold };

// Keeps a search in its box in another way than `KrSearch` does.
template <Way way>
class Kept : public KrScalarMultivariableFunction {
public:
    explicit Kept(KrScalarMultivariableFunction const& f) : f_(f) {}

    double evaluate(KrRealVector const& x) const override {
        KrRealVector point(x);
        for (double& component : point) {
            double const clipped = std::clamp(component, lower, upper);
            if (way == Way::wall && component != clipped) {
                return infinity;
            }
            component = way == Way::clip ? clipped : folded(component);
        }
        return f_.evaluate(point);
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

private:
    static double folded(double x) {
        double const width = upper - lower;
        double const phase = std::abs(std::remainder(x - lower, 2.0 * width));
        return std::clamp(lower + phase, lower, upper);
    }

    KrScalarMultivariableFunction const& f_;
};

template <class Optimizer, Way way>
void runKept(Observed const& f) {
    Optimizer optimizer;
    configure(optimizer, f.domainDim());
    optimizer.setMaxFunctionEvaluations(f.problem().budget());
    KrRealVector result;
    optimizer.findMinimum(Kept<way>(f), f.problem().start(), result);
}

#if ZEIBREKU_HAVE_NLOPT
// One of NLopt's, with every tolerance at its default of 0. For NaN it gets the highest value so
// far, as in a `KrSearch`. If it ends early, it starts again where it ended. If `chooses` is true,
// NLopt chooses the first step.
template <nlopt_algorithm algorithm, bool chooses = false>
void runNlopt(Observed const& f) {
    nlopt_opt const search = nlopt_create(algorithm, f.domainDim());
    nlopt_set_min_objective(
        search,
        [](unsigned n, double const* x, double*, void* data) {
            auto const& observed = *static_cast<Observed const*>(data);
            double const value = observed.evaluate(KrRealVector(x, x + n));
            return std::isnan(value) ? observed.highest() : value;
        },
        const_cast<Observed*>(&f));
    nlopt_set_lower_bounds1(search, lower);
    nlopt_set_upper_bounds1(search, upper);
    if (!chooses) {
        nlopt_set_initial_step1(search, edge);
    }
    KrRealVector x = f.problem().start();
    KrU32 const budget = f.problem().budget();
    for (KrU32 before = budget; f.evaluations() < budget && f.evaluations() != before;) {
        before = f.evaluations();
        nlopt_set_maxeval(search, static_cast<int>(budget - before));
        double value = 0.0;
        nlopt_optimize(search, x.data(), &value);
    }
    nlopt_destroy(search);
}
#endif

template <Way way>
std::vector<Run> const everyKept = {
    runKept<KrNelderMeadOptimizer, way>, runKept<KrHookeJeevesOptimizer, way>,
    runKept<KrMultidirectionalSearchOptimizer, way>, runKept<KrImplicitFilteringOptimizer, way>};

void print(char const* name, std::vector<Run> const& runs, Hole hole) {
    std::size_t total = 0;
    std::size_t byKind[3] = {};
    std::string counts;
    std::vector<double> needed;
    for (Run const& run : runs) {
        std::size_t solved = 0;
        for (Problem const& problem : problems(hole)) {
            Observed const f(problem);
            run(f);
            solved += f.isSolved();
            byKind[static_cast<int>(problem.kind())] += f.isSolved();
            needed.push_back(f.solvedAfter());
        }
        total += solved;
        counts += ' ' + std::to_string(solved);
    }
    auto const middle = needed.begin() + static_cast<std::ptrdiff_t>(needed.size() / 2);
    std::ranges::nth_element(needed, middle);
    std::printf("%-34s %4zu of %3zu %6zu %6zu %6zu %6.0f   %s\n", name, total, needed.size(),
                byKind[0], byKind[1], byKind[2], *middle, runs.size() > 1 ? counts.c_str() : "");
}

void printTable(char const* title, Hole hole) {
    std::printf("\n%-34s %11s %6s %6s %6s %6s   by optimizer\n", title, "solved", "smooth",
                "kinked", "noisy", "after");
    print("ours: all four",
          {runSearch<KrNelderMeadOptimizer>, runSearch<KrHookeJeevesOptimizer>,
           runSearch<KrMultidirectionalSearchOptimizer>, runSearch<KrImplicitFilteringOptimizer>},
          hole);
    if (hole == Hole::none) {
        print("all four, clipping alone", everyKept<Way::clip>, hole);
        print("all four, an infinite wall", everyKept<Way::wall>, hole);
        print("all four, folding back", everyKept<Way::fold>, hole);
    }
    print("ours: Nelder-Mead", {runSearch<KrNelderMeadOptimizer>}, hole);
    print("ours: Hooke-Jeeves", {runSearch<KrHookeJeevesOptimizer>}, hole);
    print("ours: multidirectional search", {runSearch<KrMultidirectionalSearchOptimizer>}, hole);
    print("ours: implicit filtering", {runSearch<KrImplicitFilteringOptimizer>}, hole);
#if ZEIBREKU_HAVE_NLOPT
    print("NLopt LN_NELDERMEAD", {runNlopt<NLOPT_LN_NELDERMEAD>}, hole);
    print("the same, NLopt's first step", {runNlopt<NLOPT_LN_NELDERMEAD, true>}, hole);
    print("NLopt LN_SBPLX", {runNlopt<NLOPT_LN_SBPLX>}, hole);
    print("NLopt LN_COBYLA", {runNlopt<NLOPT_LN_COBYLA>}, hole);
    print("NLopt LN_BOBYQA, model-based", {runNlopt<NLOPT_LN_BOBYQA>}, hole);
#endif
}

constexpr std::pair<char const*, Hole> tables[] = {
    {"plain", Hole::none}, {"NaN-half", Hole::half}, {"NaN-between", Hole::between}};

}  // namespace

int main(int argc, char** argv) {
    if (isServing(argc, argv)) {
        std::vector<ServedProblem> all;
        for (auto const& [name, hole] : tables) {
            for (Problem const& problem : problems(hole)) {
                KrRealVector const& start = problem.start();
                all.push_back({name, start, KrRealVector(start.size(), lower),
                               KrRealVector(start.size(), upper), 0.0, 0,
                               [problem](KrRealVector const& x) {
                                   return KrRealVector{problem.evaluate(x)};
                               }});
            }
        }
        serve(all);
        return 0;
    }
    for (auto const& [name, hole] : tables) {
        printTable(name, hole);
    }
}

// Data profiles of the optimizers on the problems of Moré and Wild: the share of the 53 problems
// that an optimizer solves within a budget, where the budget is counted in simplex gradients, n + 1
// evaluations each, and a problem counts as solved once
//
//     f(x0) - f(x) >= (1 - tau) (f(x0) - fL),
//
// fL being the best value that any of the optimizers found within 100 simplex gradients.
// Every evaluation within the budget counts, those of the first simplex and of batches included. A
// last table shows the other extreme, where a batch costs as much as one evaluation.
//
// With --curves, the profiles of the smooth problems are printed instead for plotting, to the
// tolerances 1e-3 and 1e-5: for each a line of names, one of percentages for each number of
// simplex gradients, and two blank lines.

#include "OptimizerSettings.h"
#include "support/MoreWild.h"

#if ZEIBREKU_HAVE_GSL
#include <gsl/gsl_errno.h>
#include <gsl/gsl_multimin.h>
#endif
#if ZEIBREKU_HAVE_NLOPT
#include <nlopt.h>
#endif

#include <cstdio>
#include <functional>
#include <string_view>
#include <vector>

namespace {

using MoreWild::Problem;
using MoreWild::Variant;
using OptimizerSettings::configure;
using OptimizerSettings::size;

constexpr KrU32 budgetInGradients = 100;

enum class BatchCost { likeItsPoints, likeOnePoint };

/// Counts what a search spends, and notes each evaluation that improved on all before it.
class Observed : public KrScalarMultivariableFunction {
public:
    struct Improvement {
        KrU32 spent;
        double value;
    };

    Observed(KrScalarMultivariableFunction const& f, BatchCost batchCost)
        : f_(f), batchCost_(batchCost) {}

    double evaluate(KrRealVector const& x) const override {
        ++calls_;
        ++spent_;
        return observe(x);
    }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        ++calls_;
        spent_ += batchCost_ == BatchCost::likeOnePoint ? 1 : 0;
        values.clear();
        for (KrRealVector const& point : points) {
            spent_ += batchCost_ == BatchCost::likeOnePoint ? 0 : 1;
            values.push_back(observe(point));
        }
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

    KrU32 budget() const { return budgetInGradients * (domainDim() + 1); }
    /// What a search that makes batches may evaluate, such that it spends the budget.
    KrU32 budgetInBatches() const {
        return budget() * (batchCost_ == BatchCost::likeOnePoint ? domainDim() : 1);
    }
    KrU32 spent() const { return spent_; }
    KrU32 evaluations() const { return evaluations_; }
    KrU32 calls() const { return calls_; }
    std::vector<Improvement> const& improvements() const { return improvements_; }

private:
    double observe(KrRealVector const& x) const {
        double value = f_.evaluate(x);
        if (!std::isfinite(value)) {
            value = 1e300;  // GSL's simplex gives up at anything else
        }
        ++evaluations_;
        bool const improves = improvements_.empty() || value < improvements_.back().value;
        if (improves && spent_ <= budget()) {
            improvements_.push_back({spent_, value});
        }
        return value;
    }

    KrScalarMultivariableFunction const& f_;
    BatchCost batchCost_;
    mutable KrU32 spent_ = 0;
    mutable KrU32 evaluations_ = 0;
    mutable KrU32 calls_ = 0;
    mutable std::vector<Improvement> improvements_;
};

/// A search from `start` with a first edge of the length `edge` along each coordinate.
using Run = std::function<void(Observed const& f, KrRealVector const& start, double edge)>;

struct Solver {
    char const* name;
    Run run;
};

/// The default settings, or all of them but the edge.
template <typename Optimizer>
Run defaults(bool edgeToo = true) {
    return [edgeToo](Observed const& f, KrRealVector const& start, double edge) {
        Optimizer optimizer;
        if constexpr (requires { optimizer.setDefaultEdgeLength(edge); }) {
            optimizer.setDefaultEdgeLength(edgeToo ? optimizer.defaultEdgeLength() : edge);
        } else {
            optimizer.setDefaultSimplexEdgeLength(edgeToo ? optimizer.defaultSimplexEdgeLength()
                                                          : edge);
        }
        KrRealVector result;
        optimizer.findMinimum(f, start, result);
    };
}

/// One of our optimizers, configured and then changed by `vary`.
template <typename Optimizer>
Run configured(void (*vary)(Optimizer& optimizer) = [](Optimizer&) {}) {
    return [vary](Observed const& f, KrRealVector const& start, double edge) {
        Optimizer optimizer;
        configure(optimizer, {f.domainDim(), f.budget(), f.budgetInBatches(), edge});
        vary(optimizer);
        KrRealVector result;
        optimizer.findMinimum(f, start, result);
    };
}

#if ZEIBREKU_HAVE_NLOPT
/// One of NLopt's, with every tolerance at its default of 0. BOBYQA and NEWUOA interpolate at
/// 2n + 1 points, NLopt's default, and start with a trust region of the radius `edge`.
template <nlopt_algorithm algorithm>
void runNlopt(Observed const& f, KrRealVector const& start, double edge) {
    KrU32 const n = f.domainDim();
    nlopt_opt optimizer = nlopt_create(algorithm, n);
    auto const evaluate = [](unsigned size, double const* x, double*, void* data) {
        return static_cast<Observed const*>(data)->evaluate(KrRealVector(x, x + size));
    };
    nlopt_set_min_objective(optimizer, evaluate, const_cast<Observed*>(&f));
    nlopt_set_initial_step1(optimizer, edge);
    nlopt_set_maxeval(optimizer, static_cast<int>(f.budget()));
    KrRealVector x = start;
    double value;
    nlopt_optimize(optimizer, x.data(), &value);
    nlopt_destroy(optimizer);
}
#endif

#if ZEIBREKU_HAVE_GSL
void runGsl(Observed const& f, KrRealVector const& start, double edge) {
    gsl_set_error_handler_off();
    KrU32 const n = f.domainDim();
    gsl_multimin_function objective{[](gsl_vector const* x, void* data) {
                                        return static_cast<Observed const*>(data)->evaluate(
                                            KrRealVector(x->data, x->data + x->size));
                                    },
                                    n, const_cast<Observed*>(&f)};
    gsl_vector* const x = gsl_vector_alloc(n);
    gsl_vector* const steps = gsl_vector_alloc(n);
    std::copy(start.begin(), start.end(), x->data);
    gsl_vector_set_all(steps, edge);
    auto* const optimizer = gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, n);
    gsl_multimin_fminimizer_set(optimizer, &objective, x, steps);
    while (f.spent() < f.budget() && !gsl_multimin_fminimizer_iterate(optimizer)) {
    }
    gsl_multimin_fminimizer_free(optimizer);
    gsl_vector_free(steps);
    gsl_vector_free(x);
}
#endif

Solver const solvers[] = {
    {"Nelder-Mead", configured<KrNelderMeadOptimizer>()},
    {"Nelder-Mead, period 25",
     configured<KrNelderMeadOptimizer>([](auto& o) { o.setRestartCheckPeriod(25); })},
    {"Nelder-Mead, defaults", defaults<KrNelderMeadOptimizer>()},
    {"Nelder-Mead, edge alone", defaults<KrNelderMeadOptimizer>(false)},
    {"Hooke-Jeeves, none", configured<KrHookeJeevesOptimizer>()},
    {"Hooke-Jeeves, random",
     configured<KrHookeJeevesOptimizer>([](auto& o) { o.setDirectionsMode(o.RANDOM); })},
    {"Hooke-Jeeves, rotated",
     configured<KrHookeJeevesOptimizer>([](auto& o) { o.setDirectionsMode(o.ROTATED); })},
    {"Hooke-Jeeves, none, reduction 0.5",
     configured<KrHookeJeevesOptimizer>([](auto& o) { o.setReductionFactor(0.5); })},
    {"Hooke-Jeeves, defaults", defaults<KrHookeJeevesOptimizer>()},
    {"Hooke-Jeeves, edge alone", defaults<KrHookeJeevesOptimizer>(false)},
    {"Multidirectional", configured<KrMultidirectionalSearchOptimizer>()},
    {"Multidirectional, defaults", defaults<KrMultidirectionalSearchOptimizer>()},
    {"Multidirectional, edge alone", defaults<KrMultidirectionalSearchOptimizer>(false)},
    {"Implicit filtering", configured<KrImplicitFilteringOptimizer>()},
    {"Implicit filtering, 25 halvings", configured<KrImplicitFilteringOptimizer>([](auto& o) {
         o.setLineSearchBeta(0.5);
         o.setLineSearchMaxIterations(25);
     })},
    {"Implicit filtering, defaults", defaults<KrImplicitFilteringOptimizer>()},
    {"Implicit filtering, edge alone", defaults<KrImplicitFilteringOptimizer>(false)},
    {"Sequence, chain", configured<KrSequenceOptimizer>()},
    {"Sequence, tournament",
     configured<KrSequenceOptimizer>([](auto& o) { o.setExecuteInParallel(true); })},
#if ZEIBREKU_HAVE_NLOPT
    {"NLopt LN_NELDERMEAD", runNlopt<NLOPT_LN_NELDERMEAD>},
    {"NLopt LN_SBPLX", runNlopt<NLOPT_LN_SBPLX>},
    {"NLopt LN_BOBYQA", runNlopt<NLOPT_LN_BOBYQA>},
    {"NLopt LN_NEWUOA", runNlopt<NLOPT_LN_NEWUOA>},
#endif
#if ZEIBREKU_HAVE_GSL
    {"GSL nmsimplex2", runGsl},
#endif
};

/// First edges, in units of the start point's size.
constexpr double edges[] = {3.0, 1.0, 0.1, 0.01, 0.001};
constexpr std::size_t profileEdge = 2;

/// What a share is given for: a tolerance, and a budget in simplex gradients.
struct Goal {
    double tolerance;
    KrU32 gradients;
};
constexpr Goal goals[] = {{1e-1, 100}, {1e-3, 100}, {1e-5, 100}, {1e-7, 100},
                          {1e-3, 10},  {1e-3, 25},  {1e-3, 50}};
constexpr std::size_t edgeGoal = 1;
constexpr double curveTolerances[] = {1e-3, 1e-5};

struct Profile {
    std::array<double, std::size(goals)> solved{};  // percent of the problems
    /// The same for each of `curveTolerances`, by gradients - 1.
    std::array<std::array<double, budgetInGradients>, std::size(curveTolerances)> curves{};
    double used = 0.0;   // simplex gradients spent until the search ended
    double calls = 0.0;  // calls of the function per 100 evaluations
};

/// The simplex gradients after which a problem counts as solved; more than the budget: it does not.
KrU32 gradientsToSolve(std::vector<Observed::Improvement> const& improvements, KrU32 n,
                       double lowest, double tolerance) {
    double const first = improvements.front().value;
    double const decrease = (1.0 - tolerance) * (first - lowest);
    for (auto const& improvement : improvements) {
        if (first - improvement.value >= decrease) {
            return (improvement.spent + n) / (n + 1);
        }
    }
    return budgetInGradients + 1;
}

using Profiles = std::array<std::array<Profile, std::size(edges)>, std::size(solvers)>;

Profiles measure(Variant variant, BatchCost batchCost = BatchCost::likeItsPoints) {
    Profiles profiles{};
    double const share = 1.0 / double(MoreWild::problems.size());
    for (Problem const& problem : MoreWild::problems) {
        MoreWild::Function const f(problem, variant);
        KrRealVector const start = problem.start();
        std::vector<Observed> runs;
        double lowest = 1e300;
        for (Solver const& solver : solvers) {
            for (double const edge : edges) {
                solver.run(runs.emplace_back(f, batchCost), start, edge * size(start));
                lowest = std::min(lowest, runs.back().improvements().back().value);
            }
        }
        auto run = runs.begin();
        for (auto& byEdge : profiles) {
            for (Profile& profile : byEdge) {
                auto const solvedAfter = [&](double tolerance) {
                    return gradientsToSolve(run->improvements(), problem.n, lowest, tolerance);
                };
                for (std::size_t g = 0; g < std::size(goals); ++g) {
                    bool const solved = solvedAfter(goals[g].tolerance) <= goals[g].gradients;
                    profile.solved[g] += 100.0 * share * solved;
                }
                for (std::size_t c = 0; c < std::size(curveTolerances); ++c) {
                    for (KrU32 g = solvedAfter(curveTolerances[c]); g <= budgetInGradients; ++g) {
                        profile.curves[c][g - 1] += 100.0 * share;
                    }
                }
                profile.used += share * run->spent() / (problem.n + 1.0);
                profile.calls += 100.0 * share * run->calls() / run->evaluations();
                ++run;
            }
        }
    }
    return profiles;
}

void printLine(char const* title, char const* format, auto const& values, auto const& value) {
    std::printf("\n%-34s", title);
    for (auto const& item : values) {
        std::printf(format, value(item));
    }
}

void printProfiles(char const* title, Profiles const& profiles) {
    std::printf("\n%s: percent of %zu problems solved; first edge %g", title,
                MoreWild::problems.size(), edges[profileEdge]);
    printLine("tolerance", "%7.0e", goals, [](Goal const& goal) { return goal.tolerance; });
    printLine("simplex gradients", "%7u", goals, [](Goal const& goal) { return goal.gradients; });
    std::printf("%7s%7s", "used", "calls");
    for (std::size_t s = 0; s < std::size(solvers); ++s) {
        Profile const& profile = profiles[s][profileEdge];
        printLine(solvers[s].name, "%7.0f", profile.solved, std::identity());
        std::printf("%7.0f%7.0f", profile.used, profile.calls);
    }
    std::printf("\n");
}

void printEdges(char const* title, Profiles const& profiles) {
    std::printf("\n%s: tolerance %.0e, by first edge", title, goals[edgeGoal].tolerance);
    printLine("edge / max(|x0|, 1)", "%7.3g", edges, std::identity());
    for (std::size_t s = 0; s < std::size(solvers); ++s) {
        printLine(solvers[s].name, "%7.0f", profiles[s],
                  [](Profile const& profile) { return profile.solved[edgeGoal]; });
    }
    std::printf("\n");
}

void printCurves(Profiles const& profiles, std::size_t tolerance) {
    std::printf("\"simplex gradients\"");
    for (Solver const& solver : solvers) {
        std::printf(" \"%s\"", solver.name);
    }
    for (KrU32 g = 1; g <= budgetInGradients; ++g) {
        std::printf("\n%u", g);
        for (auto const& byEdge : profiles) {
            std::printf(" %.1f", byEdge[profileEdge].curves[tolerance][g - 1]);
        }
    }
    std::printf("\n\n\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--curves") {
        Profiles const profiles = measure(Variant::smooth);
        for (std::size_t c = 0; c < std::size(curveTolerances); ++c) {
            printCurves(profiles, c);
        }
        return 0;
    }
    for (int i = 1; i < argc; ++i) {
        // scripts/checks.sh gives all benchmarks the same options, which have no effect here.
        if (!std::string_view(argv[i]).starts_with("--benchmark_")) {
            std::fprintf(stderr, "usage: %s [--curves | --benchmark_...]\n", argv[0]);
            return 2;
        }
    }
    struct {
        char const* title;
        Variant variant;
    } const rows[] = {{"Smooth", Variant::smooth},
                      {"Piecewise smooth", Variant::piecewiseSmooth},
                      {"Noisy", Variant::noisy}};
    for (auto const& [title, variant] : rows) {
        Profiles const profiles = measure(variant);
        printProfiles(title, profiles);
        printEdges(title, profiles);
    }
    printProfiles("Smooth, a batch costs like one point",
                  measure(Variant::smooth, BatchCost::likeOnePoint));
}

// Data profiles of the optimizers on the problems of Moré and Wild: the share of the 53 problems
// that an optimizer solves within a budget, where the budget is counted in simplex gradients, n + 1
// evaluations each, and a problem counts as solved once
//
//     f(x0) - f(x) >= (1 - tau) (f(x0) - fL),
//
// fL being the best value that any of the optimizers found within 100 simplex gradients.
// Every evaluation counts, the first simplex and batches included; nothing is run beyond what an
// optimizer does of itself, and what it evaluates after the budget is not looked at.

#include "benchmarks/MoreWild.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"

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

constexpr KrU32 unlimited = 0xffffffff;
constexpr KrU32 budgetInGradients = 100;

/// Counts evaluations and notes each one that improved on all before it.
class Observed : public KrScalarMultivariableFunction {
public:
    struct Improvement {
        KrU32 evaluation;
        double value;
    };

    explicit Observed(KrScalarMultivariableFunction const& f) : f_(f) {}

    double evaluate(KrRealVector const& x) const override {
        double value = f_.evaluate(x);
        if (!std::isfinite(value)) {
            value = 1e300;  // GSL's simplex gives up at anything else
        }
        ++evaluations_;
        bool const improves = improvements_.empty() || value < improvements_.back().value;
        if (improves && evaluations_ <= budget()) {
            improvements_.push_back({evaluations_, value});
        }
        return value;
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

    KrU32 budget() const { return budgetInGradients * (domainDim() + 1); }
    std::vector<Improvement> const& improvements() const { return improvements_; }

private:
    KrScalarMultivariableFunction const& f_;
    mutable KrU32 evaluations_ = 0;
    mutable std::vector<Improvement> improvements_;
};

/// A search from `start` with a first edge of the length `edge` along each coordinate.
using Run = std::function<void(Observed const& f, KrRealVector const& start, double edge)>;

struct Solver {
    char const* name;
    Run run;
};

/// A search of one of our optimizers with the settings that `prepare` makes.
template <typename Optimizer>
Run ours(void (*prepare)(Optimizer& optimizer, Observed const& f, double edge)) {
    return [prepare](Observed const& f, KrRealVector const& start, double edge) {
        Optimizer optimizer;
        prepare(optimizer, f, edge);
        KrRealVector result;
        optimizer.findMinimum(f, start, result);
    };
}

template <typename Optimizer>
void asItIs(Optimizer&, Observed const&, double) {}

void prepareNelderMead(KrNelderMeadOptimizer& optimizer, Observed const& f, double edge) {
    optimizer.setDefaultSimplexEdgeLength(edge);
    optimizer.setStoppingThreshold(0.0);
    optimizer.setMaxTotalSteps(unlimited);
    optimizer.setMaxExpansionSteps(unlimited);
    optimizer.setMaxFunctionEvaluations(f.budget());
    optimizer.setRestartCheckPeriod(40 * (f.domainDim() + 1));
}

/// Restarts are made at full edge length: early ones throw away what the simplex has learnt.
void prepareNelderMeadWithEarlyRestarts(KrNelderMeadOptimizer& optimizer, Observed const& f,
                                        double edge) {
    prepareNelderMead(optimizer, f, edge);
    optimizer.setRestartCheckPeriod(KrNelderMeadOptimizer().restartCheckPeriod());
}

#if ZEIBREKU_HAVE_NLOPT
void runNlopt(Observed const& f, KrRealVector const& start, double edge) {
    KrU32 const n = f.domainDim();
    nlopt_opt optimizer = nlopt_create(NLOPT_LN_NELDERMEAD, n);
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
    // Each iteration evaluates at least once.
    for (KrU32 i = 0; i < f.budget() && !gsl_multimin_fminimizer_iterate(optimizer); ++i) {
    }
    gsl_multimin_fminimizer_free(optimizer);
    gsl_vector_free(steps);
    gsl_vector_free(x);
}
#endif

Solver const solvers[] = {
    {"Nelder-Mead", ours<KrNelderMeadOptimizer>(prepareNelderMead)},
    {"Nelder-Mead, default restarts", ours(prepareNelderMeadWithEarlyRestarts)},
    {"Nelder-Mead, defaults", ours<KrNelderMeadOptimizer>(asItIs)},
#if ZEIBREKU_HAVE_NLOPT
    {"NLopt LN_NELDERMEAD", runNlopt},
#endif
#if ZEIBREKU_HAVE_GSL
    {"GSL nmsimplex2", runGsl},
#endif
};

/// First edges, in units of the start point's size: the one of the profiles, then those whose
/// effect is shown.
constexpr double edges[] = {0.3, 3.0, 1.0, 0.1, 0.01, 0.001};

/// What a share is given for: a tolerance, and a budget in simplex gradients.
struct Goal {
    double tolerance;
    KrU32 gradients;
};
constexpr Goal goals[] = {{1e-1, 100}, {1e-3, 100}, {1e-5, 100}, {1e-7, 100},
                          {1e-3, 10},  {1e-3, 25},  {1e-3, 50}};
constexpr std::size_t edgeGoal = 1;

/// Percent of the problems that were solved, by goal.
using Profile = std::array<double, std::size(goals)>;

bool isSolved(std::vector<Observed::Improvement> const& improvements, KrU32 n, double lowest,
              Goal const& goal) {
    double const first = improvements.front().value;
    double const decrease = (1.0 - goal.tolerance) * (first - lowest);
    return std::any_of(improvements.begin(), improvements.end(), [&](auto const& improvement) {
        return improvement.evaluation <= goal.gradients * (n + 1) &&
               first - improvement.value >= decrease;
    });
}

double size(KrRealVector const& start) {
    double largest = 1.0;
    for (double const component : start) {
        largest = std::max(largest, std::abs(component));
    }
    return largest;
}

using Profiles = std::array<std::array<Profile, std::size(edges)>, std::size(solvers)>;

Profiles measure(Variant variant) {
    Profiles profiles{};
    for (Problem const& problem : MoreWild::problems) {
        MoreWild::Function const f(problem, variant);
        KrRealVector const start = problem.start();
        std::vector<Observed> runs;
        double lowest = 1e300;
        for (Solver const& solver : solvers) {
            for (double const edge : edges) {
                solver.run(runs.emplace_back(f), start, edge * size(start));
                lowest = std::min(lowest, runs.back().improvements().back().value);
            }
        }
        auto run = runs.begin();
        for (auto& byEdge : profiles) {
            for (Profile& profile : byEdge) {
                for (std::size_t g = 0; g < std::size(goals); ++g) {
                    if (isSolved(run->improvements(), problem.n, lowest, goals[g])) {
                        profile[g] += 100.0 / double(MoreWild::problems.size());
                    }
                }
                ++run;
            }
        }
    }
    return profiles;
}

void printLine(char const* title, char const* format, auto const& values, auto const& value) {
    std::printf("%-34s", title);
    for (auto const& item : values) {
        std::printf(format, value(item));
    }
    std::printf("\n");
}

void print(char const* title, Profiles const& profiles) {
    std::printf("\n%s: percent of %zu problems solved\n", title, MoreWild::problems.size());
    printLine("tolerance", "%7.0e", goals, [](Goal const& goal) { return goal.tolerance; });
    printLine("simplex gradients", "%7u", goals, [](Goal const& goal) { return goal.gradients; });
    for (std::size_t s = 0; s < std::size(solvers); ++s) {
        printLine(solvers[s].name, "%7.0f", profiles[s][0], std::identity());
    }
    std::printf("\n%s, tolerance %.0e, by first edge\n", title, goals[edgeGoal].tolerance);
    printLine("edge over start", "%7.3g", edges, std::identity());
    for (std::size_t s = 0; s < std::size(solvers); ++s) {
        printLine(solvers[s].name, "%7.0f", profiles[s],
                  [](Profile const& profile) { return profile[edgeGoal]; });
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        // What runs all benchmarks gives each the same options; there is nothing to set here.
        if (!std::string_view(argv[i]).starts_with("--benchmark_")) {
            std::fprintf(stderr, "usage: %s [--benchmark_...]\n", argv[0]);
            return 2;
        }
    }
    print("Smooth", measure(Variant::smooth));
    print("Piecewise smooth", measure(Variant::piecewiseSmooth));
    print("Noisy", measure(Variant::noisy));
}

// How many of 25 problems with constraints a search with penalties solves, compared with COBYLA of
// NLopt, which models the constraints by linear functions.
//
// The problems are those of W. Hock and K. Schittkowski, "Test examples for nonlinear programming
// codes", Lecture Notes in Economics and Mathematical Systems 187 (1981), that have nothing but
// bounds and linear and quadratic inequalities, with the starts and the minima of the book. 2 and
// 44 have local minima besides; only the value of the book counts.
//
// A problem is solved by a point inside the bounds with c(x) <= 0 for every constraint, whose value
// exceeds the minimum by at most 1e-3 max(1, |minimum|). COBYLA may violate a constraint
// by rounding, so a second count of its solutions accepts c(x) <= 1e-6. Every search has
// 1200 (n + 1) evaluations.
//
// With --serve, another process evaluates the problems (see Served.h).

#include "benchmarks/Served.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"
#include "search/KrSearch.h"

#if ZEIBREKU_HAVE_NLOPT
#include <nlopt.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double root2 = std::numbers::sqrt2;
constexpr double root3 = std::numbers::sqrt3;

double square(double x) { return x * x; }

struct Product {
    KrU32 i;
    KrU32 j;
    double coefficient;
};

// offset + linear x + the sum of coefficient x(i) x(j), which is feasible up to 0.
KrQuadraticMultivariableConstraint atMost0(double offset, KrRealVector const& linear,
                                           std::vector<Product> const& products = {}) {
    KrQuadraticMultivariableConstraint constraint;
    constraint.setOffset(offset);
    for (KrU32 i = 0; i < linear.size(); ++i) {
        if (linear[i] != 0.0) {
            constraint.setFirstOrderCoefficient(i, linear[i]);
        }
    }
    for (auto const& [i, j, coefficient] : products) {
        constraint.setSecondOrderCoefficient(i, j, coefficient);
    }
    return constraint;
}

struct Problem {
    int number;
    double minimum;
    KrRealVector start;
    KrRealVector lower;  // all -INF if empty
    KrRealVector upper;  // all INF if empty
    std::vector<KrQuadraticMultivariableConstraint> constraints;
    double (*formula)(KrRealVector const& x);

    double lowerAt(std::size_t i) const { return lower.empty() ? -inf : lower[i]; }
    double upperAt(std::size_t i) const { return upper.empty() ? inf : upper[i]; }
    double startInside(std::size_t i) const { return std::clamp(start[i], lowerAt(i), upperAt(i)); }
    KrU32 n() const { return static_cast<KrU32>(start.size()); }
    KrU32 budget() const { return 1200 * (n() + 1); }
    bool isSolvedBy(double value) const {
        return value - minimum <= 1e-3 * std::max(1.0, std::abs(minimum));
    }
};

double rosenbrock(KrRealVector const& x) {
    return 100.0 * square(x[1] - square(x[0])) + square(1.0 - x[0]);
}

double minusVolume(KrRealVector const& x) { return -x[0] * x[1] * x[2]; }

std::vector<Problem> const problems = {
    {1, 0.0, {-2, 1}, {-inf, -1.5}, {}, {}, rosenbrock},
    {2, 0.0504261879, {-2, 1}, {-inf, 1.5}, {}, {}, rosenbrock},
    {3,
     0.0,
     {10, 1},
     {-inf, 0},
     {},
     {},
     [](KrRealVector const& x) { return x[1] + 1e-5 * square(x[1] - x[0]); }},
    {4,
     8.0 / 3.0,
     {1.125, 0.125},
     {1, 0},
     {},
     {},
     [](KrRealVector const& x) { return (x[0] + 1) * square(x[0] + 1) / 3 + x[1]; }},
    {5,
     -root3 / 2 - std::numbers::pi / 3,
     {0, 0},
     {-1.5, -3},
     {4, 3},
     {},
     [](KrRealVector const& x) {
         return std::sin(x[0] + x[1]) + square(x[0] - x[1]) - 1.5 * x[0] + 2.5 * x[1] + 1;
     }},
    {10,
     -1.0,
     {-10, 10},
     {},
     {},
     {atMost0(-1, {}, {{0, 0, 3}, {0, 1, -2}, {1, 1, 1}})},
     [](KrRealVector const& x) { return x[0] - x[1]; }},
    {11,
     -8.498464223,
     {4.9, 0.1},
     {},
     {},
     {atMost0(0, {0, -1}, {{0, 0, 1}})},
     [](KrRealVector const& x) { return square(x[0] - 5) + square(x[1]) - 25; }},
    {12,
     -30.0,
     {0, 0},
     {},
     {},
     {atMost0(-25, {}, {{0, 0, 4}, {1, 1, 1}})},
     [](KrRealVector const& x) {
         return square(x[0]) / 2 + square(x[1]) - x[0] * x[1] - 7 * x[0] - 7 * x[1];
     }},
    {15,
     306.5,
     {-2, 1},
     {},
     {0.5, inf},
     {atMost0(1, {}, {{0, 1, -1}}), atMost0(0, {-1}, {{1, 1, -1}})},
     rosenbrock},
    {16,
     0.25,
     {-2, 1},
     {-0.5, -inf},
     {0.5, 1},
     {atMost0(0, {-1}, {{1, 1, -1}}), atMost0(0, {0, -1}, {{0, 0, -1}})},
     rosenbrock},
    {17,
     1.0,
     {-2, 1},
     {-0.5, -inf},
     {0.5, 1},
     {atMost0(0, {1}, {{1, 1, -1}}), atMost0(0, {0, 1}, {{0, 0, -1}})},
     rosenbrock},
    {18,
     5.0,
     {2, 2},
     {2, 0},
     {50, 50},
     {atMost0(25, {}, {{0, 1, -1}}), atMost0(25, {}, {{0, 0, -1}, {1, 1, -1}})},
     [](KrRealVector const& x) { return 0.01 * square(x[0]) + square(x[1]); }},
    {21,
     -99.96,
     {-1, -1},
     {2, -50},
     {50, 50},
     {atMost0(10, {-10, 1})},
     [](KrRealVector const& x) { return 0.01 * square(x[0]) + square(x[1]) - 100; }},
    {22,
     1.0,
     {2, 2},
     {},
     {},
     {atMost0(-2, {1, 1}), atMost0(0, {0, -1}, {{0, 0, 1}})},
     [](KrRealVector const& x) { return square(x[0] - 2) + square(x[1] - 1); }},
    {23,
     2.0,
     {3, 1},
     {-50, -50},
     {50, 50},
     {atMost0(1, {-1, -1}), atMost0(1, {}, {{0, 0, -1}, {1, 1, -1}}),
      atMost0(9, {}, {{0, 0, -9}, {1, 1, -1}}), atMost0(0, {0, 1}, {{0, 0, -1}}),
      atMost0(0, {1}, {{1, 1, -1}})},
     [](KrRealVector const& x) { return square(x[0]) + square(x[1]); }},
    {24,
     -1.0,
     {1, 0.5},
     {0, 0},
     {},
     {atMost0(0, {-1 / root3, 1}), atMost0(0, {-1, -root3}), atMost0(-6, {1, root3})},
     [](KrRealVector const& x) {
         return (square(x[0] - 3) - 9) * x[1] * square(x[1]) / (27 * root3);
     }},
    {29,
     -16 * root2,
     {1, 1, 1},
     {},
     {},
     {atMost0(-48, {}, {{0, 0, 1}, {1, 1, 2}, {2, 2, 4}})},
     minusVolume},
    {30,
     1.0,
     {1, 1, 1},
     {1, -10, -10},
     {10, 10, 10},
     {atMost0(1, {}, {{0, 0, -1}, {1, 1, -1}})},
     [](KrRealVector const& x) { return square(x[0]) + square(x[1]) + square(x[2]); }},
    {31,
     6.0,
     {1, 1, 1},
     {-10, 1, -10},
     {10, 10, 1},
     {atMost0(1, {}, {{0, 1, -1}})},
     [](KrRealVector const& x) { return 9 * square(x[0]) + square(x[1]) + 9 * square(x[2]); }},
    {35,
     1.0 / 9.0,
     {0.5, 0.5, 0.5},
     {0, 0, 0},
     {},
     {atMost0(-3, {1, 1, 2})},
     [](KrRealVector const& x) {
         return 9 - 8 * x[0] - 6 * x[1] - 4 * x[2] + 2 * square(x[0]) + 2 * square(x[1]) +
                square(x[2]) + 2 * x[0] * x[1] + 2 * x[0] * x[2];
     }},
    {36, -3300.0, {10, 10, 10}, {0, 0, 0}, {20, 11, 42}, {atMost0(-72, {1, 2, 2})}, minusVolume},
    {37,
     -3456.0,
     {10, 10, 10},
     {0, 0, 0},
     {42, 42, 42},
     {atMost0(-72, {1, 2, 2}), atMost0(0, {-1, -2, -2})},
     minusVolume},
    {43,
     -44.0,
     {0, 0, 0, 0},
     {},
     {},
     {atMost0(-8, {1, -1, 1, -1}, {{0, 0, 1}, {1, 1, 1}, {2, 2, 1}, {3, 3, 1}}),
      atMost0(-10, {-1, 0, 0, -1}, {{0, 0, 1}, {1, 1, 2}, {2, 2, 1}, {3, 3, 2}}),
      atMost0(-5, {2, -1, 0, -1}, {{0, 0, 2}, {1, 1, 1}, {2, 2, 1}})},
     [](KrRealVector const& x) {
         return square(x[0]) + square(x[1]) + 2 * square(x[2]) + square(x[3]) - 5 * x[0] -
                5 * x[1] - 21 * x[2] + 7 * x[3];
     }},
    {44,
     -15.0,
     {0, 0, 0, 0},
     {0, 0, 0, 0},
     {},
     {atMost0(-8, {1, 2}), atMost0(-12, {4, 1}), atMost0(-12, {3, 4}), atMost0(-8, {0, 0, 2, 1}),
      atMost0(-8, {0, 0, 1, 2}), atMost0(-5, {0, 0, 1, 1})},
     [](KrRealVector const& x) {
         return x[0] - x[1] - x[2] - x[0] * x[2] + x[0] * x[3] + x[1] * x[2] - x[1] * x[3];
     }},
    {76,
     -4.681818181,
     {0.5, 0.5, 0.5, 0.5},
     {0, 0, 0, 0},
     {},
     {atMost0(-5, {1, 2, 1, 1}), atMost0(-4, {3, 1, 2, -1}), atMost0(1.5, {0, -1, -4})},
     [](KrRealVector const& x) {
         return square(x[0]) + square(x[1]) / 2 + square(x[2]) + square(x[3]) / 2 - x[0] * x[2] +
                x[2] * x[3] - x[0] - 3 * x[1] + x[2] - x[3];
     }},
};

/// Counts the evaluations, and notes the first that solves the problem.
class Observed : public KrScalarMultivariableFunction {
public:
    explicit Observed(Problem const& problem) : problem_(problem) {}

    double evaluate(KrRealVector const& x) const override {
        ++evaluations_;
        double const value = problem_.formula(x);
        if (evaluations_ <= problem_.budget() && problem_.isSolvedBy(value)) {
            double violation = 0.0;
            for (std::size_t i = 0; i < x.size(); ++i) {
                violation =
                    std::max({violation, problem_.lowerAt(i) - x[i], x[i] - problem_.upperAt(i)});
            }
            for (auto const& constraint : problem_.constraints) {
                violation = std::max(violation, constraint.evaluate(x));
            }
            solvedAfter_ = violation <= 0.0 ? std::min(solvedAfter_, evaluations_) : solvedAfter_;
            isNearlySolved_ = isNearlySolved_ || violation <= 1e-6;
        }
        return value;
    }
    KrU32 domainDim() const override { return problem_.n(); }

    Problem const& problem() const { return problem_; }
    KrU32 evaluations() const { return evaluations_; }
    bool isSolved() const { return solvedAfter_ != never; }
    KrU32 solvedAfter() const { return solvedAfter_; }
    bool isNearlySolved() const { return isNearlySolved_; }

private:
    static constexpr KrU32 never = ~KrU32{0};

    Problem const& problem_;
    mutable KrU32 evaluations_ = 0;
    mutable KrU32 solvedAfter_ = never;
    mutable bool isNearlySolved_ = false;
};

// One pass: Hooke-Jeeves, then Nelder-Mead, each with half of the evaluations.
void addPass(KrScalarMultivariableOptimizerVector& list, KrU32 evaluations, double edge) {
    KrHookeJeevesOptimizer hookeJeeves;
    hookeJeeves.setDirectionsMode(KrHookeJeevesOptimizer::RANDOM);
    hookeJeeves.setDefaultEdgeLength(edge);
    hookeJeeves.setMinTotalReduction(1e-6);
    hookeJeeves.setMaxFunctionEvaluations(evaluations / 2);
    list.pushBack(hookeJeeves);
    KrNelderMeadOptimizer nelderMead;
    nelderMead.setDefaultSimplexEdgeLength(edge);
    nelderMead.setStoppingThreshold(0.0);
    nelderMead.setMaxTotalSteps(evaluations);
    nelderMead.setMaxExpansionSteps(evaluations);
    nelderMead.setRestartCheckPeriod(evaluations / 5);
    nelderMead.setMaxFunctionEvaluations(evaluations / 2);
    list.pushBack(nelderMead);
}

KrSearch makeSearch(Problem const& problem) {
    KrU32 const evaluationsOfPass = problem.budget() / 6;
    KrScalarMultivariableOptimizerVector list;
    addPass(list, evaluationsOfPass, 0.5);
    addPass(list, evaluationsOfPass, 0.1);
    KrSequenceOptimizer sequence;
    sequence.setNumberPasses(3);
    sequence.setOptimizerSequence(list);
    KrMultivariableConstraintVector constraints;
    for (auto const& constraint : problem.constraints) {
        constraints.pushBack(constraint);
    }
    KrSearch search;
    for (KrU32 i = 0; i < problem.n(); ++i) {
        search.addVariable("x" + std::to_string(i), problem.startInside(i), problem.lowerAt(i),
                           problem.upperAt(i));
    }
    search.setOptimizer(sequence);
    search.setConstraints(constraints);
    search.setMaxEvaluations(problem.budget());
    return search;
}

#if ZEIBREKU_HAVE_NLOPT
// COBYLA of NLopt with a first step, or its own if that is 0. Where it ends, it starts again.
void runCobyla(Observed const& f, double step) {
    Problem const& problem = f.problem();
    nlopt_opt const search = nlopt_create(NLOPT_LN_COBYLA, problem.n());
    nlopt_set_min_objective(
        search,
        [](unsigned n, double const* x, double*, void* data) {
            return static_cast<Observed const*>(data)->evaluate(KrRealVector(x, x + n));
        },
        const_cast<Observed*>(&f));
    KrRealVector x = problem.start;
    for (KrU32 i = 0; i < problem.n(); ++i) {
        nlopt_set_lower_bound(search, static_cast<int>(i), problem.lowerAt(i));
        nlopt_set_upper_bound(search, static_cast<int>(i), problem.upperAt(i));
        x[i] = problem.startInside(i);
    }
    for (auto const& constraint : problem.constraints) {
        nlopt_add_inequality_constraint(
            search,
            [](unsigned n, double const* at, double*, void* data) {
                return static_cast<KrQuadraticMultivariableConstraint const*>(data)->evaluate(
                    KrRealVector(at, at + n));
            },
            const_cast<KrQuadraticMultivariableConstraint*>(&constraint), 0.0);
    }
    if (step > 0.0) {
        nlopt_set_initial_step1(search, step);
    }
    nlopt_set_xtol_abs1(search, 1e-9);  // with 0 some searches never end
    for (KrU32 before = problem.budget();
         f.evaluations() < problem.budget() && f.evaluations() != before;) {
        before = f.evaluations();
        nlopt_set_maxeval(search, static_cast<int>(problem.budget() - before));
        double value = 0.0;
        nlopt_optimize(search, x.data(), &value);
    }
    nlopt_destroy(search);
}
#endif

// What a search needs, problem by problem, and in all.
class Row {
public:
    explicit Row(char const* name) : name_(name) {}

    void add(Observed const& f) {
        solved_ += f.isSolved();
        nearlySolved_ += f.isNearlySolved();
        evaluations_ += f.evaluations();
        gradients_.push_back(f.isSolved() ? f.solvedAfter() / (f.problem().n() + 1.0) : inf);
        needed_ += f.isSolved() ? ' ' + std::to_string(f.solvedAfter()) : " -";
    }
    void print() {
        std::ranges::nth_element(gradients_, gradients_.begin() + gradients_.size() / 2);
        std::printf(
            "%-24s %2d of %zu, %2d with c <= 1e-6; median %4.0f (n + 1); %7u in all\n   %s\n",
            name_, solved_, problems.size(), nearlySolved_, gradients_[gradients_.size() / 2],
            evaluations_, needed_.c_str());
    }

private:
    char const* name_;
    int solved_ = 0;
    int nearlySolved_ = 0;
    KrU32 evaluations_ = 0;
    std::vector<double> gradients_;
    std::string needed_;
};

}  // namespace

int main(int argc, char** argv) {
    if (isServing(argc, argv)) {
        std::vector<ServedProblem> all;
        for (Problem const& problem : problems) {
            ServedProblem& served = all.emplace_back();
            served.name = std::to_string(problem.number);
            served.start = problem.start;
            for (KrU32 i = 0; i < problem.n(); ++i) {
                served.lower.push_back(problem.lowerAt(i));
                served.upper.push_back(problem.upperAt(i));
            }
            served.minimum = problem.minimum;
            served.constraints = problem.constraints.size();
            served.evaluate = [&problem](KrRealVector const& x) {
                KrRealVector values{problem.formula(x)};
                for (auto const& constraint : problem.constraints) {
                    values.push_back(constraint.evaluate(x));
                }
                return values;
            };
        }
        serve(all);
        return 0;
    }
    std::printf("evaluations until a problem is solved, of numbers");
    for (Problem const& problem : problems) {
        std::printf(" %d", problem.number);
    }
    std::printf("\n");
    Row ours("ours");
    for (Problem const& problem : problems) {
        Observed const f(problem);
        KrSearchReport const report = makeSearch(problem).run(f);
        if (f.isSolved() != problem.isSolvedBy(report.bestValue())) {
            std::fprintf(stderr, "problem %d: the report differs\n", problem.number);
            return 1;
        }
        ours.add(f);
    }
    ours.print();
    std::vector<std::ptrdiff_t> bySeed;
    for (KrU32 seed = 1; seed <= 100; ++seed) {
        bySeed.push_back(std::ranges::count_if(problems, [seed](Problem const& problem) {
            KrSearch search = makeSearch(problem);
            search.setSeed(seed);
            return problem.isSolvedBy(search.run(Observed(problem)).bestValue());
        }));
    }
    std::ranges::sort(bySeed);
    std::printf("   solved with the seeds 1 to 100: %td to %td, median %td\n", bySeed.front(),
                bySeed.back(), bySeed[bySeed.size() / 2]);
#if ZEIBREKU_HAVE_NLOPT
    for (auto const& [name, step] : {std::pair{"NLopt COBYLA, its step", 0.0},
                                     {"NLopt COBYLA, step 0.1", 0.1},
                                     {"NLopt COBYLA, step 0.5", 0.5},
                                     {"NLopt COBYLA, step 2", 2.0}}) {
        Row row(name);
        for (Problem const& problem : problems) {
            Observed const f(problem);
            runCobyla(f, step);
            row.add(f);
        }
        row.print();
    }
#endif
}

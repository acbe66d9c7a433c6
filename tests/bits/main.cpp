// Prints one hash of the results of each subsystem, over their bits. The same program
// built for another processor, by another compiler or with another optimisation prints
// the same: docs/bits.md has the table, and scripts/checks.sh bits makes it.
//
//   bits FOLDER          of the golden traces
//   bits FOLDER LIMIT    runs searches with records in the folder, each to the limit of evaluations
//                        or to its end if it is 0. Prints how many evaluations it made besides.

#include "foundation/math/KrRandom.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXml.h"
#include "function/composite/KrInterpolator.h"
#include "function/multivariable/KrCallableFunction.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/scalar/KrMultipointScalarFunction.h"
#include "function/scalar/KrSCurveUnitaryMap.h"
#include "function/tools/KrGaussQuadrature.h"
#include "function/tools/KrRandomTensorTool.h"
#include "search/KrEvaluationRecord.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/Bits.h"
#include "tests/support/Traces.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

// FNV-1a over the bytes of the bits, the lowest first. Every NaN counts as one.
class Hash {
public:
    void add(double value) {
        std::uint64_t const all = bits(value);
        for (int byte = 0; byte < 8; ++byte) {
            state_ = (state_ ^ (all >> (8 * byte) & 0xFF)) * 0x100000001B3U;
        }
    }
    void add(KrRealVector const& values) {
        std::ranges::for_each(values, [this](double value) { add(value); });
    }
    void print(char const* subsystem) const {
        std::printf("%-12s %016llx\n", subsystem, static_cast<unsigned long long>(state_));
    }

private:
    std::uint64_t state_ = 0xCBF29CE484222325U;
};

// The order in which a call's arguments draw is the compiler's: a call draws once.
double uniform(double low, double high) { return KrRandom::uniformRealRandom(low, high); }
KrU32 pick(KrU32 count) { return static_cast<KrU32>(uniform(0.0, count)); }

KrRealVector uniforms(std::size_t count, double low, double high) {
    KrRealVector values(count);
    std::ranges::generate(values, [=] { return uniform(low, high); });
    return values;
}

// Gives the values of a recorded search, in their order, to whatever points.
class Answers : public KrScalarMultivariableFunction {
public:
    Answers(TracedSearch const& search, Hash& hash) : search_(search), hash_(hash) {}
    KrU32 domainDim() const override { return search_.dimension; }
    double evaluate(KrRealVector const& x) const override {
        hash_.add(x);
        return next_ < search_.evaluations.size() ? search_.evaluations[next_++].value : 0.0;
    }

private:
    TracedSearch const& search_;
    Hash& hash_;
    mutable std::size_t next_ = 0;
};

void hashSearches(char const* folder, Hash& hash) {
    KrScalarMultivariableOptimizerContainer optimizer;
    for (auto const& path : traceFiles(folder)) {
        for (TracedSearch const& search : readTrace(path)) {
            if (search.isNew) {
                KrXml::fromString(search.optimizer, optimizer);
            }
            KrRealVector found;
            Answers const f(search, hash);
            hash.add(search.minimises ? optimizer.findMinimum(f, search.start, found)
                                      : optimizer.findMaximum(f, search.start, found));
            hash.add(found);
        }
    }
}

void hashTables(Hash& hash) {
    using Search = KrVectorSearch<double>;
    for (int grid = 0; grid < 120; ++grid) {
        KrInterpolator<double> f;
        std::size_t const dimensions = 1 + static_cast<std::size_t>(grid) % 6;
        std::size_t points = 1;
        for (std::size_t d = 0; d < dimensions; ++d) {
            KrRealVector v{uniform(-3.0, 0.0)};
            double const step = uniform(0.1, 2.0);
            auto const option = static_cast<Search::SEARCH_OPTION>(pick(3));
            while (v.size() < 2 + pick(5)) {
                v.push_back(v.back() + (option == Search::EQUAL_SPACED ? step : uniform(0.1, 2.0)));
            }
            if (v.size() < 2) {
                v.push_back(v[0] + step);
            }
            if (pick(3) == 0) {
                std::ranges::reverse(v);
            }
            auto const lower = static_cast<Search::BOUNDARY_OPTION>(pick(2));
            auto const upper = static_cast<Search::BOUNDARY_OPTION>(pick(2));
            Search search;
            search.init(v, lower, upper, option);
            f.addDimension(search);
            points *= v.size();
        }
        for (int table = 0; table < 1 + grid % 5; ++table) {
            f.addInterpolator(uniforms(points, -10.0, 10.0));
        }
        for (int query = 0; query < 50; ++query) {
            hash.add(f.evaluate(uniforms(dimensions, -4.0, 6.0)));
        }
    }
}

void hashFields(Hash& hash) {
    KrMultipointScalarFunction correlation;
    KrRandomTensorTool tool;
    for (double const length : {2.0, 7.0, 20.0}) {  // the smooth ones are singular
        KrRealVector distances;
        KrRealVector values;
        for (double d = 0.0; d < 80.0; d += 1.0) {
            distances.push_back(d);
            values.push_back(4.0 / (1.0 + d * d / (length * length)));
        }
        correlation.setDomainValues(KrXmlRealVector::fromValues(distances));
        correlation.setRangeValues(KrXmlRealVector::fromValues(values));
        KrReArray field;
        tool.getGaussianRandomArray(field, 50, 40, correlation, 1.0, 20.0);
        std::ranges::for_each(field.rows(), [&](KrRealVector const& row) { hash.add(row); });
    }
}

void hashQuadrature(Hash& hash) {
    auto const f = [](double x) { return (x * x - 0.3 * x) / (1.0 + x * x); };
    KrGaussQuadrature quadrature;
    for (KrU32 order = 2; order <= 128; ++order) {
        double const* nodes = nullptr;
        double const* weights = nullptr;
        quadrature.obtainAbscissasAndWeights(order, nodes, weights);
        if (nodes) {
            quadrature.setOrder(order);
            hash.add(quadrature.integrate(f, -0.7, 3.1));
            hash.add(KrRealVector(nodes, nodes + (order + 1) / 2));
            hash.add(KrRealVector(weights, weights + (order + 1) / 2));
        }
    }
}

void hashConstraints(Hash& hash) {
    for (KrU32 n = 1; n <= 40; ++n) {
        KrLinearMultivariableConstraint linear;
        KrQuadraticMultivariableConstraint quadratic;
        linear.setOffset(uniform(-1.0, 1.0));
        for (KrU32 k = 0; k < n * (n % 7); ++k) {
            KrU32 const i = pick(n + 2);
            KrU32 const j = pick(n + 2);
            double const value = uniform(-2.0, 2.0);
            linear.setCoefficient(i, value);
            quadratic.setFirstOrderCoefficient(j, value);
            quadratic.setSecondOrderCoefficient(i, j, value);
        }
        KrRealVector const x = uniforms(n, -3.0, 3.0);
        hash.add(linear.evaluate(x));
        hash.add(linear.gradient(x));
        hash.add(quadratic.evaluate(x));
        hash.add(quadratic.gradient(x));
    }
}

void hashMaps(Hash& hash) {
    for (int i = 0; i < 100; ++i) {
        KrSCurveUnitaryMap map;
        map.setInitialSlope(uniform(0.0, 3.0));
        map.setFinalSlope(uniform(0.0, 3.0));
        map.setCenterSlope(uniform(0.0, 9.0));
        map.setCenter(uniform(0.01, 0.99));
        for (double const x : uniforms(20, -0.1, 1.1)) {
            hash.add(map.evaluate(x));
        }
    }
}

void hashDocuments(Hash& hash) {
    KrXmlRealVector values;
    for (double const exponent : uniforms(2000, -300.0, 300.0)) {
        double value = uniform(-1.0, 1.0);
        for (int power = 0; power < std::abs(static_cast<int>(exponent)); ++power) {
            value *= exponent < 0.0 ? 0.1 : 10.0;
        }
        values.pushBack(KrXmlBasicType<double>(value));
    }
    std::string const text = KrXml::toString(values);
    for (char const c : text) {
        hash.add(static_cast<unsigned char>(c));
    }
    KrXmlRealVector back;
    KrXml::fromString(text, back);
    hash.add(KrRealVector(back.begin(), back.end()));
}

// Searches of all optimizers with bounds, scales and failures. With a folder, each has a record.
// Returns how many evaluations it makes.
KrU32 hashRecords(Hash& hash, std::string const& folder, KrU32 limit) {
    KrU32 made = 0;
    char name = 'a';
    KrCallableFunction const valley(2, [](KrRealVector const& x) {
        double const slope = x[1] - x[0] * x[0] / 3.0;
        return x[0] > 2.5 ? std::nan("") : 10.0 * slope * slope + (1.0 - x[0]) * (1.0 - x[0]);
    });
    for (std::string const& optimizer : everyOptimizer(300)) {
        KrSearch search = searchOf(optimizer, {});
        search.addVariable("x", -1.2, -2.0, 3.0, 0.7);
        search.addVariable("y", 1.0, -5.0);
        search.setMaxEvaluations(limit);
        KrEvaluationRecord record(folder + '/' + name++);
        KrSearchReport const report =
            search.run(valley, {.record = folder.empty() ? nullptr : &record});
        for (KrXmlRealVector const* const point : {&report.bestPoint(), &report.answerPoint()}) {
            hash.add(KrRealVector(point->begin(), point->end()));
        }
        hash.add({report.bestValue(), report.answer(), static_cast<double>(report.evaluations()),
                  static_cast<double>(report.failures())});
        made += report.evaluationsMade();
    }
    return made;
}

template <class Work>
void run(char const* subsystem, Work work) {
    KrRandom::seed(1);
    Hash hash;
    work(hash);
    hash.print(subsystem);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: bits FOLDER [LIMIT]\n");
        return 2;
    }
    if (argc == 3) {
        run("records", [&](Hash& hash) {
            KrU32 const limit = static_cast<KrU32>(std::atoi(argv[2]));
            std::printf("made %u\n", hashRecords(hash, argv[1], limit));
        });
        return 0;
    }
    run("random", [](Hash& hash) {
        hash.add(uniforms(2000, -1.0, 1.0));
        hash.add(KrRandom::normalRandoms(1.0, 2.0, 2000));
    });
    run("searches", [&](Hash& hash) { hashSearches(argv[1], hash); });
    run("tables", hashTables);
    run("fields", hashFields);
    run("quadrature", hashQuadrature);
    run("constraints", hashConstraints);
    run("maps", hashMaps);
    run("documents", hashDocuments);
    run("records", [](Hash& hash) { hashRecords(hash, "", 0); });
}

// The value of a quadratic constraint and the direction of its gradient, compared with Eigen.
// Each case runs the two in turn; "ratio" is our median processor time over Eigen's. Eigen gets
// the form that suits it: for a dense constraint both the symmetric matrix, whose product is
// the simplest, and one triangle, which is half the memory; for a sparse one a sparse matrix.
// Nothing is allocated in Eigen's time.
//
// Eigen chooses its instructions when it is compiled; the heading names them. The library is
// built for every x86-64 processor, and so is Eigen unless the flags of the build say otherwise:
//
//   cmake --preset release -B build/release-avx2 -DCMAKE_CXX_FLAGS="-mavx2 -mfma"
//
// After these cases come operations without a peer.

#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
#include "function/scalar/KrMultipointScalarFunction.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#if ZEIBREKU_HAVE_EIGEN
#include <Eigen/Dense>
#include <Eigen/Sparse>
#endif

namespace {

// Coefficients for `pairs` of the index pairs below n, evenly spread over them.
template <class Set>
void forEachPair(KrU32 n, std::uint64_t pairs, Set set) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> coefficient(-1.0, 1.0);
    std::uint64_t const all = std::uint64_t{n} * (n + 1) / 2;
    std::uint64_t seen = 0;
    for (KrU32 i = 0; i < n; ++i) {
        for (KrU32 j = i; j < n; ++j, ++seen) {
            if ((seen + 1) * pairs / all != seen * pairs / all) {
                set(i, j, coefficient(random));
            }
        }
    }
}

template <class Constraint>
Constraint constraintOf(KrU32 n, std::uint64_t pairs) {
    Constraint constraint;
    forEachPair(n, pairs, [&](KrU32 i, KrU32 j, double value) {
        constraint.setSecondOrderCoefficient(i, j, value);
    });
    for (KrU32 i = 0; i < n; ++i) {
        constraint.setFirstOrderCoefficient(i, 1.0 / (i + 1));
    }
    return constraint;
}

KrRealVector pointOf(KrU32 n) {
    KrRealVector x(n);
    for (KrU32 i = 0; i < n; ++i) {
        x[i] = 1.0 / (i + 3.0);
    }
    return x;
}

// Client's classes: one that might have a look-up of its own, and one that has.
class Derived : public KrQuadraticMultivariableConstraint {};
class Overriding : public KrQuadraticMultivariableConstraint {
public:
    using KrQuadraticMultivariableConstraint::secondOrderCoefficient;
    double secondOrderCoefficient(KrU32 i, KrU32 j) const override {
        return KrQuadraticMultivariableConstraint::secondOrderCoefficient(i, j);
    }
};

template <class Constraint>
void evaluate(benchmark::State& state) {
    KrU32 const n = static_cast<KrU32>(state.range(0));
    auto const constraint = constraintOf<Constraint>(n, static_cast<std::uint64_t>(state.range(1)));
    KrRealVector const x = pointOf(n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(constraint.evaluate(x));
    }
}

template <class Constraint>
void gradient(benchmark::State& state) {
    KrU32 const n = static_cast<KrU32>(state.range(0));
    auto const constraint = constraintOf<Constraint>(n, static_cast<std::uint64_t>(state.range(1)));
    KrRealVector const x = pointOf(n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(constraint.gradient(x).data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(evaluate<Derived>)->Args({1000, 500500});
BENCHMARK(evaluate<Overriding>)->Args({1000, 500500});
BENCHMARK(gradient<Derived>)->Args({1000, 500500});
BENCHMARK(gradient<Overriding>)->Args({1000, 500500});

#if ZEIBREKU_HAVE_EIGEN

using Quadratic = KrQuadraticMultivariableConstraint;

// A gradient is the product of x with twice the symmetric matrix. A value is the product of x
// with that of x and the upper triangle, which holds the coefficients as they are, or with half
// of the first product.
struct Symmetric {
    static constexpr char const* name = "symmetric";
    Symmetric(KrU32 n, std::uint64_t pairs) : matrix(Eigen::MatrixXd::Zero(n, n)) {
        forEachPair(n, pairs, [&](KrU32 i, KrU32 j, double value) {
            matrix(i, j) += value;
            matrix(j, i) += value;
        });
    }
    double quadratic(Eigen::VectorXd const& x, Eigen::VectorXd& product) const {
        product.noalias() = matrix * x;
        return 0.5 * x.dot(product);
    }
    void slope(Eigen::VectorXd const& x, Eigen::VectorXd& product) const {
        product.noalias() = matrix * x;
    }
    Eigen::MatrixXd matrix;
};

struct Triangle {
    static constexpr char const* name = "triangle";
    Triangle(KrU32 n, std::uint64_t pairs) : whole(n, pairs), upper(whole.matrix) {
        upper.diagonal() *= 0.5;
    }
    double quadratic(Eigen::VectorXd const& x, Eigen::VectorXd& product) const {
        product.noalias() = upper.triangularView<Eigen::Upper>() * x;
        return x.dot(product);
    }
    void slope(Eigen::VectorXd const& x, Eigen::VectorXd& product) const {
        product.noalias() = whole.matrix.selfadjointView<Eigen::Lower>() * x;
    }
    Symmetric whole;
    Eigen::MatrixXd upper;
};

struct Sparse {
    static constexpr char const* name = "sparse";
    Sparse(KrU32 n, std::uint64_t pairs) : whole(n, n), upper(n, n) {
        std::vector<Eigen::Triplet<double>> triplets;
        forEachPair(n, pairs,
                    [&](KrU32 i, KrU32 j, double value) { triplets.emplace_back(i, j, value); });
        upper.setFromTriplets(triplets.begin(), triplets.end());
        whole = Matrix(upper.transpose()) + upper;
    }
    double quadratic(Eigen::VectorXd const& x, Eigen::VectorXd& product) const {
        product.noalias() = upper * x;
        return x.dot(product);
    }
    void slope(Eigen::VectorXd const& x, Eigen::VectorXd& product) const {
        product.noalias() = whole * x;
    }
    using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor>;
    Matrix whole;
    Matrix upper;
};

template <class Matrix>
struct Peer {
    Peer(KrU32 n, std::uint64_t pairs) : matrix(n, pairs), linear(n), x(n), product(n) {
        KrRealVector const point = pointOf(n);
        for (KrU32 i = 0; i < n; ++i) {
            linear[i] = 1.0 / (i + 1);
            x[i] = point[i];
        }
    }
    double value() { return matrix.quadratic(x, product) + linear.dot(x); }
    Eigen::VectorXd const& direction() {
        matrix.slope(x, product);
        product += linear;
        product.normalize();
        return product;
    }
    Matrix matrix;
    Eigen::VectorXd linear;
    Eigen::VectorXd x;
    Eigen::VectorXd product;
};

double median(std::vector<double>& times) {
    auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// Nanoseconds of processor time of a call.
template <class Work>
double timeOf(Work const& work, int calls) {
    std::clock_t const start = std::clock();
    for (int i = 0; i < calls; ++i) {
        work();
        benchmark::ClobberMemory();
    }
    return 1e9 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / calls;
}

template <class Matrix>
void compare(benchmark::State& state, KrU32 n, std::uint64_t pairs, bool isGradient) {
    auto const constraint = constraintOf<Quadratic>(n, pairs);
    KrRealVector const x = pointOf(n);
    Peer<Matrix> peer(n, pairs);
    KrRealVector const& direction = constraint.gradient(x);
    double farthest = std::abs(constraint.evaluate(x) - peer.value());
    for (KrU32 i = 0; i < n; ++i) {
        farthest = std::max(farthest, std::abs(direction[i] - peer.direction()[i]));
    }
    if (farthest > 1e-12) {
        state.SkipWithError("not the value of the peer");
        return;
    }
    auto const ours = [&] {
        isGradient ? benchmark::DoNotOptimize(constraint.gradient(x).data())
                   : benchmark::DoNotOptimize(constraint.evaluate(x));
    };
    auto const theirs = [&] {
        isGradient ? benchmark::DoNotOptimize(peer.direction().data())
                   : benchmark::DoNotOptimize(peer.value());
    };
    int const calls = static_cast<int>(5'000'000 / pairs);
    std::vector<double> ourTimes;
    std::vector<double> peerTimes;
    for (auto _ : state) {
        ourTimes.push_back(timeOf(ours, calls));
        peerTimes.push_back(timeOf(theirs, calls));
        state.SetIterationTime(ourTimes.back() * 1e-9);
    }
    state.counters["ours_ns"] = median(ourTimes);
    state.counters["peer_ns"] = median(peerTimes);
    state.counters["ratio"] = median(ourTimes) / median(peerTimes);
}

template <class Matrix>
void add(KrU32 n, std::uint64_t pairs) {
    for (bool const isGradient : {false, true}) {
        std::string const name = std::string(isGradient ? "gradient" : "value") +
                                 ", n = " + std::to_string(n) + ", " + std::to_string(pairs) +
                                 " pairs / Eigen, " + Matrix::name;
        auto const run = [=](benchmark::State& state) {
            compare<Matrix>(state, n, pairs, isGradient);
        };
        benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Iterations(100);
    }
}

void addAll() {
    benchmark::AddCustomContext("Eigen's instructions", Eigen::SimdInstructionSetsInUse());
    for (KrU32 const n : {100U, 1000U}) {
        add<Symmetric>(n, std::uint64_t{n} * (n + 1) / 2);
        add<Triangle>(n, std::uint64_t{n} * (n + 1) / 2);
    }
    add<Sparse>(1000, 2439);
}

#else

void addAll() {}

#endif

// Reading and building take time in proportion to the pairs.
void read(benchmark::State& state) {
    KrU32 const n = static_cast<KrU32>(state.range(0));
    std::string const document = KrXml::toString(
        constraintOf<KrQuadraticMultivariableConstraint>(n, std::uint64_t{n} * (n + 1) / 2));
    for (auto _ : state) {
        KrQuadraticMultivariableConstraint constraint;
        if (!KrXml::fromString(document, constraint)) {
            state.SkipWithError("the document was refused");
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * document.size()));
}

void build(benchmark::State& state) {
    KrU32 const n = static_cast<KrU32>(state.range(0));
    std::uint64_t const pairs = std::uint64_t{n} * (n + 1) / 2;
    for (auto _ : state) {
        benchmark::DoNotOptimize(constraintOf<KrQuadraticMultivariableConstraint>(n, pairs));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * pairs));
}

// The scan of a long table, and the list of a linear constraint of every tenth
// component.
void multipoint(benchmark::State& state) {
    KrXmlRealVector values;
    for (int i = 0; i < state.range(0); ++i) {
        values.pushBack(KrXmlBasicType<double>(i));
    }
    KrMultipointScalarFunction function;
    function.setDomainValues(values);
    function.setRangeValues(values);
    for (auto _ : state) {
        benchmark::DoNotOptimize(function.evaluate(static_cast<double>(state.range(0))));
    }
}

void linear(benchmark::State& state) {
    KrU32 const n = static_cast<KrU32>(state.range(0));
    KrLinearMultivariableConstraint constraint;
    for (KrU32 i = 0; i < n; i += 10) {
        constraint.setCoefficient(i, 1.0 / (i + 1));
    }
    KrRealVector const x = pointOf(n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(constraint.evaluate(x));
    }
}

BENCHMARK(multipoint)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(linear)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(read)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(build)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    addAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

// Constraints beside a dense matrix product: the value and the direction of the
// gradient of a quadratic, at random points.

#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
#include "function/scalar/KrMultipointScalarFunction.h"

#include <benchmark/benchmark.h>

#include <random>

#if ZEIBREKU_HAVE_EIGEN
#include <Eigen/Dense>
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

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Args({1000, 500500})->Args({1000, 2439})->Args({100, 5050});
}
BENCHMARK(evaluate<KrQuadraticMultivariableConstraint>)->Apply(sizes);
BENCHMARK(evaluate<Derived>)->Args({1000, 500500});
BENCHMARK(evaluate<Overriding>)->Args({1000, 500500});
BENCHMARK(gradient<KrQuadraticMultivariableConstraint>)->Apply(sizes);
BENCHMARK(gradient<Derived>)->Args({1000, 500500});
BENCHMARK(gradient<Overriding>)->Args({1000, 500500});

#if ZEIBREKU_HAVE_EIGEN

// The symmetric matrix of the same quadratic: half of a coefficient on either side.
Eigen::MatrixXd matrixOf(KrU32 n) {
    Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(n, n);
    forEachPair(n, std::uint64_t{n} * (n + 1) / 2, [&](KrU32 i, KrU32 j, double value) {
        matrix(i, j) += value / 2;
        matrix(j, i) += value / 2;
    });
    return matrix;
}

Eigen::VectorXd vectorOf(KrRealVector const& x) {
    return Eigen::Map<Eigen::VectorXd const>(x.data(), static_cast<Eigen::Index>(x.size()));
}

void evaluateEigen(benchmark::State& state) {
    KrU32 const n = static_cast<KrU32>(state.range(0));
    Eigen::MatrixXd const matrix = matrixOf(n);
    Eigen::VectorXd const x = vectorOf(pointOf(n));
    Eigen::VectorXd const linear = Eigen::VectorXd::Ones(n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(x.dot(matrix * x) + linear.dot(x));
    }
}

void gradientEigen(benchmark::State& state) {
    KrU32 const n = static_cast<KrU32>(state.range(0));
    Eigen::MatrixXd const matrix = matrixOf(n);
    Eigen::VectorXd const x = vectorOf(pointOf(n));
    Eigen::VectorXd const linear = Eigen::VectorXd::Ones(n);
    Eigen::VectorXd direction(n);
    for (auto _ : state) {
        direction.noalias() = matrix * x;
        direction = 2.0 * direction + linear;
        direction.normalize();
        benchmark::DoNotOptimize(direction.data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(evaluateEigen)->Arg(1000)->Arg(100);
BENCHMARK(gradientEigen)->Arg(1000)->Arg(100);

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

BENCHMARK_MAIN();

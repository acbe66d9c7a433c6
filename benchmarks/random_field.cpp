// What a random field of 100 samples costs, set-up included: beside the plain form
// of the algorithm, whose bits ours has to have, beside circulant embedding with FFTW
// (C. R. Dietrich and G. N. Newsam, SIAM Journal on Scientific Computing 18 (1997)),
// and beside the Gaussian process of OpenTURNS. The last two are exact where ours is a
// sum of samples. All but OpenTURNS draw from the same stream of normal values. Each
// case runs the two in turn; "ratio" is our shortest processor time over the other's,
// "goal" what it is to stay below.
//
// Run by itself with --memory, the program makes a field of 1024 x 1024 and tells
// what that took beside the field.

#include "benchmarks/Memory.h"
#include "foundation/math/KrRandom.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "function/tools/KrRandomTensorTool.h"
#include "tests/support/PlainRandomField.h"

#include <benchmark/benchmark.h>

#if ZEIBREKU_HAVE_FFTW
#include <fftw3.h>
#endif
#if ZEIBREKU_HAVE_OPENTURNS
#include <openturns/ExponentialModel.hxx>
#include <openturns/GaussianProcess.hxx>
#include <openturns/IntervalMesher.hxx>
#endif

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <vector>

namespace {

class Exponential : public KrLinearScalarFunction {
public:
    double evaluate(double const& x) const override { return std::exp(-x / 8.0); }
};

constexpr KrU32 samples = 100;

// Each makes a field of n x n cells and gives its rows.
std::vector<KrRealVector> ours(KrU32 n) {
    Exponential correlation;
    KrReArray array;
    KrRandomTensorTool().getGaussianRandomArray(array, n, n, correlation, 1.0, 0.0);
    return array.rows();
}

std::vector<KrRealVector> plain(KrU32 n) {
    return PlainRandomField::field(n, n, Exponential(), 1.0, 0.0, samples);
}

#if ZEIBREKU_HAVE_FFTW
// The correlation on a torus of twice the sides has the spectrum of variances of
// independent waves. Only half a spectrum is drawn: that of a real field is
// symmetric.
std::vector<KrRealVector> circulant(KrU32 n) {
    using Complex = std::complex<double>;
    KrU32 const m = 2 * n;
    KrU32 const half = n + 1;
    std::unique_ptr<double[], void (*)(void*)> const torus(fftw_alloc_real(std::size_t{m} * m),
                                                           fftw_free);
    std::unique_ptr<fftw_complex[], void (*)(void*)> const memory(
        fftw_alloc_complex(std::size_t{m} * half), fftw_free);
    auto* const waves = reinterpret_cast<Complex*>(memory.get());
    int const side = static_cast<int>(m);
    fftw_plan const forth =
        fftw_plan_dft_r2c_2d(side, side, torus.get(), memory.get(), FFTW_ESTIMATE);
    fftw_plan const back =
        fftw_plan_dft_c2r_2d(side, side, memory.get(), torus.get(), FFTW_ESTIMATE);

    Exponential const correlation;
    for (KrU32 i = 0; i < half; ++i) {
        for (KrU32 j = 0; j < half; ++j) {
            double const value = correlation.evaluate(std::sqrt(1.0 * i * i + 1.0 * j * j));
            for (KrU32 const row : {i, (m - i) % m}) {
                torus[std::size_t{row} * m + j] = value;
                torus[std::size_t{row} * m + (m - j) % m] = value;
            }
        }
    }
    fftw_execute(forth);

    double const cells = 1.0 * m * m;
    for (KrU32 i = 0; i < m; ++i) {
        KrRealVector const z = KrRandom::normalRandoms(0.0, 1.0, 2 * half);
        for (KrU32 j = 0; j < half; ++j) {
            Complex& wave = waves[std::size_t{i} * half + j];
            double const deviation = std::sqrt(std::max(wave.real(), 0.0) / cells);
            bool const ownMirror = j % n == 0;
            if (ownMirror && i % n == 0) {
                wave = deviation * z[2 * j];
            } else if (ownMirror && i > n) {
                wave = std::conj(waves[std::size_t{m - i} * half + j]);
            } else {
                wave = std::sqrt(0.5) * deviation * Complex(z[2 * j], z[2 * j + 1]);
            }
        }
    }
    fftw_execute(back);
    fftw_destroy_plan(forth);
    fftw_destroy_plan(back);
    fftw_cleanup();  // the next field plans anew

    std::vector<KrRealVector> field;
    for (KrU32 i = 0; i < n; ++i) {
        double const* const row = torus.get() + std::size_t{i} * m;
        field.emplace_back(row, row + n);
    }
    return field;
}
#endif

#if ZEIBREKU_HAVE_OPENTURNS
// Factors the covariances of all cells, a matrix of n² x n², for the first field and
// keeps the factor for the others, of which the shortest time is taken.
std::vector<KrRealVector> openturns(KrU32 n) {
    static OT::GaussianProcess const process = [n] {
        OT::Interval const square(OT::Point(2, 0.0), OT::Point(2, n - 1.0));
        OT::ExponentialModel const correlation(OT::Point(2, 8.0), OT::Point(1, 1.0));
        return OT::GaussianProcess(correlation,
                                   OT::IntervalMesher(OT::Indices(2, n - 1)).build(square));
    }();
    OT::Sample const values = process.getRealization().getValues();
    std::vector<KrRealVector> field(n, KrRealVector(n));
    for (KrU32 i = 0; i < n * n; ++i) {
        field[i / n][i % n] = values(i, 0);
    }
    return field;
}
#endif

using Maker = std::vector<KrRealVector> (*)(KrU32 n);

std::vector<KrRealVector> timed(Maker make, KrU32 n, double& shortest) {
    KrRandom::seed(1);
    std::clock_t const start = std::clock();
    std::vector<KrRealVector> field = make(n);
    auto const ticks = static_cast<double>(std::clock() - start);
    shortest = std::min(shortest, 1e3 * ticks / CLOCKS_PER_SEC);
    return field;
}

double meanSquare(std::vector<KrRealVector> const& field) {
    double sum = 0.0;
    double count = 0.0;
    for (KrRealVector const& row : field) {
        for (double const value : row) {
            sum += value * value;
            count += 1.0;
        }
    }
    return sum / count;
}

void compare(benchmark::State& state, Maker peer, double goal) {
    auto const n = static_cast<KrU32>(state.range(0));
    double ourTime = std::numeric_limits<double>::infinity();
    double peerTime = ourTime;
    for (auto _ : state) {
        auto const field = timed(ours, n, ourTime);
        auto const peerField = timed(peer, n, peerTime);
        if (peer == plain && field != peerField) {
            state.SkipWithError("not the bits of the plain form");
            return;
        }
        // Both are one field with variance 1, the small ones far from their mean.
        if (std::abs(std::log(meanSquare(field) / meanSquare(peerField))) > 1.0) {
            state.SkipWithError("not the variance of the peer");
            return;
        }
    }
    state.counters["peer_ms"] = peerTime;
    state.counters["ours_ms"] = ourTime;
    state.counters["ratio"] = ourTime / peerTime;
    state.counters["goal"] = goal;
}

void add(char const* name, Maker peer, KrU32 n, int times, double goal) {
    benchmark::RegisterBenchmark(name, compare, peer, goal)
        ->Arg(n)
        ->Iterations(times)
        ->Unit(benchmark::kMillisecond);
}

int measureMemory() {
    KrU32 const n = 1024;
    KrReArray array(n, n);
    Exponential correlation;
    Memory const before = Memory::ofProcess();
    KrRandomTensorTool().getGaussianRandomArray(array, n, n, correlation, 1.0, 0.0);
    double const side = std::ceil(n * std::sqrt(2.0)) + 1.0;
    double const more = Memory::ofProcess().peak - before.now;
    std::printf("beside the field at most %.1f MB, %.2f times K^2 numbers\n", more * 1e-6,
                more / (side * side * sizeof(double)));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--memory") == 0) {
        return measureMemory();
    }
#if ZEIBREKU_HAVE_FFTW
    add("circulant embedding", circulant, 64, 100, 1.2);
    add("circulant embedding", circulant, 256, 20, 1.2);
    add("circulant embedding", circulant, 1024, 3, 0.7);
#endif
#if ZEIBREKU_HAVE_OPENTURNS
    add("OpenTURNS", openturns, 64, 20, 0.5);
#endif
    add("plain form", plain, 256, 10, 0.25);
    add("plain form", plain, 1024, 2, 0.17);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

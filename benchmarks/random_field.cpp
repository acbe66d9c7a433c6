// What a random field of 100 samples costs, set-up included, compared with
//
// - the plain form of the algorithm, whose bits ours must have;
// - circulant embedding with FFTW (C. R. Dietrich and G. N. Newsam, SIAM Journal on Scientific
//   Computing 18 (1997));
// - the Gaussian process of OpenTURNS.
//
// The last two are exact, and ours is a sum of samples. FFTW's plans are measured ones; the search
// for them is not counted. Each case runs the two in turn. "ratio" is our shortest processor time
// over the other's, "goal" its upper bound.
//
// With --memory, the program makes a field of 1024 x 1024 and prints the memory that this took
// besides the field.

#include "foundation/math/KrRandom.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "function/tools/KrRandomTensorTool.h"
#include "support/Memory.h"
#include "support/PlainRandomField.h"

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
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
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
template <class T>
using Buffer = std::unique_ptr<T[], void (*)(void*)>;

// Marsaglia's polar method, with a fast generator: xoshiro256+ (D. Blackman and S. Vigna, ACM
// Transactions on Mathematical Software 47 (2021)).
class PolarNormals {
public:
    double operator()() {
        if (hasSpare_) {
            hasSpare_ = false;
            return spare_;
        }
        double x, y, square;
        do {
            x = uniform();
            y = uniform();
            square = x * x + y * y;
        } while (square >= 1.0 || square == 0.0);
        double const factor = std::sqrt(-2.0 * std::log(square) / square);
        spare_ = factor * y;
        hasSpare_ = true;
        return factor * x;
    }

private:
    double uniform() {
        std::uint64_t const result = state_[0] + state_[3];
        std::uint64_t const t = state_[1] << 17;
        state_[2] ^= state_[0];
        state_[3] ^= state_[1];
        state_[1] ^= state_[2];
        state_[0] ^= state_[3];
        state_[2] ^= t;
        state_[3] = std::rotl(state_[3], 45);
        return static_cast<double>(static_cast<std::int64_t>(result) >> 11) * 0x1p-52;
    }

    std::uint64_t state_[4] = {1, 2, 3, 4};
    double spare_ = 0.0;
    bool hasSpare_ = false;
};

// The spectrum of the correlation on a torus of twice the sides has the variances of independent
// waves. The correlation is even in both directions, so a cosine transform of a quarter gives the
// spectrum. A real field needs half a spectrum, with as many normal values as the torus has cells.
template <class Normal>
std::vector<KrRealVector> circulant(KrU32 n, Normal normal) {
    using Complex = std::complex<double>;
    KrU32 const m = 2 * n;
    KrU32 const half = n + 1;
    Buffer<double> const variances(fftw_alloc_real(std::size_t{half} * half), fftw_free);
    Buffer<double> const torus(fftw_alloc_real(std::size_t{m} * m), fftw_free);
    Buffer<fftw_complex> const memory(fftw_alloc_complex(std::size_t{m} * half), fftw_free);
    auto* const waves = reinterpret_cast<Complex*>(memory.get());
    int const quarter = static_cast<int>(half);
    fftw_plan const forth = fftw_plan_r2r_2d(quarter, quarter, variances.get(), variances.get(),
                                             FFTW_REDFT00, FFTW_REDFT00, FFTW_MEASURE);
    int const side = static_cast<int>(m);
    fftw_plan const back =
        fftw_plan_dft_c2r_2d(side, side, memory.get(), torus.get(), FFTW_MEASURE);

    Exponential const correlation;
    for (KrU32 i = 0; i < half; ++i) {
        for (KrU32 j = 0; j <= i; ++j) {
            variances[std::size_t{i} * half + j] = variances[std::size_t{j} * half + i] =
                correlation.evaluate(std::sqrt(1.0 * i * i + 1.0 * j * j));
        }
    }
    fftw_execute(forth);

    double const scale = 1.0 / (1.0 * m * m);
    for (KrU32 i = 0; i < m; ++i) {
        double const* const variance = variances.get() + std::size_t{std::min(i, m - i)} * half;
        Complex* const row = waves + std::size_t{i} * half;
        for (KrU32 j = 0; j < half; ++j) {
            double const deviation = std::sqrt(std::max(variance[j], 0.0) * scale);
            bool const ownMirror = j % n == 0;
            if (ownMirror && i % n == 0) {
                row[j] = deviation * normal();
            } else if (ownMirror && i > n) {
                row[j] = std::conj(waves[std::size_t{m - i} * half + j]);
            } else {
                double const share = std::sqrt(0.5) * deviation;
                row[j] = Complex(share * normal(), share * normal());
            }
        }
    }
    fftw_execute(back);
    fftw_destroy_plan(forth);
    fftw_destroy_plan(back);

    std::vector<KrRealVector> field;
    for (KrU32 i = 0; i < n; ++i) {
        double const* const row = torus.get() + std::size_t{i} * m;
        field.emplace_back(row, row + n);
    }
    return field;
}

std::vector<KrRealVector> circulantByPolar(KrU32 n) { return circulant(n, PolarNormals()); }

// With our own normal values, which are quicker.
std::vector<KrRealVector> circulantByOurs(KrU32 n) {
    KrRealVector values;
    std::size_t next = 0;
    return circulant(n, [&] {
        if (next == values.size()) {
            values = KrRandom::normalRandoms(0.0, 1.0, 1 << 12);
            next = 0;
        }
        return values[next++];
    });
}
#endif

#if ZEIBREKU_HAVE_OPENTURNS
// Factors the covariances of all cells, a matrix of n² x n², for the first field, and keeps the
// factor for the others. The shortest time of these counts.
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
    add("circulant embedding, polar method", circulantByPolar, 64, 200, 2.2);
    add("circulant embedding, polar method", circulantByPolar, 256, 40, 1.6);
    add("circulant embedding, polar method", circulantByPolar, 1024, 6, 1.15);
    add("circulant embedding, our normals", circulantByOurs, 64, 200, 2.2);
    add("circulant embedding, our normals", circulantByOurs, 256, 40, 1.6);
    add("circulant embedding, our normals", circulantByOurs, 1024, 6, 1.15);
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

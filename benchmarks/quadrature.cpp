// What an integral costs, and its error, compared with
//
// - GSL's rule of a fixed order;
// - Boost's rule of an order that is known when it is compiled;
// - bare virtual calls: the same function at the same known points, and the sum of the values.
//
// Each case runs the two in turn. "ratio" is our median processor time over the other's, "goal" its
// upper bound. Errors are in units of the integral's last place.
//
// The function is a parabola, hardly more than a call, or an exponential. Ours calls it through its
// virtual operation, GSL through a pointer. Boost's rule has it compiled in, which is impossible
// for a rule chosen at run time, so there is no goal. All of the orders are in GSL's tables, and
// its table is allocated beforehand. Boost has tables of the orders 7, 10, 15 and 20. It computes a
// rule of another order at its first use, and stays slower with it. "read" is a quadrature whose
// order came from a document.

#include "foundation/xml/KrXml.h"
#include "function/tools/KrGaussQuadrature.h"

#include <benchmark/benchmark.h>

#if ZEIBREKU_HAVE_GSL
#include <gsl/gsl_integration.h>
#endif
#if ZEIBREKU_HAVE_BOOST
#include <boost/math/quadrature/gauss.hpp>
#endif

#include <algorithm>
#include <cmath>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr double from = 0.25;
constexpr double to = 1.5;

using Formula = double (*)(double);
double parabola(double x) { return 1.0 + x * (0.5 - x); }
double exponential(double x) { return std::exp(-x); }

// The integral, by the antiderivative in more digits than a double has.
long double exact(Formula formula) {
    auto const antiderivative = [formula](long double x) {
        return formula == parabola ? x * (1.0L + x * (0.25L - x / 3.0L)) : -std::exp(-x);
    };
    return antiderivative(to) - antiderivative(from);
}

double error(double integral, Formula formula) {
    auto const value = static_cast<double>(exact(formula));
    double const unit = std::nextafter(value, 2.0 * value) - value;
    return static_cast<double>(std::abs(integral - exact(formula)) / unit);
}

template <Formula formula>
class Function : public KrRealRealUnaryFunction {
public:
    double evaluate(double x) const override { return formula(x); }
};

template <Formula formula>
struct Ours {
    explicit Ours(KrU32 order) { quadrature.setOrder(order); }
    double operator()() const { return quadrature.integrate(*f, from, to); }
    KrGaussQuadrature quadrature;
    std::unique_ptr<KrRealRealUnaryFunction> f = std::make_unique<Function<formula>>();
};

template <Formula formula>
struct OursRead : Ours<formula> {
    explicit OursRead(KrU32 order) : Ours<formula>(order) {
        KrXml::fromString(KrXml::toString(this->quadrature), this->quadrature);
    }
};

struct BareBase {
    virtual ~BareBase() = default;
    virtual double sum() const = 0;
};

template <Formula formula>
struct Bare final : BareBase {
    static constexpr bool integrates = false;
    explicit Bare(KrU32 order) {
        KrGaussQuadrature quadrature;
        quadrature.setOrder(order);
        double const* x = nullptr;
        double const* w = nullptr;
        quadrature.obtainAbscissasAndWeights(order, x, w);
        for (KrU32 i = 0; i < (order + 1) / 2; ++i) {
            double const offset = 0.5 * (to - from) * x[i];
            points.push_back(0.5 * (to + from) + offset);
            if (points.size() < order) {
                points.push_back(0.5 * (to + from) - offset);
            }
        }
    }
    double sum() const override {
        double sum = 0.0;
        for (double const x : points) {
            sum += f->evaluate(x);
        }
        return sum;
    }
    double operator()() const {
        BareBase const* base = this;
        benchmark::DoNotOptimize(base);
        return base->sum();
    }
    std::vector<double> points;
    std::unique_ptr<KrRealRealUnaryFunction> f = std::make_unique<Function<formula>>();
};

#if ZEIBREKU_HAVE_GSL
template <Formula formula>
struct Gsl {
    static constexpr bool integrates = true;
    explicit Gsl(KrU32 order) { table.reset(gsl_integration_glfixed_table_alloc(order)); }
    double operator()() const { return gsl_integration_glfixed(&f, from, to, table.get()); }
    gsl_function f{[](double x, void*) { return formula(x); }, nullptr};
    std::unique_ptr<gsl_integration_glfixed_table, void (*)(gsl_integration_glfixed_table*)> table{
        nullptr, gsl_integration_glfixed_table_free};
};
#endif

#if ZEIBREKU_HAVE_BOOST
template <Formula formula>
struct Boost {
    static constexpr bool integrates = true;
    explicit Boost(KrU32 order) : integral(ofOrder(order)) {}
    double operator()() const { return integral(from, to); }

    template <unsigned order>
    static double integrate(double a, double b) {
        return boost::math::quadrature::gauss<double, order>::integrate(formula, a, b);
    }
    static auto ofOrder(KrU32 order) {
        switch (order) {
            case 2: return integrate<2>;
            case 3: return integrate<3>;
            case 5: return integrate<5>;
            case 7: return integrate<7>;
            case 10: return integrate<10>;
            case 15: return integrate<15>;
            case 20: return integrate<20>;
            case 32: return integrate<32>;
            default: return integrate<128>;
        }
    }
    double (*integral)(double, double);
};
#endif

double median(std::vector<double>& times) {
    auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// Nanoseconds of processor time of a call.
template <class Integral>
double timeOf(Integral& integral, int calls) {
    std::clock_t const start = std::clock();
    for (int i = 0; i < calls; ++i) {
        benchmark::DoNotOptimize(integral);
        benchmark::DoNotOptimize(integral());
    }
    return 1e9 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / calls;
}

template <Formula formula, class Us, class Peer>
void compare(benchmark::State& state, double goal) {
    auto const order = static_cast<KrU32>(state.range(0));
    Us us(order);
    Peer peer(order);
    if constexpr (Peer::integrates) {
        if (std::abs(us() - peer()) > 1e-14) {
            state.SkipWithError("not the value of the peer");
            return;
        }
    }
    int const calls = 200'000 / static_cast<int>(order);
    std::vector<double> ourTimes;
    std::vector<double> peerTimes;
    for (auto _ : state) {
        ourTimes.push_back(timeOf(us, calls));
        peerTimes.push_back(timeOf(peer, calls));
        state.SetIterationTime(ourTimes.back() * 1e-9);
    }
    double const ours = median(ourTimes);
    double const theirs = median(peerTimes);
    state.counters["peer_ns"] = theirs;
    state.counters["ours_ns"] = ours;
    state.counters["ratio"] = ours / theirs;
    if (goal > 0.0) {
        state.counters["goal"] = goal;
    }
    if constexpr (Peer::integrates) {
        state.counters["ours_error"] = error(us(), formula);
        state.counters["peer_error"] = error(peer(), formula);
    }
}

template <Formula formula>
void add(std::string const& name) {
    auto const addOne = [&name](auto run, std::string const& what, double goal) {
        auto* const benchmark = benchmark::RegisterBenchmark(
            (name + what).c_str(), [run, goal](benchmark::State& state) { run(state, goal); });
        benchmark->UseManualTime()->Iterations(100);
        for (int const order : {2, 3, 5, 7, 10, 15, 20, 32, 128}) {
            benchmark->Arg(order);
        }
    };
    using Us = Ours<formula>;
    using UsRead = OursRead<formula>;
    addOne(compare<formula, Us, Bare<formula>>, " / virtual calls", 1.2);
    addOne(compare<formula, UsRead, Bare<formula>>, ", read / virtual calls", 1.2);
#if ZEIBREKU_HAVE_GSL
    addOne(compare<formula, Us, Gsl<formula>>, " / GSL", 1.1);
    addOne(compare<formula, UsRead, Gsl<formula>>, ", read / GSL", 1.1);
#endif
#if ZEIBREKU_HAVE_BOOST
    addOne(compare<formula, Us, Boost<formula>>, " / Boost", 0.0);
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add<parabola>("parabola");
    add<exponential>("exponential");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

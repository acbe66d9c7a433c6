// What a look-up in a table costs, compared with GSL's accelerated linear and bilinear
// interpolation, ALGLIB's trilinear splines, and the plain form of our own algorithm, whose bits
// ours must have. Each case runs the two in turn. "ratio" is our median time over the other's,
// "goal" its upper bound.
//
// Slowly varying queries follow a curve through the grid, a hundredth of a cell at a step. The
// others are random, and new in each round: a processor learns the branches of a few thousand
// queries that repeat.
//
// With --memory, the program reads a table of 10 million values.

#include "foundation/xml/KrXml.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrInterpolator.h"
#include "support/Memory.h"
#include "support/PlainInterpolator.h"

#include <benchmark/benchmark.h>

#if ZEIBREKU_HAVE_GSL
#include <gsl/gsl_interp.h>
#include <gsl/gsl_interp2d.h>
#endif
#if ZEIBREKU_HAVE_ALGLIB
#include <interpolation.h>
#endif

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Reals = std::vector<double>;
using Search = KrVectorSearch<double>;

constexpr std::size_t queryCount = 4096;

struct Case {
    std::size_t dimensions;
    std::size_t breakpoints;  // 0, 1, 2, ... in each dimension
    std::size_t tables;
    Search::SEARCH_OPTION option;
    bool slow;  // the queries
    double goal;
};

struct Data {
    explicit Data(Case const& c)
        : axis(c.breakpoints), tables(c.tables), queries(queryCount, Reals(c.dimensions)) {
        std::size_t points = 1;
        for (std::size_t i = 0; i < axis.size(); ++i) {
            axis[i] = static_cast<double>(i);
        }
        for (std::size_t d = 0; d < c.dimensions; ++d) {
            points *= axis.size();
        }
        for (Reals& table : tables) {
            for (std::size_t i = 0; i < points; ++i) {
                table.push_back(unit(random));
            }
        }
        for (std::size_t q = 0; q < queryCount; ++q) {
            double const turn = 0.02 / axis.back() * static_cast<double>(q);
            for (std::size_t d = 0; d < c.dimensions; ++d) {
                queries[q][d] =
                    0.5 * axis.back() *
                    (1.0 + 0.999 * std::sin(turn * (1.0 + 0.1 * static_cast<double>(d))));
            }
        }
        if (!c.slow) {
            drawQueries();
        }
    }

    void drawQueries() {
        for (Reals& query : queries) {
            std::ranges::generate(query, [&] { return axis.back() * unit(random); });
        }
    }

    std::mt19937 random{1};
    std::uniform_real_distribution<double> unit{0.0, 1.0};
    Reals axis;
    std::vector<Reals> tables;
    std::vector<Reals> queries;
};

struct Ours {
    Ours(Case const& c, Data const& data) {
        Search search;
        search.init(data.axis, Search::LIMIT, Search::LIMIT, c.option);
        for (std::size_t d = 0; d < c.dimensions; ++d) {
            f.addDimension(search);
        }
        for (Reals const& table : data.tables) {
            f.addInterpolator(table);
        }
    }
    double operator()(Reals const& point) const {
        double sum = 0.0;
        for (double const value : f.evaluate(point)) {
            sum += value;
        }
        return sum;
    }
    KrInterpolator<double> f;
};

struct Plain {
    Plain(Case const& c, Data const& data)
        : f{std::vector<PlainSearch>(c.dimensions, {data.axis, false, false,
                                                    static_cast<PlainSearch::Option>(c.option)}),
            data.tables} {}
    double operator()(Reals const& point) {
        double sum = 0.0;
        for (double const value : f.evaluate(point)) {
            sum += value;
        }
        return sum;
    }
    PlainInterpolator f;
};

#if ZEIBREKU_HAVE_GSL
struct GslLinear {
    GslLinear(Case const&, Data const& theData) : data(theData) {
        gsl_interp_init(interpolation.get(), data.axis.data(), data.tables[0].data(),
                        data.axis.size());
    }
    double operator()(Reals const& point) {
        double sum = 0.0;
        for (Reals const& table : data.tables) {
            sum += gsl_interp_eval(interpolation.get(), data.axis.data(), table.data(), point[0],
                                   accelerator.get());
        }
        return sum;
    }
    Data const& data;
    std::unique_ptr<gsl_interp, void (*)(gsl_interp*)> interpolation{
        gsl_interp_alloc(gsl_interp_linear, data.axis.size()), gsl_interp_free};
    std::unique_ptr<gsl_interp_accel, void (*)(gsl_interp_accel*)> accelerator{
        gsl_interp_accel_alloc(), gsl_interp_accel_free};
};

struct GslBilinear {
    GslBilinear(Case const&, Data const& theData) : data(theData) {
        gsl_interp2d_init(interpolation.get(), data.axis.data(), data.axis.data(),
                          data.tables[0].data(), data.axis.size(), data.axis.size());
    }
    double operator()(Reals const& point) {
        double sum = 0.0;
        for (Reals const& table : data.tables) {
            sum += gsl_interp2d_eval(interpolation.get(), data.axis.data(), data.axis.data(),
                                     table.data(), point[0], point[1], first.get(), second.get());
        }
        return sum;
    }
    Data const& data;
    std::unique_ptr<gsl_interp2d, void (*)(gsl_interp2d*)> interpolation{
        gsl_interp2d_alloc(gsl_interp2d_bilinear, data.axis.size(), data.axis.size()),
        gsl_interp2d_free};
    std::unique_ptr<gsl_interp_accel, void (*)(gsl_interp_accel*)> first{gsl_interp_accel_alloc(),
                                                                         gsl_interp_accel_free};
    std::unique_ptr<gsl_interp_accel, void (*)(gsl_interp_accel*)> second{gsl_interp_accel_alloc(),
                                                                          gsl_interp_accel_free};
};
#endif

#if ZEIBREKU_HAVE_ALGLIB
struct AlglibTrilinear {
    AlglibTrilinear(Case const&, Data const& data) {
        auto const count = static_cast<alglib::ae_int_t>(data.axis.size());
        alglib::real_1d_array axis;
        alglib::real_1d_array values;
        axis.setcontent(count, data.axis.data());
        values.setcontent(count * count * count, data.tables[0].data());
        alglib::spline3dbuildtrilinearv(axis, count, axis, count, axis, count, values, 1, f);
    }
    double operator()(Reals const& point) const {
        return alglib::spline3dcalc(f, point[0], point[1], point[2]);
    }
    alglib::spline3dinterpolant f;
};
#endif

double median(Reals& times) {
    auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// Nanoseconds of a query.
template <class Function>
double timeOf(Function& f, std::vector<Reals> const& queries) {
    auto const start = std::chrono::steady_clock::now();
    double sum = 0.0;
    for (Reals const& query : queries) {
        sum += f(query);
    }
    benchmark::DoNotOptimize(sum);
    std::chrono::duration<double, std::nano> const time = std::chrono::steady_clock::now() - start;
    return time.count() / static_cast<double>(queries.size());
}

template <class Peer>
void compare(benchmark::State& state, Case const& c) {
    Data data(c);
    Ours ours(c, data);
    Plain plain(c, data);
    Peer peer(c, data);
    for (Reals const& query : data.queries) {
        double const ourValue = ours(query);
        double const plainValue = plain(query);
        if (std::memcmp(&ourValue, &plainValue, sizeof ourValue) != 0) {
            state.SkipWithError("not the bits of the plain form");
            return;
        }
        if (std::abs(peer(query) - ourValue) > 1e-9) {
            state.SkipWithError("not the value of the peer");
            return;
        }
    }
    Reals ourTimes;
    Reals peerTimes;
    for (auto _ : state) {
        if (!c.slow) {
            data.drawQueries();
        }
        ourTimes.push_back(timeOf(ours, data.queries));
        peerTimes.push_back(timeOf(peer, data.queries));
        state.SetIterationTime(ourTimes.back() * 1e-9);
    }
    state.counters["peer_ns"] = median(peerTimes);
    state.counters["ours_ns"] = median(ourTimes);
    state.counters["ratio"] = median(ourTimes) / median(peerTimes);
    state.counters["goal"] = c.goal;
}

template <class Peer>
void add(std::string const& name, Case const& c) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [c](benchmark::State& state) { compare<Peer>(state, c); })
        ->UseManualTime()
        ->Iterations(200);
}

void addAll() {
    constexpr bool slow = true;
    constexpr bool random = false;
#if ZEIBREKU_HAVE_GSL
    add<GslLinear>("1-D slow linear / GSL", {1, 100, 1, Search::LINEAR, slow, 1.1});
    add<GslLinear>("1-D slow equal_spaced / GSL", {1, 100, 1, Search::EQUAL_SPACED, slow, 1.1});
    add<GslBilinear>("2-D slow linear / GSL", {2, 100, 1, Search::LINEAR, slow, 0.9});
    add<GslLinear>("1-D slow linear, 4 tables / GSL", {1, 100, 4, Search::LINEAR, slow, 0.5});
    add<GslBilinear>("2-D slow linear, 4 tables / GSL", {2, 100, 4, Search::LINEAR, slow, 0.5});
    add<GslLinear>("1-D random bisection / GSL", {1, 100, 1, Search::BISECTION, random, 0.65});
    add<GslLinear>("1-D of 1e6 random bisection / GSL",
                   {1, 1'000'000, 1, Search::BISECTION, random, 1.0});
    add<GslBilinear>("2-D random bisection / GSL", {2, 100, 1, Search::BISECTION, random, 0.65});
    add<GslLinear>("1-D random equal_spaced / GSL",
                   {1, 100, 1, Search::EQUAL_SPACED, random, 0.35});
    add<GslBilinear>("2-D random equal_spaced / GSL",
                     {2, 100, 1, Search::EQUAL_SPACED, random, 0.35});
#endif
#if ZEIBREKU_HAVE_ALGLIB
    add<AlglibTrilinear>("3-D slow linear / ALGLIB", {3, 12, 1, Search::LINEAR, slow, 0.35});
    add<AlglibTrilinear>("3-D random bisection / ALGLIB",
                         {3, 12, 1, Search::BISECTION, random, 0.75});
#endif
    add<Plain>("4-D slow linear / plain", {4, 8, 1, Search::LINEAR, slow, 0.5});
    add<Plain>("5-D slow linear / plain", {5, 8, 1, Search::LINEAR, slow, 0.6});
    add<Plain>("6-D slow linear / plain", {6, 6, 1, Search::LINEAR, slow, 0.65});
    add<Plain>("4-D slow linear, 4 tables / plain", {4, 9, 4, Search::LINEAR, slow, 0.5});
    add<Plain>("5-D slow linear, 4 tables / plain", {5, 7, 4, Search::LINEAR, slow, 0.5});
    add<Plain>("6-D slow linear, 4 tables / plain", {6, 6, 4, Search::LINEAR, slow, 0.5});
    add<Plain>("6-D random bisection / plain", {6, 6, 1, Search::BISECTION, random, 0.65});
    add<Plain>("6-D random equal_spaced / plain", {6, 6, 1, Search::EQUAL_SPACED, random, 0.65});
}

void printMemory(char const* when) {
    Memory const memory = Memory::ofProcess();
    std::printf("%-28s %6.1f MB, at most %6.1f MB\n", when, memory.now * 1e-6, memory.peak * 1e-6);
}

// Written as text, so that nothing of it is in memory before.
void writeTable(std::string const& path) {
    std::ofstream file(path);
    file << "<compositeFunctionContainer xmlns='urn:zeibreku:function#'>"
            "<tableFunctionInterpolator><independentData>";
    for (int d = 0; d < 2; ++d) {
        file << "<tableFunctionVectorSearch><independentVector>";
        for (int i = 0; i < (d ? 5000 : 2000); ++i) {
            file << "<item>" << i << "</item>";
        }
        file << "</independentVector></tableFunctionVectorSearch>";
    }
    file << "</independentData><dependentData><item count='10000000'>";
    for (int i = 0; i < 10'000'000; ++i) {
        file << "<item>" << i % 1000 << ".25</item>\n";
    }
    file << "</item></dependentData></tableFunctionInterpolator></compositeFunctionContainer>";
}

int measureMemory() {
    std::string const path =
        std::filesystem::temp_directory_path() /
        ("zeibreku-benchmark-" + std::to_string(std::random_device()()) + ".xml");
    writeTable(path);
    printMemory("before");
    KrCompositeFunctionContainer f;
    bool const good = KrXml::readFile(path, f);
    std::remove(path.c_str());
    printMemory("10 million values were read");
    KrRealVector y;
    KrBoolean ok = false;
    f.evaluate({10.5, 2.0}, y, ok);
    return good && ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--memory") == 0) {
        return measureMemory();
    }
    addAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

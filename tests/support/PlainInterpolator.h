#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// Vector search and interpolator in their plain form, step by step and without
/// anything done for speed. The library gives the same bits, which the tests
/// compare, in less time, which the benchmarks measure. Tables must have two
/// breakpoints or more per dimension and a value for each grid point.
struct PlainSearch {
    enum Option { Linear, Bisection, EqualSpaced };

    PlainSearch(std::vector<double> breakpoints, bool extrapolateLower, bool extrapolateUpper,
                Option searchOption)
        : v(std::move(breakpoints)),
          lower(extrapolateLower),
          upper(extrapolateUpper),
          option(searchOption),
          maxIndex(static_cast<std::int64_t>(v.size()) - 2),
          spacing(v[1] - v[0]),
          s(v[1] > v[0] ? 1.0 : -1.0) {}

    void lookUp(double x) {
        double const sx = s * x;
        if (s * v[0] >= sx) {
            index = 0;
            lower ? weigh(x) : hold(1.0, 0.0);
        } else if (sx >= s * v[v.size() - 1]) {
            index = maxIndex;
            upper ? weigh(x) : hold(0.0, 1.0);
        } else {
            if (option == EqualSpaced) {
                divide(x);
            } else if (option == Bisection || index <= 0 || index >= maxIndex) {
                bisect(sx);
            } else {
                walk(sx);
            }
            weigh(x);
        }
    }

    void bisect(double sx) {
        std::int64_t lo = 0;
        std::int64_t hi = maxIndex + 1;
        while (hi - lo > 1) {
            std::int64_t const mid = lo + (hi - lo) / 2;
            if (s * v[at(mid)] > sx) {
                hi = mid;
            } else {
                lo = mid;
            }
        }
        index = lo;
    }

    void walk(double sx) {
        while (s * v[at(index)] > sx && index > 0) {
            index = index - 1;
        }
        while (sx > s * v[at(index)] + 1.0 && index < maxIndex) {
            index = index + 1;
        }
    }

    void divide(double x) {
        double const quotient = (x - v[0]) / spacing;
        if (quotient - quotient != 0.0 || quotient < 0.0) {  // NaN, infinite
            index = 0;
        } else if (quotient > static_cast<double>(maxIndex)) {
            index = maxIndex;
        } else {
            index = static_cast<std::int64_t>(quotient);
        }
    }

    void weigh(double x) {
        double const f = (x - v[at(index)]) / (v[at(index + 1)] - v[at(index)]);
        hold(1.0 - f, f);
    }

    void hold(double lowerWeightNow, double upperWeightNow) {
        lowerWeight = lowerWeightNow;
        upperWeight = upperWeightNow;
    }

    static std::size_t at(std::int64_t i) { return static_cast<std::size_t>(i); }

    std::vector<double> v;
    bool lower;
    bool upper;
    Option option;
    std::int64_t maxIndex;
    double spacing;
    double s;
    std::int64_t index = -1;
    double lowerWeight = 0.0;
    double upperWeight = 0.0;
};

struct PlainInterpolator {
    PlainInterpolator(std::vector<PlainSearch> dimensions, std::vector<std::vector<double>> values)
        : searches(std::move(dimensions)), tables(std::move(values)) {
        std::size_t stride = 1;
        for (PlainSearch const& search : searches) {
            strides.push_back(stride);
            stride *= search.v.size();
        }
        offsets.resize(std::size_t{1} << searches.size());
        weights.resize(offsets.size());
    }

    std::vector<double> const& evaluate(std::vector<double> const& point) {
        offsets[0] = 0;
        weights[0] = 1.0;
        for (std::size_t d = 0; d < searches.size(); ++d) {
            PlainSearch& search = searches[d];
            search.lookUp(point[d]);
            std::size_t const low = static_cast<std::size_t>(search.index) * strides[d];
            std::size_t const high = static_cast<std::size_t>(search.index + 1) * strides[d];
            for (std::size_t k = std::size_t{2} << d; k-- > 0;) {
                bool const odd = k % 2 == 1;
                weights[k] = (odd ? search.upperWeight : search.lowerWeight) * weights[k / 2];
                offsets[k] = offsets[k / 2] + (odd ? high : low);
            }
        }
        result.assign(tables.size(), 0.0);
        for (std::size_t j = 0; j < tables.size(); ++j) {
            for (std::size_t k = 0; k < offsets.size(); ++k) {
                result[j] = result[j] + weights[k] * tables[j][offsets[k]];
            }
        }
        return result;
    }

    std::vector<PlainSearch> searches;
    std::vector<std::vector<double>> tables;
    std::vector<std::size_t> strides;
    std::vector<std::size_t> offsets;
    std::vector<double> weights;
    std::vector<double> result;
};

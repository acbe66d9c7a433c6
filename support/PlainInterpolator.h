#pragma once

#include <cmath>
#include <vector>

/// A vector search and an interpolator without any optimisation. The tests compare the
/// library's bits with theirs, the benchmarks its speed. Each dimension needs at least two
/// breakpoints, and each table a value per grid point.
struct PlainSearch {
    enum Option { Linear, Bisection, EqualSpaced };

    void lookUp(double x) {
        double const s = v[1] > v[0] ? 1.0 : -1.0;
        std::size_t const maxIndex = v.size() - 2;
        if (s * v[0] >= s * x) {
            index = 0;
            lower ? weigh(x) : hold(1.0, 0.0);
            return;
        }
        if (s * x >= s * v[v.size() - 1]) {
            index = maxIndex;
            upper ? weigh(x) : hold(0.0, 1.0);
            return;
        }
        if (option == EqualSpaced) {
            double const quotient = (x - v[0]) / (v[1] - v[0]);
            bool const harmless = std::isfinite(quotient) && quotient >= 0.0;
            bool const beyond = quotient > static_cast<double>(maxIndex);
            index = !harmless ? 0 : beyond ? maxIndex : static_cast<std::size_t>(quotient);
        } else if (option == Bisection || fresh || index == 0 || index >= maxIndex) {
            index = 0;
            for (std::size_t high = maxIndex + 1; high - index > 1;) {
                std::size_t const middle = index + (high - index) / 2;
                (s * v[middle] > s * x ? high : index) = middle;
            }
        } else {
            while (s * v[index] > s * x && index > 0) {
                index = index - 1;
            }
            while (s * x > s * v[index] + 1.0 && index < maxIndex) {
                index = index + 1;
            }
        }
        weigh(x);
    }

    void weigh(double x) {
        double const f = (x - v[index]) / (v[index + 1] - v[index]);
        hold(1.0 - f, f);
    }

    void hold(double lowerWeightNow, double upperWeightNow) {
        lowerWeight = lowerWeightNow;
        upperWeight = upperWeightNow;
        fresh = false;
    }

    std::vector<double> v;
    bool lower;  // extrapolates
    bool upper;
    Option option;
    bool fresh = true;
    std::size_t index = 0;
    double lowerWeight = 0.0;
    double upperWeight = 0.0;
};

struct PlainInterpolator {
    std::vector<double> const& evaluate(std::vector<double> const& point) {
        std::size_t const cornerCount = std::size_t{1} << searches.size();
        offsets.resize(cornerCount);
        weights.resize(cornerCount);
        offsets[0] = 0;
        weights[0] = 1.0;
        std::size_t stride = 1;
        for (std::size_t d = 0; d < searches.size(); ++d) {
            PlainSearch& search = searches[d];
            search.lookUp(point[d]);
            std::size_t const low = search.index * stride;
            std::size_t const high = low + stride;
            for (std::size_t k = std::size_t{2} << d; k-- > 0;) {
                bool const odd = k % 2 == 1;
                weights[k] = (odd ? search.upperWeight : search.lowerWeight) * weights[k / 2];
                offsets[k] = offsets[k / 2] + (odd ? high : low);
            }
            stride *= search.v.size();
        }
        result.assign(tables.size(), 0.0);
        for (std::size_t j = 0; j < tables.size(); ++j) {
            for (std::size_t k = 0; k < cornerCount; ++k) {
                result[j] = result[j] + weights[k] * tables[j][offsets[k]];
            }
        }
        return result;
    }

    std::vector<PlainSearch> searches;
    std::vector<std::vector<double>> tables;
    std::vector<std::size_t> offsets{};
    std::vector<double> weights{};
    std::vector<double> result{};
};

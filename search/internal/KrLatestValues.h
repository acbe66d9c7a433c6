#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

/// The latest 400 values of a function, each with its point.
class KrLatestValues {
public:
    /// A point by its index.
    struct Near {
        double distance;  // squared
        std::size_t index;
    };

    explicit KrLatestValues(std::size_t dimension) : dimension_(dimension) {}

    std::size_t dimension() const { return dimension_; }
    std::size_t size() const { return values_.size(); }
    double const* point(std::size_t index) const { return points_.data() + index * dimension_; }
    double value(std::size_t index) const { return values_[index]; }
    /// The range of all values so far.
    double lowest() const { return lowest_; }
    double highest() const { return highest_; }

    /// Adds a value. Both must be finite. A point that is there already is ignored: two rows of the
    /// same numbers would make a fit singular.
    void add(std::span<double const> point, double value) {
        for (std::size_t i = 0; i < size(); ++i) {
            if (std::equal(point.begin(), point.end(), this->point(i))) {
                return;
            }
        }
        lowest_ = std::min(lowest_, value);
        highest_ = std::max(highest_, value);
        if (size() < most) {
            points_.insert(points_.end(), point.begin(), point.end());
            values_.push_back(value);
            return;
        }
        std::ranges::copy(point, points_.begin() + static_cast<std::ptrdiff_t>(next_ * dimension_));
        values_[next_] = value;
        next_ = (next_ + 1) % most;
    }

    /// The `count` points that are nearest to `point`, or all if there are fewer. The last is the
    /// farthest of them; the others have no order.
    std::vector<Near> nearest(double const* point, std::size_t count) const {
        std::vector<Near> near(size());
        for (std::size_t i = 0; i < size(); ++i) {
            double const* const other = this->point(i);
            double sum = 0.0;
            for (std::size_t j = 0; j < dimension_; ++j) {
                double const d = other[j] - point[j];
                sum += d * d;
            }
            near[i] = {sum, i};
        }
        count = std::min(count, size());
        if (count != 0) {
            auto const last = near.begin() + static_cast<std::ptrdiff_t>(count - 1);
            std::ranges::nth_element(near, last, {}, &Near::distance);
        }
        near.resize(count);
        return near;
    }

private:
    static constexpr std::size_t most = 400;

    std::size_t dimension_;
    std::size_t next_ = 0;  // to be overwritten, when there are `most`
    std::vector<double> points_;
    std::vector<double> values_;
    double lowest_ = std::numeric_limits<double>::infinity();
    double highest_ = -std::numeric_limits<double>::infinity();
};

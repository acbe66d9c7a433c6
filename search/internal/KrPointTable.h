#pragma once

#include "foundation/core/KrTypes.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

/// A hash table from points of one dimension to what is known of them. Two points are the same if
/// their coordinates have the same bits: 0.0 and -0.0 differ, and a NaN is found again.
template <class Known>
class KrPointTable {
public:
    explicit KrPointTable(std::size_t dimension = 0) : dimension_(dimension) {}

    /// What is known of the point; null if nothing is, as of a point of another dimension. Valid
    /// until the next insertion.
    Known* find(std::span<double const> point) {
        if (slots_.empty() || point.size() != dimension_) {
            return nullptr;
        }
        std::uint32_t const number = slots_[slotOf(point)];
        return number == 0 ? nullptr : &known_[number - 1];
    }

    /// Adds a point that is not in the table. One of another dimension is ignored.
    void insert(std::span<double const> point, Known const& known) {
        if (point.size() != dimension_) {
            return;
        }
        if (2 * (known_.size() + 1) > slots_.size()) {
            grow();
        }
        slots_[slotOf(point)] = static_cast<std::uint32_t>(known_.size() + 1);
        points_.insert(points_.end(), point.begin(), point.end());
        known_.push_back(known);
    }

private:
    // Products of single coordinates, rotated and added: only the additions wait for each other.
    // The end mixes the few bits in which the points of a lattice differ into all of the result.
    static std::uint64_t hashOf(std::span<double const> point) {
        std::uint64_t hash = 0;
        for (double const x : point) {
            hash = std::rotl(hash, 23) + std::bit_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15;
        }
        hash = (hash ^ hash >> 32) * 0xff51afd7ed558ccd;
        return hash ^ hash >> 32;
    }

    // The slot that holds the point, or the free one where it belongs.
    std::size_t slotOf(std::span<double const> point) const {
        std::size_t const mask = slots_.size() - 1;
        std::size_t slot = hashOf(point) & mask;
        while (slots_[slot] != 0 &&
               std::memcmp(point.data(), points_.data() + (slots_[slot] - 1) * dimension_,
                           dimension_ * sizeof(double)) != 0) {
            slot = (slot + 1) & mask;
        }
        return slot;
    }

    // Takes all memory that the next insertions need: half of the slots stay free.
    void grow() {
        std::size_t const size = slots_.empty() ? 64 : 2 * slots_.size();
        points_.reserve(size / 2 * dimension_);
        known_.reserve(size / 2);
        slots_.assign(size, 0);
        for (std::size_t number = 0; number < known_.size(); ++number) {
            slots_[slotOf({points_.data() + number * dimension_, dimension_})] =
                static_cast<std::uint32_t>(number + 1);
        }
    }

    std::size_t dimension_;
    std::vector<double> points_;  // one after another
    std::vector<Known> known_;
    std::vector<std::uint32_t> slots_;  // the number of a point from 1 on, or 0
};

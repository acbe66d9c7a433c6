#pragma once

#include "foundation/core/KrTypes.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <span>
#include <vector>

/// A hash table from points of one dimension to what is known of them. Two points are the same if
/// their coordinates have the same bits: 0.0 and -0.0 differ, and a NaN is found again.
///
/// Points and what is known of them never move: a search that remembers a million evaluations
/// copies none of them when the table grows.
template <class Known>
class KrPointTable {
public:
    explicit KrPointTable(std::size_t dimension = 0) : dimension_(dimension) {}

    /// What `find` and `insert` compute of a point, for those who call both.
    ///
    /// Products of single coordinates, rotated and added: only the additions wait for each other.
    /// The end mixes the few bits in which the points of a lattice differ into all of the result.
    static std::uint64_t hashOf(std::span<double const> point) {
        std::uint64_t hash = 0;
        for (double const x : point) {
            hash = std::rotl(hash, 23) + std::bit_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15;
        }
        hash = (hash ^ hash >> 32) * 0xff51afd7ed558ccd;
        return hash ^ hash >> 32;
    }

    /// What is known of the point; null if nothing is, as of a point of another dimension.
    Known* find(std::span<double const> point) { return find(point, hashOf(point)); }
    Known* find(std::span<double const> point, std::uint64_t hash) {
        if (slots_.empty() || point.size() != dimension_) {
            return nullptr;
        }
        std::uint32_t const number = slotOf(point, hash).number;
        return number == 0 ? nullptr : &known_[number - 1];
    }

    /// Adds a point that is not in the table. One of another dimension is ignored.
    void insert(std::span<double const> point, Known const& known) {
        insert(point, hashOf(point), known);
    }
    void insert(std::span<double const> point, std::uint64_t hash, Known const& known) {
        if (point.size() != dimension_) {
            return;
        }
        std::size_t const number = known_.size();
        if (2 * (number + 1) > slots_.size()) {
            grow();
        }
        slotOf(point, hash) = {static_cast<std::uint32_t>(number + 1), tagOf(hash)};
        if (number % blockSize == 0) {
            blocks_.push_back(std::make_unique_for_overwrite<double[]>(blockSize * dimension_));
        }
        std::ranges::copy(point, pointOf(number));
        known_.push_back(known);
    }

private:
    static constexpr std::size_t blockSize = 64;  // points

    struct Slot {
        std::uint32_t number = 0;  // of a point from 1 on; 0 is a free slot
        std::uint32_t tag = 0;     // of its hash, which also says where it belongs
    };

    static std::uint32_t tagOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash); }

    double* pointOf(std::size_t number) {
        return blocks_[number / blockSize].get() + number % blockSize * dimension_;
    }

    // The slot that holds the point, or the free one where it belongs.
    Slot& slotOf(std::span<double const> point, std::uint64_t hash) {
        std::size_t const mask = slots_.size() - 1;
        std::size_t place = tagOf(hash) & mask;
        while (slots_[place].number != 0 &&
               (slots_[place].tag != tagOf(hash) ||
                (dimension_ > 0 &&  // a point without coordinates may have no address
                 std::memcmp(point.data(), pointOf(slots_[place].number - 1),
                             dimension_ * sizeof(double)) != 0))) {
            place = (place + 1) & mask;
        }
        return slots_[place];
    }

    // Half of the slots stay free.
    void grow() {
        std::vector<Slot> old(slots_.empty() ? 64 : 2 * slots_.size());
        old.swap(slots_);
        for (Slot const& slot : old) {
            if (slot.number != 0) {
                std::size_t place = slot.tag & (slots_.size() - 1);
                while (slots_[place].number != 0) {
                    place = (place + 1) & (slots_.size() - 1);
                }
                slots_[place] = slot;
            }
        }
    }

    std::size_t dimension_;
    std::vector<std::unique_ptr<double[]>> blocks_;
    std::deque<Known> known_;
    std::vector<Slot> slots_;
};

#pragma once

#include "foundation/core/KrMember.h"
#include "function/composite/KrVectorSearch.h"

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <vector>

/// Multilinear interpolation of one or more tables over the same rectangular
/// grid of n variables:
///
///     y(x) = sum over the 2^n corners of the grid cell of  W * table[corner],
///
/// where W is the product of one weight per dimension, as its vector search finds
/// them. What happens at the ends of a dimension is up to its search.
///
/// A table is flat; its first dimension varies fastest: the value at the grid
/// indices i0, i1, i2 is at i0 + i1 n0 + i2 n0 n1, n0 and n1 being the numbers of
/// breakpoints. Corners are added in the order of their numbers, in which the last
/// dimension is the least significant bit.
///
///     KrInterpolator<double> f;
///     f.addDimension(x);                      // breakpoints 0, 1
///     f.addDimension(y);                      // breakpoints 0, 1
///     f.addInterpolator({a00, a10, a01, a11});
///     f.evaluate(0.25, 0.5)[0]                // 0.375 a00 + 0.125 a10 + ...
///
/// A corner that lies outside a table counts as NaN, so that a table which is too
/// short for the cell gives NaN. So do a query that lacks a coordinate, a
/// dimension without breakpoints, and a grid of more corners than any of its
/// tables could fill. A dimension of one breakpoint takes any coordinate, or none.
///
/// An evaluation costs n look-ups, and 2^n multiplications and additions for each
/// table. The first one measures the grid and allocates, the others do not.
/// Evaluation writes into the object: one object is for one thread.
///
/// Instantiated for `double`.
template <class Value>
class KR_EXPORT KrInterpolator {
public:
    /// For each dimension two breakpoints, the smallest and the largest.
    using Bounds = std::vector<std::vector<Value>>;
    /// For each dimension two flags, one for either end.
    using Flags = std::vector<std::vector<KrBoolean>>;

    KrInterpolator();
    KrInterpolator(KrInterpolator const& source);
    /// Takes everything, or nothing when memory runs out.
    KrInterpolator& operator=(KrInterpolator const& source);
    /// The source gets what this one held, so that it can be used as before.
    KrInterpolator(KrInterpolator&& source) noexcept;
    /// The two change places.
    KrInterpolator& operator=(KrInterpolator&& source) noexcept;
    virtual ~KrInterpolator();

    /// A copy on the heap, owned by the caller.
    virtual KrInterpolator* clone() const;

    /// Takes tables and dimensions in place of the present ones. When the first
    /// table's length is not the product of the numbers of breakpoints, that is
    /// reported; the others are taken as they are.
    virtual void init(std::vector<std::vector<Value>> tables,
                      std::vector<KrVectorSearch<Value>> searches);

    /// Removes all tables and dimensions; `bounds`, `limitOrExtrapolate` and the
    /// values of the last evaluation stay.
    virtual void init();

    /// Appends a copy of `search` as the slowest dimension so far.
    virtual void addDimension(KrVectorSearch<Value> const& search);

    /// Adds a table, whose length is not checked.
    virtual void addInterpolator(std::vector<Value> table);

    /// One value for each table, at the point looked up last. The result is valid
    /// until the next evaluation.
    virtual std::vector<Value> const& evaluate() const;

    /// The same at the point `x0` and further arguments of type `Value`, one for each
    /// further dimension. Too few arguments are undefined behaviour: a variadic
    /// operation cannot count them. Those beyond the last dimension do not count.
    virtual std::vector<Value> const& evaluate(Value x0, ...) const;

    /// The same at `point`; what is beyond the last dimension does not count.
    virtual std::vector<Value> const& evaluate(std::vector<Value> const& point) const;

    /// The same at separate arguments of which some are no `Value`, as in
    /// `f.evaluate(0.5, 2)`: each is converted, and the variadic operation evaluates.
    /// A class that overrides one of these operations hides the others: it needs
    /// `using KrInterpolator::evaluate`.
    template <std::convertible_to<Value>... Coordinates>
        requires(sizeof...(Coordinates) > 0 && !(std::same_as<Coordinates, Value> && ...))
    std::vector<Value>
    const& evaluate(Coordinates const&... coordinates) const {
        return evaluate(static_cast<Value>(coordinates)...);
    }

    /// The same at a point in braces, as in `f.evaluate({0.5, 1.0})`: the operation on a
    /// vector evaluates.
    std::vector<Value> const& evaluate(std::initializer_list<Value> point) const {
        point_->assign(point);
        return evaluate(*point_);
    }

    /// Determines the ends of each dimension: smallest and largest breakpoint.
    virtual Bounds const& initBounds();

    /// Determines for each dimension whether its search extrapolates at the
    /// smallest and at the largest breakpoint.
    virtual Flags const& initLimitOrExtrapolate();

    /// What the last `initBounds` has determined; empty before.
    Bounds const& bounds() const { return bounds_; }
    /// What the last `initLimitOrExtrapolate` has determined; empty before.
    Flags const& limitOrExtrapolate() const { return limitOrExtrapolate_; }

    /// One without tables and dimensions, by value.
    static KrInterpolator nullObject() { return KrInterpolator(); }

    /// Compares everything but the outcome of the last evaluation.
    bool operator==(KrInterpolator const&) const = default;

private:
    // What follows from tables and dimensions, and working space.
    struct Grid;

    void swap(KrInterpolator& other) noexcept;
    void measure() const;
    std::vector<Value> const& evaluateUnprepared(std::vector<Value> const& point) const;

    std::vector<std::vector<Value>> tables_;
    std::vector<KrVectorSearch<Value>> searches_;
    Bounds bounds_;
    Flags limitOrExtrapolate_;
    mutable KrCache<Grid> grid_;
    mutable KrUncompared<std::vector<Value>> result_;
    mutable KrScratch<std::vector<Value>> point_;  // one that came in braces
};

extern template class KrInterpolator<double>;

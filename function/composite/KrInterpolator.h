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
/// where W is the product of one weight per dimension, which the vector search of the
/// dimension gives. The search also defines the behaviour at the ends of its dimension.
///
/// A table is flat and its first dimension varies fastest: the value at the grid indices i0,
/// i1, i2 is at i0 + i1 n0 + i2 n0 n1, where n0 and n1 are numbers of breakpoints. Corners are
/// added in the order of their numbers, whose least significant bit is the last dimension.
///
///     KrInterpolator<double> f;
///     f.addDimension(x);                      // breakpoints 0, 1
///     f.addDimension(y);                      // breakpoints 0, 1
///     f.addInterpolator({a00, a10, a01, a11});
///     f.evaluate(0.25, 0.5)[0]                // 0.375 a00 + 0.125 a10 + ...
///
/// The value of a table is NaN if the table is too short for the cell. All values are NaN if
/// the point lacks a coordinate, a dimension has no breakpoints, or a cell has more corners
/// than the longest table has values. A dimension of one breakpoint accepts any coordinate, or
/// none.
///
/// Cost: n look-ups, and 2^n multiplications and additions for each table. The first
/// evaluation allocates, later ones do not. A const evaluation still writes into the object:
/// use one object per thread.
///
/// Instantiated for `double`.
template <class Value>
class KR_EXPORT KrInterpolator {
public:
    /// Two breakpoints for each dimension: the smallest and the largest.
    using Bounds = std::vector<std::vector<Value>>;
    /// Two flags for each dimension, one for each end.
    using Flags = std::vector<std::vector<KrBoolean>>;

    KrInterpolator();
    /// Copies tables, dimensions, bounds and the last values.
    KrInterpolator(KrInterpolator const& source);
    /// Copies everything, or nothing if memory runs out.
    KrInterpolator& operator=(KrInterpolator const& source);
    /// Moves. `source` is then empty and usable.
    KrInterpolator(KrInterpolator&& source) noexcept;
    /// Swaps the two.
    KrInterpolator& operator=(KrInterpolator&& source) noexcept;
    virtual ~KrInterpolator();

    /// A copy on the heap, owned by the caller.
    virtual KrInterpolator* clone() const;

    /// Replaces tables and dimensions. If the length of the first table is not the product of
    /// the numbers of breakpoints, it prints a message. Other tables are not checked.
    virtual void init(std::vector<std::vector<Value>> tables,
                      std::vector<KrVectorSearch<Value>> searches);

    /// Removes all tables and dimensions; `bounds`, `limitOrExtrapolate` and the
    /// values of the last evaluation stay.
    virtual void init();

    /// Appends a copy of `search` as the slowest varying dimension.
    virtual void addDimension(KrVectorSearch<Value> const& search);

    /// Appends a table. Its length is not checked.
    virtual void addInterpolator(std::vector<Value> table);

    /// Returns one value for each table at the point located last. The result is valid until
    /// the next evaluation.
    virtual std::vector<Value> const& evaluate() const;

    /// Evaluates at the point of `x0` and one further argument of type `Value` for each further
    /// dimension. Too few arguments are undefined behaviour, since a variadic function cannot
    /// count them. Surplus arguments are ignored.
    virtual std::vector<Value> const& evaluate(Value x0, ...) const;

    /// Evaluates at `point`. Surplus coordinates are ignored.
    virtual std::vector<Value> const& evaluate(std::vector<Value> const& point) const;

    /// Evaluates at separate arguments of mixed types, as in `f.evaluate(0.5, 2)`: it converts
    /// each and calls the variadic operation. A class that overrides one `evaluate` hides the
    /// others; add `using KrInterpolator::evaluate` to it.
    template <std::convertible_to<Value>... Coordinates>
        requires(sizeof...(Coordinates) > 0 && !(std::same_as<Coordinates, Value> && ...))
    std::vector<Value>
    const& evaluate(Coordinates const&... coordinates) const {
        return evaluate(static_cast<Value>(coordinates)...);
    }

    /// Evaluates at a point in braces, as in `f.evaluate({0.5, 1.0})`, by the operation on a
    /// vector.
    std::vector<Value> const& evaluate(std::initializer_list<Value> point) const {
        point_->assign(point);
        return evaluate(*point_);
    }

    /// Computes the bounds: the smallest and the largest end of each dimension.
    virtual Bounds const& initBounds();

    /// Computes for each dimension whether its search extrapolates beyond its smaller and its
    /// larger end.
    virtual Flags const& initLimitOrExtrapolate();

    /// The result of the last `initBounds`; empty before.
    Bounds const& bounds() const { return bounds_; }
    /// The result of the last `initLimitOrExtrapolate`; empty before.
    Flags const& limitOrExtrapolate() const { return limitOrExtrapolate_; }

    /// An interpolator without tables and dimensions, by value.
    static KrInterpolator nullObject() { return KrInterpolator(); }

    /// Compares everything but the result of the last evaluation.
    bool operator==(KrInterpolator const&) const = default;

private:
    friend class KrFrozenGrid;

    // Strides and evaluation functions derived from tables and dimensions, and scratch memory.
    struct Grid;

    void swap(KrInterpolator& other) noexcept;
    void buildGrid() const;
    std::vector<Value> const& evaluateUnprepared(std::vector<Value> const& point) const;

    std::vector<std::vector<Value>> tables_;
    std::vector<KrVectorSearch<Value>> searches_;
    Bounds bounds_;
    Flags limitOrExtrapolate_;
    mutable KrCache<Grid> grid_;
    mutable KrUncompared<std::vector<Value>> result_;
    mutable KrScratch<std::vector<Value>> point_;  // the last point in braces
};

extern template class KrInterpolator<double>;

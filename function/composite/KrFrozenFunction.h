#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "function/composite/KrInterpolator.h"

#include <cstddef>
#include <memory>
#include <span>

class KrCompositeFunctionElement;

/// The operations of `KrFrozenTable` and `KrFrozenComposite`: tables that never change, for any
/// number of threads at once, for blocks of points, and with gradients.
///
///     KrFrozenTable const f(table);                     // a `KrInterpolator<double>`
///     std::vector<double> values(count * f.valueCount());
///     f.evaluateMany(points, values);                   // count * f.domainDim() coordinates
///
/// A value has the bits of a first look-up in the live object. A frozen object keeps no history, so
/// under the search option "linear" it bisects, as a first look-up does. If all breakpoints of a
/// dimension are exactly 1 apart and the tables are finite, later look-ups in the live object give
/// the same values. If not, they may use neighbouring segments (`KrVectorSearch`), and differ.
///
/// The gradient is that of the grid cell that the value used: at a breakpoint inside the table,
/// that of the cell that begins there. A component is
/// - at an end breakpoint, the slope of the end cell, also if the end limits;
/// - beyond an end that limits, 0;
/// - of a dimension of one breakpoint, and of one that the table lacks, 0;
/// - in a cell of no width, NaN.
///
/// If a value is NaN, its whole gradient is NaN.
///
/// Copies share one object and cost a reference count. Evaluation allocates nothing and prints
/// only refusals. A block of random points costs 0.36 to 0.51 of its points one by one in a live
/// object, of six variables 0.62. Points are evaluated 16 at a time, in the order of operations of
/// the live object. Input and output must not overlap.
class KR_EXPORT KrFrozenFunction {
public:
    /// Whether there is a function. If not, the object was never set, or its source was empty
    /// or was refused with a message.
    explicit operator bool() const { return core_ != nullptr; }

    /// The number of coordinates of a point; in a tree, the largest of its tables.
    std::size_t domainDim() const;
    /// The number of values at a point; in a tree, the largest of its tables.
    std::size_t valueCount() const;

    /// Writes the values at `x` into the first `valueCount()` of `y`. Returns whether a table
    /// answered; if none did, they are NaN. Values that the answering table lacks are NaN.
    /// `x` may have any size and acts as in the live object: coordinates that it lacks are NaN, and
    /// a table ignores surplus ones. If `y` is too small, prints a message, writes nothing, and
    /// returns false.
    KrBoolean evaluate(std::span<double const> x, std::span<double> y) const;

    /// Evaluates likewise, and writes the gradients into `dy`, row-major: the derivative of value
    /// k with respect to coordinate d to k `domainDim()` + d.
    KrBoolean evaluateWithGradient(std::span<double const> x, std::span<double> y,
                                   std::span<double> dy) const;

    /// Evaluates a block of points. All spans are row-major: row r has `domainDim()` coordinates
    /// in `points`, `valueCount()` values in `values`, and one flag in `answered` unless that is
    /// empty. Returns true. If the sizes do not fit, prints a message, writes nothing, and returns
    /// false.
    KrBoolean evaluateMany(std::span<double const> points, std::span<double> values,
                           std::span<KrBoolean> answered = {}) const;

    /// Evaluates a block likewise. A row of `gradients` has `valueCount() * domainDim()` items, in
    /// the order of `evaluateWithGradient`.
    KrBoolean evaluateManyWithGradient(std::span<double const> points, std::span<double> values,
                                       std::span<double> gradients,
                                       std::span<KrBoolean> answered = {}) const;

protected:
    /// An empty object, which answers nothing and has no coordinates and no values.
    KrFrozenFunction() = default;
    /// Freezes a table.
    explicit KrFrozenFunction(KrInterpolator<double> const& table);
    /// Freezes a tree, or nothing if `element` is null.
    explicit KrFrozenFunction(KrCompositeFunctionElement const* element);
    /// Copies share the function.
    KrFrozenFunction(KrFrozenFunction const&) = default;
    KrFrozenFunction& operator=(KrFrozenFunction const&) = default;
    KrFrozenFunction(KrFrozenFunction&&) noexcept = default;
    KrFrozenFunction& operator=(KrFrozenFunction&&) noexcept = default;
    ~KrFrozenFunction() = default;

private:
    struct Core;

    KrBoolean evaluatePoint(std::span<double const> x, std::span<double> y, double* dy) const;
    KrBoolean evaluateBlock(std::span<double const> points, std::span<double> values,
                            std::span<double> const* gradients,
                            std::span<KrBoolean> answered) const;

    std::shared_ptr<Core const> core_;
};

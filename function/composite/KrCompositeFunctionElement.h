#pragma once

#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"

#include <vector>

/// Base of the functions of a vector of variables to a vector of values that make
/// up a composite function: tables, and branches that choose between two of them.
///
/// An element knows the box of points that it covers, and at which of its faces it
/// may go on beyond. Both follow from the tables; `initBounds` and
/// `initLimitOrExtrapolate` determine them for the element and all below it, which
/// a container does for its tree.
class KR_EXPORT KrCompositeFunctionElement : public KrBaseExpressionTreeElement {
public:
    /// For each variable two numbers, the smallest and the largest value.
    using Bounds = std::vector<std::vector<double>>;
    /// For each variable two flags, one for either end.
    using Flags = std::vector<std::vector<KrBoolean>>;

    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;

    /// The values at `point`; `ok` tells whether there are any. The result is valid
    /// until the next evaluation.
    virtual KrRealVector const& evaluate(KrRealVector const& point, KrBoolean& ok) const = 0;

    /// For each variable the smallest and the largest value covered.
    virtual Bounds const& bounds() const { return bounds_; }

    /// For each variable whether the element may extrapolate below the smallest and
    /// above the largest value.
    virtual Flags const& limitOrExtrapolate() const { return limitOrExtrapolate_; }

    /// Determines `bounds` for this element and all below it.
    virtual Bounds const& initBounds() = 0;
    /// Determines `limitOrExtrapolate` for this element and all below it.
    virtual Flags const& initLimitOrExtrapolate() = 0;

    /// Whether the box contains `point`, its faces included. A point of fewer
    /// variables than the box counts with those it has, and one of more is outside.
    virtual KrBoolean isInBounds(KrRealVector const& point) const;

    /// Whether each coordinate is inside, or beyond a face where the element may
    /// extrapolate: nowhere, as long as `limitOrExtrapolate` was not determined.
    virtual KrBoolean ableToExtrap(KrRealVector const& point) const;

    bool operator==(KrCompositeFunctionElement const&) const = default;

protected:
    /// What `bounds` gives; filled by `initBounds` of the derived class.
    Bounds bounds_;
    /// What `limitOrExtrapolate` gives; filled by `initLimitOrExtrapolate`.
    Flags limitOrExtrapolate_;
};

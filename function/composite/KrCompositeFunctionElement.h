#pragma once

#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"

#include <vector>

/// Base class of the parts of a composite function: tables, and branches that choose between
/// two parts. Each maps a vector of variables to a vector of values.
///
/// An element has a box of points that it covers, and flags for the faces beyond which it may
/// extrapolate. Both follow from the tables. `initBounds` and `initLimitOrExtrapolate` compute
/// them for the element and its children; a container calls both for its tree.
///
/// One thread at a time uses an object.
class KR_EXPORT KrCompositeFunctionElement : public KrBaseExpressionTreeElement {
public:
    /// Two numbers for each variable: the smallest and the largest value.
    using Bounds = std::vector<std::vector<double>>;
    /// Two flags for each variable, one for each end.
    using Flags = std::vector<std::vector<KrBoolean>>;

    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;

    /// Returns the values at `point` and sets `ok` to whether the element covers it. The result
    /// is valid until the next evaluation.
    virtual KrRealVector const& evaluate(KrRealVector const& point, KrBoolean& ok) const = 0;

    /// The smallest and the largest value of each variable that the element covers.
    virtual Bounds const& bounds() const { return bounds_; }

    /// Whether the element may extrapolate below the smallest and above the largest value of
    /// each variable.
    virtual Flags const& limitOrExtrapolate() const { return limitOrExtrapolate_; }

    /// Computes `bounds` for this element and its children.
    virtual Bounds const& initBounds() = 0;
    /// Computes `limitOrExtrapolate` for this element and its children.
    virtual Flags const& initLimitOrExtrapolate() = 0;

    /// Whether the closed box contains `point`. If the point has fewer variables than the box,
    /// only these are compared. If it has more, it is outside. A NaN coordinate is inside.
    virtual KrBoolean isInBounds(KrRealVector const& point) const;

    /// Whether each coordinate is inside, or beyond a face where the element may extrapolate.
    /// Before `initLimitOrExtrapolate` it may extrapolate nowhere.
    virtual KrBoolean ableToExtrap(KrRealVector const& point) const;

    bool operator==(KrCompositeFunctionElement const&) const = default;

protected:
    /// Returned by `bounds`; `initBounds` of the derived class fills it.
    Bounds bounds_;
    /// Returned by `limitOrExtrapolate`; `initLimitOrExtrapolate` of the derived class fills it.
    Flags limitOrExtrapolate_;
};

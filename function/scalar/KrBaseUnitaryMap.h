#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"

/// Base class of the maps of the unit interval, with f(0) = 0 and f(1) = 1, such as gain
/// curves. It has no components.
///
/// The maps of the library may be evaluated by several threads at once.
class KR_EXPORT KrBaseUnitaryMap : public KrBaseExpressionTreeElement {
public:
    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;
    ~KrBaseUnitaryMap() override;
    KrBaseUnitaryMap(KrBaseUnitaryMap const&) = default;
    KrBaseUnitaryMap& operator=(KrBaseUnitaryMap const&) = default;

    /// The value at `x`. An `x` outside [0, 1] is not clamped.
    virtual double evaluate(double const& x) const = 0;

    bool operator==(KrBaseUnitaryMap const&) const = default;
};

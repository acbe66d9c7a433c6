#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"

/// Base of the maps of the unit interval: functions that take 0 to 0 and 1 to 1
/// and shape what lies between, such as a gain curve. It has no components.
class KR_EXPORT KrBaseUnitaryMap : public KrBaseExpressionTreeElement {
public:
    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;
    ~KrBaseUnitaryMap() override;
    KrBaseUnitaryMap(KrBaseUnitaryMap const&) = default;
    KrBaseUnitaryMap& operator=(KrBaseUnitaryMap const&) = default;

    /// An x outside [0, 1] is not clamped.
    virtual double evaluate(double const& x) const = 0;

    bool operator==(KrBaseUnitaryMap const&) const = default;
};

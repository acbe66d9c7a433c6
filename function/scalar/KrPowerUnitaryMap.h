#pragma once

#include "foundation/xml/KrXmlBasicType.h"
#include "function/object/KrFunction.h"
#include "function/scalar/KrBaseUnitaryMap.h"

/// A power, f(x) = x^exponent, by the C library's `pow`: a negative x with an
/// exponent that is no integer gives NaN. By default the identity.
///
///     <powerUnitaryMap><exponent>1</exponent></powerUnitaryMap>
class KR_EXPORT KrPowerUnitaryMap : public KrTaggedElement<KrPowerUnitaryMap, KrBaseUnitaryMap,
                                                           KrFunction::KrPowerUnitaryMapToken> {
public:
    double evaluate(double const& x) const override;

    /// The exponent; 1 by default. With a negative one, f(0) is infinite.
    virtual double exponent() const { return exponent_; }
    virtual void setExponent(double exponent) { exponent_ = exponent; }

    /// The same as `creator`.
    KR_EXPORT static KrXmlObject* xmlObjectCreator() { return creator(); }

    void registerComponents() override;

    bool operator==(KrPowerUnitaryMap const&) const = default;

private:
    KrXmlBasicType<double> exponent_{1.0};
};

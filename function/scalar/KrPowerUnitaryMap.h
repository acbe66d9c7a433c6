#pragma once

#include "foundation/xml/KrXmlBasicType.h"
#include "function/scalar/KrBaseUnitaryMap.h"
#include "function/scalar/KrScalarTokens.h"

/// The power f(x) = x^exponent, computed by the C library's `pow`. A negative x with a
/// fractional exponent gives NaN. The default is the identity.
///
///     <powerUnitaryMap><exponent>1</exponent></powerUnitaryMap>
///
/// Several threads may evaluate one object at once, while none changes it.
class KR_EXPORT KrPowerUnitaryMap : public KrTaggedElement<KrPowerUnitaryMap, KrBaseUnitaryMap,
                                                           KrFunction::KrPowerUnitaryMapToken> {
public:
    double evaluate(double const& x) const override;

    /// The exponent of f(x) = x^exponent, a pure number. Default: 1.
    /// Admissible: 0 < exponent < INF, not checked. 0 makes f the constant 1. A negative
    /// exponent makes f(0) infinite. INF makes f 0 below x = 1. NaN makes f NaN except at x = 1.
    /// Raise it above 1 to flatten the curve near 0; lower it below 1 to steepen it there.
    virtual double exponent() const { return exponent_; }
    virtual void setExponent(double exponent) { exponent_ = exponent; }

    /// The same as `creator`.
    KR_EXPORT static KrXmlObject* xmlObjectCreator() { return creator(); }

    void registerComponents() override;

    bool operator==(KrPowerUnitaryMap const&) const = default;

private:
    KrXmlBasicType<double> exponent_{1.0};
};

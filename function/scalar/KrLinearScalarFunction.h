#pragma once

#include "foundation/xml/KrXmlBasicType.h"
#include "function/scalar/KrBaseScalarFunction.h"
#include "function/scalar/KrScalarTokens.h"

/// The straight line through (0, startValue) and (1, endValue):
///
///     f(x) = (1 - x) startValue + x endValue
///
/// It extrapolates outside [0, 1]. The default is the identity.
///
///     <linearScalarFunction>
///       <startValue>0</startValue>   value at x = 0
///       <endValue>1</endValue>       value at x = 1
///     </linearScalarFunction>
///
/// Several threads may evaluate one object at once, while none changes it.
class KR_EXPORT KrLinearScalarFunction
    : public KrTaggedElement<KrLinearScalarFunction, KrBaseScalarFunction,
                             KrFunction::KrLinearScalarFunctionToken> {
public:
    double evaluate(double const& x) const override;

    /// The value f(0), in the unit of the function. Default: 0.
    /// Admissible: -INF < startValue < INF. An infinite value makes f infinite, and NaN at
    /// x = 1; a NaN makes f NaN everywhere. Change it to shift the left end of the line.
    virtual double startValue() const { return startValue_; }
    virtual void setStartValue(double value) { startValue_ = value; }
    /// The value f(1), in the unit of the function. Default: 1.
    /// Admissible: -INF < endValue < INF. An infinite value makes f infinite, and NaN at
    /// x = 0; a NaN makes f NaN everywhere. Change it to set the slope,
    /// endValue - startValue.
    virtual double endValue() const { return endValue_; }
    virtual void setEndValue(double value) { endValue_ = value; }

    /// The same as `creator`.
    KR_EXPORT static KrXmlObject* xmlObjectCreator() { return creator(); }

    void registerComponents() override;

    bool operator==(KrLinearScalarFunction const&) const = default;

private:
    KrXmlBasicType<double> startValue_{0.0};
    KrXmlBasicType<double> endValue_{1.0};
};

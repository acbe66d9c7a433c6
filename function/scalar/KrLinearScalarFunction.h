#pragma once

#include "foundation/xml/KrXmlBasicType.h"
#include "function/object/KrFunction.h"
#include "function/scalar/KrBaseScalarFunction.h"

/// The straight line through (0, startValue) and (1, endValue):
///
///     f(x) = (1 - x) startValue + x endValue
///
/// for every x, outside [0, 1] too. By default the identity.
///
///     <linearScalarFunction>
///       <startValue>0</startValue>   value at x = 0
///       <endValue>1</endValue>       value at x = 1
///     </linearScalarFunction>
class KR_EXPORT KrLinearScalarFunction
    : public KrTaggedElement<KrLinearScalarFunction, KrBaseScalarFunction,
                             KrFunction::KrLinearScalarFunctionToken> {
public:
    double evaluate(double const& x) const override;

    /// The value at x = 0; 0 by default.
    virtual double startValue() const { return startValue_; }
    virtual void setStartValue(double value) { startValue_ = value; }
    /// The value at x = 1; 1 by default.
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

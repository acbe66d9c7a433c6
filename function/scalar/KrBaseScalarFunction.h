#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"

/// Base of the functions of one real variable. It has no components.
class KR_EXPORT KrBaseScalarFunction : public KrBaseExpressionTreeElement {
public:
    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;
    ~KrBaseScalarFunction() override;
    KrBaseScalarFunction(KrBaseScalarFunction const&) = default;
    KrBaseScalarFunction& operator=(KrBaseScalarFunction const&) = default;

    /// The value at `x`, in the units of the range. Defined for every `x`; each class
    /// says what it does beyond its data.
    virtual double evaluate(double const& x) const = 0;

    bool operator==(KrBaseScalarFunction const&) const = default;
};

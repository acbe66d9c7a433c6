#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"

/// Base class of the functions of one real variable. It has no components.
///
/// The functions of the library may be evaluated by several threads at once.
class KR_EXPORT KrBaseScalarFunction : public KrBaseExpressionTreeElement {
public:
    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;
    ~KrBaseScalarFunction() override;
    KrBaseScalarFunction(KrBaseScalarFunction const&) = default;
    KrBaseScalarFunction& operator=(KrBaseScalarFunction const&) = default;

    /// The value at `x`, in the unit of the function. Each class documents what it returns
    /// outside its data.
    virtual double evaluate(double const& x) const = 0;

    bool operator==(KrBaseScalarFunction const&) const = default;
};

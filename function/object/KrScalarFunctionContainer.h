#pragma once

#include "foundation/xml/KrElement.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrFunction.h"
#include "function/scalar/KrBaseScalarFunction.h"

/// A container of one function, which evaluates in its place; the identity without
/// one.
///
///     <scalarFunctionContainer><linearScalarFunction> ... </linearScalarFunction></scalarFunctionContainer>
class KR_EXPORT KrScalarFunctionContainer
    : public KrTaggedElement<KrScalarFunctionContainer,
                             KrBaseExpressionTreeContainer<KrBaseScalarFunction>,
                             KrFunction::KrScalarFunctionContainerToken> {
public:
    /// The function's `evaluate`; `x` without a function.
    virtual double evaluate(double const& x) const;

    void registerComponentCreators() override;

    bool operator==(KrScalarFunctionContainer const&) const = default;
};

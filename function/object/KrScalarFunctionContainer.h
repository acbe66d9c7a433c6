#pragma once

#include "foundation/xml/KrElement.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrContainerTokens.h"
#include "function/scalar/KrBaseScalarFunction.h"

/// A container of one function, to which it forwards evaluation. Empty, it is the identity.
///
///     <scalarFunctionContainer>
///       <linearScalarFunction> ... </linearScalarFunction>
///     </scalarFunctionContainer>
class KR_EXPORT KrScalarFunctionContainer
    : public KrTaggedElement<KrScalarFunctionContainer,
                             KrBaseExpressionTreeContainer<KrBaseScalarFunction>,
                             KrFunction::KrScalarFunctionContainerToken> {
public:
    /// The value of the function at `x`, or `x` if the container is empty.
    virtual double evaluate(double const& x) const;

    void registerComponentCreators() override;

    bool operator==(KrScalarFunctionContainer const&) const = default;
};

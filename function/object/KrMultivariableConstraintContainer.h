#pragma once

#include "foundation/xml/KrElement.h"
#include "function/multivariable/KrBaseMultivariableConstraint.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrContainerTokens.h"

/// A container of one constraint, to which it forwards evaluation.
///
///     <multivariableConstraintContainer>
///       <linearMultivariableConstraint> ... </linearMultivariableConstraint>
///     </multivariableConstraintContainer>
class KR_EXPORT KrMultivariableConstraintContainer
    : public KrElement<KrMultivariableConstraintContainer,
                       KrBaseExpressionTreeContainer<KrBaseMultivariableConstraint>,
                       KrFunction::KrMultivariableConstraintContainerToken> {
public:
    /// The value of the constraint at `x`, or 0 if the container is empty.
    virtual double evaluate(KrRealVector const& x) const;
    virtual double evaluate(KrXmlRealVector const& x) const;

    /// The gradient of the constraint at `x`, or an empty vector if the container is empty.
    virtual KrRealVector const& gradient(KrRealVector const& x) const;
    virtual KrRealVector const& gradient(KrXmlRealVector const& x) const;

    void registerComponentCreators() override;

    bool operator==(KrMultivariableConstraintContainer const&) const = default;

private:
    KrRealVector noGradient_;
};

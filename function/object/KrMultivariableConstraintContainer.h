#pragma once

#include "foundation/xml/KrElement.h"
#include "function/multivariable/KrBaseMultivariableConstraint.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrFunction.h"

/// A container of one constraint, which is evaluated in its place.
///
///     <multivariableConstraintContainer>
///       <linearMultivariableConstraint> ... </linearMultivariableConstraint>
///     </multivariableConstraintContainer>
class KR_EXPORT KrMultivariableConstraintContainer
    : public KrElement<KrMultivariableConstraintContainer,
                       KrBaseExpressionTreeContainer<KrBaseMultivariableConstraint>,
                       KrFunction::KrMultivariableConstraintContainerToken> {
public:
    /// The constraint's `evaluate`; 0.0 without a constraint.
    virtual double evaluate(KrRealVector const& x) const;
    virtual double evaluate(KrXmlRealVector const& x) const;

    /// The constraint's `gradient`; without a constraint an empty vector.
    virtual KrRealVector const& gradient(KrRealVector const& x) const;
    virtual KrRealVector const& gradient(KrXmlRealVector const& x) const;

    void registerComponentCreators() override;

    bool operator==(KrMultivariableConstraintContainer const&) const = default;

private:
    KrRealVector noGradient_;
};

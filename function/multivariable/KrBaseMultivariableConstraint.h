#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrMember.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "foundation/xml/KrXmlVectorType.h"

/// Base of the constraints: functions c(x) of a point, with the direction of their
/// gradient. It has no components.
///
/// The last gradient is part of the value. It is copied and compared: a constraint that has
/// computed a gradient is unequal to one that has not. Evaluation writes to buffers of the
/// object, so one object is not thread-safe.
class KR_EXPORT KrBaseMultivariableConstraint : public KrBaseExpressionTreeElement {
public:
    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;
    ~KrBaseMultivariableConstraint() override;
    KrBaseMultivariableConstraint(KrBaseMultivariableConstraint const&) = default;
    KrBaseMultivariableConstraint(KrBaseMultivariableConstraint&&) noexcept = default;
    KrBaseMultivariableConstraint& operator=(KrBaseMultivariableConstraint const&) = default;
    KrBaseMultivariableConstraint& operator=(KrBaseMultivariableConstraint&&) noexcept = default;

    /// c(x), in the unit of c. The point may have any length. Terms of components that it
    /// lacks are left out.
    virtual double evaluate(KrRealVector const& x) const = 0;

    /// The unit vector along the gradient at `x`, of the length of `x`. Where the gradient is
    /// zero, so is this vector. The reference is valid until the next call.
    virtual KrRealVector const& gradient(KrRealVector const& x) const = 0;

    /// c(x) at a point that is an element's parameter. It is copied to a buffer.
    virtual double evaluate(KrXmlRealVector const& x) const;
    /// The gradient's direction at a point that is an element's parameter.
    virtual KrRealVector const& gradient(KrXmlRealVector const& x) const;

    /// Scales the gradient buffer to length one. If its sum of squares is 0 or NaN, it stays
    /// as it is.
    virtual void normalizeGradient() const;

    /// Copies `x` to the point buffer.
    virtual void copyXmlRealVector(KrXmlRealVector const& x) const;

    bool operator==(KrBaseMultivariableConstraint const&) const = default;

protected:
    /// The last gradient, which `gradient` returns.
    mutable KrRealVector gradient_;
    /// The copy of a point that is an element's parameter.
    mutable KrScratch<KrRealVector> point_;
};

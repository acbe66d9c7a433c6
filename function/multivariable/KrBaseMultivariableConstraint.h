#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrMember.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "foundation/xml/KrXmlVectorType.h"

/// Base of the constraints: functions c(x) of a point, with the direction of
/// their gradient. It has no components.
///
/// The last gradient is part of the value: it is copied, and two constraints of
/// which one has computed a gradient and the other has not are not equal.
/// Evaluation writes to buffers of the object, so that one object is used by one
/// thread at a time.
class KR_EXPORT KrBaseMultivariableConstraint : public KrBaseExpressionTreeElement {
public:
    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;
    ~KrBaseMultivariableConstraint() override;
    KrBaseMultivariableConstraint(KrBaseMultivariableConstraint const&) = default;
    KrBaseMultivariableConstraint& operator=(KrBaseMultivariableConstraint const&) = default;

    /// c(x). A point of any length is accepted; the components that it has count.
    virtual double evaluate(KrRealVector const& x) const = 0;

    /// The unit vector along the gradient at `x`, as long as `x`, valid until the
    /// next call; zero where the gradient is.
    virtual KrRealVector const& gradient(KrRealVector const& x) const = 0;

    /// The same for a point that is an element's parameter.
    virtual double evaluate(KrXmlRealVector const& x) const;
    /// The same for a point that is an element's parameter.
    virtual KrRealVector const& gradient(KrXmlRealVector const& x) const;

    /// Scales the gradient buffer to length one. A zero vector, and one whose
    /// sum of squares is NaN, is left as it is.
    virtual void normalizeGradient() const;

    /// Copies `x` to the point buffer.
    virtual void copyXmlRealVector(KrXmlRealVector const& x) const;

    bool operator==(KrBaseMultivariableConstraint const&) const = default;

protected:
    /// The gradient computed last, which `gradient` returns.
    mutable KrRealVector gradient_;
    /// Room for a point that came as an element's parameter.
    mutable KrScratch<KrRealVector> point_;
};

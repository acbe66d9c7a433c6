#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/multivariable/KrBaseMultivariableConstraint.h"
#include "function/multivariable/KrConstraintTokens.h"

class KrCoefficientIndex;

/// The affine constraint c(x) = offset + sum of a(i) x(i).
///
/// The sum is over the components of the point. Coefficients a(i) that are not listed are 0:
///
///     <linearMultivariableConstraint>
///       <offset>1</offset>
///       <firstOrderIndices count="2"><item>0</item><item>2</item></firstOrderIndices>
///       <firstOrderCoefficients count="2"><item>3</item><item>4</item></firstOrderCoefficients>
///     </linearMultivariableConstraint>
///
/// - `firstOrderIndices` (vector of integers): The indices i that have an a(i), counted
///   from 0, in any order. Range: 0 <= i < n for a point of n components. An index beyond
///   the point is left out of the sum. If an index is listed repeatedly, the first listing
///   counts. List each component on which c depends linearly.
/// - `firstOrderCoefficients` (vector of numbers): The coefficients a(i) of these indices,
///   position for position. Unit: that of c per unit of x(i). Range: -inf < a(i) < inf,
///   unchecked: NaN and infinities enter the sum. If the list is shorter than that of the
///   indices, the missing coefficients are 0. If it is longer, the rest is ignored. Change
///   a(i) for another slope along x(i).
///
/// The terms are added in the order of the components. An evaluation costs O(n) for a point
/// of n components. The first one after a change of the lists also sorts them.
///
/// One thread at a time uses an object.
class KR_EXPORT KrLinearMultivariableConstraint
    : public KrTaggedElement<KrLinearMultivariableConstraint, KrBaseMultivariableConstraint,
                             KrFunction::KrLinearMultivariableConstraintToken> {
public:
    /// The constraint c(x) = 0, without coefficients.
    KrLinearMultivariableConstraint();
    /// Copies the lists and the last gradient.
    KrLinearMultivariableConstraint(KrLinearMultivariableConstraint const& source);
    /// Takes the lists of `source` and leaves it without.
    KrLinearMultivariableConstraint(KrLinearMultivariableConstraint&& source) noexcept;
    /// Copies the lists and the last gradient.
    KrLinearMultivariableConstraint& operator=(KrLinearMultivariableConstraint const& source);
    /// Takes the lists of `source` and leaves it without.
    KrLinearMultivariableConstraint& operator=(KrLinearMultivariableConstraint&& source) noexcept;
    ~KrLinearMultivariableConstraint() override;

    using KrBaseMultivariableConstraint::evaluate;
    using KrBaseMultivariableConstraint::gradient;
    double evaluate(KrRealVector const& x) const override;
    KrRealVector const& gradient(KrRealVector const& x) const override;

    /// The value at the origin, c(0). It has the unit of c and is 0 by default. Range:
    /// -inf < offset < inf, unchecked. If it is NaN or infinite, no value is finite, and the
    /// gradient is unaffected. Change it to move the contour c = 0: the limit
    /// a(0) x(0) <= b has the offset -b.
    virtual double offset() const { return offset_; }
    virtual void setOffset(double offset) { offset_ = offset; }

    /// The coefficient a(index). If it is not listed, it is 0.
    virtual double coefficient(KrU32 index) const;
    /// Overwrites the coefficient a(index). If it is not listed, appends it.
    virtual void setCoefficient(KrU32 index, double value);

    void registerComponents() override;
    /// The components by name. You may modify the lists through this map until the next
    /// evaluation or look-up. After that, call `componentMap()` again first.
    KrXmlComponentMap& componentMap() override;

    bool operator==(KrLinearMultivariableConstraint const&) const = default;

private:
    // Declared before the lists: an assignment clears it first.
    mutable KrCache<KrCoefficientIndex> index_;
    KrXmlBasicType<double> offset_{0.0};
    KrXmlVectorType<KrXmlBasicType<KrU32>> indices_;
    KrXmlRealVector coefficients_;
};

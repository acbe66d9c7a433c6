#pragma once

#include "foundation/xml/KrXmlBasicType.h"
#include "function/multivariable/KrBaseMultivariableConstraint.h"
#include "function/multivariable/KrSparseCoefficients.h"
#include "function/object/KrFunction.h"

/// The affine constraint
///
///     c(x) = offset + sum of a(i) x(i)
///
/// over the components of the point, with the coefficients a(i) given for the
/// indices that have one:
///
///     <linearMultivariableConstraint>
///       <offset>1</offset>
///       <firstOrderIndices count="2"><item>0</item><item>2</item></firstOrderIndices>
///       <firstOrderCoefficients count="2"><item>3</item><item>4</item></firstOrderCoefficients>
///     </linearMultivariableConstraint>
///
/// - `firstOrderIndices` (vector of integers): The indices i that have an a(i), counted
///   from 0, in any order.
/// - `firstOrderCoefficients` (vector of numbers): The a(i) of these indices.
///
/// The lists may be in any order. A listed index beyond the point is passed over,
/// of several listings of one index the first counts, an index without a
/// coefficient has 0.0, and a coefficient without an index is passed over.
///
/// The sum is formed in the order of the components. Cost: O(n) for a point of n
/// components.
class KR_EXPORT KrLinearMultivariableConstraint
    : public KrTaggedElement<KrLinearMultivariableConstraint, KrBaseMultivariableConstraint,
                             KrFunction::KrLinearMultivariableConstraintToken> {
public:
    using KrBaseMultivariableConstraint::evaluate;
    using KrBaseMultivariableConstraint::gradient;
    double evaluate(KrRealVector const& x) const override;
    KrRealVector const& gradient(KrRealVector const& x) const override;

    /// The value at the origin; 0 by default.
    virtual double offset() const { return offset_; }
    virtual void setOffset(double offset) { offset_ = offset; }

    /// The coefficient a(index), 0.0 when it is not listed.
    virtual double coefficient(KrU32 index) const { return first_.coefficient(0, index); }
    /// Overwrites the coefficient, or lists it.
    virtual void setCoefficient(KrU32 index, double value) {
        first_.setCoefficient(0, index, value);
    }

    void registerComponents() override;
    /// Who has the components may change the lists, until the next evaluation or
    /// look-up: after that the lists are to be fetched anew before they are changed.
    KrXmlComponentMap& componentMap() override;

    bool operator==(KrLinearMultivariableConstraint const&) const = default;

private:
    bool goesByList(KrU32 n) const;

    KrXmlBasicType<double> offset_{0.0};
    KrSparseCoefficients<KrXmlBasicType<KrU32>> first_;
};

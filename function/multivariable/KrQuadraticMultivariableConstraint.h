#pragma once

#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlPairType.h"
#include "function/multivariable/KrBaseMultivariableConstraint.h"
#include "function/multivariable/KrSparseCoefficients.h"
#include "function/object/KrFunction.h"

/// The quadratic constraint
///
///     c(x) = offset + sum of a(i) x(i) + sum of q(i, j) x(i) x(j) over i <= j
///
/// over the components of the point, with the coefficients a(i) and q(i, j) given
/// for the indices and the index pairs that have one:
///
///     <quadraticMultivariableConstraint>
///       <offset>0</offset>
///       <firstOrderIndices count="1"><item>0</item></firstOrderIndices>
///       <firstOrderCoefficients count="1"><item>1</item></firstOrderCoefficients>
///       <secondOrderIndexPairs count="2">
///         <item><first>0</first><second>0</second></item>
///         <item><first>0</first><second>1</second></item>
///       </secondOrderIndexPairs>
///       <secondOrderCoefficients count="2"><item>1</item><item>2</item></secondOrderCoefficients>
///     </quadraticMultivariableConstraint>
///
/// - `firstOrderIndices` (vector of integers): The indices i that have an a(i), counted
///   from 0, in any order.
/// - `firstOrderCoefficients` (vector of numbers): The a(i) of these indices.
/// - `secondOrderIndexPairs` (vector of pairs of integers): The pairs (i, j) that have a
///   q(i, j), each once, the smaller index first.
/// - `secondOrderCoefficients` (vector of numbers): The q(i, j) of these pairs.
///
/// Each pair stands once, its smaller index first; a pair in a document whose
/// larger index is first is never found. The lists may be in any order. What is
/// listed beyond the point is passed over, of several listings the first counts,
/// an index without a coefficient has 0.0, and a coefficient without an index is
/// passed over.
///
/// The sums are formed in the order of the components. A component that is not finite
/// makes the value NaN unless all its terms have a coefficient other than 0. Cost, for a
/// point of n components and m listed pairs: O(n + m). It is O(n^2) look-ups for a class
/// derived from this one, whose own look-up is used.
class KR_EXPORT KrQuadraticMultivariableConstraint
    : public KrTaggedElement<KrQuadraticMultivariableConstraint, KrBaseMultivariableConstraint,
                             KrFunction::KrQuadraticMultivariableConstraintToken> {
public:
    using KrBaseMultivariableConstraint::evaluate;
    using KrBaseMultivariableConstraint::gradient;
    double evaluate(KrRealVector const& x) const override;
    KrRealVector const& gradient(KrRealVector const& x) const override;

    /// The value at the origin; 0 by default.
    virtual double offset() const { return offset_; }
    virtual void setOffset(double offset) { offset_ = offset; }

    /// The coefficient a(i), 0.0 when it is not listed.
    virtual double firstOrderCoefficient(KrU32 i) const { return first_.coefficient(0, i); }
    /// Overwrites the coefficient, or lists it.
    virtual void setFirstOrderCoefficient(KrU32 i, double value);
    /// The coefficient of x(i) x(j), in either order of the two; 0.0 when it is not
    /// listed.
    virtual double secondOrderCoefficient(KrU32 i, KrU32 j) const {
        return second_.coefficient(std::min(i, j), std::max(i, j));
    }
    /// Overwrites the coefficient, or lists it, the smaller index first.
    virtual void setSecondOrderCoefficient(KrU32 i, KrU32 j, double value);
    /// The coefficient of x(i)^2.
    virtual double secondOrderCoefficient(KrU32 i) const { return secondOrderCoefficient(i, i); }
    virtual void setSecondOrderCoefficient(KrU32 i, double value) {
        setSecondOrderCoefficient(i, i, value);
    }

    void registerComponents() override;
    /// Who has the components may change the lists, until the next evaluation or
    /// look-up: after that the lists are to be fetched anew before they are changed.
    KrXmlComponentMap& componentMap() override;

    bool operator==(KrQuadraticMultivariableConstraint const&) const = default;

private:
    using IndexPair = KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<KrU32>>;

    bool goesByRows(KrRealVector const& x) const;
    double evaluateByRows(KrRealVector const& x) const;
    bool hasEveryTermOf(KrU32 k, KrU32 n) const;
    bool everyTermIsMinusZero(KrRealVector const& x) const;
    void gradientByRows(KrRealVector const& x) const;
    void addTermsThatAreNaN(KrRealVector const& x) const;
    void gradientByLookUps(KrRealVector const& x) const;

    KrXmlBasicType<double> offset_{0.0};
    KrSparseCoefficients<KrXmlBasicType<KrU32>> first_;
    KrSparseCoefficients<IndexPair> second_;
};

#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/multivariable/KrBaseMultivariableConstraint.h"
#include "function/multivariable/KrConstraintTokens.h"

class KrCoefficientIndex;

/// The quadratic constraint c(x) = offset + sum of a(i) x(i) + sum of q(i, j) x(i) x(j), i <= j.
///
/// The sums are over the components of the point. Coefficients a(i) and q(i, j) that are not
/// listed are 0:
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
///   from 0, in any order. Range: 0 <= i < n for a point of n components. An index beyond
///   the point is left out of the sum. If an index is listed repeatedly, the first listing
///   counts. List each component on which c depends linearly.
/// - `firstOrderCoefficients` (vector of numbers): The coefficients a(i) of these indices,
///   position for position. Unit: that of c per unit of x(i). Range: -inf < a(i) < inf,
///   unchecked: NaN and infinities enter the sum. If the list is shorter than that of the
///   indices, the missing coefficients are 0. If it is longer, the rest is ignored. Change
///   a(i) for another slope along x(i).
/// - `secondOrderIndexPairs` (vector of pairs of integers): The pairs (i, j) that have a
///   q(i, j), each once, the smaller index first. Range: 0 <= i <= j < n for a point of n
///   components. A pair with i > j or beyond the point is left out of the sum. If a pair is
///   listed repeatedly, the first listing counts. List each product on which c depends.
/// - `secondOrderCoefficients` (vector of numbers): The coefficients q(i, j) of these pairs,
///   position for position. Unit: that of c per unit of x(i) x(j). Range:
///   -inf < q(i, j) < inf, unchecked: NaN and infinities enter the sum. If the list is
///   shorter than that of the pairs, the missing coefficients are 0. If it is longer, the
///   rest is ignored. Change q(i, j) for another curvature.
///
/// The terms are added in the order of the components, including those with coefficient 0:
/// if a component is NaN or infinite and one of its coefficients is 0, the value is NaN. An
/// evaluation costs O(n + m) for a point of n components and m listed pairs. In a derived
/// class it costs O(n^2) calls of the virtual look-ups. The first evaluation after a change
/// of the lists also sorts them.
///
/// One thread at a time uses an object.
class KR_EXPORT KrQuadraticMultivariableConstraint
    : public KrTaggedElement<KrQuadraticMultivariableConstraint, KrBaseMultivariableConstraint,
                             KrFunction::KrQuadraticMultivariableConstraintToken> {
public:
    /// The constraint c(x) = 0, without coefficients.
    KrQuadraticMultivariableConstraint();
    /// Copies the lists and the last gradient.
    KrQuadraticMultivariableConstraint(KrQuadraticMultivariableConstraint const& source);
    /// Takes the lists of `source` and leaves it without.
    KrQuadraticMultivariableConstraint(KrQuadraticMultivariableConstraint&& source) noexcept;
    /// Copies the lists and the last gradient.
    KrQuadraticMultivariableConstraint& operator=(KrQuadraticMultivariableConstraint const& source);
    /// Takes the lists of `source` and leaves it without.
    KrQuadraticMultivariableConstraint& operator=(
        KrQuadraticMultivariableConstraint&& source) noexcept;
    ~KrQuadraticMultivariableConstraint() override;

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

    /// The coefficient a(i). If it is not listed, it is 0.
    virtual double firstOrderCoefficient(KrU32 i) const;
    /// Overwrites the coefficient a(i). If it is not listed, appends it.
    virtual void setFirstOrderCoefficient(KrU32 i, double value);
    /// The coefficient of x(i) x(j), with i and j in either order. If it is not listed, it
    /// is 0.
    virtual double secondOrderCoefficient(KrU32 i, KrU32 j) const;
    /// Overwrites the coefficient of x(i) x(j). If it is not listed, appends it, the smaller
    /// index first.
    virtual void setSecondOrderCoefficient(KrU32 i, KrU32 j, double value);
    /// The coefficient of x(i)^2.
    virtual double secondOrderCoefficient(KrU32 i) const { return secondOrderCoefficient(i, i); }
    virtual void setSecondOrderCoefficient(KrU32 i, double value) {
        setSecondOrderCoefficient(i, i, value);
    }

    void registerComponents() override;
    /// The components by name. You may modify the lists through this map until the next
    /// evaluation or look-up. After that, call `componentMap()` again first.
    KrXmlComponentMap& componentMap() override;

    bool operator==(KrQuadraticMultivariableConstraint const&) const = default;

private:
    using IndexPair = KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<KrU32>>;

    KrCoefficientIndex const& firstRows() const;
    KrCoefficientIndex const& secondRows() const;
    double evaluateByLookUps(KrRealVector const& x) const;
    bool hasEveryTermOf(KrU32 k, KrU32 n) const;
    bool everyTermIsMinusZero(KrRealVector const& x) const;
    void gradientByRows(KrRealVector const& x) const;
    void addTermsThatAreNaN(KrRealVector const& x) const;
    void gradientByLookUps(KrRealVector const& x) const;

    // Declared before the lists: an assignment clears them first.
    mutable KrCache<KrCoefficientIndex> firstIndex_;
    mutable KrCache<KrCoefficientIndex> secondIndex_;
    KrXmlBasicType<double> offset_{0.0};
    KrXmlVectorType<KrXmlBasicType<KrU32>> firstIndices_;
    KrXmlRealVector firstCoefficients_;
    KrXmlVectorType<IndexPair> secondIndexPairs_;
    KrXmlRealVector secondCoefficients_;
};

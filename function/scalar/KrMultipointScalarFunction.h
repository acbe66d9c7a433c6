#pragma once

#include "foundation/xml/KrXmlVectorType.h"
#include "function/scalar/KrBaseScalarFunction.h"
#include "function/scalar/KrScalarTokens.h"

/// The piecewise linear function through the points (x(k), y(k)), which extrapolates its
/// first and its last segment:
///
///     f(x) = ((xa - x) yb + (x - xb) ya) / (xa - xb)
///
/// where a and b are the ends of the segment. An x equal to an abscissa belongs to the
/// segment that ends there.
///
///     <multipointScalarFunction>
///       <rangeValues count="3"><item>0</item><item>10</item><item>0</item></rangeValues>
///       <domainValues count="3"><item>0</item><item>1</item><item>2</item></domainValues>
///     </multipointScalarFunction>
///
/// The abscissae must ascend, which is not checked: the segment is the one that ends at the
/// first abscissa not below x. If one list is longer than the other, its surplus is ignored.
/// With fewer than two points, f is the constant y(0), or 0 if there are no range values.
/// If both abscissae of an end segment are equal, f returns a range value beyond it: that of
/// the second point below the table, that of the last point above it. A NaN x counts as below
/// the table, and gives NaN unless that rule applies.
///
/// Cost: proportional to the number of points below x, some milliseconds for a million
/// points. A table of that size belongs in an interpolator.
///
/// Several threads may evaluate one object at once, while none changes it.
class KR_EXPORT KrMultipointScalarFunction
    : public KrTaggedElement<KrMultipointScalarFunction, KrBaseScalarFunction,
                             KrFunction::KrMultipointScalarFunctionToken> {
public:
    double evaluate(double const& x) const override;

    /// The abscissae x(k), ascending, in the unit of x. Default: empty.
    /// Admissible: -INF < x(0) < x(1) < ... < INF, not checked. Out of order, f uses the first
    /// segment whose end is not below x. A segment with an infinite or NaN end gives NaN, and so
    /// does every x beyond a NaN abscissa. Add points where f bends.
    virtual KrXmlRealVector const& domainValues() const { return domainValues_; }
    virtual void setDomainValues(KrXmlRealVector const& values) { domainValues_ = values; }
    /// The values y(k), one for each abscissa, in the unit of the function. Default: empty.
    /// Admissible: -INF < y(k) < INF. An infinite or NaN value makes f infinite or NaN on both
    /// neighbouring segments. Change them to change f without moving its bends.
    virtual KrXmlRealVector const& rangeValues() const { return rangeValues_; }
    virtual void setRangeValues(KrXmlRealVector const& values) { rangeValues_ = values; }

    /// The same as `creator`.
    KR_EXPORT static KrXmlObject* xmlObjectCreator() { return creator(); }

    /// Registers the range before the domain, which is their order in documents.
    void registerComponents() override;

    bool operator==(KrMultipointScalarFunction const&) const = default;

private:
    KrXmlRealVector rangeValues_;
    KrXmlRealVector domainValues_;
};

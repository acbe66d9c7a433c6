#pragma once

#include "foundation/xml/KrXmlVectorType.h"
#include "function/object/KrFunction.h"
#include "function/scalar/KrBaseScalarFunction.h"

/// The piecewise linear function through the points (x(k), y(k)), continued
/// beyond both ends along the first and the last segment:
///
///     f(x) = ((xa - x) yb + (x - xb) ya) / (xa - xb)
///
/// with a and b the ends of the segment. An x that is an abscissa belongs to the
/// segment that ends there.
///
///     <multipointScalarFunction>
///       <rangeValues count="3"><item>0</item><item>10</item><item>0</item></rangeValues>
///       <domainValues count="3"><item>0</item><item>1</item><item>2</item></domainValues>
///     </multipointScalarFunction>
///
/// The abscissae are expected in ascending order, which is not checked: the
/// segment is the one that ends at the first abscissa not below x. What the
/// longer list has more than the other is passed over. One point, or range values
/// without a domain, make a constant, the first range value; no range values 0.0.
/// Where a segment's abscissae are equal, a table value is returned: that of
/// the second point below the table, of the last one above it. NaN counts as
/// below the table, and gives NaN unless a table value is returned.
///
/// Cost: the abscissae are scanned from the first on, so that an evaluation takes
/// time in proportion to the number of points below x, some milliseconds for a
/// million of them; a table of that size belongs into an interpolator.
class KR_EXPORT KrMultipointScalarFunction
    : public KrTaggedElement<KrMultipointScalarFunction, KrBaseScalarFunction,
                             KrFunction::KrMultipointScalarFunctionToken> {
public:
    double evaluate(double const& x) const override;

    /// The abscissae x(k), in ascending order.
    virtual KrXmlRealVector const& domainValues() const { return domainValues_; }
    virtual void setDomainValues(KrXmlRealVector const& values) { domainValues_ = values; }
    /// The values y(k).
    virtual KrXmlRealVector const& rangeValues() const { return rangeValues_; }
    virtual void setRangeValues(KrXmlRealVector const& values) { rangeValues_ = values; }

    /// The same as `creator`.
    KR_EXPORT static KrXmlObject* xmlObjectCreator() { return creator(); }

    /// In documents the range comes first.
    void registerComponents() override;

    bool operator==(KrMultipointScalarFunction const&) const = default;

private:
    KrXmlRealVector rangeValues_;
    KrXmlRealVector domainValues_;
};

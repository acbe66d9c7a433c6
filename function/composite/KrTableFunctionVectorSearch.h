#pragma once

#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/composite/KrCompositeTokens.h"
#include "function/composite/KrVectorSearch.h"

/// One dimension of a table in a document: its breakpoints and how they are searched.
/// `KrVectorSearch` defines the options.
///
///     <tableFunctionVectorSearch searchOption="bisection"
///         lowerBoundaryOption="limit" upperBoundaryOption="extrapolate">
///       <independentVector count="3">
///         <item>0</item><item>5</item><item>20</item>
///       </independentVector>
///     </tableFunctionVectorSearch>
///
/// Reading prepares `dimension` for look-ups. After a setter call `init`.
class KR_EXPORT KrTableFunctionVectorSearch
    : public KrTaggedElement<KrTableFunctionVectorSearch, KrXmlCompoundType,
                             KrFunction::KrTableFunctionVectorSearchToken> {
public:
    /// The behaviour at one end of the table and beyond it.
    using BOUNDARY_OPTION = KrVectorSearchEnums::BOUNDARY_OPTION;
    /// How the segment of a value inside the table is found.
    using SEARCH_OPTION = KrVectorSearchEnums::SEARCH_OPTION;

    /// Builds the search from breakpoints and options. Returns true.
    virtual KrBoolean init();

    /// Sets the breakpoints.
    virtual void independentVector(KrRealVector const& vector);
    /// Sets the behaviour at and before the first breakpoint. Numbers that are no option extrapolate.
    virtual void lowerBoundaryOption(BOUNDARY_OPTION const& option);
    /// Sets the behaviour at and beyond the last breakpoint. Numbers that are no option extrapolate.
    virtual void upperBoundaryOption(BOUNDARY_OPTION const& option);
    /// Sets how the segment is found. With a number that is no option, each look-up prints a message
    /// and uses the segment found last.
    virtual void searchOption(SEARCH_OPTION const& option);

    /// The search that the last `init` built.
    virtual KrVectorSearch<double> const& dimension() const { return dimension_; }

    /// The breakpoints v(k), strictly monotone, in the unit of the variable. Default: empty.
    /// Admissible: two or more, all v(k) < v(k+1) or all v(k) > v(k+1), finite, not checked. One
    /// breakpoint makes a constant, none gives NaN. Out of order, a look-up finds some segment
    /// of the table. Equal, infinite or NaN neighbours give infinite or NaN values between them.
    KrXmlRealVector const& independentVector() const { return independentVector_; }
    /// The behaviour before the first breakpoint: `limit` holds its value, `extrapolate`
    /// extends the first segment. Default: limit.
    /// Another text is refused.
    /// "First" is as stored: of a descending table it is the largest breakpoint.
    BOUNDARY_OPTION lowerBoundaryOption() const {
        return static_cast<BOUNDARY_OPTION>(lowerBoundaryOption_.value());
    }
    /// The behaviour beyond the last breakpoint: `limit` holds its value, `extrapolate`
    /// extends the last segment. Default: limit.
    /// Another text is refused.
    /// "Last" is as stored: of a descending table it is the smallest breakpoint.
    BOUNDARY_OPTION upperBoundaryOption() const {
        return static_cast<BOUNDARY_OPTION>(upperBoundaryOption_.value());
    }
    /// How the segment is found: `linear` walks from the one found last, `bisection`
    /// halves the table, `equal_spaced` computes it. Default: linear.
    /// `linear` assumes breakpoints 1 apart. Choose `bisection` for any other table, and
    /// `equal_spaced` only if every step v(k+1) - v(k) equals the first, which is not checked.
    /// Another text is refused.
    SEARCH_OPTION searchOption() const { return static_cast<SEARCH_OPTION>(searchOption_.value()); }

    KrBoolean read(KrXmlReader& reader) override;
    void registerComponents() override;

    bool operator==(KrTableFunctionVectorSearch const&) const = default;

private:
    KrXmlRealVector independentVector_;
    KrXmlEnumType<unsigned short> searchOption_;
    KrXmlEnumType<unsigned short> lowerBoundaryOption_;
    KrXmlEnumType<unsigned short> upperBoundaryOption_;
    KrVectorSearch<double> dimension_;
};

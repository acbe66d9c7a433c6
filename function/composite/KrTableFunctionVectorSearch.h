#pragma once

#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/composite/KrVectorSearch.h"
#include "function/object/KrFunction.h"

/// One dimension of a table in a document: its breakpoints, and how they are
/// searched. `KrVectorSearch` says what the options mean.
///
///     <tableFunctionVectorSearch searchOption="bisection"
///         lowerBoundaryOption="limit" upperBoundaryOption="extrapolate">
///       <independentVector count="3"><item>0</item><item>5</item><item>20</item></independentVector>
///     </tableFunctionVectorSearch>
///
/// Breakpoints are in units of the variable. The search options are "linear" (the
/// default), "bisection" and "equal_spaced"; at each end it is "limit" (the default)
/// or "extrapolate". After reading, `dimension` is ready for look-ups; after setting
/// anything, `init` makes it so.
class KR_EXPORT KrTableFunctionVectorSearch
    : public KrTaggedElement<KrTableFunctionVectorSearch, KrXmlCompoundType,
                             KrFunction::KrTableFunctionVectorSearchToken> {
public:
    /// What happens at one end of the table and beyond it.
    using BOUNDARY_OPTION = KrVectorSearchEnums::BOUNDARY_OPTION;
    /// How the segment of a value inside the table is found.
    using SEARCH_OPTION = KrVectorSearchEnums::SEARCH_OPTION;

    /// Makes the search from breakpoints and options. True.
    virtual KrBoolean init();

    /// Sets the breakpoints.
    virtual void independentVector(KrRealVector const& vector);
    /// Sets what happens at the first breakpoint.
    virtual void lowerBoundaryOption(BOUNDARY_OPTION const& option);
    /// Sets what happens at the last breakpoint.
    virtual void upperBoundaryOption(BOUNDARY_OPTION const& option);
    /// Sets how the segment is found.
    virtual void searchOption(SEARCH_OPTION const& option);

    /// The search, as the last `init` made it.
    virtual KrVectorSearch<double> const& dimension() const { return dimension_; }

    /// The breakpoints, at least two, in units of the variable.
    KrXmlRealVector const& independentVector() const { return independentVector_; }
    /// What happens before the first breakpoint: `limit` holds its value, `extrapolate`
    /// extends the first segment.
    BOUNDARY_OPTION lowerBoundaryOption() const {
        return static_cast<BOUNDARY_OPTION>(lowerBoundaryOption_.value());
    }
    /// What happens behind the last breakpoint: `limit` holds its value, `extrapolate`
    /// extends the last segment.
    BOUNDARY_OPTION upperBoundaryOption() const {
        return static_cast<BOUNDARY_OPTION>(upperBoundaryOption_.value());
    }
    /// How the segment is found: `linear` walks from the one found last, `bisection`
    /// halves the table, `equal_spaced` computes it.
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

#pragma once

#include "foundation/xml/KrElement.h"
#include "function/composite/KrCompositeFunctionElement.h"
#include "function/composite/KrInterpolator.h"
#include "function/composite/KrTableFunctionVectorSearch.h"
#include "function/object/KrFunction.h"

/// Tables over a grid as a composite function: multilinear interpolation
/// (`KrInterpolator`) of one value for each table.
///
///     <tableFunctionInterpolator>
///       <independentData count="1">
///         <tableFunctionVectorSearch searchOption="linear" lowerBoundaryOption="limit"
///             upperBoundaryOption="extrapolate">
///           <independentVector count="2"><item>0</item><item>1</item></independentVector>
///         </tableFunctionVectorSearch>
///       </independentData>
///       <dependentData count="1">
///         <item count="2"><item>10</item><item>20</item></item>
///       </dependentData>
///     </tableFunctionInterpolator>
///
/// Each table is flat, the first variable varying fastest. An evaluation always
/// succeeds: outside the grid each dimension limits or extrapolates as it says. A
/// table that is too short for the grid gives NaN where it lacks a value.
///
/// After reading, the element is ready; after setting anything, `init` makes it so. A table
/// of more than 64 axes is neither read nor written.
/// It holds each value twice, for documents and for evaluation, in 32 bytes.
class KR_EXPORT KrTableFunctionInterpolator
    : public KrTaggedElement<KrTableFunctionInterpolator, KrCompositeFunctionElement,
                             KrFunction::KrTableFunctionInterpolatorToken> {
public:
    /// The dimensions, the fastest first.
    using IndependentData = KrXmlVectorType<KrTableFunctionVectorSearch>;
    /// One flat list for each table.
    using DependentData = KrXmlVectorType<KrXmlRealVector>;

    using KrTaggedElement::KrTaggedElement;

    KrRealVector const& evaluate(KrRealVector const& point, KrBoolean& ok) const override;
    Bounds const& initBounds() override;
    Flags const& initLimitOrExtrapolate() override;

    /// Makes the interpolator from both components. True.
    virtual KrBoolean init();

    /// Adds a table.
    virtual void dependentDataPushBack(KrRealVector const& table);
    /// Adds a dimension.
    virtual void independentDataPushBack(KrTableFunctionVectorSearch const& search);

    /// The dimensions of the grid: breakpoints and options of each.
    IndependentData const& independentData() const { return independentData_; }
    void setIndependentData(IndependentData const& data) { independentData_ = data; }
    /// One flat table for each dependent value, the first dimension varying fastest.
    DependentData const& dependentData() const { return dependentData_; }
    void setDependentData(DependentData const& data) { dependentData_ = data; }

    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;
    void registerComponents() override;

    bool operator==(KrTableFunctionInterpolator const&) const = default;

private:
    IndependentData independentData_;
    DependentData dependentData_;
    KrInterpolator<double> interpolator_;
};

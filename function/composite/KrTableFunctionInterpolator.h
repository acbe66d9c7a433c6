#pragma once

#include "foundation/xml/KrElement.h"
#include "function/composite/KrCompositeFunctionElement.h"
#include "function/composite/KrCompositeTokens.h"
#include "function/composite/KrInterpolator.h"
#include "function/composite/KrTableFunctionVectorSearch.h"

/// Tables over a grid as a composite function: multilinear interpolation of one value for each
/// table. The look-ups are those of `KrInterpolator`.
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
/// Each table is flat; its first variable varies fastest. `evaluate` always sets `ok` to true:
/// outside the grid, the boundary options of each dimension apply.
///
/// Reading prepares the element for evaluation. After a setter call `init`. The element holds
/// each value twice, for documents and for evaluation, in 32 bytes.
///
/// One thread at a time uses an object.
class KR_EXPORT KrTableFunctionInterpolator
    : public KrTaggedElement<KrTableFunctionInterpolator, KrCompositeFunctionElement,
                             KrFunction::KrTableFunctionInterpolatorToken> {
public:
    /// The dimensions; the first varies fastest.
    using IndependentData = KrXmlVectorType<KrTableFunctionVectorSearch>;
    /// One flat list of values for each table.
    using DependentData = KrXmlVectorType<KrXmlRealVector>;

    using KrTaggedElement::KrTaggedElement;

    KrRealVector const& evaluate(KrRealVector const& point, KrBoolean& ok) const override;
    Bounds const& initBounds() override;
    Flags const& initLimitOrExtrapolate() override;

    /// Builds the interpolator from both components. Returns true.
    virtual KrBoolean init();

    /// Appends a table.
    virtual void dependentDataPushBack(KrRealVector const& table);
    /// Appends a dimension.
    virtual void independentDataPushBack(KrTableFunctionVectorSearch const& search);

    /// The dimensions of the grid: breakpoints and options of each. Default: empty.
    /// Admissible: 0 <= dimensions <= 64. With none the function is constant; with more than 64
    /// reading and writing are refused. A dimension without breakpoints makes all values NaN.
    /// Add a dimension if the values depend on one more variable.
    IndependentData const& independentData() const { return independentData_; }
    void setIndependentData(IndependentData const& data) { independentData_ = data; }
    /// One flat table for each dependent value, the first dimension varying fastest. Default:
    /// empty. Admissible: size >= n0 n1 ... of the numbers of breakpoints, in the unit of the
    /// value, not checked. Values beyond that are ignored; cells that lack a value give NaN. An
    /// infinite or NaN value makes each cell at its corner infinite or NaN. Add a table for a
    /// further value over the same grid: one look-up then serves both.
    DependentData const& dependentData() const { return dependentData_; }
    void setDependentData(DependentData const& data) { dependentData_ = data; }

    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;
    void registerComponents() override;

    bool operator==(KrTableFunctionInterpolator const&) const = default;

private:
    friend class KrFrozenFunction;

    IndependentData independentData_;
    DependentData dependentData_;
    KrInterpolator<double> interpolator_;
};

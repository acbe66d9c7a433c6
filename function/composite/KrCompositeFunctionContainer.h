#pragma once

#include "foundation/xml/KrElement.h"
#include "function/composite/KrCompositeFunctionElement.h"
#include "function/composite/KrCompositeTokens.h"
#include "function/object/KrBaseExpressionTreeContainer.h"

/// Owns and evaluates a composite function: a table, or a tree of branches over tables that
/// cover different regions.
///
///     <compositeFunctionContainer>
///       <compositeFunctionBranch>
///         <tableFunctionInterpolator> ... </tableFunctionInterpolator>
///         <tableFunctionInterpolator> ... </tableFunctionInterpolator>
///       </compositeFunctionBranch>
///     </compositeFunctionContainer>
///
/// `setTopElement` and reading compute the boxes of the whole tree and set the container of
/// every element. If you change the tree afterwards, call
/// `container.setTopElement(*container.topElement())`; until then the old boxes are used.
///
/// `setAndDeleteTopElementPointer` takes the element as it is and computes no boxes. A new
/// branch set that way gives `ok` false everywhere until you call `setTopElement` as above, or
/// `initBounds` and `initLimitOrExtrapolate` of the element. `bounds` of the container are
/// those of the last `setTopElement` or reading.
///
/// One thread at a time uses an object.
class KR_EXPORT KrCompositeFunctionContainer
    : public KrElement<KrCompositeFunctionContainer,
                       KrBaseExpressionTreeContainer<KrCompositeFunctionElement>,
                       KrFunction::KrCompositeFunctionContainerToken> {
public:
    /// Two numbers for each variable: the smallest and the largest value.
    using Bounds = KrCompositeFunctionElement::Bounds;

    KrCompositeFunctionContainer() = default;
    KrCompositeFunctionContainer(KrCompositeFunctionContainer const&) = default;
    /// Clones the element. `source` may be part of the present one.
    KrCompositeFunctionContainer& operator=(KrCompositeFunctionContainer const& source);
    /// Moves the element. `source` may be part of the present one.
    KrCompositeFunctionContainer& operator=(KrCompositeFunctionContainer&& source) noexcept;
    ~KrCompositeFunctionContainer() override = default;

    /// Sets `y` to the values at `x` and `ok` to whether the tree covers `x`. If `ok` is false,
    /// `y` gets the values of an earlier evaluation. If there is no top element, `ok` is false
    /// and `y` is unchanged.
    virtual void evaluate(KrRealVector const& x, KrRealVector& y, KrBoolean& ok) const;

    /// The smallest and the largest value of each variable that the tree covers.
    virtual Bounds const& bounds() const { return bounds_; }

    /// Stores a clone of `element` and computes the boxes of its tree.
    void setTopElement(KrCompositeFunctionElement const& element) override;
    void setTopElementContainerToThis() override;
    KrBoolean read(KrXmlReader& reader) override;
    void registerComponentCreators() override;

    bool operator==(KrCompositeFunctionContainer const&) const = default;

private:
    void prepareTopElement();

    Bounds bounds_;
};

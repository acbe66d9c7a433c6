#pragma once

#include "foundation/xml/KrElement.h"
#include "function/composite/KrCompositeFunctionElement.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrFunction.h"

/// Owner and entry point of a composite function: a table, or a tree of branches
/// over tables that cover different regions.
///
///     <compositeFunctionContainer>
///       <compositeFunctionBranch>
///         <tableFunctionInterpolator> ... </tableFunctionInterpolator>
///         <tableFunctionInterpolator> ... </tableFunctionInterpolator>
///       </compositeFunctionBranch>
///     </compositeFunctionContainer>
///
/// `setTopElement`, and reading, determine the boxes of the whole tree and give every
/// element in it this container, by which branches create their children. What changes
/// inside the tree afterwards does so only when the top element is set again, by
/// `container.setTopElement(*container.topElement())`.
///
/// `setAndDeleteTopElementPointer` takes the element as it is and determines no boxes:
/// a new branch then answers nowhere, `ok` being false, until `setTopElement` follows as
/// above, or `initBounds` and `initLimitOrExtrapolate` of the element. The container's
/// own `bounds` are those of the last `setTopElement` or reading.
class KR_EXPORT KrCompositeFunctionContainer
    : public KrElement<KrCompositeFunctionContainer,
                       KrBaseExpressionTreeContainer<KrCompositeFunctionElement>,
                       KrFunction::KrCompositeFunctionContainerToken> {
public:
    /// For each variable two numbers, the smallest and the largest value.
    using Bounds = KrCompositeFunctionElement::Bounds;

    KrCompositeFunctionContainer() = default;
    KrCompositeFunctionContainer(KrCompositeFunctionContainer const&) = default;
    /// Takes a clone of the element. `source` may be part of the present one.
    KrCompositeFunctionContainer& operator=(KrCompositeFunctionContainer const& source);
    /// Takes the element itself. `source` may be part of the present one.
    KrCompositeFunctionContainer& operator=(KrCompositeFunctionContainer&& source) noexcept;
    ~KrCompositeFunctionContainer() override = default;

    /// Sets `y` to the values at `x`; `ok` tells whether `x` is covered. Where it is
    /// not, `y` becomes the values of an earlier evaluation. Without a top element
    /// `ok` is false, and `y` is left as it was.
    virtual void evaluate(KrRealVector const& x, KrRealVector& y, KrBoolean& ok) const;

    /// For each variable the smallest and the largest value that the tree covers.
    virtual Bounds const& bounds() const { return bounds_; }

    /// Stores a clone of `element`, and prepares the tree.
    void setTopElement(KrCompositeFunctionElement const& element) override;
    void setTopElementContainerToThis() override;
    KrBoolean read(KrXmlReader& reader) override;
    void registerComponentCreators() override;

    bool operator==(KrCompositeFunctionContainer const&) const = default;

private:
    void prepareTopElement();

    Bounds bounds_;
};

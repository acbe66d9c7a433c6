#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrElement.h"
#include "function/composite/KrCompositeFunctionElement.h"
#include "function/composite/KrCompositeTokens.h"

/// Joins two composite functions. A point goes to the child whose box contains it, else to one
/// that may extrapolate to it, the left child first. A child is evaluated at most once.
///
///     <compositeFunctionBranch>
///       <tableFunctionInterpolator> ... </tableFunctionInterpolator>     left
///       <compositeFunctionBranch> ... </compositeFunctionBranch>         right
///     </compositeFunctionBranch>
///
/// The container creates the children, so a branch without a container cannot read any. A
/// third child in a document replaces the second. A branch with only a right child is read
/// back with only a left one, which has the same values.
///
/// If no child covers the point, `ok` is false and the values are those of an earlier
/// evaluation. These values belong to the branch and are compared by `==`. The box encloses
/// those of both children and the gap between them. Evaluation skips a missing child; with
/// one missing, the box is empty. An evaluation costs the box tests on its way and one table.
///
/// One thread at a time uses an object.
class KR_EXPORT KrCompositeFunctionBranch
    : public KrTaggedElement<KrCompositeFunctionBranch, KrCompositeFunctionElement,
                             KrFunction::KrCompositeFunctionBranchToken> {
public:
    using KrTaggedElement::KrTaggedElement;
    KrCompositeFunctionBranch() = default;
    KrCompositeFunctionBranch(KrCompositeFunctionBranch const&) = default;
    /// Clones the children and sets their container to this branch's. `source` may be part of
    /// a child.
    KrCompositeFunctionBranch& operator=(KrCompositeFunctionBranch const& source);
    ~KrCompositeFunctionBranch() override = default;

    KrRealVector const& evaluate(KrRealVector const& point, KrBoolean& ok) const override;
    Bounds const& initBounds() override;
    Flags const& initLimitOrExtrapolate() override;

    /// The first child, null if there is none. Default: none.
    virtual KrCompositeFunctionElement* left() const { return left_.get(); }
    /// Replaces the first child by a clone of `element`. The boxes of the tree follow with the
    /// container's next `setTopElement`.
    virtual void setLeft(KrCompositeFunctionElement const& element);
    /// The second child, null if there is none. Default: none.
    virtual KrCompositeFunctionElement* right() const { return right_.get(); }
    /// Replaces the second child by a clone of `element`, likewise.
    virtual void setRight(KrCompositeFunctionElement const& element);

    /// Sets the container of the whole subtree.
    void setContainer(KrXmlBaseVariableCompoundType const* container) override;

    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;
    void writeSchema(KrXmlSchema& schema) const override;
    KrBoolean readValueFromSpecialToken(KrToken const& token, KrXmlReader& reader) override;

    bool operator==(KrCompositeFunctionBranch const&) const = default;

private:
    using Child = KrOwned<KrCompositeFunctionElement>;

    void setChild(Child& child, KrCompositeFunctionElement const& element);

    Child left_;
    Child right_;
    mutable KrRealVector result_;
};

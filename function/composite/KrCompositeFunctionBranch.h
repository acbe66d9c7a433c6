#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrElement.h"
#include "function/composite/KrCompositeFunctionElement.h"
#include "function/object/KrFunction.h"

/// Joins two composite functions: a point is handed to the child whose box
/// contains it, else to one that may extrapolate to it, the left one first. A child is
/// asked once for a point.
///
///     <compositeFunctionBranch>
///       <tableFunctionInterpolator> ... </tableFunctionInterpolator>     left
///       <compositeFunctionBranch> ... </compositeFunctionBranch>         right
///     </compositeFunctionBranch>
///
/// The children are created by the container, so that a branch which has none
/// reads none. A third child of a document replaces the second.
///
/// When no child has an answer, `ok` is false and the values are those of an
/// earlier evaluation; they are kept, and compared, as part of the branch. The box
/// encloses those of both children, the gap between them included; a missing child
/// is passed over in evaluation, and makes the box empty. An evaluation costs the
/// tests of the boxes on its way, and one table.
class KR_EXPORT KrCompositeFunctionBranch
    : public KrTaggedElement<KrCompositeFunctionBranch, KrCompositeFunctionElement,
                             KrFunction::KrCompositeFunctionBranchToken> {
public:
    using KrTaggedElement::KrTaggedElement;
    KrCompositeFunctionBranch() = default;
    KrCompositeFunctionBranch(KrCompositeFunctionBranch const&) = default;
    /// Takes clones of the children, and gives them this branch's container. `source`
    /// may be part of a child.
    KrCompositeFunctionBranch& operator=(KrCompositeFunctionBranch const& source);
    ~KrCompositeFunctionBranch() override = default;

    KrRealVector const& evaluate(KrRealVector const& point, KrBoolean& ok) const override;
    Bounds const& initBounds() override;
    Flags const& initLimitOrExtrapolate() override;

    /// The first child, null when there is none.
    virtual KrCompositeFunctionElement* left() const { return left_.get(); }
    /// Stores a clone of `element` in place of the first child.
    virtual void setLeft(KrCompositeFunctionElement const& element);
    /// The second child, null when there is none.
    virtual KrCompositeFunctionElement* right() const { return right_.get(); }
    /// Stores a clone of `element` in place of the second child.
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

#pragma once

#include "foundation/xml/KrXmlCompoundType.h"

class KrXmlBaseVariableCompoundType;

/// Base of the elements that a container can hold. An element knows its
/// container, when it was told, and never owns it. The container belongs to the
/// place, not to the value: a copy has none, and an assignment keeps the
/// target's own.
class KR_EXPORT KrBaseExpressionTreeElement : public KrXmlCompoundType {
public:
    KrBaseExpressionTreeElement() = default;
    /// An element that knows its container, which must outlive it; null is none.
    explicit KrBaseExpressionTreeElement(KrXmlBaseVariableCompoundType const* container);

    /// The container given last, null when there is none.
    virtual KrXmlBaseVariableCompoundType const* container() const;
    virtual void setContainer(KrXmlBaseVariableCompoundType const* container);

    bool operator==(KrBaseExpressionTreeElement const&) const = default;

private:
    KrScratch<KrXmlBaseVariableCompoundType const*> container_;
};

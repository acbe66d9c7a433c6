#pragma once

#include "foundation/xml/KrXmlCompoundType.h"

class KrXmlBaseVariableCompoundType;

/// Base of the elements that a container can hold. An element points to its container, if it
/// has one, and does not own it. The container is no part of the value: a copy has none, and
/// an assignment keeps that of the target.
class KR_EXPORT KrBaseExpressionTreeElement : public KrXmlCompoundType {
public:
    KrBaseExpressionTreeElement() = default;
    /// An element of `container`, which must outlive it; null for none.
    explicit KrBaseExpressionTreeElement(KrXmlBaseVariableCompoundType const* container);

    /// The container that was set last, null if there is none.
    virtual KrXmlBaseVariableCompoundType const* container() const;
    virtual void setContainer(KrXmlBaseVariableCompoundType const* container);

    bool operator==(KrBaseExpressionTreeElement const&) const = default;

private:
    KrScratch<KrXmlBaseVariableCompoundType const*> container_;
};

#pragma once

#include "foundation/xml/KrElement.h"
#include "function/object/KrXmlVariableVectorType.h"
#include "search/KrSearchVariable.h"

/// The unknowns of a search, in the order of a point's coordinates.
///
///     <variables><variable> ... </variable><variable> ... </variable></variables>
///
/// Use one object in one thread at a time.
class KR_EXPORT KrSearchVariableVector
    : public KrElement<KrSearchVariableVector, KrXmlVariableVectorType<KrSearchVariable>,
                       KrSearchNames::KrVariablesToken> {
public:
    using KrElement::KrElement;

    void registerComponentCreators() override;

    bool operator==(KrSearchVariableVector const&) const = default;
};

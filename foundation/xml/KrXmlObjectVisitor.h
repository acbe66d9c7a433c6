#pragma once

#include "foundation/core/KrExport.h"

class KrXmlBaseVariableCompoundType;
class KrXmlCompoundType;
class KrXmlObject;

/// Told by an object's `accept` of what kind it is. A visit that is not
/// overridden goes to the more general one, and that for any object does
/// nothing.
class KR_EXPORT KrXmlObjectVisitor {
public:
    virtual ~KrXmlObjectVisitor();

    /// Called with values, and whatever the two below pass on.
    virtual void visit(KrXmlObject* object);
    /// Called with elements that are made of components.
    virtual void visit(KrXmlCompoundType* object);
    /// Called with containers and element vectors.
    virtual void visit(KrXmlBaseVariableCompoundType* object);
};

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

    virtual void visit(KrXmlObject* object);
    virtual void visit(KrXmlCompoundType* object);
    virtual void visit(KrXmlBaseVariableCompoundType* object);
};

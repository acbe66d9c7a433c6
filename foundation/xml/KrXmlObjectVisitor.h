#pragma once

#include "foundation/core/KrExport.h"

class KrXmlBaseVariableCompoundType;
class KrXmlCompoundType;
class KrXmlObject;

/// An object's `accept` calls the `visit` for its kind. If you do not override a `visit` of
/// elements or containers, it calls the one for any object, which does nothing.
class KR_EXPORT KrXmlObjectVisitor {
public:
    virtual ~KrXmlObjectVisitor();

    /// Visits a value, or any object that the two others pass on.
    virtual void visit(KrXmlObject* object);
    /// Visits an element made of components.
    virtual void visit(KrXmlCompoundType* object);
    /// Visits a container or an element vector.
    virtual void visit(KrXmlBaseVariableCompoundType* object);
};

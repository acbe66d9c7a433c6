#include "function/composite/KrFrozenComposite.h"

#include "function/composite/KrCompositeFunctionContainer.h"

KR_SOURCE_VERSION;

KrFrozenComposite::KrFrozenComposite(KrCompositeFunctionContainer const& composite)
    : KrFrozenFunction(composite.topElement()) {}

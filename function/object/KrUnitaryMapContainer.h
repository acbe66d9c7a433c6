#pragma once

#include "foundation/xml/KrElement.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrContainerTokens.h"
#include "function/scalar/KrBaseUnitaryMap.h"

/// A container of one map, to which it forwards evaluation. Empty, it is the identity.
///
///     <unitaryMapContainer><powerUnitaryMap> ... </powerUnitaryMap></unitaryMapContainer>
class KR_EXPORT KrUnitaryMapContainer
    : public KrElement<KrUnitaryMapContainer, KrBaseExpressionTreeContainer<KrBaseUnitaryMap>,
                       KrFunction::KrUnitaryMapContainerToken> {
public:
    /// The value of the map at `x`, or `x` if the container is empty.
    virtual double evaluate(double const& x) const;

    void registerComponentCreators() override;

    bool operator==(KrUnitaryMapContainer const&) const = default;
};

#pragma once

#include "foundation/xml/KrElement.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrFunction.h"
#include "function/scalar/KrBaseUnitaryMap.h"

/// A container of one map, which evaluates in its place; the identity without
/// one.
///
///     <unitaryMapContainer><powerUnitaryMap> ... </powerUnitaryMap></unitaryMapContainer>
class KR_EXPORT KrUnitaryMapContainer
    : public KrElement<KrUnitaryMapContainer, KrBaseExpressionTreeContainer<KrBaseUnitaryMap>,
                       KrFunction::KrUnitaryMapContainerToken> {
public:
    /// The map's `evaluate`; `x` without a map.
    virtual double evaluate(double const& x) const;

    void registerComponentCreators() override;

    bool operator==(KrUnitaryMapContainer const&) const = default;
};

#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

/// The names of tools. They are a part of `KrFunction.h`, so that a new name rebuilds this
/// folder and its users, not the whole library.
namespace KrFunction {

/// An element, a component, or the text of an enumeration.
extern KR_EXPORT KrToken const KrGaussQuadratureToken;
extern KR_EXPORT KrToken const KrOrderToken;

}  // namespace KrFunction

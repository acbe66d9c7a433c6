#pragma once

#include "foundation/core/KrTypes.h"
#include "function/scalar/KrBaseScalarFunction.h"

#include <string>

namespace KrLintRules {

/// What keeps `function` from being a correlation at the distances 0, `spacing`, ... of which
/// there are `count`: a sentence with the first such distance. Empty if nothing does.
std::string correlationFault(KrBaseScalarFunction const& function, KrU32 count, double spacing);

}  // namespace KrLintRules

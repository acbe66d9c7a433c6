#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <string>

/// The digits of `value` in base `radix`, 2 to 36, in lower case. Empty for any other
/// radix.
KR_EXPORT std::string KrINT2STRING(KrU32 value, KrU32 radix);

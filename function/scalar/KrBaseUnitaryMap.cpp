#include "function/scalar/KrBaseUnitaryMap.h"

KR_SOURCE_VERSION;

KrBaseUnitaryMap::~KrBaseUnitaryMap() = default;

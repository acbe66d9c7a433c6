#include "function/scalar/KrBaseScalarFunction.h"

KR_SOURCE_VERSION;

KrBaseScalarFunction::~KrBaseScalarFunction() = default;

#include "foundation/math/KrRealRealUnaryFunction.h"

KR_SOURCE_VERSION;

KrRealRealUnaryFunction::~KrRealRealUnaryFunction() = default;

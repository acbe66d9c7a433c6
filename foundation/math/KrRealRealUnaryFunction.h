#pragma once

#include "foundation/core/KrExport.h"

/// A function from double to double, for a client to derive from.
class KR_EXPORT KrRealRealUnaryFunction {
public:
    virtual ~KrRealRealUnaryFunction();

    virtual double evaluate(double x) const = 0;
};

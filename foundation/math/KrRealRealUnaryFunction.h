#pragma once

#include "foundation/core/KrExport.h"

/// A function from double to double, for a client to derive from.
class KR_EXPORT KrRealRealUnaryFunction {
public:
    virtual ~KrRealRealUnaryFunction();

    /// The value at `x`. What a function makes of an `x` outside its domain is its own
    /// affair.
    virtual double evaluate(double x) const = 0;
};

#pragma once

#include "foundation/core/KrExport.h"

/// A function from double to double. Derive yours from it.
class KR_EXPORT KrRealRealUnaryFunction {
public:
    virtual ~KrRealRealUnaryFunction();

    /// The value at `x`. Each function defines what it returns outside of its domain.
    virtual double evaluate(double x) const = 0;
};

#pragma once

#include "function/composite/KrFrozenFunction.h"
#include "function/composite/KrInterpolator.h"

class KrTableFunctionInterpolator;

/// The tables of one grid, frozen: an immutable copy of a `KrInterpolator<double>` or a
/// `KrTableFunctionInterpolator`. `KrFrozenFunction` has the operations.
///
/// Like the live table it answers at every point. It copies the values and shares the
/// breakpoints. An object of a derived class, and a search option that is none of the three, are
/// refused: a message is printed, and the frozen table is empty.
class KR_EXPORT KrFrozenTable : public KrFrozenFunction {
public:
    /// An empty object, which answers nothing.
    KrFrozenTable() = default;
    /// Freezes tables and dimensions as they are now.
    explicit KrFrozenTable(KrInterpolator<double> const& table);
    /// Freezes the table as its last `init` or reading built it.
    explicit KrFrozenTable(KrTableFunctionInterpolator const& table);
};

#pragma once

#include "function/composite/KrFrozenFunction.h"

class KrCompositeFunctionContainer;

/// A composite function, frozen: an immutable copy of the tree in a `KrCompositeFunctionContainer`.
/// `KrFrozenFunction` has the operations.
///
/// A point goes to the table that answers in the live tree, with the boxes that the tree has when
/// it is frozen. If no table answers, the values are NaN and the point is not answered; a live
/// branch keeps the values of an earlier evaluation. All tables of a block are evaluated in one
/// pass, which sorts the points by table.
///
/// The tree may consist of `KrTableFunctionInterpolator` and `KrCompositeFunctionBranch`. An
/// element of another class, and a search option that is none of the three, are refused: a
/// message is printed, and the frozen composite is empty.
class KR_EXPORT KrFrozenComposite : public KrFrozenFunction {
public:
    /// An empty object, which answers nothing.
    KrFrozenComposite() = default;
    /// Freezes the tree as it is now. An empty container gives an empty object.
    explicit KrFrozenComposite(KrCompositeFunctionContainer const& composite);
};

#include "function/composite/KrFrozenTable.h"

#include "function/composite/KrTableFunctionInterpolator.h"

KR_SOURCE_VERSION;

KrFrozenTable::KrFrozenTable(KrInterpolator<double> const& table) : KrFrozenFunction(table) {}

KrFrozenTable::KrFrozenTable(KrTableFunctionInterpolator const& table) : KrFrozenFunction(&table) {}

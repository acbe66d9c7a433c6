#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

/// The names of tables and trees of them. They are a part of `KrFunction.h`, so that a new name
/// rebuilds this folder and its users, not the whole library.
namespace KrFunction {

/// An element, a component, or the text of an enumeration.
extern KR_EXPORT KrToken const KrCompositeFunctionBranchToken;
extern KR_EXPORT KrToken const KrCompositeFunctionContainerToken;
extern KR_EXPORT KrToken const KrDependentDataToken;
extern KR_EXPORT KrToken const KrIndependentDataToken;
extern KR_EXPORT KrToken const KrIndVectorToken;
extern KR_EXPORT KrToken const KrTableFunctionInterpolatorToken;
extern KR_EXPORT KrToken const KrTableFunctionVectorSearchToken;

/// An attribute of the vector search, or an enumeration text of one. It has no namespace.
extern KR_EXPORT KrToken const KrIndLowerBoundaryToken;
extern KR_EXPORT KrToken const KrIndSearchToken;
extern KR_EXPORT KrToken const KrIndUpperBoundaryToken;
extern KR_EXPORT KrToken const KrBoundaryExtrapolateToken;
extern KR_EXPORT KrToken const KrBoundaryLimitToken;
extern KR_EXPORT KrToken const KrSearchBisectionToken;
extern KR_EXPORT KrToken const KrSearchEqualToken;
extern KR_EXPORT KrToken const KrSearchLinearToken;

}  // namespace KrFunction

#pragma once

#include "foundation/core/KrExport.h"

/// The options of a vector search. Documents hold the texts in quotes. A program can set other
/// values too; `KrVectorSearch` documents their effect.
class KR_EXPORT KrVectorSearchEnums {
public:
    /// The behaviour at one end of a table and beyond it.
    enum BOUNDARY_OPTION : int {
        LIMIT = 0,        ///< "limit": the result is held at the end breakpoint
        EXTRAPOLATE = 1,  ///< "extrapolate": the end segment is extrapolated
    };

    /// How the segment of a value inside the table is found.
    enum SEARCH_OPTION : int {
        LINEAR = 0,        ///< "linear": walk from the segment found last
        BISECTION = 1,     ///< "bisection": halve the table
        EQUAL_SPACED = 2,  ///< "equal_spaced": divide by the first spacing
    };
};

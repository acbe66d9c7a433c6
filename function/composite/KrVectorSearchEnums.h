#pragma once

#include "foundation/core/KrExport.h"

/// The options of a vector search. The values are those that documents' texts
/// stand for; any other value is possible in an object, and is no option.
class KR_EXPORT KrVectorSearchEnums {
public:
    /// What happens at one end of a table and beyond it.
    enum BOUNDARY_OPTION : int {
        LIMIT = 0,        ///< "limit": the result is held at the end breakpoint
        EXTRAPOLATE = 1,  ///< "extrapolate": the end segment goes on as a straight line
    };

    /// How the segment of a value inside the table is found.
    enum SEARCH_OPTION : int {
        LINEAR = 0,        ///< "linear": walk from the segment found last
        BISECTION = 1,     ///< "bisection": halve the table
        EQUAL_SPACED = 2,  ///< "equal_spaced": divide by the first spacing
    };
};

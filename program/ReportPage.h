#pragma once

#include "search/KrEvaluationRecord.h"

#include <ostream>

/// Writes a page for a browser about the search of `record`, which was loaded or has run. The page
/// fetches nothing, is well-formed XML too, and has no script. A record of a million evaluations
/// makes a page of about 100 KB for each ten variables, in a time linear in its evaluations.
///
/// The exact figures have elements of their own: `evaluations`, `made`, `failures`, `infeasible`,
/// `runs` and `best-value` by `id`, and the best point as `best-0`, `best-1` and so on.
void writeReportPage(std::ostream& out, KrEvaluationRecord const& record);

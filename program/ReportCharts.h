#pragma once

#include "program/ReportFigures.h"

#include <string>

/// The pictures of a report, each a `figure`, or a paragraph that says why there is none. Each
/// takes a time linear in the evaluations. Its size has a limit: what falls into one column of the
/// picture is drawn as one stroke.

/// The best feasible value over the evaluations, with the beginning of each run.
std::string bestValueFigure(ReportFigures const& figures);

/// Each of the first forty variables over the evaluations.
std::string variableFigures(ReportFigures const& figures);

/// Which worker evaluated when, for the first 32 workers. The runs are side by side.
std::string timeFigure(ReportFigures const& figures);

/// "0 to 10", "from 0 on", "up to 10" or "no bounds".
std::string boundsText(KrSearchVariable const& variable);

/// A time in its best unit.
std::string durationText(double seconds);

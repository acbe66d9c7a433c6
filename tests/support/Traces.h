#pragma once

#include "foundation/core/KrTypes.h"

#include <filesystem>
#include <string>
#include <vector>

/// One evaluation of a search: the point and the value, in a batch or alone.
struct Evaluation {
    bool inBatch;
    KrRealVector point;
    double value;
};

/// One search of a trace file: its start, its evaluations in order, and its result. A file
/// of traces/ is
///
///     settings <nelderMead> ... </nelderMead>
///     search minimum powell:1 3 -1 0 1       a search from that start point, with
///     B 0x1.8p+1 ... -> 0x1.aep+7            its evaluations in order: B in a batch,
///     S 0x1.0p+0 ... -> 0x1.5p+6             S alone; the point and the value;
///     = 0x1.0p-3 ...                         the result: value and point
///
/// and more searches of the same object. A second implementation of the published methods,
/// written apart from the library, made the files.
struct TracedSearch {
    std::string optimizer;  // the document of an optimizer container
    bool isNew;             // else the object of the search before goes on
    bool minimises;
    KrU32 dimension;
    KrRealVector start;
    std::vector<Evaluation> evaluations;
    KrRealVector found;  // value and point
};

/// The files below `folder`, in the order of their names.
std::vector<std::filesystem::path> traceFiles(std::filesystem::path const& folder);

std::vector<TracedSearch> readTrace(std::filesystem::path const& path);

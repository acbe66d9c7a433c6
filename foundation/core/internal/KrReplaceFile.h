#pragma once

#include <functional>
#include <iosfwd>
#include <string>

/// Replaces the file `path` atomically by what `write` puts into its stream. `write` fills a
/// new file in the same folder, which is then renamed to `path`: at every moment either
/// the old or the new file is complete. If `write` returns false or throws, the old file
/// stays. False, with a message, on failure.
///
/// No other thread or process has the name of the new file. An existing file keeps its
/// permissions, and its owner and group if the process may set them. If it may not set the
/// group, the group's permissions are cut to those of others. Access control lists, extended
/// attributes and further hard links are lost. An existing file that the process may not
/// write to is refused. Symbolic links are followed. If `path` is not a regular file but, say,
/// a pipe, `write` writes to it directly.
bool krReplaceFile(std::string const& path, std::function<bool(std::ostream&)> const& write);

#pragma once

#include <functional>
#include <iosfwd>
#include <string>

/// Fills the file `path` in one step with what `write` puts into the stream that it is
/// given: the new file is made beside `path` and then renamed over it, so that at every
/// moment the old or the new one is whole. Nothing is replaced if `write` is false or
/// throws. False, with a message, on failure.
///
/// The new file has a name of its own that no other thread or process has. An existing
/// file keeps its permissions, and its owner and group where the process may give them;
/// where it may not give the group, the group's permissions are cut to those of others.
/// Access control lists, extended attributes and further hard links are not kept. An
/// existing file that the process may not write to is refused. A symbolic link is
/// followed. What is no regular file, such as a pipe, is written to as it stands.
bool krReplaceFile(std::string const& path, std::function<bool(std::ostream&)> const& write);

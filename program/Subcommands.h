#pragma once

#include <string>
#include <vector>

// The subcommands of `zeibreku`. Each prints its result to standard output and its messages to
// standard error, and returns the exit status.

/// An exit status.
enum Status : int {
    Done = 0,      ///< nothing was wrong
    Refused = 1,   ///< something was refused or failed
    WrongCall = 2  ///< a bad argument; nothing was done
};

/// Replays a record and prints "same", or where the search now differs.
int runVerify(std::string const& record);
/// Prints one line for each fault of the files, or that a file is good.
int runCheck(std::vector<std::string> const& files);
/// Prints the XML Schema of all elements.
int runSchema();

#pragma once

#include "foundation/core/KrTypes.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

class KrCommandWorkers;
class KrEvaluationWorkers;

// The subcommands of `zeibreku`. Each prints its result to standard output and its messages to
// standard error, and returns the exit status.

/// An exit status.
enum Status : int {
    Done = 0,       ///< the search ended, or every file is good
    Refused = 1,    ///< something was refused or failed
    WrongCall = 2,  ///< a bad argument; nothing was done
    Linted = 3,     ///< nothing was refused, but lint has findings
    Stopped = 130   ///< a signal stopped the search; its record is complete
};

/// The arguments of `search`.
struct SearchCall {
    std::string file;                  ///< the search
    std::string record;                ///< the file of its record; empty for none
    KrU32 workers = 1;                 ///< how many commands run at once
    std::string report;                ///< where the report goes as XML; empty for nowhere
    bool isQuiet = false;              ///< whether no progress is shown
    std::vector<std::string> command;  ///< the program to run, and its arguments
};

/// The arguments of `table`. A list of options has one item for all axes, or one for each.
struct TableCall {
    std::string grid;                 ///< the rows of a grid, as CSV
    KrU32 axes = 0;                   ///< how many columns are coordinates
    std::vector<std::string> search;  ///< bisection, linear or equal_spaced
    std::vector<std::string> low;     ///< extrapolate or limit, below the smallest breakpoint
    std::vector<std::string> high;    ///< the same beyond the largest one
    bool hasDecimalComma = false;     ///< whether numbers have a decimal comma
    std::string output;               ///< where the table goes; empty for standard output
};

/// The arguments of `evaluate`.
struct EvaluateCall {
    std::string file;              ///< what is evaluated
    std::string points;            ///< where, as CSV; empty for standard input
    bool hasGradient = false;      ///< whether gradients are printed too
    bool hasDecimalComma = false;  ///< whether the points have decimal commas
};

/// Makes workers that spread the runs of a program over several processes. They evaluate with
/// `commands` if this process is alone. `names` are those of the variables.
using Spread = std::function<std::unique_ptr<KrEvaluationWorkers>(
    SearchCall const& call, KrCommandWorkers& commands, std::vector<std::string> const& names)>;

/// Runs the subcommand that the arguments name, and returns the exit status. `name` is that of this
/// program. With `spread`, `search` has no workers of its own.
int runProgram(int argc, char** argv, std::string const& name, Spread const& spread = nullptr);

/// The arguments of `check`.
struct CheckCall {
    std::vector<std::string> files;
    bool lints = false;                 ///< whether it applies the rules of `KrLint`
    std::vector<std::string> disabled;  ///< rules that are not applied
    std::string as;                     ///< "correlation", or empty
    KrU32 grid = 64;                    ///< the number of distances
    double spacing = 1.0;               ///< of the distances
};

/// Writes to standard output and keeps the reason of a failure, which `runProgram` prints.
void writeOutput(std::string_view text);

/// Runs a search whose evaluations are runs of a program.
int runSearch(SearchCall const& call, Spread const& spread);
/// Replays a record and prints "same", or where the search now differs.
int runVerify(std::string const& record);
/// Prints a page for a browser about a record.
int runReport(std::string const& record);
/// Adds the arguments of `check` to its parser.
void addCheckArguments(CLI::App& check, CheckCall& call);
/// Prints one line for each fault of the files, or that a file is good.
int runCheck(CheckCall const& call);
/// Prints the XML Schema of all elements.
int runSchema();
/// Prints the table file of a grid.
int runTable(TableCall const& call);
/// Prints the values of what a file holds at points, as CSV.
int runEvaluate(EvaluateCall const& call);

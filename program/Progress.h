#pragma once

#include "foundation/core/KrPrint.h"
#include "search/KrSearch.h"

#include <string>
#include <string_view>

/// Shows on standard error how a search stands: on a terminal in one line that is rewritten,
/// otherwise in a line every ten seconds. While it lives, the library's messages remove the line
/// before they are printed.
class Progress : public KrSearchObserver {
public:
    /// Shows nothing if `isQuiet`.
    Progress(KrSearch const& search, bool isQuiet);
    ~Progress() override;
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void evaluated(KrSearchProgress const& progress) override;

    /// Writes whole lines to standard error, after removing the line.
    void write(std::string_view text);

private:
    std::string line(KrSearchProgress const& progress) const;
    void show(std::string line);
    void clear();

    KrU32 maxEvaluations_;
    double maxSeconds_;
    bool isQuiet_;
    bool isTerminal_;
    double shown_ = 0.0;     // seconds of the run at the last line
    KrU32 made_ = 0;         // evaluations that the record did not have
    bool isOnLine_ = false;  // whether the line is on the terminal
    Kr::Print::Sink sink_;
};

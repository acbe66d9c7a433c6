#include "foundation/xml/KrXml.h"
#include "program/Progress.h"
#include "program/Subcommands.h"
#include "search/KrCommandWorkers.h"
#include "search/KrEvaluationRecord.h"
#include "search/KrSearch.h"
#include "search/KrSignalStop.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

namespace {

// Runs the search until it ends or a signal stops it. An exception ends it as `failed`.
KrSearchReport searched(KrSearch const& search, KrEvaluationWorkers& workers,
                        KrCommandWorkers& commands, SearchCall const& call) {
    std::optional<KrEvaluationRecord> record;
    if (!call.record.empty()) {
        record.emplace(call.record);
    }
    KrSignalStop const signals;
    Progress progress(search, call.isQuiet);
    commands.setErrorOutput([&](std::string_view lines) { progress.write(lines); });
    KrSearchReport report;
    try {
        search.run(workers, {.observer = &progress,
                             .record = record ? &*record : nullptr,
                             .report = &report,
                             .stop = signals.token()});
    } catch (std::exception const& exception) {
        progress.write("zeibreku: " + std::string(exception.what()) + '\n');
    }
    return report;
}

// The path of a file that need not exist yet; empty if it has none, such as a pipe.
std::filesystem::path pathOf(std::string const& file) {
    std::error_code ignored;
    return std::filesystem::weakly_canonical(std::filesystem::absolute(file, ignored), ignored);
}

}  // namespace

int runSearch(SearchCall const& call, Spread const& spread) {
    for (std::string const& other : {call.file, call.record}) {
        if (!pathOf(call.report).empty() && pathOf(call.report) == pathOf(other)) {
            std::fprintf(stderr, "zeibreku: --report %s would replace the %s\n",
                         call.report.c_str(), other == call.file ? "search" : "record");
            return WrongCall;
        }
    }
    KrSearch search;
    if (!KrXml::readFile(call.file, search)) {
        return Refused;
    }
    KrCommandWorkers commands(call.command, call.workers, search.names());
    if (!commands.problem().empty()) {
        std::fprintf(stderr, "zeibreku: %s\n", commands.problem().c_str());
        return WrongCall;
    }
    auto const workers = spread ? spread(call, commands, search.names()) : nullptr;
    KrSearchReport const report = searched(search, workers ? *workers : commands, commands, call);
    writeOutput(report.text(search.names()));
    bool const isWritten = call.report.empty() || KrXml::writeFile(call.report, report);
    if (report.reason() == KrSearchReason::Failed || !isWritten) {
        return Refused;
    }
    return report.reason() == KrSearchReason::Cancelled ? Stopped : Done;
}

#include "program/ReportPage.h"
#include "program/Subcommands.h"

#include <sstream>

int runReport(std::string const& record) {
    KrEvaluationRecord recorded(record);
    if (!recorded.load()) {
        return Refused;
    }
    std::ostringstream page;
    writeReportPage(page, recorded);
    writeOutput(page.str());
    return Done;
}

#include "program/ReportPage.h"
#include "program/Subcommands.h"

#include <iostream>

int runReport(std::string const& record) {
    KrEvaluationRecord recorded(record);
    if (!recorded.load()) {
        return Refused;
    }
    writeReportPage(std::cout, recorded);
    return Done;
}

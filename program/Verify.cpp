#include "program/Subcommands.h"
#include "search/KrEvaluationRecord.h"

#include <cstdio>

int runVerify(std::string const& record) {
    KrEvaluationRecord recorded(record);
    if (!recorded.load()) {
        return Refused;
    }
    std::string const result = recorded.verify();
    std::printf("%s\n", result.c_str());
    return result == "same" ? Done : Refused;
}

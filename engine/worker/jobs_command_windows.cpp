// A process here starts from nothing, so the jobs go one after another, each in a process of its own as ever.
#include <fstream>
#include <iostream>

#include "engine/common/paths.h"
#include "engine/worker/conversion_command.h"
#include "engine/worker/jobs_command.h"
#include "engine/worker/standard_streams.h"

namespace morvex {

int RunJobs(const JobsCommand& command) {
    std::ifstream file;
    if (command.source != "-") {
        file.open(PathFromUtf8(command.source));
        if (!file) throw UsageError("cannot read " + command.source);
    }
    std::istream& lines = command.source == "-" ? std::cin : file;
    bool allConverted = true;
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        if (line.find_first_not_of(" \t\r") == line.npos) continue;
        const ConversionEnd end = ConvertLine(command, line, false);
        allConverted &= end.outcome.IsOk();
        WriteToCaller(AnswerTo(number, end.outcome));
    }
    return allConverted && !lines.bad() ? ZEL_OK : ZEL_FAILED;
}

}  // namespace morvex

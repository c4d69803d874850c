// Many conversions by one command: a job a line, an answer a line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/worker/conversion_end.h"

namespace morvex {

constexpr char kJobsOption[] = "--jobs", kAtOnceOption[] = "-j";

struct JobsCommand {
    std::string source;  // a file; "-" is standard input
    int atOnce = 1;
    std::vector<std::string> common;  // options that hold for each job
};

// Throws UsageError.
JobsCommand ParseJobs(const std::vector<std::string>& arguments);

// Reads the jobs as their turns come, converts each in processes of its own, and answers on standard output
// in the order in which they end. Throws UsageError when the file cannot be read. The exit code: 0 when all
// have succeeded. Ends when nobody takes the answers any more. Call it before the process has a second
// thread.
int RunJobs(const JobsCommand& command);

// What the systems' RunJobs have in common.

// The words of a line, separated by blanks. Quotes of either kind keep what is between them together. Throws
// UsageError when one is not closed.
std::vector<std::string> WordsOf(std::string_view line);

// Does the job of a line. `watchCaller`: the end of standard input means that the caller is gone.
ConversionEnd ConvertLine(const JobsCommand& command, std::string_view line, bool watchCaller);

// The answer, with the end of its line.
std::string AnswerTo(std::size_t lineNumber, const Outcome& outcome);

}  // namespace morvex

#include "engine/worker/jobs_command.h"

#include <cmath>
#include <cstdlib>

#include "engine/worker/conversion_command.h"

namespace morvex {
namespace {

constexpr int kMostAtOnce = 1024;
constexpr std::string_view kBlanks = " \t\r";

int AtOnce(const std::string& text) {
    const double number = PositiveNumber(text);
    if (number != std::floor(number) || number > kMostAtOnce)
        throw UsageError(std::string(kAtOnceOption) + " takes a number from 1 to " +
                         std::to_string(kMostAtOnce));
    return static_cast<int>(number);
}

}  // namespace

JobsCommand ParseJobs(const std::vector<std::string>& arguments) {
    JobsCommand command;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const bool jobs = arguments[at] == kJobsOption;
        if (!jobs && arguments[at] != kAtOnceOption) {
            command.common.push_back(arguments[at]);
            continue;
        }
        if (++at == arguments.size()) throw UsageError(arguments[at - 1] + " needs a value");
        if (jobs)
            command.source = arguments[at];
        else
            command.atOnce = AtOnce(arguments[at]);
    }
    if (command.source.empty()) throw UsageError("-j needs --jobs");
    if (command.atOnce > 1) command.common.emplace_back("--jobs-beside");
    return command;
}

std::vector<std::string> WordsOf(std::string_view line) {
    std::vector<std::string> words;
    for (std::size_t at = 0; (at = line.find_first_not_of(kBlanks, at)) != line.npos;) {
        std::string& word = words.emplace_back();
        char quote = 0;
        for (; at < line.size() && (quote != 0 || kBlanks.find(line[at]) == kBlanks.npos); ++at) {
            const char c = line[at];
            if (quote != 0 ? c == quote : c == '"' || c == '\'')
                quote = quote != 0 ? '\0' : c;
            else
                word += c;
        }
        if (quote != 0) throw UsageError("a quote is not closed");
    }
    return words;
}

ConversionEnd ConvertLine(const JobsCommand& command, std::string_view line, bool watchCaller) {
    std::vector<std::string> words = command.common;
    try {
        for (std::string& word : WordsOf(line)) words.push_back(std::move(word));
        ConversionCommand conversion = ParseConversion(words);
        conversion.options.watchCaller = watchCaller;
        if (command.atOnce > 1) conversion.options.atOnce = static_cast<unsigned>(command.atOnce);
        return {Supervise(conversion.request, conversion.options), conversion.request.from,
                conversion.request.to};
    } catch (const UsageError& error) {
        return {Outcome::Fail(kUsageError, error.what()), nullptr, nullptr};
    } catch (const std::exception& error) {  // a name that the system cannot hold
        return {Outcome::Fail(ZEL_FAILED, error.what()), nullptr, nullptr};
    }
}

std::string AnswerTo(std::size_t lineNumber, const Outcome& outcome) {
    std::string reason = outcome.reason;
    for (char& c : reason) c = c == '\n' || c == '\t' ? ' ' : c;
    return std::to_string(lineNumber) + '\t' + std::to_string(std::abs(outcome.result)) + '\t' + reason +
           '\n';
}

}  // namespace morvex

#include "engine/worker/command_line.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "engine/common/formats.h"
#include "engine/common/protocol.h"
#include "engine/worker/conversion_command.h"
#include "engine/worker/jobs_command.h"

namespace morvex {
namespace {

constexpr struct {
    int result;
    const char* meaning;
} kExitCodes[] = {{ZEL_OK, "converted"},
                  {ZEL_FAILED, "failed"},
                  {ZEL_CORRUPTED, "damaged input"},
                  {ZEL_CANNOT_OPEN_INPUT, "input cannot be opened"},
                  {ZEL_CANNOT_WRITE, "output cannot be written"},
                  {ZEL_VERSION, "version of the format not supported"},
                  {ZEL_NO_FILE, "no such input"},
                  {ZEL_UNKNOWN_TYPE, "not of that format"},
                  {ZEL_EMPTY, "nothing in it"},
                  {kUsageError, "wrong usage"}};

void PrintHelp() {
    std::printf(
        "Usage: %s [options] INPUT OUTPUT\n       %s --jobs FILE|- [-j N] [options]\n       %s --list\n"
        "Converts one CAD file, or many. The formats go by the suffixes unless an option says otherwise.\n\n",
        MORVEX_WORKER_NAME, MORVEX_WORKER_NAME, MORVEX_WORKER_NAME);
    PrintConversionOptions();
    PrintOption(kJobsOption + std::string(" FILE"),
                "convert many: each line of the file, or of standard input (-), is a command of its\n"
                "own: options, INPUT, OUTPUT, with names that hold blanks in quotes. Answers with a\n"
                "line each, as they end: the number of the line, the exit code, the reason of a\n"
                "failure, separated by tabs");
    PrintOption(kAtOnceOption + std::string(" N"), "so many of those at once (default: 1)");
    PrintOption("--list", "the formats, their suffixes, and which of them are read and written");
    PrintOption("--help", "this text");
    std::printf("\nExit codes:\n");
    for (const auto& code : kExitCodes) std::printf("  %2d  %s\n", std::abs(code.result), code.meaning);
}

void PrintList() {
    std::printf("%-8s  %-5s  %-5s  %s\n", "format", "read", "write", "suffixes");
    for (const Format& format : AllFormats()) {
        std::printf("%-8s  %-5s  %-5s ", format.name, format.readModule != nullptr ? "yes" : "-",
                    format.writeModule != nullptr ? "yes" : "-");
        for (const auto suffix : format.suffixes) std::printf(" %s", suffix.data());
        std::printf("\n");
    }
    std::printf("\nEvery format that is read can be converted to every format that is written.\n");
}

int RunOne(const std::vector<std::string>& arguments) {
    const ConversionCommand command = ParseConversion(arguments);
    const Outcome outcome = Supervise(command.request, command.options);
    if (outcome.IsOk()) return 0;
    std::fprintf(stderr, "%s: %s: %s\n", MORVEX_WORKER_NAME, command.input.c_str(), outcome.reason.c_str());
    return std::abs(outcome.result);
}

}  // namespace

int RunCommand(const std::vector<std::string>& arguments) {
    bool many = false;
    for (const std::string& argument : arguments) {
        if (argument == "--help") return PrintHelp(), 0;
        if (argument == "--list") return PrintList(), 0;
        if (argument == "--") break;
        many |= argument == kJobsOption || argument == kAtOnceOption;
    }
    try {
        return many ? RunJobs(ParseJobs(arguments)) : RunOne(arguments);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "%s: %s\nTry: %s --help\n", MORVEX_WORKER_NAME, error.what(),
                     MORVEX_WORKER_NAME);
        return kUsageError;
    }
}

}  // namespace morvex

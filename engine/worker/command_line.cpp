#include "engine/worker/command_line.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

#include "engine/common/formats.h"
#include "engine/common/ini_file.h"
#include "engine/worker/supervisor.h"

namespace morvex {
namespace {

constexpr int kUsageError = 64;

constexpr char kHelp[] = R"(Usage: morvex-engine [options] INPUT OUTPUT
       morvex-engine --list
Converts one CAD file. The formats go by the suffixes unless an option says otherwise.

  --from FORMAT            format of the input, by a name of --list
  --to FORMAT              format of the output
  --config FILE            conversion configuration file (.zel)
  --set SECTION/KEY=VALUE  one setting of such a file; may be repeated
  --jobs-beside            other conversions run at the same time: keep to one processor
  --seconds N              give up after that time
  --patience N             give up when the percentage stands still for N seconds of processor time, plus one for
                           each 100 KB of the input (default: 40)
  --memory MIB             most address space of the conversion (default: half of the machine's memory)
  --progress               print the whole percentage to standard error
  --verbose                let the libraries' own messages through
  --list                   the formats and what each can be converted to
  --help                   this text

Exit codes: 0 converted; 1 failed; 5 damaged input; 22 input cannot be opened; 23 output cannot be written;
27 version of the format not supported; 28 no such input; 29 not of that format; 32 nothing in it; 64 wrong usage.
)";

struct UsageError : std::runtime_error {
    using runtime_error::runtime_error;
};

struct Command {
    Request request;
    SupervisorOptions options;
    std::vector<std::string> files;
};

const Format* NamedFormat(const std::string& name, bool input) {
    const Format* const format = FindFormatByName(name);
    if (format == nullptr) throw UsageError("there is no format \"" + name + "\"; see --list");
    if ((input ? format->readModule : format->writeModule) == nullptr) {
        throw UsageError(std::string(format->name) + (input ? " is not read" : " is not written"));
    }
    return format;
}

double Number(const std::string& option, const std::string& text) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end || !(value > 0))
        throw UsageError(option + " takes a positive number");
    return value;
}

Command Parse(const std::vector<std::string>& arguments) {
    Command command;
    Request& request = command.request;
    bool optionsEnded = false;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& option = arguments[at];
        const auto value = [&]() -> const std::string& {
            if (at + 1 == arguments.size()) throw UsageError(option + " needs a value");
            return arguments[++at];
        };
        if (optionsEnded || !option.starts_with("--")) {
            command.files.push_back(option);
        } else if (option == "--") {
            optionsEnded = true;
        } else if (option == "--from") {
            request.from = NamedFormat(value(), true);
        } else if (option == "--to") {
            request.to = NamedFormat(value(), false);
        } else if (option == "--config") {
            request.config = value();
            if (access(request.config.c_str(), R_OK) != 0)
                throw UsageError("cannot read " + request.config.string());
        } else if (option == "--set") {
            request.settings.push_back(value());
            if (IniFile test; !test.Override(request.settings.back())) {
                throw UsageError("--set takes SECTION/KEY=VALUE");
            }
        } else if (option == "--seconds") {
            command.options.secondsAllowed = Number(option, value());
        } else if (option == "--patience") {
            command.options.patience = Number(option, value());
        } else if (option == "--memory") {
            command.options.memoryAllowed = static_cast<std::uint64_t>(Number(option, value()) * 1024 * 1024);
        } else if (option == "--jobs-beside") {
            request.parallel = true;
        } else if (option == "--progress") {
            command.options.onProgress = [](int percent) { std::fprintf(stderr, "%d%%\n", percent); };
        } else if (option == "--verbose") {
            request.trace = true;
        } else {
            throw UsageError("unknown option " + option);
        }
    }
    return command;
}

void Complete(Command& command) {
    if (command.files.size() != 2) throw UsageError("an input and an output are needed");
    Request& request = command.request;
    request.input = std::filesystem::absolute(command.files[0]);
    request.output = std::filesystem::absolute(command.files[1]);
    if (request.from == nullptr) request.from = FindInputFormat(kAnyFormatCode, request.input);
    if (request.to == nullptr) request.to = FindOutputFormat(kAnyFormatCode, request.output);
    if (request.from == nullptr)
        throw UsageError("the input's format is not known by its suffix; use --from");
    if (request.to == nullptr) throw UsageError("the output's format is not known by its suffix; use --to");
}

void PrintList() {
    std::printf("%-8s  %-5s  %-5s  %s\n", "format", "read", "write", "suffixes");
    for (const Format& format : AllFormats()) {
        std::printf("%-8s  %-5s  %-5s ", format.name, format.readModule != nullptr ? "yes" : "-",
                    format.writeModule != nullptr ? "yes" : "-");
        for (const auto suffix : format.suffixes) std::printf(" %s", suffix.data());
        std::printf("\n");
    }
    std::printf(
        "\nEvery format that is read can be converted to every format that is written. Triangles become the\n"
        "plane faces of a STEP or IGES file only up to a limit (50,000).\n");
}

}  // namespace

int RunCommand(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (argument == "--help") return std::fputs(kHelp, stdout), 0;
        if (argument == "--list") return PrintList(), 0;
        if (argument == "--") break;
    }
    try {
        Command command = Parse(arguments);
        Complete(command);
        const Outcome outcome = Supervise(command.request, command.options);
        if (outcome.IsOk()) return 0;
        std::fprintf(stderr, "morvex-engine: %s: %s\n", command.files[0].c_str(), outcome.reason.c_str());
        return std::abs(outcome.result);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "morvex-engine: %s\nTry: morvex-engine --help\n", error.what());
        return kUsageError;
    }
}

}  // namespace morvex

#include "engine/worker/conversion_command.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "engine/common/formats.h"
#include "engine/common/ini_file.h"
#include "engine/common/settings.h"
#include "engine/worker/full_path.h"

namespace morvex {
namespace {

using Command = ConversionCommand;

const Format* NamedFormat(const std::string& name, bool input) {
    const Format* const format = FindFormatByName(name);
    if (format == nullptr) throw UsageError("there is no format \"" + name + "\"; see --list");
    if ((input ? format->readModule : format->writeModule) == nullptr) {
        throw UsageError(std::string(format->name) + (input ? " is not read" : " is not written"));
    }
    return format;
}

void SetConfig(Command& command, const std::string& value) {
    command.request.config = FullPath(value);
    if (!std::ifstream(command.request.config)) throw UsageError("cannot read " + value);
}

void AddSetting(Command& command, const std::string& value) {
    if (IniFile test; !test.Override(value)) throw UsageError("--set takes SECTION/KEY=VALUE");
    command.request.settings.push_back(value);
}

void SetMemory(Command& command, const std::string& value) {
    constexpr double kMebibyte = 1024 * 1024;
    constexpr double kMost = 1ull << 62;
    command.options.memoryAllowed =
        static_cast<std::uint64_t>(std::clamp(PositiveNumber(value) * kMebibyte, kMebibyte, kMost));
}

struct Option {
    const char* name;
    const char* value;  // what the help calls its value; null: it takes none
    const char* help;   // further lines are indented like the first
    void (*apply)(Command& command, const std::string& value);
};

const Option kOptions[] = {
    {"--from", "FORMAT", "format of the input, by a name of --list",
     [](Command& command, const std::string& value) { command.request.from = NamedFormat(value, true); }},
    {"--to", "FORMAT", "format of the output",
     [](Command& command, const std::string& value) { command.request.to = NamedFormat(value, false); }},
    {"--config", "FILE", "conversion configuration file (.zel)", SetConfig},
    {"--set", "SECTION/KEY=VALUE", "one setting of such a file; may be repeated", AddSetting},
    {"--keep-partial", nullptr, "convert what could be read of a damaged file, with a warning",
     [](Command& command, const std::string&) {
         command.request.settings.emplace_back("FILE CONF/KEEP_PARTIAL=1");
     }},
    {"--verify", "0|1|2", "look at what was written: not at all, at counts and box (default), or at all",
     [](Command& command, const std::string& value) {
         if (value != "0" && value != "1" && value != "2") throw UsageError("--verify takes 0, 1 or 2");
         command.request.settings.push_back("FILE CONF/VERIFY=" + value);
     }},
    {"--jobs-beside", nullptr, "other conversions run at the same time: keep to one processor",
     [](Command& command, const std::string&) { command.request.parallel = true; }},
    {"--preview", "FILE", "draw a picture of the model too, a PNG of 320 x 240",
     [](Command& command, const std::string& value) { command.request.picture = FullPath(value); }},
    {"--seconds", "N", "give up after that time",
     [](Command& command, const std::string& value) {
         command.options.time.secondsAllowed = PositiveNumber(value);
     }},
    {"--patience", "N",
     "give up when the percentage stands still for N seconds of processor time, plus one\n"
     "for each 100 KB of the input (default: 40)",
     [](Command& command, const std::string& value) {
         command.options.time.stallSeconds = PositiveNumber(value);
     }},
    {"--memory", "MIB", "most address space of the conversion (default: half of the machine's memory)",
     SetMemory},
    {"--progress", nullptr, "print the whole percentage to standard error",
     [](Command& command, const std::string&) {
         command.options.onProgress = [](int percent) { std::fprintf(stderr, "%d%%\n", percent); };
     }},
    {"--verbose", nullptr, "let the libraries' own messages through",
     [](Command& command, const std::string&) { command.request.trace = true; }},
};

// The files that the words name; the options are applied.
std::vector<std::string> ApplyOptions(Command& command, const std::vector<std::string>& arguments) {
    std::vector<std::string> files;
    bool optionsEnded = false;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (optionsEnded || !argument.starts_with("--")) {
            files.push_back(argument);
            continue;
        }
        optionsEnded = argument == "--";
        if (optionsEnded) continue;
        const auto option = std::ranges::find(kOptions, argument, &Option::name);
        if (option == std::end(kOptions)) throw UsageError("unknown option " + argument);
        const bool takesValue = option->value != nullptr;
        if (takesValue && ++at == arguments.size()) throw UsageError(argument + " needs a value");
        option->apply(command, takesValue ? arguments[at] : std::string());
    }
    return files;
}

void Complete(Command& command, const std::vector<std::string>& files) {
    if (files.size() != 2) throw UsageError("an input and an output are needed");
    Request& request = command.request;
    command.input = files[0];
    request.input = FullPath(files[0]);
    request.output = FullPath(files[1]);
    std::error_code error;
    if (request.picture == request.output || request.picture == request.input ||
        std::filesystem::equivalent(request.picture, request.input, error))
        throw UsageError("the picture needs a file of its own");
    if (const char* const asked = std::getenv("MORVEX_PREVIEW");
        asked != nullptr && asked == std::string("1"))
        request.settings.emplace_back(kPictureSetting);
    if (request.from == nullptr) request.from = FindInputFormat(kAnyFormatCode, request.input);
    if (request.to == nullptr) request.to = FindOutputFormat(kAnyFormatCode, request.output);
    if (request.from == nullptr)
        throw UsageError("the input's format is not known by its suffix; use --from");
    if (request.to == nullptr) throw UsageError("the output's format is not known by its suffix; use --to");
}

}  // namespace

ConversionCommand ParseConversion(const std::vector<std::string>& words) {
    Command command;
    Complete(command, ApplyOptions(command, words));
    return command;
}

double PositiveNumber(const std::string& text) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end || !(value > 0))
        throw UsageError("\"" + text + "\" is not a positive number");
    return value;
}

void PrintOption(const std::string& name, std::string_view help) {
    constexpr int kColumn = 26;
    std::string left = name;
    while (!help.empty()) {
        const auto end = std::min(help.find('\n'), help.size());
        std::printf("  %-*s %.*s\n", kColumn - 3, left.c_str(), static_cast<int>(end), help.data());
        help.remove_prefix(std::min(end + 1, help.size()));
        left.clear();
    }
}

void PrintConversionOptions() {
    for (const Option& option : kOptions) {
        PrintOption(std::string(option.name) + (option.value == nullptr ? "" : " ") +
                        (option.value == nullptr ? "" : option.value),
                    option.help);
    }
}

}  // namespace morvex

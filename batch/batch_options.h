#pragma once

#include <optional>
#include <string>
#include <vector>

namespace morvex {

// What happens to an output that is there already.
enum class Overwrite { Never, Older, Always };

// A key of the conversion configuration file that the command line sets.
struct ConfigValue {
    std::wstring section, key, value;
};

// The command line of the batch command, as plain data.
struct BatchOptions {
    std::vector<std::wstring> paths;
    std::optional<std::wstring> filesFrom;  // "-": standard input
    bool zeroSeparated = false;             // of filesFrom
    std::wstring to, from;                  // as named; `from` may be empty
    bool recursive = false;
    std::wstring watch;  // the hot folder; empty: none

    std::optional<std::wstring> out;
    bool keepTree = false;
    bool skipExisting = false;
    Overwrite overwrite = Overwrite::Always;

    unsigned children = 0;  // 0: as many as there are processors
    std::wstring config;
    std::vector<ConfigValue> values;
    std::optional<unsigned> secondsPerFile;
    unsigned retries = 0;
    bool nice = false;
    bool dryRun = false;
    unsigned shard = 1, shards = 1;

    bool quiet = false, json = false, progress = false;
    std::wstring log, resume, report;
    bool retryFailed = false;  // with `resume`: what it calls failed is done again

    enum class Question { None, Help, HelpAll, Version } question = Question::None;
};

// Reads the arguments (the program's own name first). On a wrong command line `error` says in one line what
// is wrong; the options are not to be used then.
BatchOptions ParseBatchOptions(const std::vector<std::wstring>& arguments, std::wstring& error);

}  // namespace morvex

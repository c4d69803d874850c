#include "batch/batch_options.h"

#include <algorithm>
#include <cwctype>
#include <functional>
#include <span>

#include "win/paths.h"

namespace morvex {
namespace {

// Takes the option's value; the text it returns says what is wrong with it, if anything is.
using Take = std::wstring (*)(BatchOptions&, const std::wstring& value);

struct Option {
    const wchar_t* name;
    wchar_t letter;  // 0: none
    bool hasValue;
    Take take;
};

template <bool BatchOptions::*member>
std::wstring Switch(BatchOptions& options, const std::wstring&) {
    options.*member = true;
    return {};
}

template <std::wstring BatchOptions::*member>
std::wstring Text(BatchOptions& options, const std::wstring& value) {
    if (value.empty()) return L"its value is empty";
    options.*member = value;
    return {};
}

template <std::wstring BatchOptions::*member>
std::wstring Path(BatchOptions& options, const std::wstring& value) {
    if (value.empty()) return L"its value is empty";
    options.*member = FullPath(value);
    return {};
}

constexpr unsigned kMostNumber = 999999;
constexpr unsigned kMostChildren = 1000;  // each has a thread

std::wstring ReadNumber(const std::wstring& text, unsigned least, unsigned& number,
                        unsigned most = kMostNumber) {
    constexpr size_t kLongest = 6;
    const bool digits = !text.empty() && text.size() <= kLongest &&
                        std::ranges::all_of(text, [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    number = digits ? static_cast<unsigned>(std::stoul(text)) : 0;
    return digits && number >= least && number <= most
               ? std::wstring()
               : L"\"" + text + L"\" is no whole number from " + std::to_wstring(least) + L" to " +
                     std::to_wstring(most);
}

std::wstring TakeOut(BatchOptions& options, const std::wstring& value) {
    if (value.empty()) return L"its value is empty";
    options.out = FullPath(value);
    return {};
}

std::wstring TakeOverwrite(BatchOptions& options, const std::wstring& value) {
    static constexpr struct {
        const wchar_t* name;
        Overwrite overwrite;
    } kNames[] = {{L"never", Overwrite::Never}, {L"older", Overwrite::Older}, {L"always", Overwrite::Always}};
    for (const auto& entry : kNames) {
        if (value != entry.name) continue;
        options.overwrite = entry.overwrite;
        return {};
    }
    return L"\"" + value + L"\" is not one of never, older, always";
}

std::wstring TakeSet(BatchOptions& options, const std::wstring& value) {
    const size_t slash = value.find(L'/'), equals = value.find(L'=', slash == value.npos ? 0 : slash);
    if (slash == value.npos || equals == value.npos || slash == 0 || equals == slash + 1)
        return L"\"" + value + L"\" is not SECTION/KEY=VALUE";
    options.values.push_back(
        {value.substr(0, slash), value.substr(slash + 1, equals - slash - 1), value.substr(equals + 1)});
    return {};
}

std::wstring TakeShard(BatchOptions& options, const std::wstring& value) {
    const size_t slash = value.find(L'/');
    if (slash == value.npos || !ReadNumber(value.substr(0, slash), 1, options.shard).empty() ||
        !ReadNumber(value.substr(slash + 1), 1, options.shards).empty() || options.shard > options.shards)
        return L"\"" + value + L"\" is not I/N with I from 1 to N";
    return {};
}

std::wstring TakeSeconds(BatchOptions& options, const std::wstring& value) {
    return ReadNumber(value, 0, options.secondsPerFile.emplace());
}

std::wstring TakeRetryFailed(BatchOptions& options, const std::wstring& value) {
    options.retryFailed = true;
    return Path<&BatchOptions::resume>(options, value);
}

// It replaces the file: an input named here by mistake would be lost.
std::wstring TakeReport(BatchOptions& options, const std::wstring& value) {
    const std::wstring path = FullPath(value);
    if (!SameText(ExtensionOf(path), L"html") && !SameText(ExtensionOf(path), L"htm"))
        return L"\"" + value + L"\" does not end in .html";
    options.report = path;
    return {};
}

std::wstring TakeFilesFrom(BatchOptions& options, const std::wstring& value) {
    if (value.empty()) return L"its value is empty";
    options.filesFrom = value;
    return {};
}

std::wstring TakeHelp(BatchOptions& options, const std::wstring&) {
    options.question = BatchOptions::Question::Help;
    return {};
}

std::wstring TakeVersion(BatchOptions& options, const std::wstring&) {
    options.question = BatchOptions::Question::Version;
    return {};
}

constexpr Option kOptions[] = {
    {L"to", L't', true, Text<&BatchOptions::to>},
    {L"from", L'f', true, Text<&BatchOptions::from>},
    {L"recursive", L'r', false, Switch<&BatchOptions::recursive>},
    {L"files-from", 0, true, TakeFilesFrom},
    {L"null", L'0', false, Switch<&BatchOptions::zeroSeparated>},
    {L"watch", 0, true, Path<&BatchOptions::watch>},
    {L"out", L'o', true, TakeOut},
    {L"keep-tree", 0, false, Switch<&BatchOptions::keepTree>},
    {L"skip-existing", 0, false, Switch<&BatchOptions::skipExisting>},
    {L"overwrite", 0, true, TakeOverwrite},
    {L"jobs", L'j', true,
     [](BatchOptions& options, const std::wstring& value) {
         return ReadNumber(value, 1, options.children, kMostChildren);
     }},
    {L"config", 0, true, Path<&BatchOptions::config>},
    {L"set", 0, true, TakeSet},
    {L"seconds-per-file", 0, true, TakeSeconds},
    {L"retries", 0, true,
     [](BatchOptions& options, const std::wstring& value) { return ReadNumber(value, 0, options.retries); }},
    {L"nice", 0, false, Switch<&BatchOptions::nice>},
    {L"dry-run", L'n', false, Switch<&BatchOptions::dryRun>},
    {L"shard", 0, true, TakeShard},
    {L"quiet", L'q', false, Switch<&BatchOptions::quiet>},
    {L"json", 0, false, Switch<&BatchOptions::json>},
    {L"progress", 0, false, Switch<&BatchOptions::progress>},
    {L"log", 0, true, Path<&BatchOptions::log>},
    {L"resume", 0, true, Path<&BatchOptions::resume>},
    {L"retry-failed", 0, true, TakeRetryFailed},
    {L"report", 0, true, TakeReport},
    {L"help", L'h', false, TakeHelp},
    {L"version", 0, false, TakeVersion},
};

class Parser {
  public:
    explicit Parser(std::span<const std::wstring> arguments) : arguments_(arguments) {}

    std::wstring ParseAll() {
        while (!arguments_.empty() && error_.empty()) ParseNext();
        return error_;
    }
    BatchOptions options;

  private:
    std::wstring TakeArgument() {
        std::wstring argument = arguments_.front();
        arguments_ = arguments_.subspan(1);
        return argument;
    }

    void ParseNext() {
        const std::wstring argument = TakeArgument();
        if (argument == L"--") {
            while (!arguments_.empty()) options.paths.push_back(TakeArgument());
        } else if (argument.starts_with(L"--")) {
            ParseLong(argument.substr(2));
        } else if (argument.size() > 1 && argument.front() == L'-') {
            ParseLetters(argument.substr(1));
        } else if (options.question == BatchOptions::Question::Help && argument == L"all") {
            options.question = BatchOptions::Question::HelpAll;
        } else if (argument.empty()) {
            error_ = L"A path is empty";
        } else {
            options.paths.push_back(argument);
        }
    }

    void ParseLong(const std::wstring& text) {
        const size_t equals = text.find(L'=');
        const std::wstring name = text.substr(0, equals);
        const auto option = std::ranges::find(kOptions, name, &Option::name);
        if (option == std::end(kOptions)) {
            error_ = L"There is no option --" + name;
        } else if (!option->hasValue && equals != text.npos) {
            error_ = L"--" + name + L" takes no value";
        } else if (equals != text.npos) {
            Apply(*option, text.substr(equals + 1));
        } else {
            Apply(*option);
        }
    }

    // "-rj4", "-j 4"
    void ParseLetters(std::wstring letters) {
        while (!letters.empty() && error_.empty()) {
            const wchar_t letter = letters.front();
            letters.erase(0, 1);
            const auto option = std::ranges::find(kOptions, letter, &Option::letter);
            if (option == std::end(kOptions)) {
                error_ = std::wstring(L"There is no option -") + letter;
            } else if (option->hasValue && !letters.empty()) {
                Apply(*option, letters);
                letters.clear();
            } else {
                Apply(*option);
            }
        }
    }

    void Apply(const Option& option) {
        if (option.hasValue && arguments_.empty())
            error_ = std::wstring(L"--") + option.name + L" needs a value";
        else
            Apply(option, option.hasValue ? TakeArgument() : std::wstring());
    }

    void Apply(const Option& option, const std::wstring& value) {
        const std::wstring wrong = option.take(options, value);
        if (!wrong.empty()) error_ = std::wstring(L"--") + option.name + L": " + wrong;
    }

    std::span<const std::wstring> arguments_;
    std::wstring error_;
};

// What the options demand or forbid of each other.
std::wstring Contradiction(const BatchOptions& options) {
    const bool named = !options.paths.empty() || options.filesFrom;
    const bool watching = !options.watch.empty();
    const struct {
        bool wrong;
        const wchar_t* text;
    } kRules[] = {
        {!named && !watching && !options.retryFailed, L"Name the files or folders to convert"},
        {named && watching, L"--watch takes no other files"},
        {watching && options.log.empty() && options.resume.empty(),
         L"--watch needs --log: it says what was converted already when the program starts anew"},
        {watching && options.shards > 1, L"--watch and --shard do not go together"},
        {watching && options.dryRun, L"--watch and --dry-run do not go together"},
        {options.keepTree && !options.out, L"--keep-tree needs --out"},
        {options.zeroSeparated && !options.filesFrom, L"-0 needs --files-from"},
        {options.quiet && options.json, L"--quiet and --json do not go together"},
    };
    const auto broken = std::ranges::find(kRules, true, [](const auto& rule) { return rule.wrong; });
    return broken == std::end(kRules) ? std::wstring() : broken->text;
}

}  // namespace

BatchOptions ParseBatchOptions(const std::vector<std::wstring>& arguments, std::wstring& error) {
    Parser parser(std::span<const std::wstring>(arguments).subspan(1));
    error = parser.ParseAll();
    BatchOptions& options = parser.options;
    if (options.question != BatchOptions::Question::None) return options;
    if (error.empty()) error = Contradiction(options);
    if (options.log.empty()) options.log = options.resume;
    if (!options.watch.empty() && options.resume.empty()) options.resume = options.log;
    return options;
}

}  // namespace morvex

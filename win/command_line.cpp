#include "win/command_line.h"

namespace morvex {
namespace {

bool IsBlank(wchar_t unit) {
    return unit == L' ' || unit == L'\t';
}

size_t CountOf(wchar_t unit, std::wstring_view text) {
    const size_t end = text.find_first_not_of(unit);
    return end == text.npos ? text.size() : end;
}

// The program's own path: quotes only delimit, backslashes are plain.
std::wstring TakeProgram(std::wstring_view& line) {
    const bool quoted = line.starts_with(L'"');
    if (quoted) line.remove_prefix(1);
    const size_t end = quoted ? line.find(L'"') : line.find_first_of(L" \t");
    std::wstring program(line.substr(0, end));
    line.remove_prefix(end == line.npos ? line.size() : end + quoted);
    return program;
}

// Backslashes before a quote stand for half their number, and an odd one makes the quote plain. Of quotes in
// a row, counted from the one that opened, every third is plain text.
std::wstring TakeArgument(std::wstring_view& line) {
    std::wstring argument;
    size_t quotes = 0;  // 1 inside a quoted stretch
    while (!line.empty() && (quotes != 0 || !IsBlank(line.front()))) {
        const size_t backslashes = CountOf(L'\\', line);
        line.remove_prefix(backslashes);
        if (!line.starts_with(L'"')) {
            argument.append(backslashes, L'\\');
            if (backslashes == 0) {
                argument += line.front();
                line.remove_prefix(1);
            }
            continue;
        }
        argument.append(backslashes / 2, L'\\');
        line.remove_prefix(1);
        if (backslashes % 2)
            argument += L'"';
        else
            ++quotes;
        while (line.starts_with(L'"')) {
            if (++quotes == 3) {
                argument += L'"';
                quotes = 0;
            }
            line.remove_prefix(1);
        }
        if (quotes == 2) quotes = 0;
    }
    return argument;
}

}  // namespace

std::vector<std::wstring> SplitCommandLine(std::wstring_view line) {
    std::vector<std::wstring> arguments{TakeProgram(line)};
    for (;;) {
        while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
        if (line.empty()) return arguments;
        arguments.push_back(TakeArgument(line));
    }
}

}  // namespace morvex

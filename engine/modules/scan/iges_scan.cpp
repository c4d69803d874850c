#include "engine/modules/scan/iges_scan.h"

#include <algorithm>
#include <charconv>
#include <unordered_map>

namespace morvex {
namespace {

constexpr std::size_t kLetter = 72, kField = 8;
constexpr std::string_view kSections = "SGDP";

// A number with blanks before it, as in the fields of a line; 0 when there is none.
int NumberIn(std::string_view field) {
    field.remove_prefix(std::min(field.size(), field.find_first_not_of(' ')));
    int number = 0;
    std::from_chars(field.data(), field.data() + field.size(), number);
    return number;
}

}  // namespace

IgesScan::IgesScan(std::string_view text) {
    std::unordered_map<int, int> types;  // of the parameters, by the line where an entity's begin
    std::vector<std::string_view> directory;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        const char letter = line.size() > kLetter ? line[kLetter] : ' ';
        if (letter == 'T') {
            for (std::size_t at = 0; at < announcedLines.size(); ++at)
                announcedLines[at] = NumberIn(line.substr(at * kField + 1, kField - 1));
            break;
        }
        const std::size_t section = kSections.find(letter);
        if (section == std::string_view::npos) {
            stray += line.find_first_not_of(' ') != std::string_view::npos;
            continue;
        }
        ++lines[section];
        if (letter == 'D') directory.push_back(line);
        if (letter == 'P') types.emplace(NumberIn(line.substr(kLetter + 1)), NumberIn(line));
    }
    for (std::size_t at = 0; at + 1 < directory.size(); at += 2) {
        const int parameters = NumberIn(directory[at].substr(kField, kField));
        const auto again = types.find(parameters);
        entries.push_back({static_cast<int>(at) + 1, NumberIn(directory[at].substr(0, kField)),
                           again == types.end() ? 0 : again->second});
    }
}

std::vector<std::string> IgesParameters(std::string_view text, int type) {
    constexpr std::size_t kParameters = 64;
    std::vector<std::string> all;
    bool open = false, wanted = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.size() <= kLetter || line[kLetter] != 'P') continue;
        const std::string_view part = line.substr(0, kParameters);
        if (!open) {
            wanted = NumberIn(part) == type;
            if (wanted) all.emplace_back();
        }
        open = part.find(';') == std::string_view::npos;
        if (wanted) all.back() += part;
    }
    return all;
}

std::int64_t IgesScan::Count(int type) const {
    return std::ranges::count(entries, type, &IgesEntry::type);
}

}  // namespace morvex

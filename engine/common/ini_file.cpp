#include "engine/common/ini_file.h"

#include <fstream>
#include <iterator>

#include "engine/common/text.h"

namespace morvex {
namespace {

constexpr std::size_t kLongestFile = 16u << 20;

std::string_view Trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::string Name(std::string_view section, std::string_view key) {
    return LowerAscii(std::string(section) + '\n' + std::string(key));
}

}  // namespace

IniFile IniFile::Read(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error) ||
        std::filesystem::file_size(path, error) > kLongestFile) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    return Parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

IniFile IniFile::Parse(std::string_view bytes) {
    IniFile file;
    const DecodedText text(bytes);
    bytes = text.View();
    std::string section;
    while (!bytes.empty()) {
        const auto end = bytes.find('\n');
        const std::string_view line = Trim(bytes.substr(0, end));
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
        const auto equals = line.find('=');
        if (line.starts_with('[')) {
            section = Trim(line.substr(1, line.find(']') - 1));
        } else if (!line.starts_with(';') && equals != std::string_view::npos) {
            file.values_.try_emplace(Name(section, Trim(line.substr(0, equals))),
                                     Trim(line.substr(equals + 1)));
        }
    }
    return file;
}

std::optional<std::string> IniFile::Value(std::string_view section, std::string_view key) const {
    const auto found = values_.find(Name(section, key));
    if (found == values_.end()) return std::nullopt;
    std::string_view value = found->second;
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        value = Trim(value.substr(1, value.size() - 2));
    }
    return std::string(value);
}

bool IniFile::Override(std::string_view assignment) {
    const auto slash = assignment.find('/');
    const auto equals = assignment.find('=');
    if (slash == std::string_view::npos || equals == std::string_view::npos || slash > equals) return false;
    const std::string_view key = assignment.substr(slash + 1, equals - slash - 1);
    values_[Name(assignment.substr(0, slash), Trim(key))] = Trim(assignment.substr(equals + 1));
    return true;
}

}  // namespace morvex

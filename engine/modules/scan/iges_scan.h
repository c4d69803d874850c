// The text of an IGES file: its lines and the entries of its directory.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace morvex {

struct IgesEntry {
    int number = 0;     // the odd one that other entities refer to
    int type = 0;       // as the directory says
    int typeAgain = 0;  // as the parameters say
};

struct IgesScan {
    explicit IgesScan(std::string_view text);

    // By section: start, global, directory, parameters.
    std::array<std::int64_t, 4> lines{}, announcedLines{};
    std::vector<IgesEntry> entries;
    std::int64_t stray = 0;  // lines of no section

    std::int64_t Count(int type) const;
};

// The parameters of all entities of that type, each in one text that begins with the type.
std::vector<std::string> IgesParameters(std::string_view text, int type);

}  // namespace morvex

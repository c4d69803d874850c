#include "engine/modules/scan/brep_scan.h"

#include <algorithm>
#include <charconv>

namespace morvex {

BrepScan::BrepScan(std::string_view bytes) {
    constexpr std::string_view kList = "\nTShapes ";
    const std::size_t at = bytes.find(kList);
    text = at != std::string_view::npos;
    if (!text) return;
    bytes.remove_prefix(at + kList.size());
    std::from_chars(bytes.data(), bytes.data() + bytes.size(), announced);
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        std::string_view line = bytes.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
        solids += line == "So";
        faces += line == "Fa";
        for (const std::string_view kind : {"Ve", "Ed", "Wi", "Fa", "Sh", "So", "CS", "Co"})
            listed += line == kind;
    }
}

}  // namespace morvex

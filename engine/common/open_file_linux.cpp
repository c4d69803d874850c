#include "engine/common/open_file.h"

namespace morvex {

std::FILE* OpenFile(const std::filesystem::path& path, const char* mode) {
    return std::fopen(path.c_str(), (std::string(mode) + 'e').c_str());
}

}  // namespace morvex

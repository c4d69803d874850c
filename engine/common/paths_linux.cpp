#include "engine/common/paths.h"

namespace morvex {

std::filesystem::path ResolvedPath(const std::filesystem::path& path, std::error_code& error) {
    return std::filesystem::canonical(path, error);
}

}  // namespace morvex

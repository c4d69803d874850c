#include <system_error>

#include "engine/common/paths.h"
#include "engine/worker/full_path.h"

namespace morvex {

// With the links in the folder resolved: Wine's drives are links called "c:", and a writer of the geometry
// library takes what stands before a ":" for a drive of its own.
std::filesystem::path FullPath(std::string_view utf8) {
    if (utf8.empty()) return {};
    const std::filesystem::path path = std::filesystem::absolute(PathFromUtf8(utf8));
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::canonical(path.parent_path(), error);
    return error ? path : folder / path.filename();
}

}  // namespace morvex

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "engine/worker/temporary_folder.h"

namespace morvex {

std::error_code TemporaryFolder::Make(const std::filesystem::path& parent) {
    std::string folder = (parent / ".morvex-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) return {errno, std::generic_category()};
    path_ = folder;
    return {};
}

void TemporaryFolder::Remove() {
    if (path_.empty()) return;
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
    path_.clear();
}

std::error_code FlushToDisk(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return {errno, std::generic_category()};
    // Some file systems have nothing to flush and say so.
    const bool flushed = fsync(file) == 0 || errno == EINVAL || errno == EROFS;
    const std::error_code error =
        flushed ? std::error_code() : std::error_code(errno, std::generic_category());
    close(file);
    return error;
}

}  // namespace morvex

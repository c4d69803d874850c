#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/worker/temporary_folder.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view kPattern = ".morvex-XXXXXX";

// The folder when it is one of ours, opened; else -1.
int OpenOurs(const fs::path& path) {
    const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status {};
    if (folder >= 0 && (fstat(folder, &status) != 0 || status.st_uid != geteuid())) {
        close(folder);
        return -1;
    }
    return folder;
}

bool IsStillThere(int folder, const fs::path& path) {
    struct stat opened {
    }, named{};
    return fstat(folder, &opened) == 0 && lstat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
}

void RemoveAbandoned(const fs::path& parent, TemporaryFolder::Recover* recover) {
    constexpr std::string_view kStart = kPattern.substr(0, kPattern.find('X'));
    std::error_code error;
    for (fs::directory_iterator entry(parent, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.size() != kPattern.size() || !name.starts_with(kStart)) continue;
        const int folder = OpenOurs(entry->path());
        if (folder < 0) continue;
        // The lock goes when the last process that holds the descriptor ends.
        if (flock(folder, LOCK_EX | LOCK_NB) == 0 && IsStillThere(folder, entry->path())) {
            std::error_code ignored;
            recover(entry->path());
            fs::remove_all(entry->path(), ignored);
        }
        close(folder);
    }
}

}  // namespace

std::error_code TemporaryFolder::Make(const fs::path& parent, Recover* recover) {
    if (recover != nullptr) RemoveAbandoned(parent, recover);
    constexpr int kTries = 10;
    for (int tries = 0; tries < kTries; ++tries) {
        std::string folder = (parent / kPattern).string();
        if (mkdtemp(folder.data()) == nullptr) return {errno, std::generic_category()};
        const int lock = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        // Those who look for abandoned folders may have been quicker and have removed it: here, or below.
        if (lock < 0 && errno == ENOENT) continue;
        if (lock < 0) return {errno, std::generic_category()};
        lock_ = lock;
        // Fails where the file system has no locks, and then fails for those others too.
        flock(lock, LOCK_EX);
        path_ = folder;
        if (IsStillThere(lock, path_)) return {};
        Remove();
    }
    return std::make_error_code(std::errc::resource_unavailable_try_again);
}

void TemporaryFolder::Remove() {
    if (path_.empty()) return;
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    path_.clear();
    if (lock_ >= 0) close(static_cast<int>(lock_));
    lock_ = -1;
}

std::vector<fs::path> FilesBelow(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error); !error && entry != fs::end(entry);
         entry.increment(error)) {
        if (entry->symlink_status(error).type() == fs::file_type::regular)
            files.push_back(entry->path().lexically_relative(folder));
    }
    return files;
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

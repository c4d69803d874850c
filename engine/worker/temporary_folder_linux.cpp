#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/worker/machine.h"
#include "engine/worker/temporary_folder.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view kStart = ".morvex-", kPattern = "XXXXXX";

// The folder that holds the temporary ones, so that nobody has to look for them among the outputs.
fs::path NestIn(const fs::path& parent) {
    return parent / (std::string(kStart) + ShortUserAndMachine());
}

// The folder when it is one of ours, opened; else -1, with the reason in errno.
int OpenOurs(const fs::path& path) {
    const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status {};
    if (folder >= 0 && (fstat(folder, &status) != 0 || status.st_uid != geteuid())) {
        close(folder);
        errno = EPERM;
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

void RemoveAbandoned(const fs::path& nest, TemporaryFolder::Recover* recover) {
    std::error_code error;
    for (fs::directory_iterator entry(nest, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const int folder = OpenOurs(entry->path());
        if (folder < 0) continue;
        // The lock goes when the last process that holds the descriptor ends.
        if (flock(folder, LOCK_EX | LOCK_NB) == 0 && IsStillThere(folder, entry->path()) &&
            recover(entry->path(), nest.parent_path())) {
            std::error_code ignored;
            fs::remove_all(entry->path(), ignored);
        }
        close(folder);
    }
}

// What to make a folder by; empty when the nest has gone meanwhile. Where the file system says that the nest
// belongs to somebody else, the folder comes to lie beside it, and nobody will look for it.
std::string PatternIn(const fs::path& nest, TemporaryFolder::Recover* recover) {
    const int ours = OpenOurs(nest);
    if (ours < 0 && errno == ENOENT) return {};
    if (ours < 0) return (nest.parent_path() / kStart).concat(kPattern);
    close(ours);
    if (recover != nullptr) RemoveAbandoned(nest, recover);
    return nest / kPattern;
}

}  // namespace

std::error_code TemporaryFolder::Make(const fs::path& parent, Recover* recover) {
    const fs::path nest = NestIn(parent);
    constexpr int kTries = 100;
    for (int tries = 0; tries < kTries; ++tries) {
        if (mkdir(nest.c_str(), S_IRWXU) != 0 && errno != EEXIST) return {errno, std::generic_category()};
        // Others remove the nest when it is empty, and those who look for abandoned folders what is in it,
        // also between any two steps here.
        std::string folder = PatternIn(nest, tries == 0 ? recover : nullptr);
        if (folder.empty()) continue;
        const int lock =
            mkdtemp(folder.data()) != nullptr ? open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
        if (lock < 0 && errno == ENOENT) continue;
        if (lock < 0) return {errno, std::generic_category()};
        lock_ = lock;
        // Fails where the file system has no locks, and then fails for others of this machine too.
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
    const fs::path nest = path_.parent_path();
    if (NestIn(nest.parent_path()) == nest) rmdir(nest.c_str());  // fails while others are at work in it
    Abandon();
}

void TemporaryFolder::Abandon() {
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

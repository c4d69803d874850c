#include <algorithm>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "engine/common/job.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace fs = std::filesystem;

InputBytes::InputBytes(const fs::path& path) {
    // Not blocking: what was a file a moment ago may have become a pipe.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status {};
    const bool regular = file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    size_ = regular ? static_cast<std::size_t>(status.st_size) : 0;
    void* const mapped = size_ > 0 ? mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE, file, 0)
                                   : static_cast<void*>(nullptr);
    if (file >= 0) close(file);
    if (!regular || mapped == MAP_FAILED) throw ReadError("\"" + path.string() + "\" cannot be read");
    data_ = static_cast<char*>(mapped);
}

InputBytes::~InputBytes() {
    if (data_ != nullptr) munmap(data_, size_);
}

InputBytes::InputBytes(InputBytes&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}

namespace {

void AllowMemoryFor(std::uint64_t bytes) {
    rlimit limit{};
    if (getrlimit(RLIMIT_DATA, &limit) != 0) return;
    limit.rlim_cur = std::min(limit.rlim_cur + bytes * kMemoryPerByte, limit.rlim_max);
    setrlimit(RLIMIT_DATA, &limit);
}

}  // namespace

fs::path FindSideFile(JobContext& context, const std::string& reference, std::uint64_t largest) {
    const auto refuse = [&](const char* why) {
        throw ReadError("\"" + reference.substr(0, 200) + "\", which the file refers to, " + why);
    };
    if (reference.empty() || reference.find('\0') != std::string::npos) refuse("is no name of a file");
    std::error_code error;
    const fs::path folder = fs::canonical(context.request.input.parent_path(), error);
    fs::path path = fs::canonical(folder / reference, error);
    if (error) refuse("is missing");
    if (std::ranges::mismatch(folder, path).in1 != folder.end()) refuse("lies outside its folder");
    if (!fs::is_regular_file(path, error)) refuse("is not a file");
    const std::uint64_t size = fs::file_size(path, error);
    if (error || size > largest) refuse("is too large");
    context.journal.Uses(path.string());
    AllowMemoryFor(size);
    return path;
}

}  // namespace morvex

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "engine/common/paths.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace fs = std::filesystem;

InputBytes::InputBytes(const fs::path& path, bool changeable) {
    // Not blocking: what was a file a moment ago may have become a pipe.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status {};
    const bool regular = file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    size_ = regular ? static_cast<std::size_t>(status.st_size) : 0;
    const int access = changeable ? PROT_READ | PROT_WRITE : PROT_READ;
    void* const mapped =
        size_ > 0 ? mmap(nullptr, size_, access, MAP_PRIVATE, file, 0) : static_cast<void*>(nullptr);
    if (file >= 0) close(file);
    if (!regular || mapped == MAP_FAILED) throw ReadError("\"" + Utf8(path) + "\" cannot be read");
    data_ = static_cast<char*>(mapped);
}

InputBytes::~InputBytes() {
    if (data_ != nullptr) munmap(data_, size_);
}

InputBytes::InputBytes(InputBytes&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}

}  // namespace morvex

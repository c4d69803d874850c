#include <windows.h>

#include <utility>

#include "engine/common/paths.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace {

// A view of the file; null when there is none. Changes in it stay the process's own.
void* Map(HANDLE file, bool changeable) {
    const HANDLE mapping =
        CreateFileMappingW(file, nullptr, changeable ? PAGE_WRITECOPY : PAGE_READONLY, 0, 0, nullptr);
    if (mapping == nullptr) return nullptr;
    void* const view = MapViewOfFile(mapping, changeable ? FILE_MAP_COPY : FILE_MAP_READ, 0, 0, 0);
    CloseHandle(mapping);
    return view;
}

}  // namespace

InputBytes::InputBytes(const std::filesystem::path& path, bool changeable) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    LARGE_INTEGER size{};
    const bool regular =
        file != INVALID_HANDLE_VALUE && GetFileType(file) == FILE_TYPE_DISK && GetFileSizeEx(file, &size);
    size_ = static_cast<std::size_t>(size.QuadPart);
    data_ = regular && size_ > 0 ? static_cast<char*>(Map(file, changeable)) : nullptr;
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    if (!regular || (size_ > 0 && data_ == nullptr)) throw ReadError("\"" + Utf8(path) + "\" cannot be read");
}

InputBytes::~InputBytes() {
    if (data_ != nullptr) UnmapViewOfFile(data_);
}

InputBytes::InputBytes(InputBytes&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}

}  // namespace morvex

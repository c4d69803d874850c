#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace morvex {

// Volume and file number: the same for every path that leads to a file or folder, links followed.
using FileId = std::pair<std::uint32_t, std::uint64_t>;

// The identity of an existing file or folder; nothing when there is none or it cannot be opened.
std::optional<FileId> IdentityOf(const std::wstring& path);

// True when both paths lead to one existing file, however they are spelled.
bool SameFile(const std::wstring& a, const std::wstring& b);

// Size and time of a file's last change; nothing when there is none. Unequal when it was written between.
using FileStamp = std::optional<std::pair<std::uint64_t, std::uint64_t>>;
FileStamp StampOf(const std::wstring& path);

}  // namespace morvex

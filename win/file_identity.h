#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace morvex {

// What tells an existing file or folder from every other one, links followed: its number on its volume, with
// its size and the time of its last change, because one volume may be known under two drive letters by two
// serial numbers, several under one, and some shares number no files.
struct FileId {
    std::uint64_t number = 0;
    std::uint64_t size = 0, changed = 0;

    bool operator==(const FileId&) const = default;
};

// The identity of an existing file or folder; nothing when there is none or it cannot be opened.
std::optional<FileId> IdentityOf(const std::wstring& path);

// True when both paths lead to one existing file, however they are spelled.
bool SameFile(const std::wstring& a, const std::wstring& b);

// True when somebody has the file open to write to it, or it cannot be opened at all.
bool IsBeingWritten(const std::wstring& path);

class FileSet {
  public:
    // False when the file is in the set already.
    bool Insert(const FileId& file) {
        const auto [first, last] = files_.equal_range(file.number);
        if (std::any_of(first, last, [&](const auto& known) { return known.second == file; })) return false;
        files_.emplace(file.number, file);
        return true;
    }

  private:
    std::unordered_multimap<std::uint64_t, FileId> files_;
};

// Size and time of a file's last change; nothing when there is none. Unequal when it was written between.
using FileStamp = std::optional<std::pair<std::uint64_t, std::uint64_t>>;
FileStamp StampOf(const std::wstring& path);

}  // namespace morvex

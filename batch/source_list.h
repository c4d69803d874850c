#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "batch/batch_formats.h"
#include "convert/conversion_request.h"

namespace morvex {

// The files of a batch in their order, kept small (a record, and the name's characters), since there may be
// hundreds of thousands. One thread appends, others read what is there already and wait for more.
class SourceList {
  public:
    struct Entry {
        SourceFile file;
        std::wstring tree;  // its folder below the folder that was named; empty for a file that was named
        BatchFormats::Index format = 0;

        // What tells the file from others wherever the batch runs: the path below the folder that was named.
        std::wstring RelativePath() const;
    };

    void Append(const Entry& entry);
    // No more files will come.
    void Complete();

    size_t Count() const;
    bool IsComplete() const;
    Entry At(size_t index) const;

    // Waits until the list has an entry of that index, or is complete, or a moment has passed. True when it
    // has the entry.
    bool WaitFor(size_t index) const;
    // The same for the whole list.
    bool WaitUntilComplete() const;

  private:
    struct Record {
        std::uint32_t folder;
        std::uint32_t name;  // in characters from the first block's beginning
        std::uint16_t length;
        BatchFormats::Index format;
    };
    struct Folder {
        std::wstring path, tree;
    };
    static constexpr size_t kBlock = 1 << 16;  // characters; a name lies in one block as a whole

    std::uint32_t FolderIndex(const Entry& entry);
    std::uint32_t StoreName(std::wstring_view name);

    mutable std::mutex mutex_;
    mutable std::condition_variable grown_;
    std::deque<Record> records_;
    std::vector<Folder> folders_;
    std::unordered_map<std::wstring, std::uint32_t> folderIndices_;
    std::vector<std::unique_ptr<wchar_t[]>> blocks_;
    size_t used_ = kBlock;  // of the last block
    bool complete_ = false;
};

}  // namespace morvex

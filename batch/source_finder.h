#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <utility>

#include "batch/batch_formats.h"
#include "batch/batch_options.h"
#include "batch/source_list.h"
#include "convert/output_names.h"
#include "win/line_reader.h"

namespace morvex {

// The formats that a list file of the window names; empty texts when the file is none.
struct ListFormats {
    std::wstring input, output;
};
ListFormats FormatsOfListFile(const std::wstring& path);

// Finds the files that the command line names: files, folders, wildcards, list files of the window, lists of
// paths. Each file is listed once. Runs on a thread of its own.
class SourceFinder {
  public:
    // What was named and cannot be converted goes to `failed`, with the reason.
    using OnFailed = std::function<void(const std::wstring& path, const std::wstring& reason)>;

    SourceFinder(const BatchOptions& options, BatchFormats& formats, OutputNames& names, SourceList& list,
                 OnFailed failed)
        : options_(options), formats_(formats), names_(names), list_(list), failed_(std::move(failed)) {}

    // Lists everything that was named. The list is not complete then: others may add to it.
    void FindAll(const std::stop_token& stop);

    // Lists the file under its format; nothing happens when it is there already.
    void AddFile(const std::wstring& path);
    // Lists a folder's files of the wanted formats.
    void AddFolder(const std::wstring& folder, const std::stop_token& stop);

    // Files of folders that are of other formats, and files that were named twice.
    size_t LeftAside() const { return leftAside_; }

  private:
    void AddNamed(const std::wstring& path, const std::stop_token& stop);
    void AddOne(const std::wstring& path, const std::stop_token& stop);
    void AddWildcard(const std::wstring& pattern, const std::stop_token& stop);
    bool AddListFile(const std::wstring& path, const std::stop_token& stop);
    void AddLines(LineReader& reader, const std::stop_token& stop);
    enum class Origin { Named, Folder };
    // False when the file is left aside: it is listed already, or, of a folder, a result of this program.
    bool Add(const std::wstring& path, const std::wstring& tree, BatchFormats::Index format, Origin origin);
    using Keys = std::unordered_multimap<OutputNames::Key, std::uint32_t>;
    std::pair<Keys::const_iterator, Keys::const_iterator> ListedUnder(OutputNames::Key key);

    const BatchOptions& options_;
    BatchFormats& formats_;
    OutputNames& names_;
    SourceList& list_;
    const OnFailed failed_;
    std::atomic<size_t> leftAside_ = 0;
    Keys keys_;  // of the first files of the list, with their places in it
};

}  // namespace morvex

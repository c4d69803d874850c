#pragma once

#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "batch/source_finder.h"
#include "win/file_identity.h"

namespace morvex {

// A folder whose files are listed when they have come whole: when they have stopped changing and nobody has
// them open for writing. A file that is replaced later is listed again. Told of changes by the system; looks
// by itself now and then where the system tells nothing, as on some shares.
class HotFolder {
  public:
    HotFolder(const BatchOptions& options, BatchFormats& formats, OutputNames& names, SourceList& list)
        : options_(options), formats_(formats), names_(names), list_(list) {}

    // Lists files until `stop` is requested. Returns what is wrong; empty when nothing is.
    std::wstring Watch(const std::stop_token& stop);

    // A file that was listed is done with: it may be listed again. Any thread.
    void Ended(const std::wstring& path);

  private:
    struct Sight {
        FileStamp stamp;
        ULONGLONG since = 0;  // milliseconds
        bool listed = false;
    };

    bool LookAround(const std::stop_token& stop);
    bool LookAt(const std::wstring& folder, const std::wstring& name);
    bool Begin(const std::wstring& path);

    const BatchOptions& options_;
    BatchFormats& formats_;
    OutputNames& names_;
    SourceList& list_;
    std::unordered_map<std::wstring, Sight> sights_;  // by path
    std::unordered_set<OutputNames::Key> listed_;

    std::mutex mutex_;  // guards what follows
    std::unordered_set<std::wstring> underWay_;
};

}  // namespace morvex

#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "convert/output_naming.h"
#include "win/unique_handle.h"

namespace morvex {

// The file names that a run has given away: no two outputs are one file, and none is a file that is to be
// kept. Files are compared by the identity of their folder and by their name without regard to case, so the
// spelling of a path does not matter. A name that is taken gets " (2)", " (3)"... before the extension. Asks
// the file system for each folder once and for no file. Any thread.
class OutputNames {
  public:
    // A number for the file of that path, which need not exist; equal for every path that leads to it through
    // its folder. Another file may share it: one whose name differs only in what some file systems fold, or
    // one of a folder that has the same number on another volume.
    using Key = std::uint64_t;
    Key KeyOf(const std::wstring& folder, std::wstring_view fileName);
    Key KeyOf(const std::wstring& path);  // with the long-path prefix or without

    // From now on no output gets this file's name. False when it was taken already.
    bool Keep(Key key);
    bool Holds(Key key);

    // Takes the name, or the first number of it that is free, and returns that number (1 for the plain name).
    int Take(const OutputName& name);
    int TakeNext(const OutputName& name);

    // Takes the output for this run, until the object goes, among all processes of this program; false when
    // it is taken already.
    bool Claim(const std::wstring& path);

  private:
    const std::wstring& FolderKey(const std::wstring& folder);

    std::mutex mutex_;  // guards what follows
    std::unordered_map<std::wstring, std::wstring> folderKeys_;
    std::unordered_set<Key> taken_;
    std::unordered_map<Key, int> lastNumber_;  // keeps many equal names from being tried one by one
    std::vector<UniqueHandle> claims_;
};

}  // namespace morvex

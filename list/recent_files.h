#pragma once

#include <string>
#include <vector>

#include "list/conversion_list.h"

namespace morvex {

// The files of the last runs, newest first, at most five, kept with "/" for "\" (a menu item splits at "\").
class RecentFiles {
  public:
    static constexpr size_t kMost = 5;

    const std::vector<std::wstring>& Paths() const { return paths_; }

    // Reads the file if it is there; leaves the list as it is otherwise.
    void Read(const std::wstring& file);

    // At the start of a run: the bottom rows of the list become the newest files; those that were in keep
    // their places.
    void Update(const ConversionList& list);

    // Writes the list, or leaves the old file as it was and returns false.
    bool Write(const std::wstring& file) const;

  private:
    std::vector<std::wstring> paths_;
};

}  // namespace morvex

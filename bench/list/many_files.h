#pragma once

#include <string>

namespace morvex::bench {

// A folder below the system's temporary folder that holds `count` files of a few bytes, part000000.stp and
// on; removed with them when the object goes.
class ManyFiles {
  public:
    explicit ManyFiles(int count);
    ~ManyFiles();
    ManyFiles(const ManyFiles&) = delete;
    ManyFiles& operator=(const ManyFiles&) = delete;

    const std::wstring& Folder() const { return folder_; }

  private:
    const int count_;
    std::wstring folder_;
};

}  // namespace morvex::bench

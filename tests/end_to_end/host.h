#pragma once

#include <functional>
#include <string>

// The system that Wine runs on; on Windows there is none.
namespace morvex::test {

// The host's name of a path; empty where there is no host.
std::wstring HostPath(const std::wstring& path);

// Runs a program of the host's until it has done what is wanted of it. The arguments in the host's spelling.
void OnHost(const std::wstring& program, const std::wstring& arguments, const std::function<bool()>& done);

// A small file system of its own in a folder, which is made where it is missing, until the object goes.
class HostDisk {
  public:
    HostDisk(std::wstring folder, const std::wstring& options);
    ~HostDisk();
    HostDisk(const HostDisk&) = delete;
    HostDisk& operator=(const HostDisk&) = delete;

    // False where the test may not do that.
    bool Mounted() const { return mounted_; }
    const std::wstring& Path() const { return folder_; }
    void MakeReadOnly() const;
    // Takes the room that is left, all but so many bytes, by one file, which is told.
    std::wstring Fill(int left = 0) const;

  private:
    std::wstring folder_;
    bool mounted_ = false;
};

}  // namespace morvex::test

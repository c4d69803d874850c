#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/library_log.h"
#include "tests/support/temp_folder.h"
#include "win/unique_handle.h"

namespace morvex::test {

using Names = std::vector<std::wstring>;

struct BatchEnd {
    DWORD exitCode = 0;
    std::string output, errors;  // UTF-8
};

// A program folder with both programs and the recording library, and a folder of inputs, which is the batch's
// current one.
class BatchProgram {
  public:
    BatchProgram();
    ~BatchProgram();

    // Runs the batch to its end, killed after a minute. `input` is what it finds on standard input.
    BatchEnd Run(const std::wstring& arguments, const std::string& input = "") const;
    // Starts one that goes on, in a console of its own; its output goes into output.txt.
    UniqueHandle Start(const std::wstring& arguments, DWORD& id) const;

    // Makes files of that content below the folder of inputs, with the folders that they need.
    void Make(const Names& names, const std::string& content = "part") const;
    // All files below the folder of inputs, sorted, by their paths below it with "/".
    Names Files() const;
    std::wstring In(const std::wstring& name) const { return inputs_ / name; }
    std::string Read(const std::wstring& name) const { return ReadFileBytes(In(name)); }

  private:
    UniqueHandle Launch(const std::wstring& arguments, STARTUPINFOW startup, DWORD flags, DWORD& id) const;

    TempFolder folder_, inputs_;
};

inline std::wstring Quoted(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

}  // namespace morvex::test

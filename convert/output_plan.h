#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "convert/output_naming.h"
#include "win/file_identity.h"
#include "win/unique_handle.h"

namespace morvex {

// The output paths of one run. No two rows write one file, and none writes an input of the run, however paths
// are spelled and links lead: files are compared by the identity of their folder and their name, those that
// exist by their own identity too. Where the rules give a name that is taken, " (2)", " (3)"... goes before
// the extension, in list order.
class OutputPlan {
  public:
    // No output has a path of `kept`. Asks the file system for each folder once and for each output; the
    // inputs too if an output exists.
    OutputPlan(const std::vector<SourceFile>& sources, const ConversionRequest& request,
               const std::vector<std::wstring>& kept = {});

    // Takes the row's output for this run, until the object goes: where another process of this program has
    // taken that name, or somebody has written the file since the run was planned, the row gets the next
    // number. Any thread.
    std::wstring Claim(size_t row);

    // As planned.
    const std::wstring& Path(size_t row) const { return rows_[row].path; }

  private:
    struct Row {
        OutputName name;
        std::wstring path;
        std::wstring key;
        FileStamp before;  // of the file there, when the run was planned
        int number = 1;
    };

    std::wstring FolderKey(const std::wstring& folder);
    std::wstring KeyOf(const std::wstring& folder, std::wstring_view fileName);
    void TakeNext(Row& row);
    void AvoidLinks(const std::vector<SourceFile>& sources);
    void Advance(Row& row);

    std::vector<Row> rows_;
    std::mutex mutex_;  // guards what follows, once the constructor has ended
    std::unordered_map<std::wstring, std::wstring> folderKeys_;
    std::unordered_set<std::wstring> taken_;
    std::unordered_map<std::wstring, int> lastNumber_;  // keeps many equal names from being tried one by one
    std::vector<UniqueHandle> claims_;
};

}  // namespace morvex

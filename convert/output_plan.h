#pragma once

#include <string>
#include <vector>

#include "convert/output_names.h"
#include "win/file_identity.h"

namespace morvex {

// The output paths of one run. No two rows write one file, and none writes an input of the run, however paths
// are spelled and links lead: names are compared as OutputNames does, files that exist by their own identity
// too. Where the rules give a name that is taken, " (2)", " (3)"... goes before the extension, in list order.
class OutputPlan {
  public:
    // No output is a file of `kept`. Asks the file system for each folder once and for each output; for the
    // inputs and the kept files too if an output exists.
    OutputPlan(const std::vector<SourceFile>& sources, const ConversionRequest& request,
               const std::vector<std::wstring>& kept = {});

    // Takes the row's output for this run, until the object goes: where another process of this program has
    // taken that name, or somebody has written the file since the run was planned, the row gets the next
    // number. Any thread.
    std::wstring Claim(size_t row);

    // As planned.
    std::wstring Path(size_t row) const { return rows_[row].Path(); }

  private:
    struct Row {
        OutputName name;
        FileStamp before;  // of the file there, when the run was planned
        int number = 1;

        std::wstring Path() const { return name.Path(number); }
    };

    void AvoidLinks(const std::vector<SourceFile>& sources, const std::vector<std::wstring>& kept);

    std::vector<Row> rows_;
    OutputNames names_;
};

}  // namespace morvex

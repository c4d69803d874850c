// Where an output comes into being: a temporary folder beside the target, from which whole files are renamed.
#pragma once

#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "engine/common/outcome.h"
#include "engine/common/request.h"
#include "engine/worker/temporary_folder.h"

namespace morvex {

class Staging {
  public:
    // Makes the folder, and removes those that killed conversions left beside the target. Fails with
    // ZEL_CANNOT_WRITE when the target is a folder, is the input itself, or when nothing can be written
    // beside it.
    Outcome Open(const Request& request);

    // Where the writer puts the main file. It has the target's own name, as side files are named after it and
    // named in it.
    const std::filesystem::path& File() const { return file_; }

    // Puts all files on the disk and then into place; those of a set never stand beside those of another,
    // even when this process is killed over it. A failure leaves the old files as they were, or says where
    // they are, and so does a side file that would replace one of the `sources`, the files that were read.
    Outcome Publish(const std::vector<std::filesystem::path>& sources);

  private:
    using Step =
        std::pair<std::filesystem::path, std::filesystem::path>;  // a file's old path and its new one
    Outcome PublishSet(std::vector<std::filesystem::path> files);
    Outcome TakeBack(const std::vector<Step>& done, const std::error_code& why);

    TemporaryFolder folder_;
    std::filesystem::path target_, file_;
};

}  // namespace morvex

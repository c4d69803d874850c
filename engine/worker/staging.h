// Where an output comes into being: a temporary folder beside the target, from which whole files are renamed.
#pragma once

#include <filesystem>

#include "engine/common/outcome.h"
#include "engine/common/request.h"
#include "engine/worker/temporary_folder.h"

namespace morvex {

class Staging {
  public:
    // Makes the folder. Fails with ZEL_CANNOT_WRITE when the target is a folder, is the input itself, or when
    // nothing can be written beside it.
    Outcome Open(const Request& request);

    // Where the writer puts the main file. It has the target's own name, as side files are named after it and
    // named in it.
    const std::filesystem::path& File() const { return file_; }

    // Puts every file of the folder on the disk and then into place, the main file last. The old files stay
    // as they are when this fails before the first rename.
    Outcome Publish();

    // Removes the folder with what is left in it, which the end of the object does too.
    void Discard() { folder_.Remove(); }

  private:
    TemporaryFolder folder_;
    std::filesystem::path target_, file_;
};

}  // namespace morvex

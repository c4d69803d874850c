// Where an output comes into being: a temporary folder beside the target, from which whole files are renamed.
#pragma once

#include <filesystem>

#include "engine/common/outcome.h"
#include "engine/common/request.h"

namespace morvex {

// Owns the temporary folder and removes it with all that is left in it.
class Staging {
  public:
    Staging() = default;
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;
    ~Staging();

    // Makes the folder. Fails with ZEL_CANNOT_WRITE when the target is a folder, is the input itself, or when
    // nothing can be written beside it.
    Outcome Open(const Request& request);

    // Where the writer puts the main file. It has the target's own name, as side files are named after it and
    // named in it.
    const std::filesystem::path& File() const { return file_; }

    // Puts every file of the folder on the disk and then into place, the main file last. The old files stay
    // as they are when this fails before the first rename.
    Outcome Publish();

    // Removes the folder; safe to call twice.
    void Discard();

  private:
    std::filesystem::path target_, folder_, file_;
};

}  // namespace morvex

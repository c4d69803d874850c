#pragma once

#include <string>

#include "win/file_identity.h"

namespace morvex {

// An output path as it was before a conversion, so that a failure leaves nothing behind that looks like a
// success. Made right before the conversion, used right after.
class OutputWatch {
  public:
    explicit OutputWatch(std::wstring output);

    const std::wstring& Output() const { return output_; }
    // An output lies there that was not before, and nobody is writing to it.
    bool OutputIsThere() const;
    bool Existed() const { return before_.has_value(); }
    // The conversion did not come to its end: what it has written goes, but for a report that says why. An
    // output that it has not touched stays.
    void RemoveHalfWritten() const;
    // The conversion failed: the report of an earlier one goes. One that it has left itself stays.
    void RemoveStaleReport() const;
    // Why the conversion failed, as the report that it has left says it; empty when it has not.
    std::wstring ReadReason() const;

  private:
    bool IsNew() const;

    std::wstring output_, report_;
    FileStamp before_;
    FileStamp reportBefore_;
};

}  // namespace morvex

#pragma once

#include <windows.h>

#include <string>

namespace morvex {

// What a conversion library may change of its process and leave changed: current folder, priority, error
// mode, handler of last resort, language of the C runtime. As they were when the object was made, they are
// put back when it goes.
class ProcessState {
  public:
    ProcessState();
    ~ProcessState();
    ProcessState(const ProcessState&) = delete;
    ProcessState& operator=(const ProcessState&) = delete;

  private:
    std::wstring folder_;
    std::string locale_;
    DWORD priority_;
    UINT errorMode_;
    LPTOP_LEVEL_EXCEPTION_FILTER lastResort_;
};

}  // namespace morvex

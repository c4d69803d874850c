// The job object that holds the job process alone and limits its memory.
#pragma once

#include <string>

namespace morvex {

inline std::wstring JobObjectName(unsigned long process) {
    return L"Local\\morvex-engine-" + std::to_wstring(process);
}

}  // namespace morvex

// Owner of a Windows handle.
#pragma once

#include <windows.h>

#include <memory>

namespace morvex {

struct CloseHandleFunctor {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using OwnedHandle = std::unique_ptr<void, CloseHandleFunctor>;

// Also of the calls that fail with INVALID_HANDLE_VALUE.
inline OwnedHandle Own(HANDLE handle) {
    return OwnedHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

}  // namespace morvex

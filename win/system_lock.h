#pragma once

#include "win/unique_handle.h"

namespace morvex {

// Holds a mutex that all processes of the user share by its name. Where the system has none to give, or its
// holder keeps it for very long, the work goes on without it.
class SystemLock {
  public:
    // `longestWait`: milliseconds; what it guards mostly takes a few.
    explicit SystemLock(const wchar_t* name, DWORD longestWait = 10000)
        : mutex_(CreateMutexW(nullptr, FALSE, name)) {
        const DWORD waited = mutex_ ? WaitForSingleObject(mutex_.get(), longestWait) : WAIT_FAILED;
        held_ = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
    }
    SystemLock(const SystemLock&) = delete;
    SystemLock& operator=(const SystemLock&) = delete;
    ~SystemLock() {
        if (held_) ReleaseMutex(mutex_.get());
    }

  private:
    UniqueHandle mutex_;
    bool held_ = false;
};

}  // namespace morvex

#pragma once

#include <windows.h>

#include <ole2.h>

namespace morvex {

// OLE, and with it COM, on this thread for as long as the object lives.
class OleSession {
  public:
    OleSession() : started_(SUCCEEDED(OleInitialize(nullptr))) {}
    OleSession(const OleSession&) = delete;
    OleSession& operator=(const OleSession&) = delete;
    ~OleSession() {
        if (started_) OleUninitialize();
    }

    bool Started() const { return started_; }

  private:
    bool started_;
};

}  // namespace morvex

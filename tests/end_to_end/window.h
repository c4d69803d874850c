#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/end_to_end/program.h"

namespace morvex::test {

// Waits for the condition, two minutes at most: nothing of that is spent when all is well.
bool Eventually(const std::function<bool()>& condition);

// The real window of a program in a process of its own, looked at from outside. Ended with the object.
class OpenWindow {
  public:
    // `output`: where the process's standard output goes; null for nowhere.
    explicit OpenWindow(const Program& program, HANDLE output = nullptr);
    ~OpenWindow();

    HWND Handle() const { return window_; }  // null when none has opened
    HANDLE Process() const { return process_.get(); }
    void Command(int id) const { PostMessageW(window_, WM_COMMAND, static_cast<WPARAM>(id), 0); }
    // Starts the run; it goes on until Converting says otherwise.
    void Begin() const;
    // Starts the run and waits for its end.
    bool Convert() const;
    bool Converting() const;
    size_t Rows() const;
    // The message that it shows now; null for none.
    HWND Message() const;
    // The status of each row.
    std::vector<std::wstring> Statuses() const;

  private:
    std::wstring TextAt(size_t row, int column) const;

    UniqueHandle process_;
    HWND window_ = nullptr;
};

}  // namespace morvex::test

#pragma once

#include <optional>

#include "dialogs/progress_dialog.h"
#include "ui/run_worker.h"
#include "ui/window_state.h"
#include "win/taskbar.h"

namespace morvex {

// The main window's side of a run: it hands plain data over and shows what the run tells.
class Running {
  public:
    Running(WindowState& state, WindowView& view) : state_(state), view_(view) {}

    // The window exists; it hands kRunNewsMessage to OnNewsPosted and the tick of kRunNewsTimer to OnNews.
    void Attach();
    // Converts the rows of the list.
    void Start();
    // The thread of a run is still there.
    bool Active() const { return worker_.Active(); }
    void OnNewsPosted();
    void OnNews();
    // The user has seen how the last run ended: its mark leaves the taskbar.
    void OnNoticed() {
        if (taskbar_.Shown() && !Active()) taskbar_.Clear();
    }

  private:
    // With the outcome of a run that has ended.
    void ShowProgress(const RunOutcome* outcome);
    void OnEnded(const RunOutcome& outcome);

    WindowState& state_;
    WindowView& view_;
    TaskbarProgress taskbar_;
    std::optional<CProgressDlg> progress_;
    size_t done_ = 0, failed_ = 0;  // files of this run
    RunWorker worker_;              // last: its thread ends before what it uses
};

}  // namespace morvex

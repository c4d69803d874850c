#pragma once

#include <map>
#include <optional>
#include <vector>

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
    // Converts these rows of the list; the others keep their status.
    void Start(std::vector<size_t> rows);
    void Stop();
    bool Stopping() const { return stopping_; }
    // The thread of a run is still there.
    bool Active() const { return worker_.Active(); }
    void OnNewsPosted();
    // On the tick of kRunClockTimer too: the time is shown, and a run that cannot tell its end is noticed.
    void OnNews();
    // The user has seen how the last run ended: its mark leaves the taskbar.
    void OnNoticed() {
        if (taskbar_.Shown() && !Active()) taskbar_.Clear();
    }

  private:
    ConversionJob JobOfRows(const ConversionFormats& formats);
    void TakeStatuses(std::vector<std::pair<size_t, RowStatus>>&& statuses);
    void ShowProgress();
    void OnEnded(const RunOutcome& outcome);

    WindowState& state_;
    WindowView& view_;
    TaskbarProgress taskbar_;
    std::optional<CProgressDlg> progress_;
    std::vector<size_t> rows_;      // of this run, in its order
    size_t done_ = 0, failed_ = 0;  // of these
    std::map<size_t, int> atWork_;  // files being converted, with their percentages; 0: not told
    ULONGLONG begun_ = 0;
    bool stopping_ = false;
    RunWorker worker_;  // last: its thread ends before what it uses
};

}  // namespace morvex

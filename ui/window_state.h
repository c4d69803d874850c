#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "core/context.h"
#include "list/conversion_list.h"
#include "list/list_files.h"
#include "list/recent_files.h"
#include "ui/main_prompts.h"

namespace morvex {

// Rows that went away in one step, and what went with them.
struct UndoStep {
    ConversionList::RemovedRows rows;
    ChosenFormats formats;
    RunState run;
};

// What the parts of the main window work on. CmorvexDlg owns it; it belongs to the window's thread.
struct WindowState {
    AppContext& context;
    MainPrompts prompts;
    HWND window = nullptr;
    ConversionList list = {};
    RecentFiles recentFiles = {};
    RunState run = RunState::Idle;
    bool adding = false;     // files are being searched for
    bool abandoned = false;  // the last run ended before its time without being asked to
    size_t notStarted = 0;   // files that count as converted though nobody has seen a result of them
    std::optional<UndoStep> undo = {};  // until the list changes otherwise

    bool Busy() const { return run == RunState::Running || adding; }
    HWND Item(int id) const { return GetDlgItem(window, id); }
    std::wstring Text(int id) const { return context.text(id); }
    AppSettings& Settings() const { return context.settings; }
    ChosenFormats Formats() const {
        return {context.settings.formatIn.Get(), context.settings.formatOut.Get()};
    }
    void Warn(const std::wstring& text) const {
        prompts.message(window, text, kMessageCaption, MB_ICONEXCLAMATION);
    }
};

// What its parts ask of the main window.
class WindowView {
  public:
    // Shows what the state says now: the number of rows, and which controls may be used.
    virtual void Update() = 0;
    virtual void ShowStatus(const std::wstring& text) = 0;
    // Says in the status line how many rows there are and what became of them.
    virtual void ShowRowSummary() = 0;
    virtual void EmptyList() = 0;
    // Files were looked at; `any` became rows at the end of the list.
    virtual void OnRowsAdded(bool any) = 0;
    // The search for files is over; `stopped` by the user.
    virtual void OnAddingEnded(bool stopped) = 0;
    // Statuses of rows changed.
    virtual void RedrawRows() = 0;

  protected:
    ~WindowView() = default;
};

}  // namespace morvex

#pragma once

#include <string>

#include "res/resource.h"
#include "ui/drag_list_ctrl.h"
#include "ui/file_adding.h"
#include "ui/format_choice.h"
#include "ui/list_commands.h"
#include "ui/output_folder_field.h"
#include "ui/running.h"
#include "ui/window_state.h"
#include "win/anchor_layout.h"
#include "win/dialog.h"
#include "win/theme.h"
#include "win/tooltip.h"

namespace morvex {

// The main window: its layout and texts, and the way of messages and commands to its parts. Runs and searches
// for files work on threads of their own and post to it; meanwhile it stays alive and refuses what would
// change the list.
class CmorvexDlg : public ModelessDialog, private WindowView {
  public:
    explicit CmorvexDlg(AppContext& context, MainPrompts prompts = {});

    // Creates the window, hidden, with the state of the settings; in developer mode a run may start at once.
    void Open();
    // Before the dialog manager gets a message of the thread: true when the window has dealt with it.
    bool PreTranslate(const MSG& message);

    const ConversionList& List() const { return state_.list; }
    RunState State() const { return state_.run; }
    // The thread of a run is still there; ending the window now waits for the file being converted.
    bool Converting() const { return running_.Active(); }
    // Files are being searched for.
    bool Adding() const { return state_.adding; }
    CListOleDropTarget& DropTarget() { return listControl_.DropTarget(); }

  protected:
    bool OnInit() override;
    bool OnCommand(int id, int notification, HWND control) override;
    bool OnNotify(NMHDR& header, LRESULT& result) override;
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result) override;
    void OnCancel() override;

  private:
    struct Command;
    static const Command* FindCommand(int id);

    // The window: morvex_dlg.cpp
    void SetUpWindow();
    void SetUpSize();
    void TakeRoomOfDeveloperBoxes();
    void ApplyTexts();
    std::wstring Title() const;
    void Rescale();
    bool OnContextMenu(HWND clicked, POINT screen);
    bool OnListKey(int key);
    bool Checked(int id) const { return CheckBox(Item(id)).Checked(); }

    // What its parts ask of it
    void Update() override;
    void ShowStatus(const std::wstring& text) override { Control(Item(IDC_STATUS_LINE)).SetText(text); }
    void EmptyList() override;
    void OnRowsAdded() override;
    void OnAddingEnded(bool stopped) override;
    void RedrawRows() override { listControl_.RedrawVisible(); }

    // Commands: morvex_dlg_commands.cpp
    // True when the id is one of a command, which is refused while the window is busy.
    bool Execute(int id);
    void AddFilesOrDrop();
    void StartRun();
    void ShowOptions();
    void SwitchOverride();
    void OnInputFormat();
    void OnOutputFormat();

    WindowState state_;
    AppSettings& settings_;
    WindowTheme theme_;
    AnchorLayout layout_;
    Tooltip tooltip_;
    SIZE smallest_{};  // the window's outer size in pixels when it was made
    UINT smallestDpi_ = USER_DEFAULT_SCREEN_DPI;
    bool runWhenAdded_ = false;

    CDragListCtrl listControl_;
    OutputFolderField folder_{state_};
    FormatChoice formats_{state_};
    ListCommands rows_{state_, *this, listControl_};
    FileAdding adding_{state_, *this, formats_};  // these two last: their threads end before what they use
    Running running_{state_, *this};
};

}  // namespace morvex

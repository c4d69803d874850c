#pragma once

#include <string>

#include "res/resource.h"
#include "ui/drag_list_ctrl.h"
#include "ui/file_adding.h"
#include "ui/format_choice.h"
#include "ui/list_commands.h"
#include "ui/output_folder_field.h"
#include "ui/result_card.h"
#include "ui/running.h"
#include "ui/status_line.h"
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
    // It is to be shown maximised, as it was when it was closed last.
    bool Maximised() const { return maximised_; }
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
    void KeepPlace();
    void SetUpTips();
    std::wstring ShownWhole(int id, int tip) const;
    void TakeRoomOfDeveloperBoxes();
    void ApplyTexts();
    std::wstring Title() const;
    // Places everything for the window's size and scaling now.
    void Arrange();
    bool OnOwnMessage(UINT message);
    bool OnContextMenu(HWND clicked, POINT screen);
    bool Checked(int id) const { return CheckBox(Item(id)).Checked(); }

    // What its parts ask of it
    void Update() override;
    void ShowStatus(const std::wstring& text) override { statusLine_.ShowText(text); }
    void ShowRowSummary() override;
    void EmptyList() override;
    void OnRowsAdded(bool any) override;
    void OnAddingEnded(bool stopped) override;
    void RedrawRows() override;

    // Commands: morvex_dlg_commands.cpp
    // True when the id is one of a command, which is refused while the window is busy.
    bool Execute(int id);
    bool StartsRun(int id) const;
    // What the button in the status line does now.
    enum class Action { None, Stop, ChangeFormat, Undo, ConvertRest, ConvertAgain };
    Action CurrentAction() const;
    void ShowAction();
    void DoAction();
    std::vector<size_t> UnconvertedRows() const;
    bool OnShortcut(const MSG& message);
    void AddFilesOrDrop();
    void StartRun();
    void ShowOptions();
    void SwitchOverride();
    void SwitchCard();
    // The card follows the row that has the focus, and what becomes of it.
    void UpdateCard();
    void ShowCard();
    void TakeChosenFormat();

    WindowState state_;
    AppSettings& settings_;
    WindowTheme theme_;
    AnchorLayout layout_;
    Tooltip tooltip_;
    SIZE smallest_{};  // the window's outer size in pixels when it was made
    UINT smallestDpi_ = USER_DEFAULT_SCREEN_DPI;
    bool runWhenAdded_ = false;
    bool maximised_ = false;
    bool made_ = false;  // its controls are where they belong

    bool summaryPending_ = false;  // the selection has changed since the last summary

    CDragListCtrl listControl_;
    ResultCard card_{state_.context.text};
    StatusLine statusLine_{state_};
    OutputFolderField folder_{state_};
    FormatChoice formats_{state_};
    ListCommands rows_{state_, *this, listControl_, formats_};
    FileAdding adding_{state_, *this, formats_};  // these two last: their threads end before what they use
    Running running_{state_, *this};
};

}  // namespace morvex

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/context.h"
#include "dialogs/progress_dialog.h"
#include "list/conversion_list.h"
#include "list/file_adder.h"
#include "list/list_files.h"
#include "list/recent_files.h"
#include "res/resource.h"
#include "ui/drag_list_ctrl.h"
#include "ui/main_prompts.h"
#include "ui/my_edit.h"
#include "ui/run_worker.h"
#include "win/anchor_layout.h"
#include "win/dialog.h"
#include "win/taskbar.h"
#include "win/theme.h"
#include "win/tooltip.h"

namespace morvex {

// The main window: formats, output folder, the list of files and the commands on it. Runs and searches for
// files work on threads of their own and post to it; meanwhile it stays alive and refuses what would change
// the list.
class CmorvexDlg : public ModelessDialog {
  public:
    explicit CmorvexDlg(AppContext& context, MainPrompts prompts = {});

    // Creates the window, hidden, with the state of the settings; in developer mode a run may start at once.
    void Open();
    // Before the dialog manager gets a message of the thread: true when the window has dealt with it.
    bool PreTranslate(const MSG& message);

    const ConversionList& List() const { return list_; }
    RunState State() const { return state_; }
    // The thread of a run is still there; ending the window now waits for the file being converted.
    bool Converting() const { return worker_.Active(); }
    // Files are being searched for.
    bool Adding() const { return adder_.Active(); }
    CListOleDropTarget& DropTarget() { return listControl_.DropTarget(); }

  protected:
    bool OnInit() override;
    bool OnCommand(int id, int notification, HWND control) override;
    bool OnNotify(NMHDR& header, LRESULT& result) override;
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result) override;
    void OnCancel() override;

  private:
    // Where files to be added come from; it decides what is said when none was.
    enum class Source { Folder, Drop, ListFile };

    // The window: morvex_dlg.cpp
    void SetUpWindow();
    void SetUpSize();
    void TakeRoomOfDeveloperBoxes();
    void ApplyTexts();
    std::wstring Title() const;
    void Rescale();
    bool OnContextMenu(HWND clicked, POINT screen);
    bool OnListKey(int key);
    void ShowStatus(const std::wstring& text) { Control(Item(IDC_STATUS_LINE)).SetText(text); }
    void Warn(const std::wstring& text) {
        prompts_.message(Handle(), text, kMessageCaption, MB_ICONEXCLAMATION);
    }
    bool Busy() const { return state_ == RunState::Running || Adding(); }
    // The controls that a run freezes.
    void EnableControls(bool on);
    void EnableListButtons();

    // Formats, output folder, switches: morvex_dlg_settings.cpp
    void FillFormats();
    void FillOutputFormats();
    void OnInputFormat();
    void OnOutputFormat();
    void WriteIntoOutputFolder(bool on);
    void TakeOutputFolder();
    void WarnOfOutputFolder();
    void BrowseOutputFolder();
    void OnOutputFolderLeft();
    void OnSwitch(int id);
    void Configure();
    void ShowOptions();

    // Menus and the commands on the list: morvex_dlg_commands.cpp
    void FillContextMenu(PopupMenu& menu) const;
    void RunCommand(int id);
    void EmptyList();
    void RemoveSelectedRows();
    void MoveRow(bool up);
    void SortByColumn(ListColumn column);
    void OpenResult(const NMITEMACTIVATE& click);
    void WithSelectedRow(void (CmorvexDlg::*action)(size_t row));
    void CopyFilePath(size_t row);
    void OpenContainingFolder(size_t row);
    void OpenOutputFolder(size_t row);

    // Adding files: morvex_dlg_add.cpp
    void AddFiles();
    void AddFolder(bool recursive);
    void AddPaths(std::vector<std::wstring> paths, bool recursive, Source source);
    void OnFound();
    void OnAddingEnded();
    void RowsAdded();
    void ShowOnlyFormatMessage();
    void FlashInputFormat();
    bool TakesDrops() const;
    void OnDropped(std::vector<std::wstring> paths, POINT screen);
    void ShowDropMenu(POINT screen);
    void AddDroppedPaths(bool replace, bool recursive);
    void AddDroppedFileHandle(HDROP drop);
    void AddDropped(std::vector<std::wstring> paths, bool recursive);

    // List files and recent files: morvex_dlg_files.cpp
    ChosenFormats Formats() const {
        return {context_.settings.formatIn.Get(), context_.settings.formatOut.Get()};
    }
    void LoadList();
    void OpenListFile(const std::wstring& path);
    void TakeListFile(ListFile file);
    void SaveList();
    void SaveResultsReport();
    void SavePythonList();
    std::optional<std::wstring> AskWhereToSave();
    void Saved(bool done, const std::wstring& path);
    void AddRecentFile(size_t index);

    // The run: morvex_dlg_run.cpp
    void StartRun();
    void OnRunNews();
    void OnRunEnded(const RunOutcome& outcome);
    void ShowRunProgress(const RunNews& news);

    AppContext& context_;
    AppSettings& settings_;
    MainPrompts prompts_;
    WindowTheme theme_;
    AnchorLayout layout_;
    Tooltip tooltip_;
    TaskbarProgress taskbar_;

    ConversionList list_;
    CDragListCtrl listControl_;
    CMyEdit folderEdit_{nullptr};
    RecentFiles recentFiles_;
    RunState state_ = RunState::Idle;
    std::vector<std::wstring> pendingDrop_;
    POINT dropPoint_{};
    SIZE smallest_{};  // the window's outer size in pixels when it was made
    UINT smallestDpi_ = USER_DEFAULT_SCREEN_DPI;
    HWND clickedControl_ = nullptr;  // what took the focus from the output folder by a click, and where
    POINT clickedPoint_{};
    bool flashing_ = false;      // a late tick of the timer must not start it anew
    std::wstring flashedLabel_;  // the input format's label while it flashes

    Source addingSource_ = Source::Folder;
    size_t rowsBeforeAdding_ = 0;
    bool addingStopped_ = false;
    bool runWhenAdded_ = false;
    std::optional<CProgressDlg> progress_;

    HWND receiver_ = nullptr;  // the window for its threads: written before they start, never changed
    FileAdder adder_;          // these two last: their threads end before what they post to
    RunWorker worker_;
};

}  // namespace morvex

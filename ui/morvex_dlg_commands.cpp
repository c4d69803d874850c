#include <algorithm>
#include <iterator>

#include "core/conversion_config.h"
#include "dialogs/options_dlg.h"
#include "dialogs/settings_dialogs.h"
#include "res/resource.h"
#include "res/string_ids.h"
#include "ui/context_menu.h"
#include "ui/list_saving.h"
#include "ui/morvex_dlg.h"

// The main window's commands, from buttons, menus and other windows of the program.
namespace morvex {

struct CmorvexDlg::Command {
    int id;
    void (*execute)(CmorvexDlg& window);
    bool whileBusy = false;  // also in a run or while files are being searched for
};

const CmorvexDlg::Command* CmorvexDlg::FindCommand(int id) {
    using W = CmorvexDlg;
    static constexpr Command kCommands[] = {
        {IDS_ADD_FILES, [](W& w) { w.AddFilesOrDrop(); }},
        {IDS_ADD_FILES_RECURSIVE, [](W& w) { w.adding_.AddDroppedPaths(false, true); }},
        {IDS_REPLACE_FILES, [](W& w) { w.adding_.AddDroppedPaths(true, false); }},
        {IDS_REPLACE_FILES_RECURSIVE, [](W& w) { w.adding_.AddDroppedPaths(true, true); }},
        {IDS_ADD_FOLDER, [](W& w) { w.adding_.AddFolder(false); }},
        {IDS_ADD_FOLDER_RECURSIVE, [](W& w) { w.adding_.AddFolder(true); }},
        {IDS_EMPTY_LIST, [](W& w) { w.EmptyList(); }},
        {IDS_REMOVE_FROM_LIST, [](W& w) { w.rows_.RemoveSelectedRows(); }},
        {IDS_MOVE_UP, [](W& w) { w.rows_.MoveSelectedRow(true); }},
        {IDS_MOVE_DOWN, [](W& w) { w.rows_.MoveSelectedRow(false); }},
        {IDS_COPY_FILE_PATH, [](W& w) { w.rows_.CopyFilePath(); }},
        {IDS_OPEN_CONTAINING_FOLDER, [](W& w) { w.rows_.OpenContainingFolder(); }},
        {IDS_OPEN_OUTPUT_FOLDER, [](W& w) { w.rows_.OpenOutputFolder(); }},
        {IDS_SAVE_RESULTS_REPORT, [](W& w) { SaveResultsReport(w.state_); }},
        {IDS_LOAD_LIST, [](W& w) { w.adding_.LoadList(); }},
        {IDS_SAVE_LIST, [](W& w) { SaveList(w.state_); }},
        {IDS_SAVE_LIST_PYTHON, [](W& w) { SavePythonList(w.state_); }},
        {IDS_RUN_CONVERSION, [](W& w) { w.StartRun(); }},
        {IDC_BROWSE, [](W& w) { w.folder_.Browse(); }},
        {IDS_CONFIGURE, [](W& w) { OpenSettingsDialog(w.state_.context, w.Handle(), w.state_.prompts); }},
        {IDS_OPTIONS, [](W& w) { w.ShowOptions(); }},
        {IDS_WRITE_INTO_INPUT_FOLDER, [](W& w) { w.folder_.OnSwitch(); }},
        {IDS_HEALING, [](W& w) { w.settings_.healing.Set(w.Checked(IDS_HEALING)); }},
        {IDS_MULTIPROCESS, [](W& w) { w.settings_.multiprocess.Set(w.Checked(IDS_MULTIPROCESS)); }},
        {IDS_CONVERT_AT_STARTUP,
         [](W& w) { w.settings_.convertAtStartup.Set(w.Checked(IDS_CONVERT_AT_STARTUP)); }, true},
        {IDS_OVERRIDE, [](W& w) { w.SwitchOverride(); }},
        {IDS_QUIT, [](W& w) { w.OnCancel(); }, true},
    };
    const auto* const found = std::ranges::find(kCommands, id, &Command::id);
    return found == std::end(kCommands) ? nullptr : found;
}

bool CmorvexDlg::Execute(int id) {
    if (id >= kFirstRecentFile && id <= kLastRecentFile) {
        if (!state_.Busy()) adding_.AddRecentFile(static_cast<size_t>(id - kFirstRecentFile));
        return true;
    }
    const Command* const command = FindCommand(id);
    if (command && (command->whileBusy || !state_.Busy())) command->execute(*this);
    return command != nullptr;
}

void CmorvexDlg::AddFilesOrDrop() {
    if (adding_.DropPending())
        adding_.AddDroppedPaths(false, false);
    else
        adding_.AddFiles();
}

void CmorvexDlg::StartRun() {
    if (state_.Busy() || state_.list.Empty()) return;
    folder_.Commit();
    running_.Start();
}

void CmorvexDlg::ShowOptions() {
    OptionsDlg(state_.context, [this] {
        ApplyTexts();
        formats_.Fill();
    }).Run(Handle());
}

void CmorvexDlg::SwitchOverride() {
    PrepareConfigFile(state_.context, SavedFormats(settings_));
    settings_.SetFillOverride(Checked(IDS_OVERRIDE));
}

void CmorvexDlg::OnInputFormat() {
    const std::wstring shown = formats_.ShownInput();
    if (state_.Busy() || shown == settings_.formatIn.Get()) return;
    EmptyList();
    formats_.Choose({shown, settings_.formatOut.Get()});
}

void CmorvexDlg::OnOutputFormat() {
    if (!state_.Busy() && formats_.TakeOutput()) folder_.UseFolder();
}

void CmorvexDlg::EmptyList() {
    if (state_.Busy()) return;
    state_.list.Clear();
    if (state_.run == RunState::Finished) state_.run = RunState::Idle;
    listControl_.View().SelectAll(false);
    Update();
    ShowStatus(L"");
}

}  // namespace morvex

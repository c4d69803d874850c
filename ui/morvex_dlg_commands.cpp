#include <algorithm>
#include <iterator>
#include <numeric>

#include "core/conversion_config.h"
#include "dialogs/options_dlg.h"
#include "dialogs/settings_dialogs.h"
#include "res/resource.h"
#include "res/string_ids.h"
#include "ui/context_menu.h"
#include "ui/list_saving.h"
#include "ui/morvex_dlg.h"
#include "ui/morvex_dlg_messages.h"

// The main window's commands, from buttons, menus and other windows of the program.
namespace morvex {

struct CmorvexDlg::Command {
    int id;
    void (*execute)(CmorvexDlg& window);
    enum class Allowed { WhenIdle, WhileAdding, Always } allowed = Allowed::WhenIdle;

    bool AllowedIn(const WindowState& state) const {
        if (allowed == Allowed::WhenIdle) return !state.Busy();
        return allowed == Allowed::Always || state.run != RunState::Running;
    }
};

const CmorvexDlg::Command* CmorvexDlg::FindCommand(int id) {
    using W = CmorvexDlg;
    using enum Command::Allowed;
    static constexpr Command kCommands[] = {
        {IDS_ADD_FILES, [](W& w) { w.AddFilesOrDrop(); }},
        {IDS_ADD_FILES_RECURSIVE, [](W& w) { w.adding_.AddDroppedPaths(false, true); }},
        {IDS_REPLACE_FILES, [](W& w) { w.adding_.AddDroppedPaths(true, false); }},
        {IDS_REPLACE_FILES_RECURSIVE, [](W& w) { w.adding_.AddDroppedPaths(true, true); }},
        {IDS_ADD_FOLDER, [](W& w) { w.adding_.AddFolder(false); }},
        {IDS_ADD_FOLDER_RECURSIVE, [](W& w) { w.adding_.AddFolder(true); }},
        {IDS_EMPTY_LIST, [](W& w) { w.EmptyList(); }},
        {IDS_REMOVE_FROM_LIST, [](W& w) { w.rows_.RemoveSelectedRows(); }},
        {IDS_MOVE_UP, [](W& w) { w.rows_.MoveSelectedRow(true, false); }},
        {IDS_MOVE_DOWN, [](W& w) { w.rows_.MoveSelectedRow(false, false); }},
        {kMoveUpCommand, [](W& w) { w.rows_.MoveSelectedRow(true, true); }},
        {kMoveDownCommand, [](W& w) { w.rows_.MoveSelectedRow(false, true); }},
        {kUndoCommand, [](W& w) { w.rows_.Undo(); }},
        {kOpenResultCommand, [](W& w) { w.rows_.OpenFocusedResult(); }},
        {kSelectAllCommand, [](W& w) { w.rows_.SelectAll(); }, Always},
        {kCopyPathsCommand, [](W& w) { w.rows_.CopySelectedPaths(); }, Always},
        {IDS_PREVIEW, [](W& w) { w.SwitchCard(); }, Always},
        {IDC_ACTION, [](W& w) { w.DoAction(); }, Always},
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
        {IDS_OPTIONS, [](W& w) { w.ShowOptions(); }, WhileAdding},
        {IDS_WRITE_INTO_INPUT_FOLDER, [](W& w) { w.folder_.OnSwitch(); }},
        {IDS_HEALING, [](W& w) { w.settings_.healing.Set(w.Checked(IDS_HEALING)); }},
        {IDS_MULTIPROCESS, [](W& w) { w.settings_.multiprocess.Set(w.Checked(IDS_MULTIPROCESS)); }},
        {IDS_CONVERT_AT_STARTUP,
         [](W& w) { w.settings_.convertAtStartup.Set(w.Checked(IDS_CONVERT_AT_STARTUP)); }, Always},
        {IDS_OVERRIDE, [](W& w) { w.SwitchOverride(); }},
        {IDS_QUIT, [](W& w) { w.OnCancel(); }, Always},
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
    if (!command || !command->AllowedIn(state_)) return command != nullptr;
    // A key comes here before the message that leaving the folder's edit posted.
    if (StartsRun(id) && !folder_.ReadyForRun()) return true;
    folder_.CheckIfLeft();
    command->execute(*this);
    return true;
}

bool CmorvexDlg::StartsRun(int id) const {
    if (id != IDC_ACTION) return id == IDS_RUN_CONVERSION;
    const Action action = CurrentAction();
    return action == Action::ConvertRest || action == Action::ConvertAgain;
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
    std::vector<size_t> all(state_.list.Count());
    std::iota(all.begin(), all.end(), size_t{0});
    running_.Start(std::move(all));
}

// Of the last run: those it did not come to, or else those that failed.
std::vector<size_t> CmorvexDlg::UnconvertedRows() const {
    if (state_.run != RunState::Finished) return {};
    std::vector<size_t> rows = state_.list.RowsIn(RowState::NotConverted);
    std::ranges::move(state_.list.RowsIn(RowState::Stopped), std::back_inserter(rows));
    std::ranges::sort(rows);
    return rows.empty() ? state_.list.RowsIn(RowState::Failed) : rows;
}

CmorvexDlg::Action CmorvexDlg::CurrentAction() const {
    if (state_.Busy()) return Action::Stop;
    if (!adding_.OfferedFormat().empty()) return Action::ChangeFormat;
    if (state_.undo) return Action::Undo;
    const std::vector<size_t> rows = UnconvertedRows();
    if (rows.empty()) return Action::None;
    return state_.list.Row(rows.front()).status.state == RowState::Failed ? Action::ConvertAgain
                                                                          : Action::ConvertRest;
}

void CmorvexDlg::ShowAction() {
    const bool stopping = state_.run == RunState::Running && running_.Stopping();
    const auto count = [this] { return static_cast<int>(UnconvertedRows().size()); };
    const auto show = [&](const std::wstring& caption) { statusLine_.Offer(caption, !stopping); };
    switch (CurrentAction()) {
        case Action::None:
            return show(L"");
        case Action::Stop:
            return show(state_.Text(stopping ? IDS_STOPPING : IDS_STOP));
        case Action::ChangeFormat: {
            const std::wstring format = adding_.OfferedFormat();
            return show(
                Format(state_.Text(IDS_CHANGE_FORMAT).c_str(), format.substr(0, format.rfind(L' ')).c_str()));
        }
        case Action::Undo:
            return show(state_.Text(IDS_UNDO));
        case Action::ConvertRest:
            return show(Format(state_.Text(IDS_CONVERT_REST).c_str(), count()));
        case Action::ConvertAgain:
            return show(Format(state_.Text(IDS_CONVERT_AGAIN).c_str(), count()));
    }
}

void CmorvexDlg::DoAction() {
    switch (CurrentAction()) {
        case Action::None:
            return;
        case Action::Stop:
            return state_.adding ? adding_.Stop() : running_.Stop();
        case Action::ChangeFormat:
            return adding_.AddInOfferedFormat();
        case Action::Undo:
            return rows_.Undo();
        case Action::ConvertRest:
        case Action::ConvertAgain:
            return running_.Start(UnconvertedRows());
    }
}

bool CmorvexDlg::OnShortcut(const MSG& message) {
    struct Shortcut {
        WPARAM key;
        bool control, alt;
        int command;
        bool anywhere = false;  // else only in the list
    };
    static constexpr Shortcut kShortcuts[] = {
        {VK_DELETE, false, false, IDS_REMOVE_FROM_LIST},
        {VK_RETURN, false, false, kOpenResultCommand},
        {VK_SPACE, false, false, IDS_PREVIEW},
        {'A', true, false, kSelectAllCommand},
        {'C', true, false, kCopyPathsCommand},
        {'Z', true, false, kUndoCommand},
        {VK_UP, false, true, kMoveUpCommand},
        {VK_DOWN, false, true, kMoveDownCommand},
        {VK_F5, false, false, IDS_RUN_CONVERSION, true},
    };
    if (message.message != WM_KEYDOWN && message.message != WM_SYSKEYDOWN) return false;
    const bool control = GetKeyState(VK_CONTROL) < 0, alt = GetKeyState(VK_MENU) < 0;
    const bool inList = message.hwnd == Item(IDC_LIST);
    const auto* const found = std::ranges::find_if(kShortcuts, [&](const Shortcut& shortcut) {
        return shortcut.key == message.wParam && shortcut.control == control && shortcut.alt == alt &&
               (inList || shortcut.anywhere);
    });
    return found != std::end(kShortcuts) && Execute(found->command);
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

void CmorvexDlg::SwitchCard() {
    if (card_.Shown()) return card_.Hide();
    ShowCard();
}

void CmorvexDlg::UpdateCard() {
    if (!card_.Shown()) return;
    if (state_.list.Empty()) return card_.Hide();
    ShowCard();
}

void CmorvexDlg::ShowCard() {
    const int row = listControl_.View().FocusedRow();
    if (row >= 0)
        card_.ShowRow(Handle(), listControl_.StatusesLeft(), state_.list.Row(static_cast<size_t>(row)));
}

void CmorvexDlg::TakeChosenFormat() {
    const int box = formats_.ChosenBox();
    const std::wstring input = formats_.ShownInput();
    if (state_.Busy() || input.empty()) return formats_.ShowChosen();
    if (box == IDC_INPUT_FORMAT && input != settings_.formatIn.Get()) {
        EmptyList();
        formats_.Choose({input, settings_.formatOut.Get()});
    }
    if (box == IDC_OUTPUT_FORMAT) formats_.TakeOutput();
    if (!formats_.Same())
        folder_.AllowInputFolder();
    else if (box == IDC_OUTPUT_FORMAT && folder_.ForbidInputFolder())
        ShowStatus(state_.Text(IDS_NOT_BESIDE_INPUT));
}

void CmorvexDlg::EmptyList() {
    if (!state_.Busy()) rows_.EmptyList();
}

}  // namespace morvex

#include <utility>

#include "formats/input_formats.h"
#include "res/string_ids.h"
#include "ui/morvex_dlg.h"
#include "ui/morvex_dlg_messages.h"
#include "win/paths.h"

// Adding files to the main window's list: by dialog, by folder, by drop.
namespace morvex {

void CmorvexDlg::AddFiles() {
    if (Busy()) return;
    std::wstring filter = InputFilterTextToDialogFilter(settings_.formatIn.Get());
    if (filter.empty()) filter = context_.text(IDS_ALL_FILES) + L" (*.*)|*.*||";
    const std::vector<std::wstring> paths = prompts_.openFiles(
        Handle(), {.filter = filter,
                   .initialFolder = settings_.inputFolder.Get(),
                   .flags = OFN_PATHMUSTEXIST | OFN_HIDEREADONLY,
                   .bufferCharacters = 2000000,  // too small a one would lose the whole choice without a word
                   .multiple = true});
    if (paths.empty()) return;
    for (const std::wstring& path : paths) list_.AppendPickedFile(path);
    RowsAdded();
}

void CmorvexDlg::AddFolder(bool recursive) {
    if (Busy()) return;
    const auto folder =
        prompts_.browseFolder(Handle(), context_.text(IDS_SELECT_FOLDER), settings_.inputFolder.Get());
    if (!folder) return;
    settings_.inputFolder.Set(*folder);
    AddPaths({*folder}, recursive, Source::Folder);
}

void CmorvexDlg::AddPaths(std::vector<std::wstring> paths, bool recursive, Source source) {
    addingSource_ = source;
    addingStopped_ = false;
    rowsBeforeAdding_ = list_.Count();
    adder_.Start({.paths = std::move(paths),
                  .recursive = recursive,
                  .filesOnly = source == Source::ListFile,
                  .inputFormat = settings_.formatIn.Get()});
    EnableControls(false);
    ShowStatus(context_.text(IDS_ADDING_FILES));
}

void CmorvexDlg::OnFound() {
    if (!Adding()) return;
    FileAdder::Found found = adder_.Take();
    list_.Append(std::move(found.rows));
    RowsAdded();
    if (found.ended) return OnAddingEnded();
    ShowStatus(
        context_.text(IDS_ADDING_FILES) + L"   " +
        Format(context_.text(IDS_FILES_ADDED).c_str(), static_cast<int>(list_.Count() - rowsBeforeAdding_)) +
        L"   " + found.folder);
}

void CmorvexDlg::OnAddingEnded() {
    EnableControls(true);
    EnableListButtons();
    const size_t added = list_.Count() - rowsBeforeAdding_;
    ShowStatus(Format(context_.text(IDS_FILES_ADDED).c_str(), static_cast<int>(added)));
    const bool none =
        addingSource_ == Source::Folder ? list_.Empty() : addingSource_ == Source::Drop && added == 0;
    if (none && !addingStopped_) ShowOnlyFormatMessage();
    if (std::exchange(runWhenAdded_, false) && !addingStopped_) StartRun();
}

void CmorvexDlg::RowsAdded() {
    listControl_.Refresh();
    listControl_.ShowSorted(false);
    if (!list_.Empty() && state_ == RunState::Finished) state_ = RunState::Idle;
    EnableListButtons();
    listControl_.FitColumnsToRows();
}

void CmorvexDlg::ShowOnlyFormatMessage() {
    const std::wstring& format = settings_.formatIn.Get();
    const std::wstring text = context_.text(IDS_ONLY) + L" " + format.substr(0, format.rfind(L' ')) + L" " +
                              context_.text(IDS_FILES_CAN_BE_ADDED);
    flashedLabel_.clear();
    flashing_ = true;
    SetTimer(Handle(), kFlashTimer, kFlashDelay, nullptr);
    prompts_.message(Handle(), text, kMessageCaption, MB_OK);
    KillTimer(Handle(), kFlashTimer);
    flashing_ = false;
    if (!flashedLabel_.empty()) FlashInputFormat();
}

// Clears the input format and its label, or brings them back.
void CmorvexDlg::FlashInputFormat() {
    const Control label(Item(IDS_INPUT_FORMAT));
    const ComboBox formats(Item(IDC_INPUT_FORMAT));
    if (flashedLabel_.empty()) {
        flashedLabel_ = label.Text();
        label.SetText(L" ");
        formats.Select(-1);
    } else {
        label.SetText(std::exchange(flashedLabel_, {}));
        formats.SelectText(settings_.formatIn.Get());
    }
}

// Not while a message or a dialog waits for its answer: another program can still drop files then.
bool CmorvexDlg::TakesDrops() const {
    return !Busy() && IsWindowEnabled(Handle());
}

void CmorvexDlg::OnDropped(std::vector<std::wstring> paths, POINT screen) {
    POINT inside = screen;
    RECT client{};
    ScreenToClient(Handle(), &inside);
    GetClientRect(Handle(), &client);
    if (!TakesDrops() || !PtInRect(&client, inside)) return;
    pendingDrop_ = std::move(paths);
    dropPoint_ = screen;
    PostMessageW(Handle(), kDropMessage, 0, 0);
}

void CmorvexDlg::ShowDropMenu(POINT screen) {
    if (!TakesDrops()) return;
    PopupMenu menu;
    const auto add = [&](int id) { menu.Add(id, context_.text(id)); };
    add(IDS_ADD_FILES);
    add(IDS_ADD_FILES_RECURSIVE);
    if (!list_.Empty()) {
        menu.AddSeparator();
        add(IDS_REPLACE_FILES);
        add(IDS_REPLACE_FILES_RECURSIVE);
    }
    prompts_.showMenu(menu, Handle(), screen);
}

void CmorvexDlg::AddDroppedPaths(bool replace, bool recursive) {
    std::vector<std::wstring> paths = std::exchange(pendingDrop_, {});
    if (Busy() || paths.empty()) return;
    if (replace) EmptyList();
    AddDropped(std::move(paths), recursive);
}

// Files dropped by the shell's message instead of the list's drop target: onto the rest of the window.
void CmorvexDlg::AddDroppedFileHandle(HDROP drop) {
    std::vector<std::wstring> paths = PathsOf(drop);
    if (!TakesDrops() || paths.empty()) return;
    if (state_ == RunState::Finished) EmptyList();
    AddDropped(std::move(paths), false);
}

void CmorvexDlg::AddDropped(std::vector<std::wstring> paths, bool recursive) {
    const bool listFile =
        paths.size() == 1 && SameText(ExtensionOf(paths.front()), L"csv") && !FolderExists(paths.front());
    if (listFile)
        OpenListFile(paths.front());
    else
        AddPaths(std::move(paths), recursive, Source::Drop);
}

}  // namespace morvex

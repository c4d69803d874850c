#include "res/string_ids.h"
#include "ui/morvex_dlg.h"

// The main window's list files and recent files.
namespace morvex {
namespace {

constexpr wchar_t kAnyFile[] = L"ALL (*.*)";
constexpr size_t kNameBuffer = 8000;

}  // namespace

void CmorvexDlg::LoadList() {
    if (Busy()) return;
    const auto paths =
        prompts_.openFiles(Handle(), {.filter = context_.text(IDS_CSV_FILE) + L" (*.csv)|*.csv|",
                                      .initialFolder = settings_.inputFolder.Get(),
                                      .flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY,
                                      .bufferCharacters = kNameBuffer});
    if (!paths.empty()) OpenListFile(paths.front());
}

void CmorvexDlg::OpenListFile(const std::wstring& path) {
    ListFile file = ReadListFile(path, context_.pairs, settings_.developerMode.Get());
    if (file.kind == ListFileKind::NotValid) Warn(context_.text(IDS_LIST_FILE_NOT_VALID));
    if (file.kind == ListFileKind::NotValid || file.kind == ListFileKind::CannotOpen) return;
    if (file.kind == ListFileKind::PlainPaths) file.formats = {kAnyFile, settings_.formatOut.Get()};
    TakeListFile(std::move(file));
}

// Replaces formats and rows. The files' sizes are asked on another thread: they may lie on a slow share.
void CmorvexDlg::TakeListFile(ListFile file) {
    EmptyList();
    settings_.formatIn.Set(file.formats.input);
    settings_.formatOut.Set(file.formats.output);
    ComboBox(Item(IDC_INPUT_FORMAT)).SelectText(file.formats.input);
    FillOutputFormats();
    AddPaths(std::move(file.paths), false, Source::ListFile);
}

std::optional<std::wstring> CmorvexDlg::AskWhereToSave() {
    return prompts_.saveFile(Handle(), {.filter = context_.text(IDS_CSV_FILE) + L" (*.csv)|*.csv|" +
                                                  context_.text(IDS_ALL_FILES) + L" (*.*)|*.*||",
                                        .initialFolder = settings_.inputFolder.Get(),
                                        .defaultExtension = L"csv",
                                        .flags = OFN_HIDEREADONLY,
                                        .bufferCharacters = kNameBuffer});
}

void CmorvexDlg::Saved(bool done, const std::wstring& path) {
    if (!done) Warn(Format(context_.text(IDS_CANNOT_WRITE_FILE).c_str(), path.c_str()));
}

void CmorvexDlg::SaveList() {
    if (Busy()) return;
    if (const auto path = AskWhereToSave()) Saved(SaveListFile(*path, list_, Formats()), *path);
}

void CmorvexDlg::SaveResultsReport() {
    if (Busy() || state_ != RunState::Finished) return;
    const auto path = AskWhereToSave();
    if (!path) return;
    std::optional<std::wstring> folder;
    if (settings_.UseOutputFolder()) folder = settings_.outputFolder.Get();
    Saved(morvex::SaveResultsReport(*path, list_, Formats(), folder, context_.text), *path);
}

void CmorvexDlg::SavePythonList() {
    if (Busy()) return;
    if (const auto path = AskWhereToSave()) Saved(morvex::SavePythonList(*path, list_), *path);
}

void CmorvexDlg::AddRecentFile(size_t index) {
    if (Busy() || index >= recentFiles_.Paths().size()) return;
    if (list_.AddRecentPath(recentFiles_.Paths()[index], settings_.formatIn.Get()))
        RowsAdded();
    else
        ShowOnlyFormatMessage();
}

}  // namespace morvex

#include "ui/file_adding.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "convert/command_formats.h"
#include "formats/file_recognition.h"
#include "formats/input_formats.h"
#include "res/resource.h"
#include "res/string_ids.h"
#include "ui/list_saving.h"
#include "ui/morvex_dlg_messages.h"
#include "win/paths.h"

namespace morvex {
namespace {

constexpr wchar_t kAnyFile[] = L"ALL (*.*)";

}  // namespace

void FileAdding::Attach() {
    mailbox_.Open(state_.window, kFoundMessage);
    TakeHandedFiles(state_.window);
}

void FileAdding::AddFiles() {
    const AppSettings& settings = state_.Settings();
    std::wstring filter = InputFilterTextToDialogFilter(settings.formatIn.Get());
    if (filter.empty()) filter = state_.Text(IDS_ALL_FILES) + L" (*.*)|*.*||";
    const std::vector<std::wstring> paths = state_.prompts.openFiles(
        state_.window,
        {.filter = filter,
         .initialFolder = settings.inputFolder.Get(),
         .flags = OFN_PATHMUSTEXIST | OFN_HIDEREADONLY,
         .bufferCharacters = 2000000,  // too small a one would lose the whole choice without a word
         .multiple = true});
    if (paths.empty()) return;
    state_.Settings().inputFolder.Set(std::wstring(FolderOf(paths.front())));
    Start(paths, false, Source::Picked);
}

void FileAdding::AddFolder(bool recursive) {
    TextSetting& last = state_.Settings().inputFolder;
    const auto folder =
        state_.prompts.browseFolder(state_.window, state_.Text(IDS_SELECT_FOLDER), last.Get());
    if (!folder) return;
    last.Set(*folder);
    Start({*folder}, recursive, Source::Folder);
}

void FileAdding::AddRecentFile(size_t index) {
    const std::vector<std::wstring>& recent = state_.recentFiles.Paths();
    if (index >= recent.size()) return;
    if (state_.list.AddRecentPath(recent[index], state_.Settings().formatIn.Get()))
        view_.OnRowsAdded(true);
    else
        ShowOnlyFormatMessage();
}

void FileAdding::Start(std::vector<std::wstring> paths, bool recursive, Source source) {
    source_ = source;
    offered_.clear();
    stopped_ = false;
    rowsBefore_ = state_.list.Count();
    refused_.clear();
    leftOut_ = 0;
    notRead_.clear();
    const std::wstring& format = state_.Settings().formatIn.Get();
    request_ = {.paths = std::move(paths),
                .recursive = recursive,
                .filesOnly = source == Source::ListFile || source == Source::Picked,
                .picked = source == Source::Picked,
                .excepted = state_.context.pairs.ExceptedOf(format),
                .inputFormat = format,
                .written = {}};
    for (size_t row = 0; source == Source::Folder && row < state_.list.Count(); ++row) {
        const std::wstring& written = state_.list.Row(row).status.output;
        if (!written.empty()) request_.written.insert(written);
    }
    adder_.Start(request_);
    state_.adding = true;
    view_.Update();
    view_.ShowStatus(state_.Text(IDS_ADDING_FILES));
}

void FileAdding::Stop() {
    if (!state_.adding) return;
    stopped_ = true;
    adder_.Stop();
}

void FileAdding::OnFound() {
    if (!state_.adding) return;
    FoundFiles found = adder_.Take();
    state_.adding = !found.ended;
    std::ranges::move(found.refused, std::back_inserter(refused_));
    std::ranges::move(found.notRead, std::back_inserter(notRead_));
    leftOut_ += found.leftOut;
    const bool any = !found.rows.empty();
    state_.list.Append(std::move(found.rows));
    view_.OnRowsAdded(any);
    const std::wstring count = CountText();
    if (found.ended) {
        view_.ShowStatus(found.problem.empty() ? count : count + L"   " + found.problem);
        OnEnded();
    } else {
        view_.ShowStatus(state_.Text(IDS_ADDING_FILES) + L"   " + count + L"   " + found.folder);
    }
}

std::wstring FileAdding::CountText() const {
    constexpr size_t kNamed = 3;
    std::wstring text =
        Format(state_.Text(IDS_FILES_ADDED).c_str(), static_cast<int>(state_.list.Count() - rowsBefore_));
    if (leftOut_ > 0) text += L"   " + Format(state_.Text(IDS_LEFT_OUT).c_str(), static_cast<int>(leftOut_));
    if (notRead_.empty()) return text;
    std::wstring names = notRead_.front();
    for (size_t i = 1; i < notRead_.size() && i < kNamed; ++i) names += L", " + notRead_[i];
    if (notRead_.size() > kNamed) names += L", ... (" + std::to_wstring(notRead_.size()) + L")";
    return text + L"   " + Format(state_.Text(IDS_NOT_READ).c_str(), names.c_str());
}

void FileAdding::OnEnded() {
    const bool none = source_ == Source::Folder
                          ? state_.list.Empty()
                          : source_ == Source::Drop && state_.list.Count() == rowsBefore_;
    if (none && !stopped_ && notRead_.empty()) {
        offered_ = OtherFormat();
        ShowOnlyFormatMessage();
    }
    view_.OnAddingEnded(stopped_);
}

// The one format on offer that all refused files belong to; empty when there is none or more than one.
std::wstring FileAdding::OtherFormat() const {
    std::wstring other;
    for (const auto& [format, outputs] : state_.context.pairs.All()) {
        const bool takesAll = std::ranges::all_of(
            refused_, [&format = format](const std::wstring& path) { return NamesExtension(format, path); });
        if (refused_.empty() || !takesAll) continue;
        if (!other.empty()) return {};
        other = format;
    }
    return other;
}

std::wstring FileAdding::OfferedFormat() const {
    const bool stale = !state_.list.Empty() || state_.Settings().formatIn.Get() != request_.inputFormat;
    return stale ? std::wstring() : offered_;
}

void FileAdding::AddInOfferedFormat() {
    const std::wstring format = std::exchange(offered_, {});
    formats_.Choose({format, state_.Settings().formatOut.Get()});
    Start(request_.paths, request_.recursive, source_);
}

void FileAdding::ShowOnlyFormatMessage() {
    const std::wstring& format = state_.Settings().formatIn.Get();
    formats_.FlashWhile(state_.Text(IDS_ONLY) + L" " + format.substr(0, format.rfind(L' ')) + L" " +
                        state_.Text(IDS_FILES_CAN_BE_ADDED));
}

// Not while a message or a dialog waits for its answer: another program can still drop files then.
bool FileAdding::TakesDrops() const {
    return !state_.Busy() && IsWindowEnabled(state_.window);
}

void FileAdding::OnDropped(std::vector<std::wstring> paths, POINT screen) {
    POINT inside = screen;
    RECT client{};
    ScreenToClient(state_.window, &inside);
    GetClientRect(state_.window, &client);
    if (!TakesDrops() || !PtInRect(&client, inside)) return;
    pendingDrop_ = std::move(paths);
    dropPoint_ = screen;
    PostMessageW(state_.window, kDropMessage, 0, 0);
}

void FileAdding::ShowDropMenu() {
    if (!TakesDrops()) return;
    PopupMenu menu;
    const auto add = [&](int id) { menu.Add(id, state_.Text(id)); };
    add(IDS_ADD_FILES);
    add(IDS_ADD_FILES_RECURSIVE);
    if (!state_.list.Empty()) {
        menu.AddSeparator();
        add(IDS_REPLACE_FILES);
        add(IDS_REPLACE_FILES_RECURSIVE);
    }
    menu.AssignKeys();
    state_.prompts.showMenu(menu, state_.window, dropPoint_);
}

void FileAdding::AddDroppedPaths(bool replace, bool recursive) {
    std::vector<std::wstring> paths = std::exchange(pendingDrop_, {});
    if (state_.Busy() || paths.empty()) return;
    if (replace) view_.EmptyList();
    AddPathsOrListFile(std::move(paths), recursive);
}

void FileAdding::AddDroppedFileHandle(HDROP drop) {
    std::vector<std::wstring> paths = PathsOf(drop);
    if (!TakesDrops() || paths.empty()) return;
    if (state_.run == RunState::Finished) view_.EmptyList();
    AddPathsOrListFile(std::move(paths), false);
}

HandOver FileAdding::AddHandedFiles(const HandedFiles& files) {
    if (state_.adding) return HandOver::NotYet;
    const bool anew = files.alone || state_.list.Empty() || state_.run == RunState::Finished;
    const bool belong = anew || std::ranges::all_of(files.paths, [this](const std::wstring& path) {
                            return IsAcceptedFile(path, state_.Settings().formatIn.Get());
                        });
    if (!TakesDrops() || files.paths.empty() || !belong) return HandOver::Refused;
    if (anew) {
        view_.EmptyList();
        const std::wstring format = InputFormatOf(state_.context.pairs, files.paths.front());
        if (state_.context.pairs.OutputsOf(format))
            formats_.Choose({format, state_.Settings().formatOut.Get()});
    }
    AddPathsOrListFile(files.paths, false);
    return HandOver::Taken;
}

void FileAdding::AddPathsOrListFile(std::vector<std::wstring> paths, bool recursive) {
    const bool listFile =
        paths.size() == 1 && SameText(ExtensionOf(paths.front()), L"csv") && !FolderExists(paths.front());
    if (listFile)
        OpenListFile(paths.front());
    else
        Start(std::move(paths), recursive, Source::Drop);
}

void FileAdding::LoadList() {
    const auto paths = state_.prompts.openFiles(
        state_.window, {.filter = state_.Text(IDS_CSV_FILE) + L" (*.csv)|*.csv|",
                        .initialFolder = state_.Settings().inputFolder.Get(),
                        .flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY,
                        .bufferCharacters = kListFileNameBuffer});
    if (!paths.empty()) OpenListFile(paths.front());
}

void FileAdding::OpenListFile(const std::wstring& path) {
    ListFile file = ReadListFile(path, state_.context.pairs, state_.Settings().developerMode.Get());
    if (file.kind == ListFileKind::NotValid) state_.Warn(state_.Text(IDS_LIST_FILE_NOT_VALID));
    if (file.kind == ListFileKind::NotValid || file.kind == ListFileKind::CannotOpen) return;
    if (file.kind == ListFileKind::PlainPaths) file.formats = {kAnyFile, state_.Settings().formatOut.Get()};
    TakeListFile(std::move(file));
}

// The files' sizes are asked on another thread: they may lie on a slow share.
void FileAdding::TakeListFile(ListFile file) {
    view_.EmptyList();
    formats_.Choose(file.formats);
    Start(std::move(file.paths), false, Source::ListFile);
}

}  // namespace morvex

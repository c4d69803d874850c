#include "ui/list_saving.h"

#include <optional>

#include "list/html_report.h"
#include "list/list_files.h"
#include "res/string_ids.h"
#include "win/paths.h"

namespace morvex {
namespace {

constexpr wchar_t kPageExtension[] = L"html";

// `write` gets the path that the user chose and says whether it was written; `more` goes into the filter.
template <class Write>
void AskAndSave(const WindowState& state, Write write, const std::wstring& more = {}) {
    const auto path =
        state.prompts.saveFile(state.window, {.filter = state.Text(IDS_CSV_FILE) + L" (*.csv)|*.csv|" + more +
                                                        state.Text(IDS_ALL_FILES) + L" (*.*)|*.*||",
                                              .initialFolder = state.Settings().inputFolder.Get(),
                                              .defaultExtension = L"csv",
                                              .flags = OFN_HIDEREADONLY,
                                              .bufferCharacters = kListFileNameBuffer});
    if (path && !write(*path)) state.Warn(Format(state.Text(IDS_CANNOT_WRITE_FILE).c_str(), path->c_str()));
}

bool SaveResultsPage(const WindowState& state, const std::wstring& path) {
    HtmlReport page(path, state.context.text);
    const ChosenFormats formats = state.Formats();
    bool good = page.Begin(formats.input + L" \u2192 " + formats.output);
    size_t converted = 0;
    for (size_t i = 0; good && i < state.list.Count(); ++i) {
        const RowStatus& status = state.list.Row(i).status;
        const bool ok = status.state == RowState::Converted;
        converted += ok;
        good = page.Add({.input = state.list.FullPath(i),
                         .output = status.output,
                         .status = status.text,
                         .reason = status.reason,
                         .failed = status.Final() && !ok,
                         .inputBytes = FileSizeOf(state.list.FullPath(i)).value_or(0),
                         .outputBytes = ok ? FileSizeOf(status.output).value_or(0) : 0});
    }
    const int rows = static_cast<int>(state.list.Count());
    return good && page.Finish(Format(state.Text(IDS_RUN_SUMMARY).c_str(), static_cast<int>(converted), rows,
                                      static_cast<int>(state.list.RowsIn(RowState::Failed).size())));
}

}  // namespace

void SaveList(const WindowState& state) {
    AskAndSave(state,
               [&](const std::wstring& path) { return SaveListFile(path, state.list, state.Formats()); });
}

void SaveResultsReport(const WindowState& state) {
    if (state.run != RunState::Finished) return;
    std::optional<std::wstring> folder;
    if (state.Settings().UseOutputFolder()) folder = state.Settings().outputFolder.Get();
    AskAndSave(
        state,
        [&](const std::wstring& path) {
            return SameText(ExtensionOf(path), kPageExtension)
                       ? SaveResultsPage(state, path)
                       : SaveResultsReport(path, state.list, state.Formats(), folder, state.context.text);
        },
        state.Text(IDS_WEB_PAGE) + L" (*.html)|*.html|");
}

void SavePythonList(const WindowState& state) {
    AskAndSave(state, [&](const std::wstring& path) { return SavePythonList(path, state.list); });
}

}  // namespace morvex

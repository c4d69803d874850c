#include "ui/list_saving.h"

#include <optional>

#include "list/list_files.h"
#include "res/string_ids.h"

namespace morvex {
namespace {

// `write` gets the path that the user chose and says whether it was written.
template <class Write>
void AskAndSave(const WindowState& state, Write write) {
    const auto path =
        state.prompts.saveFile(state.window, {.filter = state.Text(IDS_CSV_FILE) + L" (*.csv)|*.csv|" +
                                                        state.Text(IDS_ALL_FILES) + L" (*.*)|*.*||",
                                              .initialFolder = state.Settings().inputFolder.Get(),
                                              .defaultExtension = L"csv",
                                              .flags = OFN_HIDEREADONLY,
                                              .bufferCharacters = kListFileNameBuffer});
    if (path && !write(*path)) state.Warn(Format(state.Text(IDS_CANNOT_WRITE_FILE).c_str(), path->c_str()));
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
    AskAndSave(state, [&](const std::wstring& path) {
        return SaveResultsReport(path, state.list, state.Formats(), folder, state.context.text);
    });
}

void SavePythonList(const WindowState& state) {
    AskAndSave(state, [&](const std::wstring& path) { return SavePythonList(path, state.list); });
}

}  // namespace morvex

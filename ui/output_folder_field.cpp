#include "ui/output_folder_field.h"

#include <utility>

#include "res/resource.h"
#include "res/string_ids.h"
#include "ui/morvex_dlg_messages.h"
#include "win/paths.h"

namespace morvex {

void OutputFolderField::Attach() {
    edit_ = CMyEdit(state_.Item(IDC_OUTPUT_FOLDER));
    Show();
}

// The edit keeps a blank for a folder that is not used.
void OutputFolderField::Show() {
    const bool on = state_.Settings().UseOutputFolder();
    CheckBox(state_.Item(IDS_WRITE_INTO_INPUT_FOLDER)).Check(!on);
    edit_.SetReadOnly(!on);
    edit_.SetText(on ? state_.Settings().outputFolder.Get() : L" ");
    edit_.ClearModified();
}

void OutputFolderField::Commit() {
    if (!state_.Settings().UseOutputFolder() || !edit_.Modified()) return;
    edit_.ClearModified();
    forbidden_ = false;
    state_.Settings().outputFolder.Set(edit_.Text());
}

void OutputFolderField::Browse() {
    AppSettings& settings = state_.Settings();
    const auto folder = state_.prompts.browseFolder(state_.window, state_.Text(IDS_SELECT_FOLDER),
                                                    settings.outputFolder.Get());
    if (!folder) return;
    settings.outputFolder.Set(*folder);
    settings.besideInput.Set(false);
    forbidden_ = false;
    Show();
}

void OutputFolderField::OnSwitch() {
    Commit();
    const bool beside = CheckBox(state_.Item(IDS_WRITE_INTO_INPUT_FOLDER)).Checked();
    state_.Settings().besideInput.Set(beside);
    forbidden_ = false;
    Show();
    if (!beside) WarnIfMissing();
}

bool OutputFolderField::ForbidInputFolder() {
    const bool wasOn = state_.Settings().besideInput.Get();
    forbidden_ |= wasOn;
    state_.Settings().besideInput.Set(false);
    Show();
    WarnIfMissing();
    return wasOn;
}

void OutputFolderField::AllowInputFolder() {
    if (!std::exchange(forbidden_, false)) return;
    state_.Settings().besideInput.Set(true);
    Show();
}

void OutputFolderField::OnLeft() {
    const HWND next = GetFocus();
    // Another program's window took the focus: it comes back to the edit.
    if (!next || !IsChild(state_.window, next) || !edit_.Modified()) return;
    Commit();
    if (!state_.Settings().UseOutputFolder() || FolderExists(state_.Settings().outputFolder.Get())) return;
    clickedControl_ = GetKeyState(VK_LBUTTON) < 0 ? next : nullptr;
    if (clickedControl_) {
        GetCursorPos(&clickedPoint_);
        ScreenToClient(clickedControl_, &clickedPoint_);
        ReleaseCapture();
    }
    left_ = true;
    PostMessageW(state_.window, kCheckFolderMessage, 0, 0);  // not while the focus is on its way
}

bool OutputFolderField::CheckIfLeft() {
    if (!std::exchange(left_, false)) return false;
    const bool wrong = WarnIfMissing();
    // The message took the rest of the click that left the edit; the clicked control gets it now.
    if (const HWND clicked = std::exchange(clickedControl_, nullptr)) {
        const LPARAM place = MAKELPARAM(clickedPoint_.x, clickedPoint_.y);
        PostMessageW(clicked, WM_LBUTTONDOWN, MK_LBUTTON, place);
        PostMessageW(clicked, WM_LBUTTONUP, 0, place);
    }
    return wrong;
}

bool OutputFolderField::ReadyForRun() {
    if (edit_.Modified()) {
        Commit();
        left_ = state_.Settings().UseOutputFolder() && !FolderExists(state_.Settings().outputFolder.Get());
    }
    return !CheckIfLeft();
}

bool OutputFolderField::WarnIfMissing() const {
    const bool missing =
        state_.run != RunState::Running && !FolderExists(state_.Settings().outputFolder.Get());
    if (missing) state_.Warn(state_.Text(IDS_OUTPUT_FOLDER_NOT_VALID));
    return missing;
}

}  // namespace morvex

#include <algorithm>

#include "core/conversion_config.h"
#include "dialogs/options_dlg.h"
#include "dialogs/settings_dialogs.h"
#include "formats/format_codes.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"
#include "res/string_ids.h"
#include "ui/morvex_dlg.h"
#include "ui/morvex_dlg_messages.h"
#include "win/paths.h"

// The main window's formats, output folder and switches. Each change is written at once.
namespace morvex {

void CmorvexDlg::FillFormats() {
    const ComboBox formats(Item(IDC_INPUT_FORMAT));
    formats.Clear();
    for (const auto& entry : context_.pairs.All()) formats.Add(entry.first);
    if (settings_.formatIn.Get().empty() && formats.Count() > 0) settings_.formatIn.Set(formats.TextAt(0));
    formats.SelectText(settings_.formatIn.Get());
    FillOutputFormats();
}

// The outputs on offer for the chosen input; repairs a chosen output that is not among them.
void CmorvexDlg::FillOutputFormats() {
    const ComboBox formats(Item(IDC_OUTPUT_FORMAT));
    formats.Clear();
    const std::vector<ConversionPair>* const pairs = context_.pairs.OutputsOf(settings_.formatIn.Get());
    if (!pairs) return;
    std::vector<std::wstring> shown;  // several profiles may offer the same pair
    for (const ConversionPair& pair : *pairs) {
        if (std::find(shown.begin(), shown.end(), pair.outputFilterText) != shown.end()) continue;
        formats.Add(pair.outputFilterText);
        shown.push_back(pair.outputFilterText);
    }
    if (formats.SelectText(settings_.formatOut.Get())) return;
    formats.Select(0);
    settings_.formatOut.Set(formats.TextAt(0));
}

void CmorvexDlg::OnInputFormat() {
    const std::wstring chosen = ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText();
    if (Busy() || chosen == settings_.formatIn.Get()) return;
    EmptyList();
    settings_.formatIn.Set(chosen);
    FillOutputFormats();
}

void CmorvexDlg::OnOutputFormat() {
    if (Busy()) return;
    const std::wstring chosen = ComboBox(Item(IDC_OUTPUT_FORMAT)).SelectedText();
    if (chosen != settings_.formatOut.Get()) settings_.formatOut.Set(chosen);
    const int code = InputFilterTextToFormatCode(settings_.formatIn.Get());
    if (code == kCodeAny || code != OutputFilterTextToFormatCode(chosen)) return;
    settings_.besideInput.Set(false);  // the same format beside its input: the names would be too much alike
    WriteIntoOutputFolder(true);
    WarnOfOutputFolder();
}

// Shows where converted files go. The edit keeps a blank for a folder that is not used.
void CmorvexDlg::WriteIntoOutputFolder(bool on) {
    CheckBox(Item(IDS_WRITE_INTO_INPUT_FOLDER)).Check(!on);
    folderEdit_.SetReadOnly(!on);
    folderEdit_.SetText(on ? settings_.outputFolder.Get() : L" ");
    folderEdit_.ClearModified();
}

void CmorvexDlg::TakeOutputFolder() {
    if (!settings_.UseOutputFolder() || !folderEdit_.Modified()) return;
    folderEdit_.ClearModified();
    settings_.outputFolder.Set(folderEdit_.Text());
}

void CmorvexDlg::WarnOfOutputFolder() {
    if (state_ != RunState::Running && !FolderExists(settings_.outputFolder.Get())) {
        Warn(context_.text(IDS_OUTPUT_FOLDER_NOT_VALID));
    }
    // The message took the rest of the click that left the edit; the clicked control gets it now.
    if (!clickedControl_) return;
    const LPARAM place = MAKELPARAM(clickedPoint_.x, clickedPoint_.y);
    PostMessageW(clickedControl_, WM_LBUTTONDOWN, MK_LBUTTON, place);
    PostMessageW(clickedControl_, WM_LBUTTONUP, 0, place);
    clickedControl_ = nullptr;
}

void CmorvexDlg::BrowseOutputFolder() {
    if (Busy()) return;
    const auto folder =
        prompts_.browseFolder(Handle(), context_.text(IDS_SELECT_FOLDER), settings_.outputFolder.Get());
    if (!folder) return;
    settings_.outputFolder.Set(*folder);
    settings_.besideInput.Set(false);
    WriteIntoOutputFolder(true);
}

void CmorvexDlg::OnOutputFolderLeft() {
    const HWND next = GetFocus();
    // Another program's window took the focus: it comes back to the edit.
    if (!next || !IsChild(Handle(), next) || !folderEdit_.Modified() || !settings_.UseOutputFolder()) return;
    TakeOutputFolder();
    if (FolderExists(settings_.outputFolder.Get())) return;
    clickedControl_ = GetKeyState(VK_LBUTTON) < 0 ? next : nullptr;
    if (clickedControl_) {
        GetCursorPos(&clickedPoint_);
        ScreenToClient(clickedControl_, &clickedPoint_);
        ReleaseCapture();
    }
    PostMessageW(Handle(), kCheckFolderMessage, 0, 0);  // not while the focus is on its way
}

void CmorvexDlg::OnSwitch(int id) {
    const bool on = CheckBox(Item(id)).Checked();
    switch (id) {
        case IDS_WRITE_INTO_INPUT_FOLDER:
            TakeOutputFolder();
            settings_.besideInput.Set(on);
            WriteIntoOutputFolder(!on);
            if (!on) WarnOfOutputFolder();
            break;
        case IDS_HEALING:
            settings_.healing.Set(on);
            break;
        case IDS_MULTIPROCESS:
            settings_.multiprocess.Set(on);
            break;
        case IDS_OVERRIDE:
            PrepareConfigFile(context_, SavedFormats(settings_));
            settings_.SetFillOverride(on);
            break;
        case IDS_CONVERT_AT_STARTUP:
            settings_.convertAtStartup.Set(on);
            break;
    }
}

void CmorvexDlg::Configure() {
    if (!Busy()) OpenSettingsDialog(context_, Handle(), prompts_);
}

void CmorvexDlg::ShowOptions() {
    if (Busy()) return;
    OptionsDlg(context_, [this] {
        ApplyTexts();
        FillFormats();
    }).Run(Handle());
}

}  // namespace morvex

#include "dialogs/config_dialog.h"

#include <windows.h>

#include <commdlg.h>

#include <utility>

#include "convert/conversion_library.h"
#include "core/conversion_config.h"
#include "res/resource.h"
#include "res/settings_ids.h"
#include "res/string_ids.h"
#include "win/access_keys.h"
#include "win/controls.h"
#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

constexpr int kFirstTextId =
    IDS_CFG_ADVANCED;  // a control with this id or a higher one shows the text of that id
constexpr BoundControl kCommonControls[] = {
    {IDOK, 0, IDS_OK_BUTTON, 0},
    {IDCANCEL, 0, IDS_CANCEL, 0},
    {IDC_CFG_LOAD, 0, IDS_DOTS, IDS_TIP_CFG_LOAD},
    {IDC_CFG_DEFAULT, 0, IDS_DEFAULT, IDS_TIP_CFG_DEFAULT},
    {IDS_OPTIONS, 0, IDS_OPTIONS, 0},
};

// Whether the existing file takes changes. Asked first, so that a file that takes none is not half written.
bool CanWrite(const std::wstring& file) {
    const DWORD attributes = GetFileAttributesW(file.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY)) return false;
    return OwnFile(CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               nullptr, OPEN_EXISTING, 0, nullptr)) != nullptr;
}

}  // namespace

ConfigDialog::ConfigDialog(AppContext& context, const ConfigDialogTable& table, Prompts prompts)
    : context_(context), table_(table), prompts_(std::move(prompts)) {}

bool ConfigDialog::OnInit() {
    Localise();
    LoadValues();
    // Not on the path, which would show selected, nor on a radio button, which the focus would choose.
    SetFocus(Item(IDOK));
    return false;
}

void ConfigDialog::Localise() {
    const TextCatalogue& text = context_.text;
    tooltip_.Create(Handle());
    const auto apply = [&](const BoundControl& control, const std::wstring& remark = {}) {
        if (control.caption) Control(Item(control.id)).SetText(EscapeAmpersands(text(control.caption)));
        if (control.tooltip) tooltip_.SetText(control.id, text(control.tooltip) + remark);
    };
    SetWindowTextW(Handle(), text(table_.title).c_str());
    for (HWND child = GetWindow(Handle(), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        const int id = GetDlgCtrlID(child);
        if (id >= kFirstTextId) Control(child).SetText(EscapeAmpersands(text(id)));
    }
    for (const BoundControl& control : kCommonControls) apply(control);
    std::vector<SettingName> names;
    for (const ConfigBinding* binding : table_.bindings) names.push_back({binding->section, binding->key});
    const std::vector<bool> used = AskForEffect(context_.folders.library, names);
    for (size_t i = 0; i < table_.bindings.size(); ++i) {
        for (const BoundControl& control : table_.bindings[i]->controls) {
            if (control.id) apply(control, used[i] ? L"" : L"\n" + text(IDS_TIP_NOT_USED));
        }
    }
    if (table_.pathControl) {
        tooltip_.SetText(table_.pathControl, [this] {
            return Control(Item(table_.pathControl)).Text() + L"\n" + context_.text(IDS_TIP_CFG_FILE);
        });
    }
    AssignAccessKeys(Handle());
}

void ConfigDialog::LoadValues() {
    const std::wstring file = GetConfigFilePath(context_);
    WriteDefaultConfig(file);
    if (table_.pathControl) Control(Item(table_.pathControl)).SetText(file);
    for (const ConfigBinding* binding : table_.bindings) LoadBinding(*binding, Handle(), file);
    OnLoaded();
}

bool ConfigDialog::SaveValues(const std::wstring& file) {
    WriteDefaultConfig(file);
    if (!CanWrite(file)) return false;
    for (const ConfigBinding* binding : table_.bindings) {
        if (!SaveBinding(*binding, Handle(), file)) return false;
    }
    return true;
}

void ConfigDialog::OnOk() {
    if (RefusesTypedNumber()) return;
    const std::wstring file = GetConfigFilePath(context_);
    if (SaveValues(file)) {
        Close(IDOK);
        return;
    }
    const std::wstring message = Format(context_.text(IDS_CANNOT_SAVE_SETTINGS).c_str(), file.c_str());
    prompts_.message(Handle(), message, kMessageCaption, MB_OK | MB_ICONEXCLAMATION);
}

bool ConfigDialog::OnCommand(int id, int notification, HWND control) {
    if (control && notification == EN_SETFOCUS) balloon_.Hide();
    if (control && notification == EN_KILLFOCUS) {
        CorrectNumber(id);
        if (GetFocus() != Item(IDOK)) refused_ = 0;  // it has been said, and OK is another decision
    }
    if (id == IDC_CFG_LOAD)
        LoadOtherFile();
    else if (id == IDC_CFG_DEFAULT)
        UseDefaultFile();
    else
        return ModalDialog::OnCommand(id, notification, control);
    return true;
}

void ConfigDialog::CorrectNumber(int id) {
    const Edit edit(Item(id));
    for (const ConfigBinding* binding : table_.bindings) {
        if (binding->controls[0].id != id) continue;
        const auto usable = Correction(*binding, Handle());
        if (!usable) return balloon_.Hide();
        if (edit.Send(EM_GETMODIFY)) refused_ = id;
        edit.SetText(*usable);
        return ShowRemark(id);
    }
}

bool ConfigDialog::RefusesTypedNumber() {
    if (GetFocus() != Item(IDOK)) CorrectNumber(GetDlgCtrlID(GetFocus()));  // Enter, in an edit
    const int id = std::exchange(refused_, 0);
    if (!id) return false;
    SendMessageW(Handle(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(Item(id)), TRUE);
    ShowRemark(id);
    return true;
}

void ConfigDialog::ShowRemark(int id) {
    const std::wstring usable = Control(Item(id)).Text();
    balloon_.Show(Item(id), Format(context_.text(IDS_NUMBER_WANTED).c_str(), usable.c_str()));
}

void ConfigDialog::LoadOtherFile() {
    constexpr size_t kShortestPath = 4;  // "C:\" names no file
    FileDialog dialog;
    dialog.filter = context_.text(IDS_CONFIG_FILE) + L" (*.zel)|*.zel|";
    dialog.initialFolder = FolderOf(GetConfigFilePath(context_));
    dialog.flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY;
    dialog.bufferCharacters = 100000;
    const std::vector<std::wstring> chosen = prompts_.openFiles(Handle(), dialog);
    if (chosen.empty() || chosen.back().size() < kShortestPath) return;
    context_.settings.configFilePath.Set(chosen.back());
    LoadValues();
}

void ConfigDialog::UseDefaultFile() {
    context_.settings.configFilePath.Set(L"");
    LoadValues();
}

}  // namespace morvex

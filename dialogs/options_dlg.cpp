#include "dialogs/options_dlg.h"

#include "dialogs/about_dlg.h"
#include "dialogs/version_text.h"
#include "res/resource.h"
#include "res/settings_ids.h"
#include "res/string_ids.h"
#include "win/access_keys.h"
#include "win/controls.h"

namespace morvex {
namespace {

constexpr int kListWidth = 200;  // of the language list with its opened part, pixels at 96 dpi
constexpr int kListHeight = 1000;

std::wstring ComputerName() {
    wchar_t name[256];
    DWORD size = ARRAYSIZE(name);
    return GetComputerNameExW(ComputerNameDnsHostname, name, &size) ? std::wstring(name, size)
                                                                    : std::wstring();
}

}  // namespace

OptionsDlg::OptionsDlg(AppContext& context, std::function<void()> languageChanged)
    : context_(context), languageChanged_(std::move(languageChanged)) {}

INT_PTR OptionsDlg::Run(HWND parent) {
    return ModalDialog::Run(IDD_OPTIONS, parent);
}

bool OptionsDlg::OnInit() {
    const ComboBox list(Item(IDC_LANGUAGE));
    const int dpi = static_cast<int>(GetDpiForWindow(Handle()));
    SetWindowPos(list.Handle(), nullptr, 0, 0, MulDiv(kListWidth, dpi, USER_DEFAULT_SCREEN_DPI),
                 MulDiv(kListHeight, dpi, USER_DEFAULT_SCREEN_DPI),
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    for (const Language& language : Languages()) list.Add(language.name);
    list.SelectText(context_.text.Language());
    Control(Item(IDC_COMPUTER_NAME)).SetText(ComputerName());
    tooltip_.Create(Handle());
    ShowTexts();
    return true;
}

void OptionsDlg::ShowTexts() {
    const TextCatalogue& text = context_.text;
    SetWindowTextW(Handle(), text(IDS_OPTIONS).c_str());
    for (const int id : {IDS_INFORMATION, IDS_COMPUTER_NAME, IDS_LANGUAGE, IDS_VERSION}) {
        Control(Item(id)).SetText(EscapeAmpersands(text(id)));
    }
    Control(Item(IDC_ABOUT)).SetText(EscapeAmpersands(text(IDS_ABOUT)));
    Control(Item(IDOK)).SetText(text(IDS_OK_BUTTON));
    Control(Item(IDC_VERSION)).SetText(VersionText(LibraryVersion::Query(context_.folders.library)));
    tooltip_.SetText(IDC_LANGUAGE, text(IDS_TIP_LANGUAGE));
    AssignAccessKeys(Handle());
}

bool OptionsDlg::OnCommand(int id, int notification, HWND control) {
    if (id == IDC_ABOUT)
        CAboutDlg(context_.text).Run(Handle());
    else if (id == IDC_LANGUAGE && notification == CBN_SELCHANGE)
        TakeLanguage();
    else
        return ModalDialog::OnCommand(id, notification, control);
    return true;
}

void OptionsDlg::TakeLanguage() {
    const std::wstring name = ComboBox(Item(IDC_LANGUAGE)).SelectedText();
    if (name.empty() || name == context_.text.Language()) return;
    context_.settings.language.Set(name);
    context_.text.SetLanguage(name);
    ShowTexts();
    if (languageChanged_) languageChanged_();
}

}  // namespace morvex

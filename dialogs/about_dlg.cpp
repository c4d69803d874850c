#include "dialogs/about_dlg.h"

#include "res/resource.h"
#include "res/settings_ids.h"
#include "res/string_ids.h"
#include "win/access_keys.h"
#include "win/controls.h"

namespace morvex {
namespace {

// The notice's paragraphs, with the line ends that an edit control shows.
std::wstring LegalNotice(const TextCatalogue& text) {
    std::wstring notice;
    for (const int id : {IDS_LEGAL_INTRO, IDS_LEGAL_MIT, IDS_LEGAL_COMPONENTS, IDS_LEGAL_OCCT,
                         IDS_LEGAL_ASSIMP, IDS_LEGAL_GCC, IDS_LEGAL_MINGW}) {
        if (!notice.empty()) notice += L"\r\n\r\n";
        for (const wchar_t c : text(id)) {
            if (c == L'\n' && notice.back() != L'\r') notice += L'\r';
            notice += c;
        }
    }
    return notice;
}

}  // namespace

INT_PTR CAboutDlg::Run(HWND parent) {
    return ModalDialog::Run(IDD_ABOUT, parent);
}

bool CAboutDlg::OnInit() {
    SetWindowTextW(Handle(), text_(IDS_ABOUT).c_str());
    Control(Item(IDS_LEGAL_NOTICE)).SetText(EscapeAmpersands(text_(IDS_LEGAL_NOTICE)));
    Control(Item(IDC_LEGAL_NOTICE)).SetText(LegalNotice(text_));
    Control(Item(IDOK)).SetText(text_(IDS_OK_BUTTON));
    AssignAccessKeys(Handle());
    SetFocus(Item(IDOK));  // an edit control that gets the focus shows all its text selected
    return false;
}

}  // namespace morvex

#include "dialogs/progress_dialog.h"

#include <algorithm>

#include "res/resource.h"
#include "res/string_ids.h"

namespace morvex {

CProgressDlg::CProgressDlg(const TextCatalogue& text, COLORREF theme, HWND owner)
    : text_(text), theme_(theme) {
    Create(IDD_PROGRESS, owner);
    ShowWindow(Handle(), SW_SHOWNOACTIVATE);  // the user may be typing elsewhere
}

bool CProgressDlg::OnInit() {
    constexpr COLORREF kWhite = RGB(255, 255, 255);
    for (const int id : {IDC_FILE_PROGRESS, IDC_RUN_PROGRESS}) {
        const ProgressBar bar(Item(id));
        bar.Send(PBM_SETBKCOLOR, 0, kWhite);
        bar.Send(PBM_SETSTEP, 1);
    }
    ProgressBar(Item(IDC_FILE_PROGRESS)).SetRange(0, 100);
    SetWindowTextW(Handle(), text_(IDS_TRANSLATION_IN_PROGRESS).c_str());
    for (const int id : {IDS_CURRENT_FILE, IDS_FILES_CONVERTED}) Control(Item(id)).SetText(text_(id));
    return true;
}

void CProgressDlg::StartRun(size_t files) {
    ProgressBar(Item(IDC_RUN_PROGRESS)).SetRange(0, static_cast<int>(files));
    StartFile(0, files, L"");
}

void CProgressDlg::StartFile(size_t position, size_t files, const std::wstring& name) {
    ProgressBar(Item(IDC_RUN_PROGRESS)).SetPosition(static_cast<int>(position));
    Control(Item(IDC_FILE_NAME)).SetText(name);
    Control(Item(IDC_RUN_COUNTER))
        .SetText(Format(L"%d/%d", static_cast<int>(position), static_cast<int>(files)));
    ShowPercent(0);
}

void CProgressDlg::ShowPercent(int percent) {
    const int shown = std::clamp(percent, 0, 100);
    ProgressBar(Item(IDC_FILE_PROGRESS)).SetPosition(shown);
    Control(Item(IDC_FILE_PERCENT)).SetText(Format(L"%d%%", shown));
}

bool CProgressDlg::OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result) {
    result = reinterpret_cast<INT_PTR>(theme_.Answer(message, wParam, lParam));
    return result != 0;
}

}  // namespace morvex

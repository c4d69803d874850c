#include "ui/main_window.h"

#include "ui/morvex_dlg.h"

namespace morvex {

int RunMainWindow(AppContext& context) {
    CmorvexDlg window(context);
    window.Open();
    ShowWindow(window.Handle(), window.Maximised() ? SW_SHOWMAXIMIZED : SW_SHOWDEFAULT);
    MSG message;
    while (window.Handle() && GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (window.PreTranslate(message) || IsDialogMessageW(window.Handle(), &message)) continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    // A library call cannot be taken back, nor a question to a dead network share; waiting for them would
    // leave an invisible program behind.
    if (window.Converting() || window.Adding())
        TerminateProcess(GetCurrentProcess(), window.Failure() ? 1 : 0);
    if (window.Failure()) std::rethrow_exception(window.Failure());
    return 0;
}

}  // namespace morvex

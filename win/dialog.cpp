#include "win/dialog.h"

#include <system_error>

#include "win/calm_combos.h"

namespace morvex {
namespace {

[[noreturn]] void ThrowLastError(const char* what) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

LPARAM ToParameter(Dialog* dialog) {
    return reinterpret_cast<LPARAM>(dialog);
}

}  // namespace

bool Dialog::OnCommand(int id, int, HWND) {
    if (id == IDOK)
        OnOk();
    else if (id == IDCANCEL)
        OnCancel();
    else
        return false;
    return true;
}

bool Dialog::OnNotify(NMHDR&, LRESULT&) {
    return false;
}

bool Dialog::OnMessage(UINT, WPARAM, LPARAM, INT_PTR&) {
    return false;
}

INT_PTR CALLBACK Dialog::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    auto* dialog = reinterpret_cast<Dialog*>(GetWindowLongPtrW(window, DWLP_USER));
    if (message == WM_INITDIALOG) {
        dialog = reinterpret_cast<Dialog*>(lParam);
        dialog->handle_ = window;
        SetWindowLongPtrW(window, DWLP_USER, lParam);
    }
    if (!dialog) return FALSE;  // messages that come before WM_INITDIALOG
    INT_PTR result = FALSE;
    try {
        result = dialog->Dispatch(message, wParam, lParam);
    } catch (...) {
        if (!dialog->failure_) dialog->failure_ = std::current_exception();
        if (message != WM_NCDESTROY) dialog->Close(IDABORT);
    }
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, DWLP_USER, 0);
        dialog->handle_ = nullptr;
    }
    return result;
}

INT_PTR Dialog::Dispatch(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_INITDIALOG:
            CalmComboBoxes(handle_);
            return OnInit();
        case WM_COMMAND:
            return OnCommand(LOWORD(wParam), HIWORD(wParam), reinterpret_cast<HWND>(lParam));
        case WM_NOTIFY: {
            LRESULT answer = 0;
            if (!OnNotify(*reinterpret_cast<NMHDR*>(lParam), answer)) return FALSE;
            SetWindowLongPtrW(handle_, DWLP_MSGRESULT, answer);
            return TRUE;
        }
        default: {
            INT_PTR result = FALSE;
            return OnMessage(message, wParam, lParam, result) ? result : FALSE;
        }
    }
}

INT_PTR ModalDialog::Run(int templateId, HWND parent) {
    const INT_PTR result = DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(templateId), parent,
                                           Procedure, ToParameter(this));
    if (Failure()) std::rethrow_exception(Failure());
    if (result == -1) ThrowLastError("dialog");
    return result;
}

void ModalDialog::Close(INT_PTR result) {
    EndDialog(Handle(), result);
}

ModelessDialog::~ModelessDialog() {
    Destroy();
}

void ModelessDialog::Create(int templateId, HWND parent) {
    const HWND window = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(templateId), parent,
                                           Procedure, ToParameter(this));
    if (Failure()) std::rethrow_exception(Failure());
    if (!window) ThrowLastError("dialog");
}

void ModelessDialog::Destroy() {
    if (Handle()) DestroyWindow(Handle());
}

void ModelessDialog::Close(INT_PTR) {
    Destroy();
}

}  // namespace morvex

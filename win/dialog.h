#pragma once

#include <windows.h>

#include <exception>

// Dialogs from resource templates. All members belong to the thread that creates the window.
namespace morvex {

// Common ground of modal and modeless dialogs: one dialog procedure that leads messages to virtual functions.
// An exception that leaves such a function closes the dialog and is thrown again by Run (modal) or reported
// by Failure (modeless): none crosses the system's frames.
class Dialog {
  public:
    Dialog() = default;
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;
    virtual ~Dialog() = default;

    HWND Handle() const { return handle_; }  // null before creation and after destruction
    HWND Item(int id) const { return GetDlgItem(handle_, id); }
    std::exception_ptr Failure() const { return failure_; }

  protected:
    // The window exists, its controls too. True lets the system set the focus on the first control.
    virtual bool OnInit() { return true; }
    // A command of a control, menu or accelerator. True when handled.
    virtual bool OnCommand(int id, int notification, HWND control);
    virtual void OnOk() { Close(IDOK); }
    virtual void OnCancel() { Close(IDCANCEL); }
    // `result` is what the control gets back. True when handled.
    virtual bool OnNotify(NMHDR& header, LRESULT& result);
    // Every other message; `result` is the dialog procedure's answer. True when handled.
    virtual bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR& result);
    // Ends the dialog with this result.
    virtual void Close(INT_PTR result) = 0;

    static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

  private:
    INT_PTR Dispatch(UINT message, WPARAM wParam, LPARAM lParam);

    HWND handle_ = nullptr;
    std::exception_ptr failure_;
};

class ModalDialog : public Dialog {
  public:
    // Shows the dialog and returns its result when it is closed. Throws std::system_error when it cannot be
    // made, and whatever left one of its functions.
    INT_PTR Run(int templateId, HWND parent);

  protected:
    void Close(INT_PTR result) override;
};

class ModelessDialog : public Dialog {
  public:
    ~ModelessDialog() override;
    // Creates the window (shown when its template says visible). Throws std::system_error when it cannot be
    // made.
    void Create(int templateId, HWND parent);
    void Destroy();

  protected:
    void Close(INT_PTR result) override;
};

}  // namespace morvex

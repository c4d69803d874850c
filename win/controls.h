#pragma once

#include <windows.h>

#include <commctrl.h>

#include <string>

// Copyable, non-owning views of controls, with the messages that the program uses.
namespace morvex {

class Control {
  public:
    explicit Control(HWND handle) : handle_(handle) {}
    HWND Handle() const { return handle_; }
    LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return SendMessageW(handle_, message, wParam, lParam);
    }
    std::wstring Text() const {
        std::wstring text(static_cast<size_t>(GetWindowTextLengthW(handle_)), L'\0');
        text.resize(
            static_cast<size_t>(GetWindowTextW(handle_, text.data(), static_cast<int>(text.size()) + 1)));
        return text;
    }
    // In the client area of its dialog.
    RECT Place() const {
        RECT place{};
        GetWindowRect(handle_, &place);
        MapWindowPoints(nullptr, GetParent(handle_), reinterpret_cast<POINT*>(&place), 2);
        return place;
    }
    void SetText(const std::wstring& text) const { SetWindowTextW(handle_, text.c_str()); }
    void Enable(bool on = true) const { EnableWindow(handle_, on); }
    bool Enabled() const { return IsWindowEnabled(handle_) != FALSE; }
    void Show(bool on = true) const { ShowWindow(handle_, on ? SW_SHOW : SW_HIDE); }

  private:
    HWND handle_;
};

class CheckBox : public Control {  // radio buttons too
  public:
    using Control::Control;
    bool Checked() const { return Send(BM_GETCHECK) == BST_CHECKED; }
    void Check(bool on = true) const { Send(BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED); }
};

class Edit : public Control {
  public:
    using Control::Control;
    void SetReadOnly(bool on) const { Send(EM_SETREADONLY, on); }
    bool ReadOnly() const { return (GetWindowLongW(Handle(), GWL_STYLE) & ES_READONLY) != 0; }
    void LimitText(int characters) const { Send(EM_SETLIMITTEXT, static_cast<WPARAM>(characters)); }
};

class ComboBox : public Control {
  public:
    using Control::Control;
    void Clear() const { Send(CB_RESETCONTENT); }
    void Add(const std::wstring& text) const {
        Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
    }
    int Count() const { return static_cast<int>(Send(CB_GETCOUNT)); }
    int Selected() const { return static_cast<int>(Send(CB_GETCURSEL)); }  // -1 for none
    void Select(int index) const { Send(CB_SETCURSEL, static_cast<WPARAM>(index)); }
    // Selects the entry with exactly this text; false (and nothing selected) when there is none.
    bool SelectText(const std::wstring& text) const {
        int index = Count();
        while (--index >= 0 && TextAt(index) != text) {
        }
        Select(index);
        return index >= 0;
    }
    std::wstring TextAt(int index) const {
        const auto position = static_cast<WPARAM>(index);
        const LRESULT length = Send(CB_GETLBTEXTLEN, position);
        if (length <= 0) return {};
        std::wstring text(static_cast<size_t>(length), L'\0');
        Send(CB_GETLBTEXT, position, reinterpret_cast<LPARAM>(text.data()));
        return text;
    }
    std::wstring SelectedText() const { return Selected() < 0 ? std::wstring{} : TextAt(Selected()); }
};

class Slider : public Control {
  public:
    using Control::Control;
    void SetRange(int low, int high) const { Send(TBM_SETRANGE, TRUE, MAKELPARAM(low, high)); }
    void SetPosition(int position) const { Send(TBM_SETPOS, TRUE, position); }
    int Position() const { return static_cast<int>(Send(TBM_GETPOS)); }
};

class ProgressBar : public Control {
  public:
    using Control::Control;
    void SetRange(int low, int high) const { Send(PBM_SETRANGE32, static_cast<WPARAM>(low), high); }
    void SetPosition(int position) const { Send(PBM_SETPOS, static_cast<WPARAM>(position)); }
};

}  // namespace morvex

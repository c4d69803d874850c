#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <string>

namespace morvex {

// The tooltip window of one dialog; it follows the pointer by itself and goes with the dialog.
class Tooltip {
  public:
    // Call once the dialog's controls exist. Long texts wrap.
    void Create(HWND dialog);
    bool Created() const { return window_ != nullptr; }
    // Gives the control this text; again to change it.
    void SetText(int controlId, const std::wstring& text);
    // Gives the control a text that is asked for when it is to be shown: `text` is called then, and an empty
    // answer shows nothing.
    void SetText(int controlId, std::function<std::wstring()> text);
    // To be called with every notification that the dialog gets; true when it was a question for a text.
    bool Answer(NMHDR& header);
    // The text shown is out of date.
    void Hide() const;

  private:
    void Add(HWND control, wchar_t* text) const;

    HWND dialog_ = nullptr;
    HWND window_ = nullptr;
    std::map<HWND, std::function<std::wstring()>> asked_;
    std::wstring answer_;  // what the system was given last
};

}  // namespace morvex

#pragma once

#include "ui/my_edit.h"
#include "ui/window_state.h"

namespace morvex {

// Where converted files go: the edit with its "..." button and "Write into input folder". Each change is
// written to the settings at once.
class OutputFolderField {
  public:
    explicit OutputFolderField(WindowState& state) : state_(state) {}

    // The window exists.
    void Attach();
    bool PreTranslate(const MSG& message) const { return edit_.PreTranslate(message); }

    // A folder that was typed counts from here on.
    void Commit();
    void Browse();
    // "Write into input folder" was clicked.
    void OnSwitch();
    // The focus left the edit.
    void OnLeft();
    // Answers the message that OnLeft posted: says when the folder does not exist.
    void Check();
    // Turns "Write into input folder" off, for formats that may not be written there.
    void UseFolder();

  private:
    void Show();
    void WarnIfMissing() const;

    WindowState& state_;
    CMyEdit edit_{nullptr};
    HWND clickedControl_ = nullptr;  // what took the focus from the edit by a click, and where
    POINT clickedPoint_{};
};

}  // namespace morvex

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
    // Answers the message that OnLeft posted, or comes before it: says when the folder that was typed does
    // not exist, once. True when it said so.
    bool CheckIfLeft();
    // A key starts a run: what is typed counts. False, and said, when it is new and does not exist.
    bool ReadyForRun();
    // Turns "Write into input folder" off, for formats that may not be written there; true when it was on.
    bool ForbidInputFolder();
    // Turns it on again if it was turned off for the formats' sake and the user has chosen no folder since.
    void AllowInputFolder();

  private:
    void Show();
    bool WarnIfMissing() const;  // true when it did

    WindowState& state_;
    CMyEdit edit_{nullptr};
    bool left_ = false;              // with a wrong folder, and not said yet
    bool forbidden_ = false;         // the input folder, for the formats' sake
    HWND clickedControl_ = nullptr;  // what took the focus from the edit by a click, and where
    POINT clickedPoint_{};
};

}  // namespace morvex

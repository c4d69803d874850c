#pragma once

#include <string>
#include <utility>

#include "ui/window_state.h"

namespace morvex {

// The two combo boxes with the formats. A choice that is taken is written to the settings.
class FormatChoice {
  public:
    explicit FormatChoice(WindowState& state) : state_(state) {}

    // Fills both boxes with what is on offer and selects what the settings say.
    void Fill();
    // Stores these formats and shows them; an output that is not on offer gives way to the first that is.
    void Choose(const ChosenFormats& formats);

    // Posts kFormatChosenMessage when a choice was made in the box: by a click, Enter or Alt+Up, or with the
    // list closed. Looking through the open list is no choice; leaving it with Escape brings the last one
    // back.
    void OnNotification(int box, int notification);
    // Answers that message: the box in which a choice waits to be taken, 0 for none.
    int ChosenBox() { return std::exchange(chosenBox_, 0); }
    // Shows what the settings say.
    void ShowChosen() const;

    // What the input box shows.
    std::wstring ShownInput() const;
    // Stores what the output box shows.
    void TakeOutput();
    // An output beside its input would have too similar a name.
    bool Same() const;

    // Shows a message box over the window, in which the input format and its label flash meanwhile.
    void FlashWhile(const std::wstring& message);
    // On the tick of kFlashTimer.
    void OnFlashTimer() {
        if (flashing_) Flash();
    }

  private:
    void FillOutputs();
    void Flash();

    WindowState& state_;
    int chosenBox_ = 0;
    bool flashing_ = false;      // a late tick of the timer must not start it anew
    std::wstring flashedLabel_;  // the input format's label while it is hidden
};

}  // namespace morvex

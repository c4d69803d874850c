#pragma once

#include <string>

#include "ui/window_state.h"

namespace morvex {

// The line below the list: a text, and at its right end one button for what the moment calls for.
class StatusLine {
  public:
    explicit StatusLine(const WindowState& state) : state_(state) {}

    void ShowText(const std::wstring& text) const;
    // Shows the button with this caption; hides it for an empty one.
    void Offer(const std::wstring& caption, bool enabled) const;
    // Divides the room below the list between both; after the window's layout has changed.
    void Place() const;

  private:
    const WindowState& state_;
};

}  // namespace morvex

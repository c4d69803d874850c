#pragma once

#include <windows.h>

#include <string>

namespace morvex {

// The window's size and place on the screen as a text that RestorePlace takes.
std::wstring PlaceOf(HWND window);

// Gives the window the size and place of the text, if that is one for its scaling now and a screen shows it;
// else changes nothing. True when it was maximised.
bool RestorePlace(HWND window, const std::wstring& place);

}  // namespace morvex

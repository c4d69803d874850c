#pragma once

#include <windows.h>

#include <initializer_list>
#include <iterator>

// Keys and the mouse wheel as the system delivers them: to the focus of the window in front, and to what lies
// under the pointer. The caller's message loop has to run before anything happens.
namespace morvex::test {

inline void SendKey(WORD key, bool up) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
    input.ki.dwFlags = up ? KEYEVENTF_KEYUP : 0u;
    SendInput(1, &input, sizeof input);
}

// Presses the keys in order and lets them go in reverse order: {VK_CONTROL, 'A'}.
inline void PressKeys(std::initializer_list<WORD> keys) {
    for (const WORD key : keys) SendKey(key, false);
    for (auto key = std::rbegin(keys); key != std::rend(keys); ++key) SendKey(*key, true);
}

// Turns the wheel one notch towards the user with the pointer in the middle of the window.
inline void TurnWheelOver(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    SetCursorPos((place.left + place.right) / 2, (place.top + place.bottom) / 2);
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = MOUSEEVENTF_WHEEL;
    input.mi.mouseData = static_cast<DWORD>(-WHEEL_DELTA);
    SendInput(1, &input, sizeof input);
}

}  // namespace morvex::test

#pragma once

#include <windows.h>

#include <string>
#include <vector>

// Files that one process hands to a window of another one, by WM_COPYDATA.
namespace morvex {

// What the window answers. 0 stands for a window that does not answer.
enum class HandOver : LRESULT {
    Taken = 1,
    NotYet,   // it is busy for a moment
    Refused,  // it has other work
};

struct HandedFiles {
    std::vector<std::wstring> paths;
    bool alone = false;  // in place of what the window has listed
};

// Says that the window takes files, for WindowsThatTakeFiles.
void TakeHandedFiles(HWND window);

// The windows that take files and belong to a process of this program file, the topmost first.
std::vector<HWND> WindowsThatTakeFiles(const std::wstring& program);

// The files of a message; no paths when it is about something else or is damaged.
HandedFiles ReadHandedFiles(const COPYDATASTRUCT& message);

// Hands the files over and waits for the answer, as long as the window says NotYet; at most a minute.
// Taken or Refused.
HandOver HandFiles(HWND window, const HandedFiles& files);

}  // namespace morvex

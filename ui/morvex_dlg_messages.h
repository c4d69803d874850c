#pragma once

#include <windows.h>

// Numbers that the files of the main window share.
namespace morvex {

// Messages that the window gets from its threads and from itself.
enum WindowMessage : UINT {
    kRunNewsMessage = WM_APP + 1,  // a run has news
    kFoundMessage,                 // files to be added were found
    kDropMessage,                  // ask what to do with the pending drop
    kCheckFolderMessage,           // the output folder's edit has been left
    kRescaleMessage,               // after the system has scaled the controls
    kStartRunMessage,
};

enum WindowTimer : UINT_PTR { kRunNewsTimer = 1, kFlashTimer };
inline constexpr UINT kRunNewsDelay = 20;  // milliseconds
inline constexpr UINT kFlashDelay = 500;

}  // namespace morvex

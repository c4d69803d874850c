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
    kFormatChosenMessage,
    kSelectionMessage,  // of rows has changed
};

// Commands of the keyboard and of the status line that no menu has.
enum WindowCommand : int {
    kSelectAllCommand = 4100,
    kCopyPathsCommand,
    kOpenResultCommand,
    kUndoCommand,
    kMoveUpCommand,
    kMoveDownCommand
};

enum WindowTimer : UINT_PTR { kRunNewsTimer = 1, kRunClockTimer, kFlashTimer };
inline constexpr UINT kRunNewsDelay = 20;  // milliseconds
inline constexpr UINT kRunClockDelay = 1000;
inline constexpr UINT kFlashDelay = 500;

}  // namespace morvex

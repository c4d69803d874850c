#pragma once

#include "ui/window_state.h"

namespace morvex {

inline constexpr size_t kListFileNameBuffer = 8000;  // characters, of dialogs that ask for a list file

// The commands that write the list to a file that the user names; a failed write is said.
void SaveList(const WindowState& state);
void SaveResultsReport(const WindowState& state);  // only after a run
void SavePythonList(const WindowState& state);

}  // namespace morvex

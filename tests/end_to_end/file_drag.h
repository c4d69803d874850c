#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace morvex::test {

// Drags these files, all of one folder, from a window of this process into the middle of the other window and
// drops them there, with the mouse. True when the other window took them. OLE is initialised.
bool DragFiles(const std::vector<std::wstring>& paths, HWND target);

}  // namespace morvex::test

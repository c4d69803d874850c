#pragma once

#include "core/context.h"

namespace morvex {

// Shows the main window and returns when it is closed. OLE is initialised on the thread. A run, or a search
// for files, that is still going on when the window closes ends with the process, child processes too: then
// this does not return. Throws what left a function of the window.
int RunMainWindow(AppContext& context);

}  // namespace morvex

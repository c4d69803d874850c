#pragma once

namespace morvex {

// Before anything else in a program: no box of the system and no debugger on a fault or a missing disk (a
// child has nobody to close it), and no library is ever taken from the current folder or the path: only from
// the system's folder and, for what the conversion library loads later, from its own.
void HardenProcess();

}  // namespace morvex

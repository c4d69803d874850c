#pragma once

#include <windows.h>

#include <cstdlib>
#include <optional>

#include "convert/child_road.h"
#include "convert/conversion_run.h"
#include "tests/support/library_log.h"
#include "win/command_line.h"
#include "win/environment.h"

namespace morvex::test {

// Names a file: a child that can remove it dies at once. "always": every one does.
inline constexpr wchar_t kStillbornVariable[] = L"MORVEX_TEST_STILLBORN";

// A test program is its own child: multiprocess runs start the program that runs them, with five arguments.
// Call this first thing in main; with a value, the process is such a child, has converted its file with the
// recording library, and ends with that value.
inline std::optional<int> ConvertAsChild() {
    // A child that dies of a scripted fault must not open the system's box.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    _set_error_mode(_OUT_TO_STDERR);
    const std::vector<std::wstring> arguments = SplitCommandLine(GetCommandLineW());
    if (arguments.size() == 2 && arguments[1] == L"sleep") Sleep(60000);  // a grandchild, to be killed
    if (arguments.size() != 5) return std::nullopt;
    const std::wstring stillborn = EnvironmentText(kStillbornVariable);
    if (stillborn == L"always" || DeleteFileW(stillborn.c_str())) ExitProcess(0);
    const std::wstring folder(FolderOf(ModulePath()));
    AppContext context(MakeProgramFolders(folder, folder));
    context.folders.library = LibraryLog::LibraryPath();
    return TakeChildRoad(context, arguments).exitCode;
}

}  // namespace morvex::test

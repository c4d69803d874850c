// The test program is its own child: multiprocess runs start the program that runs them, with five arguments.
#include <windows.h>

#include <shellapi.h>

#include <gtest/gtest.h>

#include "app/start_up.h"
#include "convert/child_road.h"
#include "convert/conversion_run.h"
#include "tests/support/library_log.h"

namespace {

int ConvertAsChild(const std::vector<std::wstring>& arguments) {
    using namespace morvex;
    AppContext context(
        MakeProgramFolders(std::wstring(FolderOf(ModulePath())), std::wstring(FolderOf(ModulePath()))));
    context.folders.library = test::LibraryLog::LibraryPath();
    RunObserver nobody;
    return RunConversions(MakeChildJob(context, arguments), nobody).lastResult;
}

}  // namespace

int main(int argc, char** argv) {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    int count = 0;
    wchar_t** const split = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count == 5) return ConvertAsChild({split, split + count});
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

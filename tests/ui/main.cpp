// The test program is its own child: multiprocess runs start the program that runs them, with five arguments.
#include <windows.h>

#include <ole2.h>
#include <shellapi.h>

#include <gtest/gtest.h>

#include "convert/child_road.h"
#include "convert/conversion_run.h"
#include "tests/support/library_log.h"

namespace {

int ConvertAsChild(const std::vector<std::wstring>& arguments) {
    using namespace morvex;
    const std::wstring folder(FolderOf(ModulePath()));
    AppContext context(MakeProgramFolders(folder, folder));
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
    OleInitialize(nullptr);
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    OleUninitialize();
    return result;
}

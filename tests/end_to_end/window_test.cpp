#include <functional>
#include <gtest/gtest.h>

#include "tests/end_to_end/program.h"
#include "win/text_file.h"

namespace morvex {
namespace {

using test::LibraryLog;
using test::Program;

bool Eventually(const std::function<bool()>& condition) {
    for (int tries = 0; tries < 1500; ++tries) {
        if (condition()) return true;
        Sleep(20);
    }
    return false;
}

HWND MainWindowOf(DWORD process) {
    struct Search {
        DWORD process;
        HWND found;
    } search{process, nullptr};
    EnumWindows(
        [](HWND window, LPARAM parameter) -> BOOL {
            auto& wanted = *reinterpret_cast<Search*>(parameter);
            DWORD owner = 0;
            GetWindowThreadProcessId(window, &owner);
            wchar_t title[64] = L"";
            GetWindowTextW(window, title, 64);
            if (owner == wanted.process && std::wstring(title).starts_with(L"Morvex 2024"))
                wanted.found = window;
            return !wanted.found;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// A run of slow files in child processes that starts by itself with the window.
void PrepareSlowRun(const Program& program) {
    WriteTextFile(program.Settings(),
                  L"[General]\nDeveloperMode=1\nMultiprocess=1\nConvertAtStartup=1\nLoadLastState=1\n"
                  L"[P]\nZEL_INPUT_FORMAT=STL\nZEL_OUTPUT_FORMAT=OBJ\nZEL_CONFIG_FILE=p.zel\n");
    WriteTextFile(program.UserFolder() + L"\\zel_last_state.ini",
                  L"morvex_list\nSTL (*.stl)\nOBJ "
                  L"(*.obj)\nC:\\in\\a.stl\nC:\\in\\b.stl\nC:\\in\\c.stl\nC:\\in\\d.stl\n");
}

TEST(Window, ClosedInARunLeavesNoProcess) {
    const Program program;
    const LibraryLog log(L"spew=1,sleep=60000");  // a call that writes is logged before it sleeps
    Program::Formats(nullptr, nullptr);
    PrepareSlowRun(program);
    DWORD id = 0;
    const UniqueHandle process = program.StartWindow(id);
    ASSERT_TRUE(Eventually([&] { return log.Calls().size() >= 2; }));
    const HWND window = MainWindowOf(id);
    ASSERT_TRUE(window);
    PostMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(WaitForSingleObject(process.get(), 20000), WAIT_OBJECT_0);
    for (const test::LibraryCall& call : log.Calls()) {
        const UniqueHandle child(OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(call.process)));
        if (child) {
            EXPECT_EQ(WaitForSingleObject(child.get(), 20000), WAIT_OBJECT_0);
        }
    }
}

}  // namespace
}  // namespace morvex

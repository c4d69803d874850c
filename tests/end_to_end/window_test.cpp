#include "tests/end_to_end/window.h"

#include <gtest/gtest.h>

#include "win/text_file.h"

namespace morvex {
namespace {

using test::LibraryLog;
using test::OpenWindow;
using test::Program;

// A run of slow files in child processes that starts by itself with the window.
void PrepareSlowRun(const Program& program) {
    WriteTextFile(program.Settings(),
                  L"[General]\nDeveloperMode=1\nMultiprocess=1\nConvertAtStartup=1\nLoadLastState=1\n"
                  L"[P]\nZEL_INPUT_FORMAT=STL\nZEL_OUTPUT_FORMAT=OBJ\nZEL_CONFIG_FILE=p.zel\n");
    WriteTextFile(program.UserFolder() + L"\\zel_last_state.ini",
                  L"morvex_list\nSTL (*.stl)\nOBJ "
                  L"(*.obj)\nC:\\in\\a.stl\nC:\\in\\b.stl\nC:\\in\\c.stl\nC:\\in\\d.stl\n");
}

// Closed or killed: the children are ended with it.
TEST(Window, LeavesNoProcessWhenItEndsInARun) {
    for (const bool killed : {false, true}) {
        const Program program;
        const LibraryLog log(L"spew=1,sleep=60000");  // a call that writes is logged before it sleeps
        Program::Formats(nullptr, nullptr);
        PrepareSlowRun(program);
        const OpenWindow window(program);
        ASSERT_TRUE(window.Handle());
        ASSERT_TRUE(test::Eventually([&] { return log.Calls().size() >= 2; }));
        if (killed) {
            TerminateProcess(window.Process(), 1);
        } else {
            PostMessageW(window.Handle(), WM_CLOSE, 0, 0);
            ASSERT_TRUE(test::Eventually([&] {  // it asks
                const HWND question = GetLastActivePopup(window.Handle());
                return question != window.Handle() && PostMessageW(question, WM_COMMAND, IDYES, 0);
            }));
        }
        EXPECT_EQ(WaitForSingleObject(window.Process(), 20000), WAIT_OBJECT_0);
        for (const test::LibraryCall& call : log.Calls()) {
            const UniqueHandle child(OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(call.process)));
            if (child) {
                EXPECT_EQ(WaitForSingleObject(child.get(), 20000), WAIT_OBJECT_0);
            }
        }
    }
}

}  // namespace
}  // namespace morvex

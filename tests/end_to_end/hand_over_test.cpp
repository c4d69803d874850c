// What the entry in the Explorer's menu does: the real morvex-add.exe, once for each file, and the real
// window.
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <gtest/gtest.h>

#include "res/resource.h"
#include "tests/end_to_end/listed_files.h"
#include "win/controls.h"
#include "win/handed_files.h"
#include "win/paths.h"

namespace morvex::test {
namespace {

constexpr DWORD kLongestWait = 120000;

// A process of morvex-add.exe with this behind its name.
UniqueHandle Start(const Program& program, const std::wstring& arguments) {
    const std::wstring exe = program.Folder() + L"\\morvex-add.exe";
    const std::wstring built = std::wstring(FolderOf(ModulePath())) + L"\\program\\morvex-add.exe";
    CopyFileW(built.c_str(), exe.c_str(), TRUE);
    std::wstring line = L"\"" + exe + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    EXPECT_TRUE(CreateProcessW(exe.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &created));
    CloseHandle(created.hThread);
    return UniqueHandle(created.hProcess);
}

// A process for each path, all at once; their exit codes.
std::vector<DWORD> Add(const Program& program, const std::vector<std::wstring>& paths) {
    std::vector<UniqueHandle> processes;
    for (const std::wstring& path : paths) processes.push_back(Start(program, L"\"" + path + L"\""));
    std::vector<DWORD> codes;
    for (const UniqueHandle& process : processes) {
        codes.push_back(99);
        if (WaitForSingleObject(process.get(), kLongestWait) != WAIT_OBJECT_0)
            TerminateProcess(process.get(), 99);
        GetExitCodeProcess(process.get(), &codes.back());
    }
    return codes;
}

// The windows of the program, ended with the object.
class Windows {
  public:
    explicit Windows(const Program& program)
        : handles_(WindowsThatTakeFiles(program.Folder() + L"\\Morvex.exe")) {}
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;
    ~Windows() {
        for (const HWND window : handles_) {
            DWORD id = 0;
            GetWindowThreadProcessId(window, &id);
            const UniqueHandle process(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id));
            TerminateProcess(process.get(), 1);
            WaitForSingleObject(process.get(), kLongestWait);
        }
    }
    const std::vector<HWND>& Handles() const { return handles_; }

  private:
    std::vector<HWND> handles_;
};

std::vector<size_t> RowsOf(const Windows& windows) {
    std::vector<size_t> rows;
    for (const HWND window : windows.Handles()) {
        const HWND list = GetDlgItem(window, IDC_LIST);
        rows.push_back(static_cast<size_t>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0)));
    }
    std::ranges::sort(rows);
    return rows;
}

// The window shows what was clicked, not the list of the last time, in the format of the files.
TEST(HandOver, TheFilesOfOneClickAreInOneWindow) {
    const ListedFiles files({L"old.step"});
    const Program& program = files.InProgram();
    WriteTextFile(
        program.Settings(),
        L"[General]\nLoadLastState=1\n[P]\nZEL_INPUT_FORMAT=STEP,IGES 3D,IFC\nZEL_OUTPUT_FORMAT=STL\n"
        L"ZEL_CONFIG_FILE=p.zel\n");
    std::vector<std::wstring> clicked;
    for (const wchar_t* name : {L"a.igs", L"имя с 圆柱 & 100%.iges", L"c.igs", L"d.igs", L"e.igs"}) {
        clicked.push_back(files.Input(name));
        WriteFileBytes(clicked.back(), "source");
    }
    EXPECT_EQ(Add(program, clicked), std::vector<DWORD>(clicked.size(), 0));
    const Windows windows(program);
    ASSERT_EQ(windows.Handles().size(), 1u);
    ASSERT_TRUE(Eventually([&] { return RowsOf(windows) == std::vector<size_t>{clicked.size()}; }))
        << testing::PrintToString(RowsOf(windows));
    // More of the same go there too; what the list does not take gets a window of its own.
    WriteFileBytes(files.Input(L"f.igs"), "source");
    EXPECT_EQ(Add(program, {files.Input(L"f.igs"), files.Input(L"old.step")}), std::vector<DWORD>(2, 0));
    const Windows both(program);
    EXPECT_TRUE(Eventually([&] {
        return RowsOf(both) == std::vector<size_t>{1, clicked.size() + 1};
    })) << testing::PrintToString(RowsOf(both));
}

TEST(HandOver, AFailureIsToldInTheLanguageOfTheWindow) {
    const Program program;
    WriteTextFile(program.UserFolder() + L"\\zel_morvex.ini", L"[Options]\nLanguage=Deutsch\n");
    const UniqueHandle process = Start(program, L"");  // no file
    HWND message = nullptr;
    ASSERT_TRUE(Eventually([&] { return (message = FindWindowW(L"#32770", L"Morvex 2024")) != nullptr; }));
    constexpr int kText = 0xFFFF;  // of a message box
    EXPECT_EQ(Control(GetDlgItem(message, kText)).Text(),
              L"Die Dateien konnten keinem Fenster von Morvex hinzugefügt werden.");
    PostMessageW(message, WM_COMMAND, IDOK, 0);
    ASSERT_EQ(WaitForSingleObject(process.get(), kLongestWait), WAIT_OBJECT_0);
    DWORD code = 0;
    GetExitCodeProcess(process.get(), &code);
    EXPECT_EQ(code, 1u);
}

// A window in a run is left alone.
TEST(HandOver, ARunIsNotDisturbed) {
    const ListedFiles files({L"a.step", L"b.step"}, L"Multiprocess=1\n");
    const LibraryLog log(L"sleep=120000");
    const OpenWindow window(files.InProgram());
    ASSERT_TRUE(Eventually([&] { return window.Rows() == 2; }));
    window.Begin();
    EXPECT_EQ(Add(files.InProgram(), {files.Input(L"b.step")}), std::vector<DWORD>{0});
    const Windows windows(files.InProgram());
    EXPECT_EQ(windows.Handles().size(), 2u);
    EXPECT_EQ(window.Rows(), 2u);
}

}  // namespace
}  // namespace morvex::test

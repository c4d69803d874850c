#include <windows.h>

#include <string>
#include <vector>

#include "core/product.h"
#include "core/program_folders.h"
#include "core/settings.h"
#include "core/text_catalogue.h"
#include "res/string_ids.h"
#include "win/command_line.h"
#include "win/handed_files.h"
#include "win/harden_process.h"
#include "win/paths.h"
#include "win/system_lock.h"
#include "win/unique_handle.h"

// What the Explorer's menu starts: opens Morvex with the files of its command line, or adds them to a window
// that is open already. Several of it, one for each file of a selection, end up in one window.
namespace morvex {
namespace {

constexpr DWORD kLongestStart = 60000, kPause = 20;  // milliseconds

// Morvex itself gets no argument: one would make it convert a file without a window.
UniqueHandle Start(const std::wstring& program) {
    std::wstring line = L"\"" + program + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    const std::wstring folder(FolderOf(program));
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, folder.c_str(),
                        &startup, &started))
        return nullptr;
    AllowSetForegroundWindow(started.dwProcessId);
    CloseHandle(started.hThread);
    return UniqueHandle(started.hProcess);
}

HWND WindowOf(HANDLE process, const std::wstring& program) {
    const ULONGLONG end = GetTickCount64() + kLongestStart;
    while (GetTickCount64() < end && WaitForSingleObject(process, kPause) == WAIT_TIMEOUT) {
        for (const HWND window : WindowsThatTakeFiles(program)) {
            DWORD owner = 0;
            GetWindowThreadProcessId(window, &owner);
            if (owner == GetProcessId(process)) return window;
        }
    }
    return nullptr;
}

void Show(HWND window) {
    if (IsIconic(window)) ShowWindow(window, SW_RESTORE);
    SetForegroundWindow(window);
}

bool Add(const HandedFiles& files) {
    const std::wstring program = JoinPath(FolderOf(ModulePath()), L"Morvex.exe");
    // One at a time: the next one finds the window that this one opens.
    const SystemLock lock(L"Local\\Norwend.Morvex.Add", kLongestStart);
    for (const HWND window : WindowsThatTakeFiles(program)) {
        if (HandFiles(window, files) != HandOver::Taken) continue;
        Show(window);
        return true;
    }
    const UniqueHandle process = Start(program);
    const HWND window = process ? WindowOf(process.get(), program) : nullptr;
    return window && HandFiles(window, {files.paths, true}) == HandOver::Taken;
}

// In the language of the window.
void SayNotAdded() {
    AppSettings settings(PrepareProgramFolders());
    settings.language.Load();
    TextCatalogue text;
    text.SetLanguage(settings.language.Get());
    MessageBoxW(nullptr, text(IDS_NOT_HANDED_OVER).c_str(), product::kMessageCaption,
                MB_OK | MB_ICONEXCLAMATION);
}

}  // namespace
}  // namespace morvex

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    using namespace morvex;
    HardenProcess();
    HandedFiles files;
    const std::vector<std::wstring> arguments = SplitCommandLine(GetCommandLineW());
    for (size_t i = 1; i < arguments.size(); ++i) files.paths.push_back(FullPath(arguments[i]));
    if (!files.paths.empty() && Add(files)) return 0;
    SayNotAdded();
    return 1;
}

#include "app/morvex_app.h"

#include <windows.h>

#include <cstring>

#include "convert/child_road.h"
#include "convert/conversion_run.h"
#include "core/start_up.h"
#include "dialogs/prompts.h"
#include "ui/main_window.h"
#include "win/command_line.h"
#include "win/ole_session.h"
#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

// Console output in UTF-8; silent when the process has none.
void Print(DWORD stream, const std::wstring& text) {
    const int size = static_cast<int>(text.size());
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(),
                                                         static_cast<int>(bytes.size()), nullptr, nullptr)));
    DWORD written = 0;
    WriteFile(GetStdHandle(stream), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

// Children inherit this process's output. Nobody may be reading what whoever started the window gave it, and
// a full pipe would stop them all.
void SilenceOutput() {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    static const UniqueHandle nowhere = OwnFile(CreateFileW(
        L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0, nullptr));
    SetStdHandle(STD_OUTPUT_HANDLE, nowhere.get());
    SetStdHandle(STD_ERROR_HANDLE, nowhere.get());
}

}  // namespace

CmorvexApp::CmorvexApp() : context_(PrepareProgramFolders()) {
    AddDllDirectory(std::wstring(FolderOf(context_.folders.library)).c_str());
}

void CmorvexApp::ReportFailure(const char* what) {
    const std::wstring text(what, what + std::strlen(what));
    if (SplitCommandLine(GetCommandLineW()).size() > 1)
        Print(STD_ERROR_HANDLE, text + L"\n");
    else
        MessageBoxW(nullptr, text.c_str(), kMessageCaption, MB_OK | MB_ICONERROR);
}

bool CmorvexApp::InitInstance() {
    LoadState(context_);
    const std::vector<std::wstring> arguments = SplitCommandLine(GetCommandLineW());
    if (arguments.size() > 1) RunChildRoad(arguments);
    // Only a window takes drops; a child would load the whole OLE library for nothing.
    const OleSession ole;
    if (!ole.Started()) {
        MessageBoxW(nullptr, L"AfxOleInit Error!", kMessageCaption, MB_OK | MB_ICONEXCLAMATION);
        return false;
    }
    SilenceOutput();
    RunMainWindow(context_);
    return false;
}

void CmorvexApp::RunChildRoad(const std::vector<std::wstring>& arguments) {
    std::wstring listing;
    for (size_t i = 0; i < arguments.size(); ++i) {
        listing += Format(L"%d: ", static_cast<int>(i)) + arguments[i] + L"\n";
    }
    Print(STD_OUTPUT_HANDLE, listing);
    ExitProcess(static_cast<UINT>(ConvertForParent(arguments)));
}

// What a window would show goes to standard error: the file's status, or why there was no run.
int CmorvexApp::ConvertForParent(const std::vector<std::wstring>& arguments) {
    struct Printer : RunObserver {
        void OnStatus(size_t row, const RowStatus& now) override {
            if (row == 0) status = now.text;  // a further row tells the whole run's time
        }
        std::wstring status;
    } printer;
    const RunOutcome outcome = RunConversions(MakeChildJob(context_, arguments), printer);
    Print(STD_ERROR_HANDLE, (outcome.abandoned ? outcome.message : printer.status) + L"\n");
    return outcome.lastResult;
}

}  // namespace morvex

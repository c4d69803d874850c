#include "app/morvex_app.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <io.h>

#include "app/console.h"
#include "convert/child_road.h"
#include "convert/result_channel.h"
#include "core/product.h"
#include "core/start_up.h"
#include "ui/main_window.h"
#include "win/command_line.h"
#include "win/ole_session.h"
#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

// A library that writes to a pipe that nobody reads would wait for ever, by the system's handles or by those
// of the C runtime that it may share with this program.
void SilenceOutput() {
    static const UniqueHandle nowhere = OwnFile(CreateFileW(
        L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    SetStdHandle(STD_OUTPUT_HANDLE, nowhere.get());
    SetStdHandle(STD_ERROR_HANDLE, nowhere.get());
    const int sink = _wopen(L"NUL", _O_WRONLY);
    for (const int stream : {1, 2}) _dup2(sink, stream);
    if (sink > 2) _close(sink);
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
        MessageBoxW(nullptr, text.c_str(), product::kMessageCaption, MB_OK | MB_ICONERROR);
}

bool CmorvexApp::InitInstance() {
    LoadState(context_, IsChildOfRun() ? SavedPair::Leave : SavedPair::Repair);
    const std::vector<std::wstring> arguments = SplitCommandLine(GetCommandLineW());
    if (arguments.size() > 1) RunChildRoad(arguments);
    // Only a window takes drops; a child would load the whole OLE library for nothing.
    const OleSession ole;
    if (!ole.Started()) {
        MessageBoxW(nullptr, L"AfxOleInit Error!", product::kMessageCaption, MB_OK | MB_ICONEXCLAMATION);
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
    const ChildRoadEnd end = TakeChildRoad(context_, arguments);
    Print(STD_ERROR_HANDLE, end.message + L"\n");
    // At once: what a library left behind could still crash or hang in an orderly end.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(end.exitCode));
    std::abort();
}

}  // namespace morvex

// How quick the real window is: its start against a bare dialog's, adding a folder against the least that
// could do it, commands on a long list, and how soon it answers while a run is going on. Prints one line a
// figure; ends with 1 when one is above its limit.
#include <windows.h>

#include <shellapi.h>

#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

#include "bench/list/baseline.h"
#include "bench/list/many_files.h"
#include "convert/child_road.h"
#include "convert/conversion_run.h"
#include "core/start_up.h"
#include "res/string_ids.h"
#include "tests/support/temp_folder.h"
#include "ui/morvex_dlg.h"
#include "ui/morvex_dlg_messages.h"
#include "win/ole_session.h"
#include "win/paths.h"
#include "win/profile.h"
#include "win/unique_handle.h"

namespace morvex::bench {
namespace {

constexpr double kLatencyLimit = 50;   // milliseconds, for 99 of 100 messages
constexpr double kCommandLimit = 300;  // milliseconds, for a command on a long list
constexpr wchar_t kUsableEvent[] = L"morvex-bench-usable";

// The program with the library that does nothing and its settings in a folder of their own.
ProgramFolders Folders(const std::wstring& folder) {
    ProgramFolders folders = MakeProgramFolders(folder, folder);
    folders.library = JoinPath(FolderOf(ModulePath()), L"Polyvane_x64.dll");
    return folders;
}

// Settings with one pair of formats, in a folder of their own.
class Home {
  public:
    Home() {
        const std::wstring file = Folders(Path()).installationSettings;
        profile::WriteText(file, L"General", L"Multiprocess", L"1");
        profile::WriteText(file, L"Parts", L"ZEL_INPUT_FORMAT", L"STEP");
        profile::WriteText(file, L"Parts", L"ZEL_OUTPUT_FORMAT", L"STL");
    }
    std::wstring Path() const { return folder_.Path(); }

  private:
    test::TempFolder folder_;
};

// The real window of that home, shown; the folder dialog answers with the folder.
class Window {
  public:
    Window(const std::wstring& home, const std::wstring& folder) : context_(Folders(home)) {
        LoadState(context_);
        MainPrompts prompts;
        prompts.browseFolder = [folder](HWND, const std::wstring&, const std::wstring&) { return folder; };
        window_ = std::make_unique<CmorvexDlg>(context_, prompts);
        window_->Open();
        ShowWindow(window_->Handle(), SW_SHOW);
    }

    HWND Handle() const { return window_->Handle(); }
    void Command(int id) const { SendMessageW(Handle(), WM_COMMAND, static_cast<WPARAM>(id), 0); }
    void ClickHeader(int column) const {
        NMLISTVIEW click{};
        click.hdr = {window_->Item(IDC_LIST), IDC_LIST, LVN_COLUMNCLICK};
        click.iSubItem = column;
        SendMessageW(Handle(), WM_NOTIFY, IDC_LIST, reinterpret_cast<LPARAM>(&click));
    }
    void AddFolder() {
        Command(IDS_ADD_FOLDER);
        WorkWhile([this] { return window_->Adding(); });
    }
    void Run() {
        Command(IDS_RUN_CONVERSION);
        WorkWhile([this] { return window_->State() == RunState::Running; });
    }
    size_t Rows() const { return window_->List().Count(); }

  private:
    template <class Condition>
    void WorkWhile(Condition condition) {
        MSG message;
        while (condition() && GetMessageW(&message, nullptr, 0, 0) > 0) {
            if (!window_->PreTranslate(message)) DispatchMessageW(&message);
        }
    }

    AppContext context_;
    std::unique_ptr<CmorvexDlg> window_;
};

bool AddingAFolder(int rows) {
    const ManyFiles files(rows);
    const Home home;
    const auto ours = [&] {
        Window window(home.Path(), files.Folder());
        return Milliseconds([&] {
            window.AddFolder();
            sink = window.Rows();
        });
    };
    const auto bare = [&] {
        PlainListView view;
        return Milliseconds([&] {
            int row = 0;
            WalkFolder(files.Folder(), [&](const WIN32_FIND_DATAW& entry) {
                view.AddRow(row++, entry.cFileName, std::to_wstring(entry.nFileSizeLow).c_str(),
                            files.Folder().c_str());
            });
        });
    };
    return Compare("add a folder to the window / plain list view", rows, 2.0, ours, bare, 1);
}

// Does all that waits for this thread, drawing too.
void DrainMessages(HWND window) {
    UpdateWindow(window);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
}

bool CommandsOnALongList(int rows) {
    const ManyFiles files(rows);
    const Home home;
    Window window(home.Path(), files.Folder());
    window.AddFolder();
    bool good = true;
    const auto time = [&](const char* what, const std::function<void()>& command) {
        DrainMessages(window.Handle());
        const double taken = Milliseconds([&] {
            command();
            DrainMessages(window.Handle());
        });
        std::printf("%7d rows: %-30s %9.1f ms   <= %.0f%s\n", rows, what, taken, kCommandLimit,
                    taken > kCommandLimit ? "   ABOVE" : "");
        good &= taken <= kCommandLimit;
    };
    time("select all", [&] { window.Command(kSelectAllCommand); });
    time("sort with all selected", [&] { window.ClickHeader(0); });
    time("sort by size with all selected", [&] { window.ClickHeader(1); });
    time("remove the selected", [&] { window.Command(IDS_REMOVE_FROM_LIST); });
    time("undo", [&] { window.Command(kUndoCommand); });
    return good;
}

void SayUsable(HWND window) {
    ShowWindow(window, SW_SHOW);
    DrainMessages(window);
    const UniqueHandle usable(OpenEventW(EVENT_MODIFY_STATE, FALSE, kUsableEvent));
    SetEvent(usable.get());
}

// A dialog with an empty list and nothing else.
void ShowBareDialog() {
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&controls);
    alignas(DWORD) static constexpr struct {
        DLGTEMPLATE dialog;
        WORD menu, type, title;
    } kTemplate{{WS_POPUP | WS_CAPTION, 0, 0, 0, 0, 500, 390}, 0, 0, 0};
    const HWND dialog = CreateDialogIndirectParamW(
        GetModuleHandleW(nullptr), &kTemplate.dialog, nullptr,
        [](HWND, UINT message, WPARAM, LPARAM) -> INT_PTR { return message == WM_INITDIALOG; }, 0);
    CreateWindowW(WC_LISTVIEWW, L"", WS_CHILD | WS_VISIBLE | LVS_REPORT, 0, 0, 900, 500, dialog, nullptr,
                  GetModuleHandleW(nullptr), nullptr);
    SayUsable(dialog);
}

// This program again, with these arguments, until it says that its window can be used.
double TimeToUsable(const std::wstring& arguments) {
    const UniqueHandle usable(CreateEventW(nullptr, FALSE, FALSE, kUsableEvent));
    std::wstring line = L"bench " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    const double taken = Milliseconds([&] {
        CreateProcessW(ModulePath().c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &startup, &created);
        WaitForSingleObject(usable.get(), 30'000);
    });
    WaitForSingleObject(created.hProcess, 30'000);
    CloseHandle(created.hThread);
    CloseHandle(created.hProcess);
    return taken;
}

bool StartToUsable() {
    const Home home;
    const std::wstring ours = L"ours \"" + home.Path() + L"\"";
    TimeToUsable(ours);  // the first start makes the user's files
    return Compare(
        "start to a usable window / a bare dialog", 0, 1.5, [&] { return TimeToUsable(ours); },
        [] { return TimeToUsable(L"bare"); }, 9);
}

// Sends the window a message every few milliseconds while it makes a run over the rows.
bool AnsweringInARun(int rows) {
    const ManyFiles files(rows);
    const Home home;
    Window window(home.Path(), files.Folder());
    window.AddFolder();
    std::vector<double> times;
    std::atomic<bool> running = true, ended = false;
    const HWND handle = window.Handle();
    std::thread probe([&] {
        while (running) {
            times.push_back(
                Milliseconds([handle] { SendMessageTimeoutW(handle, WM_NULL, 0, 0, 0, 10'000, nullptr); }));
            Sleep(5);
        }
        ended = true;
    });
    window.Run();
    running = false;
    MSG message;  // the probe may wait for an answer still
    while (!ended) PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
    probe.join();
    std::sort(times.begin(), times.end());
    const auto percentile = [&](size_t part) { return times[times.size() * part / 1000]; };
    std::printf("%7d rows: answer in a run, ms: median %.2f, 99 %% %.2f, worst %.2f of %zu   <= %.0f\n", rows,
                percentile(500), percentile(990), times.back(), times.size(), kLatencyLimit);
    return percentile(990) <= kLatencyLimit;
}

// The run's child processes are this program again.
int ConvertAsChild(const std::vector<std::wstring>& arguments) {
    AppContext context(Folders(std::wstring(FolderOf(ModulePath()))));
    return TakeChildRoad(context, arguments).exitCode;
}

}  // namespace
}  // namespace morvex::bench

int wmain(int argc, wchar_t** argv) {
    using namespace morvex::bench;
    if (argc == 5) return ConvertAsChild({argv, argv + argc});
    const morvex::OleSession ole;
    if (argc == 2) return ShowBareDialog(), 0;
    if (argc == 3) return SayUsable(Window(argv[2], L"").Handle()), 0;
    bool good = StartToUsable() & CommandsOnALongList(100'000);
    for (const int rows : {25'000, 50'000, 100'000}) good &= AddingAFolder(rows);
    good &= AnsweringInARun(1'000);
    return good ? 0 : 1;
}

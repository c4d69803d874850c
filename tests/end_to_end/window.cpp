#include "tests/end_to_end/window.h"

#include <commctrl.h>

#include "res/resource.h"
#include "res/string_ids.h"

namespace morvex::test {
namespace {

constexpr int kStatusColumn = 3;
constexpr ULONG_PTR kDialogClass = 0x8002;  // the system's, "#32770"

// The first visible top-level window that the condition holds for.
HWND FindTopWindow(const std::function<bool(HWND)>& condition) {
    struct Search {
        const std::function<bool(HWND)>& condition;
        HWND found;
    } search{condition, nullptr};
    EnumWindows(
        [](HWND window, LPARAM parameter) -> BOOL {
            auto& wanted = *reinterpret_cast<Search*>(parameter);
            if (IsWindowVisible(window) && wanted.condition(window)) wanted.found = window;
            return !wanted.found;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

HWND MainWindowOf(DWORD process) {
    return FindTopWindow([process](HWND window) {
        DWORD owner = 0;
        GetWindowThreadProcessId(window, &owner);
        return owner == process && GetDlgItem(window, IDC_LIST);
    });
}

}  // namespace

bool Eventually(const std::function<bool()>& condition) {
    for (int tries = 0; tries < 6000; ++tries) {
        if (condition()) return true;
        Sleep(20);
    }
    return false;
}

OpenWindow::OpenWindow(const Program& program, HANDLE output) {
    DWORD id = 0;
    process_ = program.Start(L"", id, output);
    Eventually([&] {
        window_ = MainWindowOf(id);
        return window_ || WaitForSingleObject(process_.get(), 0) == WAIT_OBJECT_0;
    });
}

OpenWindow::~OpenWindow() {
    TerminateProcess(process_.get(), 1);
    WaitForSingleObject(process_.get(), INFINITE);
}

bool OpenWindow::Converting() const {
    return !IsWindowEnabled(GetDlgItem(window_, IDS_OPTIONS));  // a run freezes it
}

void OpenWindow::Begin() const {
    // Rows stand in the list before their adding is over, and until then no run can be begun.
    Eventually([&] { return IsWindowEnabled(GetDlgItem(window_, IDS_RUN_CONVERSION)) != FALSE; });
    SendMessageW(window_, WM_COMMAND, IDS_RUN_CONVERSION, 0);
}

bool OpenWindow::Convert() const {
    Begin();
    return Eventually([&] { return !Converting(); });
}

HWND OpenWindow::Message() const {
    return FindTopWindow([this](HWND window) {
        return GetClassLongPtrW(window, GCW_ATOM) == kDialogClass && GetWindow(window, GW_OWNER) == window_;
    });
}

size_t OpenWindow::Rows() const {
    return static_cast<size_t>(SendDlgItemMessageW(window_, IDC_LIST, LVM_GETITEMCOUNT, 0, 0));
}

std::vector<std::wstring> OpenWindow::Statuses() const {
    std::vector<std::wstring> texts;
    for (size_t row = 0; row < Rows(); ++row) texts.push_back(TextAt(row, kStatusColumn));
    return texts;
}

// The list writes into memory of its own process.
std::wstring OpenWindow::TextAt(size_t row, int column) const {
    constexpr size_t kRoom = 260;
    struct Question {
        LVITEMW item;
        wchar_t text[kRoom];
    } question{};
    void* const there = VirtualAllocEx(Process(), nullptr, sizeof question, MEM_COMMIT, PAGE_READWRITE);
    question.item.iSubItem = column;
    question.item.pszText = static_cast<Question*>(there)->text;
    question.item.cchTextMax = kRoom;
    WriteProcessMemory(Process(), there, &question, sizeof question, nullptr);
    SendDlgItemMessageW(window_, IDC_LIST, LVM_GETITEMTEXTW, row, reinterpret_cast<LPARAM>(there));
    ReadProcessMemory(Process(), there, &question, sizeof question, nullptr);
    VirtualFreeEx(Process(), there, 0, MEM_RELEASE);
    return question.text;
}

}  // namespace morvex::test

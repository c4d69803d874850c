#include "win/handed_files.h"

#include <algorithm>
#include <string_view>

#include "win/file_identity.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

constexpr wchar_t kMark[] = L"Morvex.TakesFiles";
constexpr ULONG_PTR kMore = 0x4D564601, kAlone = 0x4D564602;  // nobody else's kinds of message
constexpr DWORD kLongestWait = 60000, kPause = 20;            // milliseconds

std::wstring ProgramOf(HWND window) {
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    const UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
    std::wstring path(32768, L'\0');
    auto size = static_cast<DWORD>(path.size());
    path.resize(process && QueryFullProcessImageNameW(process.get(), 0, path.data(), &size) ? size : 0);
    return path;
}

}  // namespace

void TakeHandedFiles(HWND window) {
    SetPropW(window, kMark, window);
}

std::vector<HWND> WindowsThatTakeFiles(const std::wstring& program) {
    std::vector<HWND> windows;
    EnumWindows(
        [](HWND window, LPARAM found) -> BOOL {
            if (GetPropW(window, kMark)) reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&windows));
    std::erase_if(windows, [&](HWND window) { return !SameFile(ProgramOf(window), program); });
    return windows;
}

HandedFiles ReadHandedFiles(const COPYDATASTRUCT& message) {
    HandedFiles files{{}, message.dwData == kAlone};
    if (message.dwData != kMore && message.dwData != kAlone) return files;
    std::wstring_view text(static_cast<const wchar_t*>(message.lpData), message.cbData / sizeof(wchar_t));
    for (size_t end; (end = text.find(L'\0')) != text.npos; text.remove_prefix(end + 1))
        files.paths.emplace_back(text.substr(0, end));
    return files;
}

HandOver HandFiles(HWND window, const HandedFiles& files) {
    std::wstring text;
    for (const std::wstring& path : files.paths) text += path + L'\0';
    COPYDATASTRUCT message{files.alone ? kAlone : kMore, static_cast<DWORD>(text.size() * sizeof(wchar_t)),
                           text.data()};
    const ULONGLONG end = GetTickCount64() + kLongestWait;
    for (ULONGLONG now; (now = GetTickCount64()) < end;) {
        DWORD_PTR answer = 0;
        SendMessageTimeoutW(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&message), SMTO_NORMAL,
                            static_cast<UINT>(end - now), &answer);
        const auto said = static_cast<HandOver>(answer);
        if (said != HandOver::NotYet) return said == HandOver::Taken ? said : HandOver::Refused;
        Sleep(kPause);
    }
    return HandOver::Refused;
}

}  // namespace morvex

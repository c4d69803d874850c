#include "batch/hot_folder.h"

#include <algorithm>

#include "list/folder_scan.h"
#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

constexpr ULONGLONG kSettleMilliseconds = 1000;  // a file that has not changed for that long has come whole
constexpr DWORD kSoonMilliseconds = 300;         // to the next look at files that have not settled
constexpr DWORD kPollMilliseconds = 5000;        // to the next look where the system tells of no change
constexpr ULONGLONG kShareOfLooking = 10;        // looking takes at most that part of the time

using UniqueNotification = UniqueResource<HANDLE, ::FindCloseChangeNotification>;

bool IsOpenForWriting(const std::wstring& path) {
    const UniqueHandle file = OwnFile(CreateFileW(WithLongPrefix(path).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                                  nullptr, OPEN_EXISTING, 0, nullptr));
    return !file && GetLastError() == ERROR_SHARING_VIOLATION;
}

}  // namespace

std::wstring HotFolder::Watch(const std::stop_token& stop) {
    if (!FolderExists(options_.watch)) return L"There is no folder " + options_.watch;
    const HANDLE opened =
        FindFirstChangeNotificationW(options_.watch.c_str(), options_.recursive,
                                     FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME |
                                         FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE);
    const UniqueNotification changes(opened == INVALID_HANDLE_VALUE ? nullptr : opened);
    while (!stop.stop_requested()) {
        const ULONGLONG begin = GetTickCount64();
        const bool settled = LookAround(stop);
        const ULONGLONG rest =
            std::max<ULONGLONG>((GetTickCount64() - begin) * kShareOfLooking, kSoonMilliseconds);
        const ULONGLONG next =
            GetTickCount64() + (settled ? std::max<ULONGLONG>(rest, kPollMilliseconds) : rest);
        const ULONGLONG soonest = GetTickCount64() + rest;
        while (!stop.stop_requested() && GetTickCount64() < next) {
            if (!changes || !settled || GetTickCount64() < soonest) {
                Sleep(kSoonMilliseconds);
                continue;
            }
            if (WaitForSingleObject(changes.get(), kSoonMilliseconds) != WAIT_OBJECT_0) continue;
            FindNextChangeNotification(changes.get());
            break;
        }
    }
    return {};
}

// True when every file that is there has settled.
bool HotFolder::LookAround(const std::stop_token& stop) {
    bool settled = true;
    ScanFolder(options_.watch, options_.recursive, L"ALL (*.*)", stop,
               [&](const std::vector<ListRow>& rows, const std::wstring&) {
                   for (const ListRow& row : rows) settled &= LookAt(row.folder, row.name);
               });
    return settled;
}

bool HotFolder::LookAt(const std::wstring& folder, const std::wstring& name) {
    const std::wstring path = JoinPath(folder, name);
    const OutputNames::Key key = names_.KeyOf(folder, name);
    // Whatever has been given away to no input is an output.
    const bool result = names_.Holds(key) && !listed_.contains(key);
    const auto format = result ? std::nullopt : formats_.OfFolderFile(path);
    if (!format) return true;
    const FileStamp stamp = StampOf(path);
    if (!stamp) return true;  // it has gone
    Sight& sight = sights_[path];
    const ULONGLONG now = GetTickCount64();
    if (stamp != sight.stamp) {
        sight = {stamp, now, false};
        return false;
    }
    if (sight.listed) return true;
    if (now - sight.since < kSettleMilliseconds || IsOpenForWriting(path) || !Begin(path)) return false;
    sight.listed = true;
    names_.Keep(key);
    listed_.insert(key);
    const size_t root = options_.watch.size() + !options_.watch.ends_with(L'\\');
    list_.Append({{folder, name}, folder.size() > root ? folder.substr(root) : std::wstring(), *format});
    return true;
}

// No file is converted twice at once: one that comes again meanwhile waits.
bool HotFolder::Begin(const std::wstring& path) {
    const std::lock_guard lock(mutex_);
    return underWay_.insert(path).second;
}

void HotFolder::Ended(const std::wstring& path) {
    const std::lock_guard lock(mutex_);
    underWay_.erase(path);
}

}  // namespace morvex

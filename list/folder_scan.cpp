#include "list/folder_scan.h"

#include <windows.h>

#include <optional>
#include <utility>

#include "win/file_identity.h"
#include "win/paths.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

constexpr ULONGLONG kReportMs = 100;

// The backslash makes "C:" the drive's root and not the current folder on it.
std::optional<FileId> IdOf(std::wstring_view folder) {
    return IdentityOf(JoinPath(folder, L""));
}

class FolderScan {
  public:
    FolderScan(const std::wstring& root, bool recursive, std::wstring_view inputFilterText,
               const ScanReceiver& receive, const std::function<void(const std::wstring&)>& refuse,
               const std::function<void(const std::wstring&)>& unread)
        : root_(root),
          recursive_(recursive),
          inputFilterText_(inputFilterText),
          receive_(receive),
          refuse_(refuse),
          unread_(unread) {}

    void Run(const std::stop_token& stop) {
        Enter(root_);
        while (!open_.empty()) {
            if (stop.stop_requested()) return;
            OpenFolder& folder = open_.back();
            const WIN32_FIND_DATAW entry = folder.entry;
            std::wstring path = folder.path + L"\\" + entry.cFileName;
            if (!FindNextFileW(folder.find.get(), &folder.entry)) {
                if (GetLastError() != ERROR_NO_MORE_FILES) TellUnread(folder.path);
                open_.pop_back();
            }
            TakeEntry(std::move(path), entry);
        }
        if (!rows_.empty()) Report(root_);
    }

  private:
    // A folder with entries left, the next of them read already. The stack of these replaces recursion, so
    // that no depth is too deep.
    struct OpenFolder {
        std::wstring path;
        UniqueFind find;
        WIN32_FIND_DATAW entry;
    };

    void Enter(const std::wstring& folder) {
        OpenFolder opened{folder, nullptr, {}};
        const HANDLE find =
            FindFirstFileExW(WithLongPrefix(folder + L"\\*").c_str(), FindExInfoBasic, &opened.entry,
                             FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
        if (find == INVALID_HANDLE_VALUE) {
            // An empty root has no entry at all.
            if (GetLastError() != ERROR_FILE_NOT_FOUND) TellUnread(folder);
            return;
        }
        opened.find.reset(find);
        open_.push_back(std::move(opened));
    }

    void TellUnread(const std::wstring& folder) const {
        if (unread_) unread_(folder);
    }

    void TakeEntry(std::wstring path, const WIN32_FIND_DATAW& entry) {
        if (GetTickCount64() - reported_ >= kReportMs) Report(std::wstring(FolderOf(path)));
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            const std::wstring_view name = entry.cFileName;
            // The last are folders in which the open engine keeps what is not yet whole.
            if (!recursive_ || name == L"." || name == L".." || name.starts_with(L".morvex-")) return;
            if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) || LeadsSomewhereNew(path))
                Enter(path);
        } else if (IsAcceptedFile(path, inputFilterText_)) {
            rows_.push_back(
                *MakeRow(std::move(path), std::uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow));
        } else if (refuse_) {
            refuse_(path);
        }
    }

    // Whether a link leads to a folder that is none of those above it and that no other link led to.
    bool LeadsSomewhereNew(const std::wstring& link) {
        const std::optional<FileId> target = IdOf(link);
        if (!target) return false;
        for (std::wstring_view above = FolderOf(link); above.size() >= root_.size();
             above = FolderOf(above)) {
            if (IdOf(above) == target) return false;
        }
        return linked_.Insert(*target);
    }

    void Report(const std::wstring& folder) {
        receive_(std::exchange(rows_, {}), folder);
        reported_ = GetTickCount64();
    }

    const std::wstring root_;
    const bool recursive_;
    const std::wstring_view inputFilterText_;
    const ScanReceiver& receive_;
    const std::function<void(const std::wstring&)>&refuse_, &unread_;
    std::vector<OpenFolder> open_;
    FileSet linked_;
    std::vector<ListRow> rows_;
    ULONGLONG reported_ = GetTickCount64();
};

}  // namespace

void ScanFolder(const std::wstring& folder, bool recursive, std::wstring_view inputFilterText,
                const std::stop_token& stop, const ScanReceiver& receive,
                const std::function<void(const std::wstring& path)>& refuse,
                const std::function<void(const std::wstring& folder)>& unread) {
    const bool endsInBackslash = folder.ends_with(L'\\');  // "C:\"
    FolderScan(folder.substr(0, folder.size() - endsInBackslash), recursive, inputFilterText, receive, refuse,
               unread)
        .Run(stop);
}

}  // namespace morvex

#include "list/folder_scan.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "tests/support/temp_folder.h"

namespace morvex {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr const wchar_t* kAll = L"ALL (*.*)";

// The scanned files' paths below the folder.
std::vector<std::wstring> Scan(const std::wstring& folder, bool recursive, const wchar_t* format = kAll) {
    std::vector<std::wstring> paths;
    ScanFolder(folder, recursive, format, {}, [&](std::vector<ListRow> rows, const std::wstring&) {
        for (const ListRow& row : rows) paths.push_back(row.FullPath().substr(folder.size() + 1));
    });
    return paths;
}

void AddFile(const std::wstring& path, size_t size = 1) {
    std::filesystem::create_directories(L"\\\\?\\" + std::wstring(FolderOf(path)));
    test::WriteFileBytes(path, std::string(size, 'x'));
}

TEST(FolderScan, FindsTheFilesOfTheFormat) {
    const test::TempFolder folder;
    for (const wchar_t* name : {L"a.stp", L"B.STP", L"c.igs", L"run.log", L"sub\\d.stp",
                                L"sub\\sub.stp\\e.stp", L".morvex-1a2b\\half.stp"}) {
        AddFile(folder / name, 1024);
    }
    const wchar_t* const step = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";
    EXPECT_THAT(Scan(folder.Path(), false, step), UnorderedElementsAre(L"a.stp", L"B.STP"));
    EXPECT_THAT(Scan(folder.Path(), true, step),
                UnorderedElementsAre(L"a.stp", L"B.STP", L"sub\\d.stp", L"sub\\sub.stp\\e.stp"));
    EXPECT_THAT(Scan(folder.Path(), false), UnorderedElementsAre(L"a.stp", L"B.STP", L"c.igs"));
    EXPECT_THAT(Scan(folder / L"missing", true), IsEmpty());

    ScanFolder(folder / L"sub\\", false, step, {}, [&](std::vector<ListRow> rows, const std::wstring&) {
        ASSERT_EQ(rows.size(), 1u);
        EXPECT_EQ(rows[0].folder, folder / L"sub");
        EXPECT_EQ(rows[0].size, L"1 KB");
        EXPECT_EQ(rows[0].status.text, L"-");
    });
}

TEST(FolderScan, KeepsNamesThatTheSystemWouldCut) {
    const test::TempFolder folder;
    AddFile(folder / L"ACME Inc.\\a.stp");
    AddFile(folder / L"ACME Inc\\b.stp");
    EXPECT_THAT(Scan(folder.Path(), true), UnorderedElementsAre(L"ACME Inc.\\a.stp", L"ACME Inc\\b.stp"));
    EXPECT_THAT(Scan(folder / L"ACME Inc.", false), ElementsAre(L"a.stp"));
}

TEST(FolderScan, TellsFoldersThatItCannotRead) {
    const test::TempFolder folder;
    AddFile(folder / L"a.stp");
    std::vector<std::wstring> unread;
    const auto scan = [&](const std::wstring& path) {
        ScanFolder(
            path, true, kAll, {}, [](const auto&, const auto&) {}, {},
            [&](const std::wstring& one) { unread.push_back(one); });
    };
    scan(folder.Path());
    EXPECT_THAT(unread, IsEmpty());
    scan(folder / L"missing");
    EXPECT_THAT(unread, ElementsAre(folder / L"missing"));
}

TEST(FolderScan, GoesBelowTheLengthOfAPlainPath) {
    const test::TempFolder folder;
    std::wstring below;
    for (int i = 0; i < 60; ++i) below += std::wstring(20, static_cast<wchar_t>(L'a' + i % 26)) + L"\\";
    AddFile(folder / (below + L"deep.stp"));
    EXPECT_THAT(Scan(folder.Path(), true), ElementsAre(below + L"deep.stp"));
}

// Links to folders, gone again before the folder is cleaned up.
class FolderLinks {
  public:
    explicit FolderLinks(const std::wstring& folder) : folder_(folder) {}
    ~FolderLinks() {
        for (const std::wstring& link : links_) {
            if (StartHostProgram(L"rm", link))
                WaitUntil(link, false);
            else
                RemoveDirectoryW((folder_ + L"\\" + link).c_str());
        }
    }

    // `target` is relative to the folder that the link lies in.
    bool Add(const std::wstring& link, const std::wstring& target) {
        if (StartHostProgram(L"ln", L"-s " + target + L" " + link)) {
            links_.push_back(link);
            return WaitUntil(link, true);
        }
        const DWORD flags = SYMBOLIC_LINK_FLAG_DIRECTORY | SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE;
        if (!CreateSymbolicLinkW((folder_ + L"\\" + link).c_str(), target.c_str(), flags)) return false;
        links_.push_back(link);
        return true;
    }

  private:
    // Wine makes no links itself (and says it did), but starts the host's programs; it does not tell when
    // they end.
    bool StartHostProgram(const std::wstring& program, std::wstring arguments) const {
        std::ranges::replace(arguments, L'\\', L'/');
        const std::wstring path = L"Z:\\bin\\" + program;
        std::wstring command = program + L" " + arguments;
        STARTUPINFOW start{};
        start.cb = sizeof(start);
        PROCESS_INFORMATION process{};
        return CreateProcessW(path.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                              folder_.c_str(), &start, &process);
    }

    bool WaitUntil(const std::wstring& link, bool there) const {
        const ULONGLONG begun = GetTickCount64();
        while (PathExists(folder_ + L"\\" + link) != there) {
            if (GetTickCount64() - begun > 10'000) return false;
            Sleep(2);
        }
        return true;
    }

    std::wstring folder_;
    std::vector<std::wstring> links_;
};

TEST(FolderScan, FollowsEachLinkOnceAndNoneUpwards) {
    const test::TempFolder folder;
    AddFile(folder / L"one\\a.stp");
    AddFile(folder / L"two\\b.stp");
    FolderLinks links(folder.Path());
    for (const auto& [link, target] :
         {std::pair(L"one\\up", L".."), std::pair(L"one\\self", L"..\\one"),
          std::pair(L"one\\other", L"..\\two"), std::pair(L"one\\again", L"..\\two"),
          std::pair(L"two\\back", L"..\\one")}) {
        if (!links.Add(link, target)) GTEST_SKIP() << "links to folders cannot be made here";
    }
    const auto paths = Scan(folder.Path(), true);
    const auto count = [&](std::wstring_view name) {
        return std::ranges::count_if(paths, [&](const std::wstring& path) { return path.ends_with(name); });
    };
    // Each folder by its own path and by one link.
    EXPECT_EQ(count(L"\\a.stp"), 2) << ::testing::PrintToString(paths);
    EXPECT_EQ(count(L"\\b.stp"), 2) << ::testing::PrintToString(paths);
}

TEST(FolderScan, StopsWhenAsked) {
    const test::TempFolder folder;
    for (int i = 0; i < 50; ++i) AddFile(folder / (std::to_wstring(i) + L".stp"));
    std::stop_source stop;
    stop.request_stop();
    bool called = false;
    ScanFolder(folder.Path(), true, kAll, stop.get_token(),
               [&](std::vector<ListRow>, const std::wstring&) { called = true; });
    EXPECT_FALSE(called);
}

}  // namespace
}  // namespace morvex

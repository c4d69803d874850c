// A long run of the real program with the real engine, some of its files damaged, some killing the library.
#include <windows.h>

#include <cstdlib>
#include <psapi.h>

#include "tests/end_to_end/listed_files.h"

namespace morvex {
namespace {

using test::LibraryLog;
using test::ListedFiles;
using test::OpenWindow;

constexpr wchar_t kPart[] = L"Z:\\usr\\share\\opencascade\\data\\step\\screw.step";

// How many files are converted; MORVEX_SOAK_FILES asks for more than the usual few.
size_t FileCount() {
    const char* const text = std::getenv("MORVEX_SOAK_FILES");
    return text ? static_cast<size_t>(std::stoul(text)) : 50;
}

struct SoakFile {
    std::wstring name;
    const wchar_t* status;
};

// One in twenty cut in half, one in fifty the end of its process.
SoakFile FileAt(size_t i) {
    static constexpr const wchar_t* kEnds[] = {L"{output,read}",  L"{output,abort}",
                                               L"{output,kill}",  L"{output,overflow=900}",
                                               L"{output,smash}", L"{output,exit=0}"};
    const std::wstring number = std::to_wstring(i) + L".step";
    if (i % 50 == 7) return {kEnds[i / 50 % std::size(kEnds)] + number, L"KO"};
    if (i % 20 == 3) return {L"cut " + number, L"Corrupted File"};
    return {L"part " + number, L"OK"};
}

size_t KilobytesOf(HANDLE process) {
    PROCESS_MEMORY_COUNTERS memory{};
    K32GetProcessMemoryInfo(process, &memory, sizeof memory);
    return memory.PagefileUsage >> 10;
}

// Waits for the end of the run and prints what its process took on the way; its
// kilobytes after a tenth of the results and at the end.
std::pair<size_t, size_t> Watch(const OpenWindow& window, const ListedFiles& files, size_t count) {
    size_t early = 0, late = 0;
    const ULONGLONG begun = GetTickCount64();
    size_t next = count / 10;
    do {
        size_t made = 0;
        for (const auto& entry : std::filesystem::directory_iterator(files.Folder()))
            made += entry.path().extension() == L".stl";
        if (made >= next) {
            late = KilobytesOf(window.Process());
            if (early == 0) early = late;
            std::printf("%5zu results after %4.0f s: the program takes %zu KB\n", made,
                        static_cast<double>(GetTickCount64() - begun) / 1000, late);
            next += count / 10;
        }
        Sleep(100);
    } while (window.Converting());
    std::printf("%zu files in %.0f s\n", count, static_cast<double>(GetTickCount64() - begun) / 1000);
    return {early, late};
}

TEST(Soak, ALongRunStaysTrueAndSmall) {
    const test::EngineBehind engine;
    if (!engine.Found()) GTEST_SKIP() << "MORVEX_PROGRAM_FOLDER names no program folder with an engine";
    const std::string whole = test::ReadFileBytes(kPart);
    ASSERT_FALSE(whole.empty());
    const size_t count = FileCount();
    std::map<std::wstring, std::string> bytes;
    std::vector<std::wstring> names, statuses;
    for (size_t i = 0; i < count; ++i) {
        const SoakFile file = FileAt(i);
        names.push_back(file.name);
        statuses.emplace_back(file.status);
        bytes[file.name] = file.name.starts_with(L"cut") ? whole.substr(0, whole.size() / 2) : whole;
    }
    const ListedFiles files(std::move(bytes), L"Multiprocess=1\n", names);
    const LibraryLog log;
    const OpenWindow window(files.InProgram());
    ASSERT_TRUE(test::Eventually([&] { return window.Rows() == count && !window.Converting(); }));
    window.Begin();
    const auto [early, late] = Watch(window, files, count);
    EXPECT_EQ(window.Statuses(), statuses);
    EXPECT_LE(late, early + 1024);
    std::set<std::wstring> left = files.FilesBeside();
    for (size_t row = 0; row < count; ++row) {
        const std::wstring output = files.Output(names[row]);
        EXPECT_EQ(left.erase(output), statuses[row] == L"OK") << row;
        const bool told = statuses[row] == L"OK" || names[row].starts_with(L"cut");
        EXPECT_EQ(left.erase(output + L"-zel.xml"), told) << row;
    }
    EXPECT_EQ(left, std::set<std::wstring>());
    test::ExpectGone(log.Calls());
}

}  // namespace
}  // namespace morvex

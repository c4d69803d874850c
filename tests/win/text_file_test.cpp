#include "win/text_file.h"

#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"

namespace morvex {
namespace {

using test::TempFolder;

TEST(TextFile, ReadsWhatEditorsWrite) {
    const std::wstring expected = L"list\nC:\\\u00e9\u90e8.stp\n";
    const std::string utf8 = "list\r\nC:\\\xC3\xA9\xE9\x83\xA8.stp\r\n";
    std::string little = test::Utf16Bytes(L"list\nC:\\\u00e9\u90e8.stp\n");
    std::string big = little;
    for (size_t i = 0; i + 1 < big.size(); i += 2) std::swap(big[i], big[i + 1]);
    TempFolder folder;
    const std::wstring path = folder / L"list.csv";
    for (const std::string& bytes :
         {utf8, "\xEF\xBB\xBF" + utf8, little, big, little.substr(2), big.substr(2)}) {
        test::WriteFileBytes(path, bytes);
        std::wstring text;
        ASSERT_TRUE(ReadTextFile(path, text));
        EXPECT_EQ(text, expected);
    }
    test::WriteFileBytes(path, "caf\xE9");  // no UTF-8: the system's code page, whichever it is
    std::wstring text;
    ASSERT_TRUE(ReadTextFile(path, text));
    EXPECT_EQ(text.substr(0, 3), L"caf");
    EXPECT_FALSE(ReadTextFile(folder / L"missing", text));
    EXPECT_EQ(SplitLines(L"a\n\nb\n"), (std::vector<std::wstring_view>{L"a", L"", L"b"}));
    EXPECT_TRUE(SplitLines(L"").empty());
}

TEST(TextFile, WritesAndAppendsUtf16WithCrLf) {
    TempFolder folder;
    const std::wstring path = folder / L"\u65e5\u672c.txt";
    ASSERT_TRUE(WriteTextFile(path, L"a\n\U0001F600"));
    ASSERT_TRUE(AppendTextFile(path, L"\nb"));
    EXPECT_EQ(test::ReadFileBytes(path), test::Utf16Bytes(L"a\r\n\U0001F600\r\nb"));
}

TEST(TextFile, KeepsTheOldFileWhenAWriteFails) {
    TempFolder folder;
    const std::wstring path = folder / L"kept.txt";
    ASSERT_TRUE(WriteTextFile(path, L"old"));
    const std::string before = test::ReadFileBytes(path);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(WriteTextFile(path, L"new"));
    EXPECT_EQ(test::ReadFileBytes(path), before);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    {
        const HANDLE lock = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_FALSE(WriteTextFile(path, L"new"));
        CloseHandle(lock);
    }
    EXPECT_EQ(test::ReadFileBytes(path), before);
    EXPECT_FALSE(WriteTextFile(folder / L"no folder\\x.txt", L"new"));
    EXPECT_FALSE(WriteTextFile(folder.Path(), L"new"));
    size_t files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.Path())) ++files;
    EXPECT_EQ(files, 1u);
}

TEST(Paths, AreSplitAndJoined) {
    EXPECT_EQ(JoinPath(L"C:\\", L"a"), L"C:\\a");
    EXPECT_EQ(JoinPath(L"C:\\x", L"a"), L"C:\\x\\a");
    EXPECT_EQ(FileNameOf(L"C:\\x.y\\a.b"), L"a.b");
    EXPECT_EQ(FolderOf(L"C:\\x.y\\a.b"), L"C:\\x.y");
    EXPECT_EQ(FolderOf(L"C:\\a"), L"C:\\");
    EXPECT_EQ(FolderOf(L"C:\\"), L"");
    EXPECT_EQ(FolderOf(L"a"), L"");
    EXPECT_EQ(ExtensionOf(L"C:\\x.y\\a"), L"");
    EXPECT_EQ(ExtensionOf(L"C:\\x.y\\a.b.c"), L"c");
    TempFolder folder;
    const std::wstring deep = folder / (std::wstring(120, L'd') + L"\\" + std::wstring(120, L'e'));
    std::filesystem::create_directories(L"\\\\?\\" + deep);
    test::WriteFileBytes(deep + L"\\file", "12345");
    EXPECT_EQ(FileSizeOf(deep + L"\\file"), 5u);
    EXPECT_TRUE(FolderExists(deep));
    EXPECT_FALSE(FolderExists(deep + L"\\file"));
    EXPECT_FALSE(FileSizeOf(deep + L"\\none"));
}

TEST(Paths, LongOnesGetThePrefixOfTheirKind) {
    const std::wstring deep(260, L'd'), longest(256, L'd');  // with "C:\\" the longest that needs none
    const struct {
        std::wstring plain, prefixed;
    } cases[] = {{L"C:\\" + longest, L"C:\\" + longest},
                 {L"C:\\d" + longest, L"\\\\?\\C:\\d" + longest},
                 {L"C:/x/" + deep, L"\\\\?\\C:\\x\\" + deep},
                 {L"\\\\host\\share\\" + deep, L"\\\\?\\UNC\\host\\share\\" + deep},
                 {L"\\\\?\\C:\\" + deep, L"\\\\?\\C:\\" + deep},
                 {L"//?/C:/" + deep, L"\\\\?\\C:\\" + deep},
                 {L"C:\\none. \\a.stp", L"C:\\none. \\a.stp"},
                 {L"C:\\a.\\..\\b.stp", L"C:\\a.\\..\\b.stp"},
                 {L"a.", L"a."}};
    for (const auto& [plain, prefixed] : cases) EXPECT_EQ(WithLongPrefix(plain), prefixed);
}

TEST(Paths, TypedOnesBecomeFull) {
    std::wstring here(MAX_PATH, L'\0');
    here.resize(GetCurrentDirectoryW(MAX_PATH, here.data()));
    const std::wstring drive = here.substr(0, 2);
    const struct {
        std::wstring typed, full;
    } cases[] = {{L"a.stp", JoinPath(here, L"a.stp")},
                 {L"./x/../a.stp", JoinPath(here, L"a.stp")},
                 {L"\\parts\\a.stp", drive + L"\\parts\\a.stp"},
                 {L"C:/parts//x/../../../a.stp", L"C:\\a.stp"},
                 {L"C:\\parts\\", L"C:\\parts"},
                 {L"C:\\", L"C:\\"},
                 {L"\\\\host\\share\\..\\a.stp", L"\\\\host\\share\\a.stp"},
                 {L"\\\\?\\C:\\..\\a", L"\\\\?\\C:\\..\\a"}};
    for (const auto& [typed, full] : cases) EXPECT_EQ(FullPath(typed), full);
}

}  // namespace
}  // namespace morvex

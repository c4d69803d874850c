#include "list/conversion_list.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

#include "tests/support/temp_folder.h"

namespace morvex {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const wchar_t* kAll = L"ALL (*.*)";
constexpr const wchar_t* kJt = L"JT (*.jt)";

std::vector<std::wstring> Column(const ConversionList& list, ListColumn column) {
    std::vector<std::wstring> texts;
    for (size_t i = 0; i < list.Count(); ++i) texts.push_back(list.Text(i, column));
    return texts;
}

std::vector<std::wstring> Names(const ConversionList& list) {
    return Column(list, ListColumn::Filename);
}

ConversionList ListOf(const std::vector<std::wstring>& names) {
    ConversionList list;
    for (const std::wstring& name : names) list.AppendPickedFile(L"C:\\none\\" + name);
    return list;
}

TEST(ListRow, SizeTexts) {
    const std::pair<std::uint64_t, const wchar_t*> cases[] = {
        {0, L"0 b"},     {1023, L"1023 b"},     {1024, L"1 KB"},
        {1025, L"2 KB"}, {2047, L"2 KB"},       {2048, L"3 KB"},
        {2049, L"3 KB"}, {1048576, L"1025 KB"}, {5'000'000'000, L"4882813 KB"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(FormatFileSize(bytes), text);
}

TEST(ConversionList, RefusesWhatIsNoFileOfTheFormat) {
    const struct {
        const wchar_t* path;
        const wchar_t* format;
        bool added;
    } cases[] = {
        {L"C:\\none\\a.jt", kJt, true},
        {L"C:\\none\\A.JT", kJt, true},
        {L"C:\\none\\a.stp", kJt, false},
        {L"C:\\none\\a.stp", kAll, true},
        {L"C:\\none\\a", kAll, true},
        {L"C:\\none\\trace.LOG", kAll, false},
        {L"C:\\none\\a.log.1", kAll, true},
        {L"C:\\x.log\\part", kAll, true},
        {L"C:\\none\\log", kAll, true},
        {L"//server\\a.jt", kJt, false},
        {L"\\\\server\\share\\a.jt", kJt, true},
        {L"a.jt", kJt, false},
        {L"C:/none/a.jt", kJt, false},
        {L"", kAll, false},
        {L"/a\\b.jt", kJt, true},
    };
    for (const auto& c : cases) {
        ConversionList list;
        EXPECT_EQ(list.AddFileRow(c.path, c.format), c.added) << c.path;
        EXPECT_EQ(list.Count(), c.added ? 1u : 0u);
    }
}

TEST(ConversionList, RowsHoldThePathsPartsAndTheSize) {
    const test::TempFolder folder;
    const std::wstring path = folder / L"ü部.stp";
    test::WriteFileBytes(path, std::string(1025, 'x'));
    const std::wstring deep =
        folder / (std::wstring(120, L'd') + L"\\" + std::wstring(120, L'e') + L"\\long.stp");
    std::filesystem::create_directories(L"\\\\?\\" + std::wstring(FolderOf(deep)));
    ASSERT_GT(deep.size(), 260u);
    test::WriteFileBytes(deep, "12345");
    std::wstring recent = path;
    std::ranges::replace(recent, L'\\', L'/');

    ConversionList list;
    EXPECT_TRUE(list.AddFileRow(path, kAll));
    EXPECT_TRUE(list.AddFileRow(path, kAll));  // any number of times
    EXPECT_TRUE(list.AddRecentPath(recent, kAll));
    EXPECT_FALSE(list.AddRecentPath(recent, kJt));
    EXPECT_FALSE(list.AddRecentPath(L"ü部.stp", kAll));
    EXPECT_TRUE(list.AppendPickedFile(folder / L"trace.log"));  // a picked file is not tested
    EXPECT_FALSE(list.AppendPickedFile(L"trace.log"));
    EXPECT_TRUE(list.AppendPickedFile(deep));
    EXPECT_TRUE(list.AppendPickedFile(L"C:\\top.stp"));

    EXPECT_THAT(Names(list),
                ElementsAre(L"ü部.stp", L"ü部.stp", L"ü部.stp", L"trace.log", L"long.stp", L"top.stp"));
    EXPECT_THAT(Column(list, ListColumn::Size), ElementsAre(L"2 KB", L"2 KB", L"2 KB", L"-", L"5 b", L"-"));
    EXPECT_EQ(list.Row(0).folder, folder.Path());
    EXPECT_EQ(list.Row(2).folder, recent.substr(0, folder.Path().size()));  // keeps its slashes
    EXPECT_EQ(list.Row(0).status.text, L"-");
    EXPECT_EQ(list.FullPath(4), deep);
    EXPECT_EQ(list.FullPath(5), L"C:\\top.stp");
    EXPECT_EQ(list.Sources()[5].folder, L"C:");
    EXPECT_EQ(list.Sources()[5].name, L"top.stp");
}

TEST(ConversionList, RemovesAndMovesRows) {
    ConversionList list = ListOf({L"a", L"b", L"c", L"d", L"e"});
    list.RemoveRows({});
    list.RemoveRows({3, 0});
    EXPECT_THAT(Names(list), ElementsAre(L"b", L"c", L"e"));
    list.SetStatus(1, {RowState::Converted, kResultOk, L"OK", L"C", L""});
    EXPECT_FALSE(list.MoveRow(0, true));
    EXPECT_FALSE(list.MoveRow(2, false));
    EXPECT_TRUE(list.MoveRow(1, true));
    EXPECT_TRUE(list.MoveRow(1, false));
    EXPECT_THAT(Names(list), ElementsAre(L"c", L"e", L"b"));
    EXPECT_EQ(list.Row(0).status.text, L"OK");  // what belongs to a row goes with it
    EXPECT_EQ(list.Row(0).status.output, L"C");
    EXPECT_EQ(list.RowsIn(RowState::Converted), std::vector<size_t>{0});
    list.RemoveRows({0, 1, 2});
    EXPECT_TRUE(list.Empty());
}

TEST(ConversionList, PutsRowsBackWhereTheyWere) {
    const std::vector<std::wstring> all = {L"a", L"b", L"c", L"d", L"e"};
    const std::vector<std::vector<size_t>> cases = {{}, {4, 0}, {2, 3, 1}, {0, 1, 2, 3, 4}, {4}};
    for (const std::vector<size_t>& removed : cases) {
        ConversionList list = ListOf(all);
        list.SetStatus(3, {RowState::Converted, kResultOk, L"OK", L"D", L""});
        list.PutBack(list.RemoveRows(removed));
        EXPECT_THAT(Names(list), testing::ElementsAreArray(all));
        EXPECT_EQ(list.Row(3).status.output, L"D");
        list.PutBack(list.Clear());
        EXPECT_THAT(Names(list), testing::ElementsAreArray(all));
    }
}

TEST(ConversionList, ClicksOnColumnHeadersSort) {
    ConversionList list;
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"Beta.stp", L"1 KB"},  {L"alpha.stp", L"-"},   {L"Ärmel.stp", L"999 b"},   {L"_x.stp", L"1023 b"},
        {L"ALPHA.stp", L"2 KB"}, {L"ärmel.stp", L"0 b"}, {L"gamma.stp", L"1024 KB"},
    };
    std::vector<ListRow> made;
    for (const auto& [name, size] : rows) {
        made.push_back(*MakeRow(std::wstring(L"C:\\") + name, std::nullopt));
        made.back().size = size;
    }
    list.Append(std::move(made));

    list.SortByColumn(ListColumn::Filename);  // the list opens as if sorted by name
    EXPECT_THAT(Names(list), ElementsAre(L"Ärmel.stp", L"ärmel.stp", L"gamma.stp", L"Beta.stp", L"alpha.stp",
                                         L"ALPHA.stp", L"_x.stp"));
    list.SortByColumn(ListColumn::Size);
    EXPECT_THAT(Column(list, ListColumn::Size),
                ElementsAre(L"0 b", L"-", L"999 b", L"1 KB", L"1023 b", L"2 KB", L"1024 KB"));
    list.SortByColumn(ListColumn::Size);
    EXPECT_THAT(Column(list, ListColumn::Size),
                ElementsAre(L"1024 KB", L"2 KB", L"1023 b", L"1 KB", L"999 b", L"0 b", L"-"));
    list.SortByColumn(ListColumn::Status);  // all equal: nothing moves
    EXPECT_EQ(list.Row(0).size, L"1024 KB");
    EXPECT_TRUE(list.Ascending());
    list.SortByColumn(ListColumn::Filename);
    EXPECT_THAT(Names(list), ElementsAre(L"_x.stp", L"ALPHA.stp", L"alpha.stp", L"Beta.stp", L"gamma.stp",
                                         L"Ärmel.stp", L"ärmel.stp"));
    list.Clear();
    list.SortByColumn(ListColumn::Folder);
    EXPECT_THAT(Names(list), IsEmpty());
}

TEST(ConversionList, StaysQuickWithAHundredThousandRows) {
    std::mt19937 random(7);
    std::vector<ListRow> rows;
    for (int i = 0; i < 100'000; ++i) {
        rows.push_back(*MakeRow(L"C:\\folder\\part " + std::to_wstring(random()), random()));
    }
    ConversionList list;
    const ULONGLONG start = GetTickCount64();
    list.Append(std::move(rows));
    list.SortByColumn(ListColumn::Size);
    list.SortByColumn(ListColumn::Filename);
    EXPECT_TRUE(std::ranges::is_sorted(Names(list)));
    std::vector<size_t> all(list.Count());
    for (size_t i = 0; i < all.size(); ++i) all[i] = i;
    list.RemoveRows(all);
    EXPECT_TRUE(list.Empty());
    EXPECT_LT(GetTickCount64() - start, 3000u);  // a quadratic step takes minutes
}

}  // namespace
}  // namespace morvex

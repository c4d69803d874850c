#include <algorithm>
#include <gtest/gtest.h>

#include "formats/input_formats.h"
#include "formats/output_formats.h"

namespace morvex {
namespace {

const InputFormat kExpectedInputs[] = {
#include "tests/support/expected_input_formats.inc"
};

const OutputFormat kExpectedOutputs[] = {
#include "tests/support/expected_output_formats.inc"
};

// Other rows may stand between the expected ones.
TEST(InputFormats, AreInTheirOrderAndFoundByEveryLookup) {
    const auto rows = InputFormats();
    auto from = rows.begin();
    for (const InputFormat& expected : kExpectedInputs) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(expected.displayName)));
        from = std::ranges::find(from, rows.end(), std::wstring_view(expected.displayName),
                                 &InputFormat::displayName);
        ASSERT_NE(from, rows.end());
        EXPECT_EQ(InputDisplayNameToFilterText(expected.displayName), expected.filterText);
        EXPECT_EQ(InputFilterTextToIdentifier(expected.filterText), expected.identifier);
        EXPECT_EQ(InputFilterTextToFormatCode(expected.filterText), expected.code);
        EXPECT_EQ(InputFilterTextToDialogFilter(expected.filterText), expected.dialogFilter);
    }
    for (const InputFormat& row : rows)
        EXPECT_EQ(InputDisplayNameToFilterText(row.displayName), row.filterText);
}

TEST(OutputFormats, AreInTheirOrderAndFoundByEveryLookup) {
    const auto rows = OutputFormats();
    auto from = rows.begin();
    for (const OutputFormat& expected : kExpectedOutputs) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(expected.displayName)));
        from = std::ranges::find(from, rows.end(), std::wstring_view(expected.displayName),
                                 &OutputFormat::displayName);
        ASSERT_NE(from, rows.end());
        EXPECT_EQ(OutputDisplayNameToFilterText(expected.displayName), expected.filterText);
        EXPECT_EQ(OutputFilterTextToIdentifier(expected.filterText), expected.identifier);
        EXPECT_EQ(OutputFilterTextToFormatCode(expected.filterText), expected.code);
        EXPECT_EQ(OutputFilterTextToExtension(expected.filterText), expected.extension);
    }
    for (const OutputFormat& row : rows)
        EXPECT_EQ(OutputDisplayNameToFilterText(row.displayName), row.filterText);
}

TEST(Lookups, UnknownTextsGiveNothing) {
    const wchar_t* const unknown[] = {L"",
                                      L"acis",
                                      L"ACIS ",
                                      L"acis (*.sat;*.asat;*.sab;*.asab)",
                                      L"ACIS (*.sat;*.asat;*.sab;*.asab) ",
                                      L"acis (*.sat)",
                                      L"ACIS (*.sat",
                                      L"FDT Multi XML New(*.MultiXmlNew)"};
    for (const wchar_t* text : unknown) {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(text)));
        EXPECT_EQ(InputDisplayNameToFilterText(text), L"");
        EXPECT_EQ(InputFilterTextToIdentifier(text), "");
        EXPECT_EQ(InputFilterTextToFormatCode(text), 1);
        EXPECT_EQ(InputFilterTextToDialogFilter(text), L"");
        EXPECT_EQ(OutputDisplayNameToFilterText(text), L"");
        EXPECT_EQ(OutputFilterTextToIdentifier(text), "");
        EXPECT_EQ(OutputFilterTextToFormatCode(text), 1);
        EXPECT_EQ(OutputFilterTextToExtension(text), L"");
    }
}

TEST(Lookups, KeysWithoutARowAnswerOnlyWhereTheyAreListed) {
    EXPECT_EQ(InputFilterTextToDialogFilter(L"SMG (*.smg;*.smggeom)"),
              L"SMG (*.smg;*.smggeom)|*.smg;*.smggeom|SMG (*.smg)|*.smg|SMG (*.smggeom)|*.smggeom|");
    EXPECT_EQ(InputFilterTextToFormatCode(L"SMG (*.smg;*.smggeom)"), 1);
    EXPECT_EQ(OutputFilterTextToExtension(L"Cadds (*._pd)"), L"._pd");
    EXPECT_EQ(OutputFilterTextToIdentifier(L"Cadds (*._pd)"), "");
}

}  // namespace
}  // namespace morvex

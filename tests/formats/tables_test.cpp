#include <gtest/gtest.h>
#include <iterator>

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

TEST(InputFormats, EveryRowIsInPlaceAndFoundByEveryLookup) {
    const auto rows = InputFormats();
    ASSERT_EQ(rows.size(), 55u);
    ASSERT_EQ(std::size(kExpectedInputs), 55u);
    for (size_t i = 0; i < rows.size(); ++i) {
        const InputFormat& expected = kExpectedInputs[i];
        SCOPED_TRACE(i + 1);
        EXPECT_STREQ(rows[i].displayName, expected.displayName);
        EXPECT_EQ(InputDisplayNameToFilterText(expected.displayName), expected.filterText);
        EXPECT_EQ(InputFilterTextToIdentifier(expected.filterText), expected.identifier);
        EXPECT_EQ(InputFilterTextToFormatCode(expected.filterText), expected.code);
        EXPECT_EQ(InputFilterTextToDialogFilter(expected.filterText), expected.dialogFilter);
    }
}

TEST(OutputFormats, EveryRowIsInPlaceAndFoundByEveryLookup) {
    const auto rows = OutputFormats();
    ASSERT_EQ(rows.size(), 42u);
    ASSERT_EQ(std::size(kExpectedOutputs), 42u);
    for (size_t i = 0; i < rows.size(); ++i) {
        const OutputFormat& expected = kExpectedOutputs[i];
        SCOPED_TRACE(i + 1);
        EXPECT_STREQ(rows[i].displayName, expected.displayName);
        EXPECT_EQ(OutputDisplayNameToFilterText(expected.displayName), expected.filterText);
        EXPECT_EQ(OutputFilterTextToIdentifier(expected.filterText), expected.identifier);
        EXPECT_EQ(OutputFilterTextToFormatCode(expected.filterText), expected.code);
        EXPECT_EQ(OutputFilterTextToExtension(expected.filterText), expected.extension);
    }
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

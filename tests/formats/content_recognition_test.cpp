#include "formats/content_recognition.h"

#include <gtest/gtest.h>
#include <string>

#include "formats/input_formats.h"

namespace morvex {
namespace {

TEST(ContentRecognition, TellsFormatsByTheirFirstBytes) {
    std::string stl(84 + 100, 's');
    stl.replace(80, 4, std::string("\2\0\0\0", 4));
    const std::string iges = std::string(72, ' ') + "S      1\n" + std::string(72, ' ') + "G      1\n";
    const struct {
        std::string bytes;
        const wchar_t* displayName;
    } cases[] = {
        {"ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('AUTOMOTIVE_DESIGN'));", L"STEP"},
        {"\xEF\xBB\xBF\r\n ISO-10303-21;HEADER;FILE_SCHEMA (('IFC4'));", L"IFC"},
        {iges, L"IGES 3D"},
        {stl, L"STL"},
        {stl + "x", L""},
        {"solid part\n facet normal 0 0 1\n", L"STL"},
        {"solid ground of every argument", L""},
        {std::string("glTF\2\0\0\0", 8), L"glTF Binary"},
        {"{\"asset\": {\"version\": \"2.0\"}}", L"glTF"},
        {"{\"name\": 1}", L""},
        {"Kaydara FBX Binary  ", L"FBX"},
        {"  0\r\nSECTION\r\n  2\r\nHEADER\r\n", L"DWG/DXF 3D"},
        {"AC1032", L"DWG/DXF 3D"},
        {"**ABCDEFGHIJKLMNOPQRSTUVWXYZabc", L"PARASOLID"},
        {"3D Geometry File Format ", L"Rhino"},
        {"", L""},
        {"Dear reader", L""},
    };
    for (const auto& test : cases) {
        const std::wstring_view found = InputFormatOfContent(test.bytes, test.bytes.size());
        EXPECT_EQ(found, test.displayName) << test.bytes;
        EXPECT_EQ(InputDisplayNameToFilterText(found).empty(), found.empty()) << test.bytes;
    }
}

}  // namespace
}  // namespace morvex

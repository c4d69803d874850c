#include "win/line_reader.h"

#include <gtest/gtest.h>
#include <vector>

#include "tests/support/temp_folder.h"
#include "win/unique_handle.h"

namespace morvex {
namespace {

using Lines = std::vector<std::wstring>;

std::string Utf16Big(const std::wstring& text) {
    std::string bytes = test::Utf16Bytes(text);
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

TEST(LineReader, GivesTheLinesOfEveryEncoding) {
    // Across the pieces in which the file is read.
    const std::wstring large(70000, L'x'), huge(3 << 20, L'y');
    const Lines plain = {L"a\u00E9\u0A0A\u0D0D", L"", large, L"end"};
    std::wstring text;
    for (const std::wstring& line : plain) text += (text.empty() ? L"" : L"\r\n") + line;
    const std::string utf8 =
        "a\xC3\xA9\xE0\xA8\x8A\xE0\xB4\x8D\r\n\n" + std::string(large.begin(), large.end()) + "\nend\n";
    using Separator = LineReader::Separator;
    const struct {
        std::string bytes;
        Lines lines;
        Separator separator = Separator::LineEnd;
    } cases[] = {
        {"", {}},
        {"\n", {L""}},
        {utf8, plain},
        {"\xEF\xBB\xBF" + utf8, plain},
        {test::Utf16Bytes(text), plain},
        {Utf16Big(text), plain},
        {test::Utf16Bytes(L"ab\nc\n").substr(2), {L"ab", L"c"}},
        {std::string("a\nb\r\0\0c", 7), {L"a\nb\r", L"", L"c"}, Separator::Zero},
        {"a" + std::string(huge.begin(), huge.end()) + "\nb", {(L"a" + huge).substr(0, 1 << 20), L"b"}},
    };
    const test::TempFolder folder;
    for (const auto& test : cases) {
        test::WriteFileBytes(folder / L"list", test.bytes);
        const UniqueHandle file = OwnFile(
            CreateFileW((folder / L"list").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        LineReader reader(file.get(), test.separator);
        Lines lines;
        for (std::wstring line; reader.Next(line);) {
            lines.push_back(line);
            const std::string rest = test.bytes.substr(static_cast<size_t>(reader.Offset()));
            EXPECT_EQ(reader.Whole(),
                      rest.find(test.separator == Separator::Zero ? '\0' : '\n') != rest.npos);
        }
        EXPECT_EQ(lines, test.lines) << test.bytes.substr(0, 20);
    }
}

}  // namespace
}  // namespace morvex

#include "win/command_line.h"

#include <windows.h>

#include <shellapi.h>

#include <gtest/gtest.h>
#include <random>

namespace morvex {
namespace {

std::vector<std::wstring> SplitBySystem(const std::wstring& line) {
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(line.c_str(), &count);
    std::vector<std::wstring> result(arguments, arguments + count);
    LocalFree(arguments);
    return result;
}

TEST(CommandLine, IsSplitAsTheSystemDoes) {
    for (const wchar_t* rest :
         {LR"()", LR"( )", LR"( a)", LR"( "a b" c)", LR"( "C:\dir\\" x)", LR"( a\\\"b "c\"d")", LR"( "" "")",
          LR"( """a""" b)", LR"( "a""b c" d)", LR"( a"b"c"d e"f)", LR"( "unclosed x)",
          LR"( \\server\share\ "\\?\C:\x y")"}) {
        for (const wchar_t* program : {LR"(C:\p\Morvex.exe)", LR"("C:\p p\Morvex.exe")", LR"("C:\p\"tail)"}) {
            const std::wstring line = std::wstring(program) + rest;
            EXPECT_EQ(SplitCommandLine(line), SplitBySystem(line)) << testing::PrintToString(line);
        }
    }
    std::mt19937 random(7);
    const std::wstring letters = L"a \"\\\t";
    for (int i = 0; i < 20000; ++i) {
        std::wstring line = L"p ";
        for (unsigned n = random() % 16; n > 0; --n) line += letters[random() % letters.size()];
        ASSERT_EQ(SplitCommandLine(line), SplitBySystem(line)) << testing::PrintToString(line);
    }
}

}  // namespace
}  // namespace morvex

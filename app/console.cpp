#include "app/console.h"

#include "core/product.h"
#include "win/utf8.h"

namespace morvex {
namespace {

constexpr wchar_t kHelp[] =
    LR"(Morvex.exe                                   opens the window
Morvex.exe INPUT [OUTPUT [CONFIG [SCHEMA]]]  converts one file without a window

OUTPUT is a file or a folder (one that exists, or a path that ends in a backslash); without it the result goes
beside the input. CONFIG is a conversion configuration file, SCHEMA a folder for the conversion library; an
empty argument ("") stands for the one of the settings.

The formats are those last chosen in the window, or those that the extensions name when none was chosen. The
environment variables MORVEX_FORMAT_IN and MORVEX_FORMAT_OUT, or one of them, name others: "STEP", "glTF Binary".

The exit code is the conversion library's result, 0 for success; standard error says it in words.
Morvex.exe --version  prints the version; --help prints this text.
)";

}  // namespace

void Print(DWORD stream, const std::wstring& text) {
    const std::string bytes = ToUtf8(text);
    DWORD written = 0;
    WriteFile(GetStdHandle(stream), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

std::optional<std::wstring> AnswerTo(const std::vector<std::wstring>& arguments) {
    if (arguments.size() != 2) return std::nullopt;
    if (arguments[1] == L"--help") return kHelp;
    if (arguments[1] == L"--version")
        return std::wstring(product::kMessageCaption) + L" (" + product::kVersion + L")\n";
    return std::nullopt;
}

}  // namespace morvex

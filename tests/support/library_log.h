#pragma once

#include <windows.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace morvex::test {

// One call that the recording library got.
struct LibraryCall {
    int process, inputFormat, outputFormat;
    std::wstring input, output, config, schema;
    int hasProgress, parallel, hasReserved, option, traceLevel, reserved2, runSize;
    long long startMs, endMs;
};

// Makes the recording library (here and in child processes) log into a file of its own and follow a script.
class LibraryLog {
  public:
    explicit LibraryLog(const std::wstring& script = L"") {
        SetEnvironmentVariableW(L"MORVEX_TEST_LOG", Path().c_str());
        SetEnvironmentVariableW(L"MORVEX_TEST_SCRIPT", script.c_str());
    }
    ~LibraryLog() {
        SetEnvironmentVariableW(L"MORVEX_TEST_LOG", nullptr);
        SetEnvironmentVariableW(L"MORVEX_TEST_SCRIPT", nullptr);
    }

    std::wstring Path() const { return folder_ / L"calls.log"; }

    std::vector<LibraryCall> Calls() const {
        const std::string bytes = ReadFileBytes(Path());
        const std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
        std::vector<LibraryCall> calls;
        std::wistringstream lines(text);
        for (std::wstring line; std::getline(lines, line);) calls.push_back(Parse(line));
        return calls;
    }

    // The recording library's file; other folders hold the libraries without entry points.
    static std::wstring LibraryPath(const std::wstring& folder = L"recording") {
        return std::wstring(FolderOf(ModulePath())) + L"\\" + folder + L"\\Polyvane_x64.dll";
    }

  private:
    static LibraryCall Parse(const std::wstring& line) {
        std::vector<std::wstring> fields;
        std::wistringstream stream(line);
        for (std::wstring field; std::getline(stream, field, L'\t');) fields.push_back(field);
        fields.resize(16);
        const auto number = [&fields](size_t i) { return fields[i].empty() ? -999 : std::stoi(fields[i]); };
        return {number(0),
                number(1),
                number(2),
                fields[3],
                fields[4],
                fields[5],
                fields[6],
                number(7),
                number(8),
                number(9),
                number(10),
                number(11),
                number(12),
                number(13),
                std::stoll(fields[14]),
                std::stoll(fields[15])};
    }

    TempFolder folder_;
};

}  // namespace morvex::test

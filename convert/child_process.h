#pragma once

#include <string>

#include "win/unique_handle.h"

namespace morvex {

// The four values that a child of the program gets on its command line, after the program's own path.
struct ChildArguments {
    std::wstring input;
    std::wstring output;
    std::wstring configFile;
    std::wstring schemaFolder;
};

// The child's command line: five arguments, each in double quotes, separated by single blanks, such that the
// system's splitting rules give back the very same texts.
std::wstring ChildCommandLine(const std::wstring& program, const ChildArguments& arguments);

// A child converts between the formats that these environment variables name (filter texts, or display names
// for whoever starts it by hand), so that a change of the settings while a run is under way cannot reach it.
// Without them it takes the settings'.
inline constexpr wchar_t kFormatInVariable[] = L"MORVEX_FORMAT_IN";
inline constexpr wchar_t kFormatOutVariable[] = L"MORVEX_FORMAT_OUT";
// Tells the conversion library in a child that it is not alone on the machine.
inline constexpr wchar_t kSideBySideVariable[] = L"MORVEX_SIDE_BY_SIDE";

// Starts children of this program and waits for them. Everything they start dies with this object, and with
// this process however it ends. Run may be called from several threads at once.
class ChildRunner {
  public:
    // `program` is this program's own file, started anew for each conversion.
    ChildRunner(std::wstring program, const std::wstring& formatIn, const std::wstring& formatOut);
    ChildRunner(const ChildRunner&) = delete;
    ChildRunner& operator=(const ChildRunner&) = delete;
    ~ChildRunner();

    // Converts one file in a child and returns its exit code. A child that cannot be started counts as 0:
    // that is this program's long-standing rule, which scripts around it rely on.
    int Run(const ChildArguments& arguments) const;

  private:
    std::wstring program_;
    UniqueHandle job_;
};

}  // namespace morvex

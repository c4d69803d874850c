#pragma once

#include <string>

#include "convert/conversion_request.h"
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

// Variables of a child's environment.
// The formats to convert between (filter texts, or display names for whoever starts it by hand), so that a
// change of the settings while a run is under way cannot reach it. Without them it takes the settings'.
inline constexpr wchar_t kFormatInVariable[] = L"MORVEX_FORMAT_IN";
inline constexpr wchar_t kFormatOutVariable[] = L"MORVEX_FORMAT_OUT";
// Tells the conversion library in a child that it is not alone on the machine.
inline constexpr wchar_t kSideBySideVariable[] = L"MORVEX_SIDE_BY_SIDE";
// The process is a child of a run: its arguments are those of ChildArguments, to be taken as they stand.
inline constexpr wchar_t kChildOfRunVariable[] = L"MORVEX_CHILD_OF_RUN";

// Starts children of this program and waits for them. Everything they start dies with this object, and with
// this process however it ends. Run may be called from several threads at once.
class ChildRunner {
  public:
    explicit ChildRunner(const ConversionRequest& request);

    // Converts one file in a child and returns its exit code. A child that cannot be started counts as 0:
    // that is this program's long-standing rule, which scripts around it rely on.
    int Run(const ChildArguments& arguments) const;

  private:
    std::wstring program_;
    std::wstring environment_;
    UniqueHandle job_;
};

}  // namespace morvex

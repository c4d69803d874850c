#pragma once

#include <span>
#include <string>
#include <string_view>

namespace morvex {

// A CAD format that can be written. All texts are compiled in and live as long as the program.
struct OutputFormat {
    const wchar_t* displayName;  // "STEP", as the profiles name it
    const wchar_t* filterText;   // "STEP (*.stp)", as the combo box shows it and the settings store it
    const char* identifier;      // "ZEL_STEP"; several rows may share one; may be empty
    const wchar_t* extension;    // of the written file, with its leading dot; may be empty
    int code;                    // the conversion library's number
};

// The table, in the order in which the lookups walk it.
std::span<const OutputFormat> OutputFormats();

// The lookups compare whole texts, letter case included; the first match wins. They never fail: a text that
// nothing matches gives the empty text, or kCodeAny. Safe on any thread.
std::wstring OutputDisplayNameToFilterText(std::wstring_view displayName);
std::string OutputFilterTextToIdentifier(std::wstring_view filterText);
int OutputFilterTextToFormatCode(std::wstring_view filterText);
std::wstring OutputFilterTextToExtension(std::wstring_view filterText);

}  // namespace morvex

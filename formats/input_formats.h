#pragma once

#include <span>
#include <string>
#include <string_view>

namespace morvex {

// A CAD format that can be read. All texts are compiled in and live as long as the program.
struct InputFormat {
    const wchar_t* displayName;  // "STEP", as the profiles name it
    const wchar_t*
        filterText;          // "STEP (*.step;*.stp...)", as the combo box shows it and the settings store it
    const char* identifier;  // "ZEL_STEP"; several rows may share one; may be empty
    int code;                // the conversion library's number; several rows may share one
    const wchar_t* dialogFilter;  // "label|patterns|" pairs for the file-open dialog; may be empty
};

// The table, in the order in which the lookups walk it.
std::span<const InputFormat> InputFormats();

// The lookups compare whole texts, letter case included; the first match wins. They never fail: a text that
// nothing matches gives the empty text, or kCodeAny. Safe on any thread.
std::wstring InputDisplayNameToFilterText(std::wstring_view displayName);
std::string InputFilterTextToIdentifier(std::wstring_view filterText);
int InputFilterTextToFormatCode(std::wstring_view filterText);
std::wstring InputFilterTextToDialogFilter(std::wstring_view filterText);

}  // namespace morvex

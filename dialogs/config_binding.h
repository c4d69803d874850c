#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace morvex {

// How the value of a key and its controls belong together. Radio buttons and check boxes stand for integers.
enum class BindingKind {
    Check,         // one check box, on for its value; writes "0" when off
    Choice,        // radio buttons; the last one stands for every other value too
    BlankedPair,   // radio buttons; another value selects none, which is written as the last one's value
    StrictChoice,  // radio buttons; another value selects none and stays in the file while none is selected
    Text,          // edit, exactly as typed
    Number,        // edit, an integer
    Length,  // edit, millimetres, stored as typed but for a comma or a unit; what is not above 0 becomes 0.1
    Angle,   // edit in degrees for radians in the file; at most 90 when read, what is not above 0 becomes 90
};

// One button of a binding, or its edit control, with the ids of its caption and tooltip (0 for none).
struct BoundControl {
    int id;
    int value;
    int caption;
    int tooltip;
};

// One key of the conversion configuration file and the controls that show it.
struct ConfigBinding {
    BindingKind kind;
    const wchar_t* section;
    const wchar_t* key;
    const wchar_t* fallback;   // shown when the file lacks the key
    BoundControl controls[3];  // an id of 0 ends them
};

// Shows the key's value from the file in the dialog's controls.
void LoadBinding(const ConfigBinding& binding, HWND dialog, const std::wstring& file);

// Writes the key from the controls. False when the file cannot be written.
bool SaveBinding(const ConfigBinding& binding, HWND dialog, const std::wstring& file);

// What takes the place of a number typed in the binding's edit that cannot be used as it stands: the text to
// show, as it will be stored. Nothing when it can be, and for bindings that hold no number.
std::optional<std::wstring> Correction(const ConfigBinding& binding, HWND dialog);

// The number that a text begins with, with a decimal point or comma; 0 when there is none or it is not
// finite.
double ToReal(const std::wstring& text);

}  // namespace morvex

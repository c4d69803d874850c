#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

namespace morvex {

// A text for a control that takes '&' as the mark of an access key: each '&' of the text is shown as it
// stands.
std::wstring EscapeAmpersands(const std::wstring& text);

// The texts, which carry no keys yet, with an access key each, as AssignAccessKeys chooses them.
std::vector<std::wstring> WithAccessKeys(const std::vector<std::wstring>& texts);

// Gives the dialog's visible buttons, check boxes, radio buttons and the labels (group boxes too) right
// before an input control an access key each, no key twice: a letter of the text, or "(&X)" appended to a
// Chinese, Japanese or Korean one. OK and its Cancel answer Enter and Escape and get none; nor does a text
// whose letters are all taken. Call again whenever the texts change; earlier keys are replaced. `captions`:
// texts by control id that take the place of what these controls show.
void AssignAccessKeys(HWND dialog, const std::map<int, std::wstring>& captions = {});

}  // namespace morvex

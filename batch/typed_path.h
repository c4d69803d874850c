#pragma once

#include <string>

namespace morvex {

// The full path that somebody means who has typed it, with "." and ".." taken out: a path that is longer than
// the system's old limit is opened as it stands, and they would be names in it. Only a root ends in a
// backslash.
std::wstring TypedPath(const std::wstring& typed);

}  // namespace morvex

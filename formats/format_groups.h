#pragma once

#include <span>
#include <string_view>

#include "formats/format_codes.h"

namespace morvex {

// The output display names that a group name of a profile ("ALL_3D", "ALL_2D", "ALL_MESH", "ALL_SURF") stands
// for, in the order of their registration; empty when the name is no group's.
std::span<const wchar_t* const> OutputGroup(std::wstring_view name);

// Whether a conversion between these two format codes belongs to the progress group: it drives the progress
// dialog, and it uses the shared configuration file instead of one of its pair.
bool IsProgressGroup(int inputCode, int outputCode);

}  // namespace morvex

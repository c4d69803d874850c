#pragma once

#include <string>

#include "core/context.h"

// The conversion configuration file: which one a pair of formats uses, and what a fresh one holds.
namespace morvex {

// True when the chosen formats use the configuration file that such pairs share.
bool UsesSharedConfig(const AppContext& context);

// The configuration file to use now for the chosen formats: the user's own choice while it exists (a vanished
// one is forgotten for good, in the settings too), else the shared file or the pair's own; empty when the
// pair has none.
std::wstring GetConfigFilePath(AppContext& context);

// Creates the file with the default content. False, and nothing touched, when the path is empty or a file
// exists.
bool WriteDefaultConfig(const std::wstring& path);

}  // namespace morvex

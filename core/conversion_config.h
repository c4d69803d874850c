#pragma once

#include <string>

#include "core/context.h"
#include "formats/conversion_formats.h"

// The conversion configuration file: which one a pair of formats uses, and what a fresh one holds.
namespace morvex {

// The pair of formats that the settings hold.
ConversionFormats SavedFormats(const AppSettings& settings);

// The configuration file to use now for these formats (the saved ones): the user's own choice while it exists
// (a vanished one is forgotten for good, in the settings too), else the shared file or the pair's own; empty
// when the pair has none.
std::wstring GetConfigFilePath(AppContext& context, const ConversionFormats& formats);
std::wstring GetConfigFilePath(AppContext& context);

// The same file, created with defaults when it is missing.
std::wstring PrepareConfigFile(AppContext& context, const ConversionFormats& formats);

// Creates the file with the default content. False, and nothing touched, when the path is empty or a file
// exists.
bool WriteDefaultConfig(const std::wstring& path);

}  // namespace morvex

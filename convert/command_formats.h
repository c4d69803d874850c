#pragma once

#include <string>
#include <string_view>

#include "core/context.h"
#include "formats/conversion_formats.h"

namespace morvex {

// The formats of a start with arguments: each is the one that the environment names, else the saved one, else
// the one that the path's extension names. One that nothing names is empty.
ConversionFormats ChooseFormats(const AppContext& context, const std::wstring& input,
                                const std::wstring& output);

// The filter text of the input format that the path's extension names: the first in the table's order, of
// those on offer if there are any; empty when it names none.
std::wstring InputFormatOf(const ConversionPairs& pairs, std::wstring_view path);

// Whether the path's extension is one of that output format's, and whether it is one of any.
bool HasExtensionOf(const std::wstring& path, const std::wstring& outputFilterText);
bool HasOutputExtension(const std::wstring& path);

}  // namespace morvex

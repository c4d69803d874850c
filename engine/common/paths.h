// Paths as texts. Everything the engine says and is told is UTF-8, whatever the system's own encoding is.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace morvex {

std::filesystem::path PathFromUtf8(std::string_view text);
std::string Utf8(const std::filesystem::path& path);

// Absolute, with all links resolved; the error says why there is no such file or folder.
std::filesystem::path ResolvedPath(const std::filesystem::path& path, std::error_code& error);

}  // namespace morvex

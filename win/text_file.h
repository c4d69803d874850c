#pragma once

#include <string>
#include <string_view>
#include <vector>

// The program's text files: UTF-16LE with a byte-order mark and CRLF line ends on disk, "\n" in memory.
namespace morvex {

// Reads a whole text file into `text`. Accepts what editors make of such files: UTF-16 (either order, with or
// without mark), UTF-8 (with or without mark) and, when the bytes are neither, the system's ANSI code page;
// CRLF and LF. False when the file cannot be read.
bool ReadTextFile(const std::wstring& path, std::wstring& text);

// The lines of a text without their line ends; a line end at the very end starts no further line.
std::vector<std::wstring_view> SplitLines(std::wstring_view text);

// Replaces the file's content with `text`. Written beside it first and then renamed, so a failure (false)
// leaves the old file as it was.
bool WriteTextFile(const std::wstring& path, std::wstring_view text);

// Makes a file of that name; false, and nothing touched, when there is one already. Of several processes that
// do so at once one succeeds.
bool CreateTextFile(const std::wstring& path, std::wstring_view text);

// Appends to a file made by WriteTextFile, flushed to the system before it returns. False when it cannot.
bool AppendTextFile(const std::wstring& path, std::wstring_view text);

// Replaces the file's content with these bytes, with the same promise as WriteTextFile.
bool WriteBytes(const std::wstring& path, std::string_view bytes);

}  // namespace morvex

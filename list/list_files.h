#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/program_folders.h"
#include "core/text_catalogue.h"
#include "formats/conversion_pairs.h"
#include "list/conversion_list.h"

// The text files that keep a conversion list, and those made of it for others.
namespace morvex {

// The chosen formats by their filter texts.
struct ChosenFormats {
    std::wstring input;
    std::wstring output;
};

// Each writes a whole file, or leaves the old one as it was and returns false.

// Formats and paths: what ReadListFile reads back.
bool SaveListFile(const std::wstring& path, const ConversionList& list, const ChosenFormats& formats);

// Formats, the output folder when there is one (nothing: files were written beside their inputs), and every
// row's path, size and status, with labels in the chosen language.
bool SaveResultsReport(const std::wstring& path, const ConversionList& list, const ChosenFormats& formats,
                       const std::optional<std::wstring>& outputFolder, const TextCatalogue& text);

// "number|path" lines for scripts, from 0; UTF-8 without mark, lines end with a line feed.
bool SavePythonList(const std::wstring& path, const ConversionList& list);

enum class ListFileKind {
    List,        // formats and paths
    PlainPaths,  // developer mode: any other text file, one path a line, to be listed under "ALL (*.*)"
    NotValid,    // no list file, or formats that are not on offer
    CannotOpen
};

struct ListFile {
    ListFileKind kind = ListFileKind::CannotOpen;
    ChosenFormats formats;            // of a List
    std::vector<std::wstring> paths;  // in file order, as they stand in the file; in a List each text once
};

// Reads a list file and changes nothing. In developer mode formats that are not on offer are taken as they
// are, and a file with another first line is PlainPaths. Reads UTF-16, UTF-8 and ANSI, CRLF and LF.
ListFile ReadListFile(const std::wstring& path, const ConversionPairs& pairs, bool developerMode);

// At the start of a run: removes the temporary list and writes the last-state file.
bool SaveLastState(const ProgramFolders& folders, const ConversionList& list, const ChosenFormats& formats);

// What to restore when the window opens: the last-state file, or the temporary list when there is none.
// Read as a list file is; anything but a List means that there is nothing to restore.
ListFile ReadLastState(const ProgramFolders& folders, const ConversionPairs& pairs, bool developerMode);

}  // namespace morvex

#pragma once

#include <string>

namespace morvex {

// Where the program's files lie. Folders carry no trailing backslash.
struct ProgramFolders {
    std::wstring program;               // folder of Morvex.exe
    std::wstring user;                  // roaming application data \Norwend\Morvex
    std::wstring installationSettings;  // norwend_morvex.ini beside the program
    std::wstring userSettings;          // zel_morvex.ini in the user folder
    std::wstring library;               // the conversion library
    std::wstring schema;                // schema folder handed to the library
    std::wstring crashLog;
    std::wstring lastState;
    std::wstring temporaryList;
    std::wstring recentFiles;

    std::wstring SharedConfig() const { return user + L"\\zelConfig.zel"; }
};

// Builds the paths for a program and a user folder; touches nothing.
ProgramFolders MakeProgramFolders(const std::wstring& program, const std::wstring& user);

// Names the user folder, where it exists, in place of the system's answer. A child is told it by its parent:
// asking the shell for the folder loads the shell library.
inline constexpr wchar_t kUserFolderVariable[] = L"MORVEX_USER_FOLDER";

// Finds both folders, creates the user folder and an empty UTF-16LE user settings file where they are
// missing. Never fails: without an application data folder the program folder takes its place, other failures
// are ignored.
ProgramFolders PrepareProgramFolders();

}  // namespace morvex

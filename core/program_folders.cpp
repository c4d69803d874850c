#include "core/program_folders.h"

#include <windows.h>

#include <shlobj.h>

#include "win/paths.h"
#include "win/text_file.h"

namespace morvex {
namespace {

std::wstring EnsureFolder(const std::wstring& folder) {
    if (!FileExists(folder)) CreateDirectoryW(folder.c_str(), nullptr);
    return folder;
}

// A child is told by its parent: asking the shell for the folder loads the shell library.
constexpr wchar_t kUserFolderVariable[] = L"MORVEX_USER_FOLDER";

std::wstring FindUserFolder(const std::wstring& program) {
    wchar_t known[MAX_PATH];
    const DWORD length = GetEnvironmentVariableW(kUserFolderVariable, known, MAX_PATH);
    if (length > 0 && length < MAX_PATH && FolderExists(known)) return known;
    wchar_t roaming[MAX_PATH];
    const bool found = SHGetSpecialFolderPathW(nullptr, roaming, CSIDL_APPDATA, FALSE);
    return EnsureFolder(EnsureFolder((found ? roaming : program) + L"\\Norwend") + L"\\Morvex");
}

}  // namespace

ProgramFolders MakeProgramFolders(const std::wstring& program, const std::wstring& user) {
    return {
        .program = program,
        .user = user,
        .installationSettings = program + L"\\norwend_morvex.ini",
        .userSettings = user + L"\\zel_morvex.ini",
        .library = program + L"\\Plugins\\Polyvane_x64.dll",
        .schema = program + L"\\schema",
        .crashLog = program + L"\\LogFileIfCrash.txt",
        .lastState = user + L"\\zel_last_state.ini",
        .temporaryList = program + L"\\tmp_list.ini",
        .recentFiles = user + L"\\zel_recent_files.ini",
    };
}

ProgramFolders PrepareProgramFolders() {
    const std::wstring program(FolderOf(ModulePath()));
    ProgramFolders folders = MakeProgramFolders(program, FindUserFolder(program));
    SetEnvironmentVariableW(kUserFolderVariable, folders.user.c_str());
    if (!FileExists(folders.userSettings)) WriteTextFile(folders.userSettings, L"");
    return folders;
}

}  // namespace morvex

#include "core/program_folders.h"

#include <windows.h>

#include <shlobj.h>

#include "win/environment.h"
#include "win/paths.h"
#include "win/text_file.h"

namespace morvex {
namespace {

std::wstring EnsureFolder(const std::wstring& folder) {
    if (!PathExists(folder)) CreateDirectoryW(folder.c_str(), nullptr);
    return folder;
}

std::wstring FindUserFolder(const std::wstring& program) {
    std::wstring known = EnvironmentText(kUserFolderVariable);
    if (!known.empty() && FolderExists(known)) return known;
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
    CreateTextFile(folders.userSettings, L"");
    return folders;
}

}  // namespace morvex

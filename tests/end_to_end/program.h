#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/library_log.h"
#include "tests/support/temp_folder.h"
#include "win/unique_handle.h"

namespace morvex::test {

struct ProgramRun {
    DWORD exitCode = 0;
    std::string output;  // what it wrote, in UTF-8
    std::string errors;
};

// The real Morvex.exe with a user folder of its own.
class Program {
  public:
    // In a program folder of its own with the recording library.
    Program();
    // As it was built, with the real engine: for reading only.
    enum class AsBuilt {};
    explicit Program(AsBuilt);
    ~Program();

    // Runs Morvex.exe with this text behind its name on the command line, to its end; kills it after a
    // minute.
    ProgramRun Run(const std::wstring& arguments) const;

    // Starts Morvex.exe and goes on: without arguments it opens the window. Its output goes to `output`,
    // nowhere when that is null. The caller ends it.
    UniqueHandle Start(const std::wstring& arguments, DWORD& id, HANDLE output = nullptr) const;

    std::wstring Folder() const { return folder_.Path(); }
    std::wstring UserFolder() const { return folder_ / L"user"; }
    std::wstring Library() const { return folder_ / L"Plugins\\Polyvane_x64.dll"; }
    std::wstring Settings() const { return folder_ / L"norwend_morvex.ini"; }

    // The formats that the program converts between, in the environment as a parent would name them.
    static void Formats(const wchar_t* input, const wchar_t* output);

  private:
    TempFolder folder_;
    std::wstring program_ = folder_ / L"Morvex.exe";
};

// Makes the recording library pass calls without commands on to the real engine, until the object goes.
class EngineBehind {
  public:
    EngineBehind();
    ~EngineBehind();
    EngineBehind(const EngineBehind&) = delete;
    EngineBehind& operator=(const EngineBehind&) = delete;

    // False where MORVEX_PROGRAM_FOLDER names no program folder that has one.
    bool Found() const { return found_; }

  private:
    bool found_ = false;
};

}  // namespace morvex::test

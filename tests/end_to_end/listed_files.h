#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>

#include "tests/end_to_end/window.h"
#include "win/text_file.h"

namespace morvex::test {

inline constexpr wchar_t kStep[] = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";

// Real files in a folder of the program's, and a window that has them in its list, to be converted from STEP
// to STL beside themselves.
class ListedFiles {
  public:
    // `general`: more lines of that section of the program's settings. The files' bytes are a word of no
    // meaning.
    explicit ListedFiles(const std::vector<std::wstring>& names, const std::wstring& general = L"")
        : ListedFiles(WithBytes(names), general, names) {}

    // With bytes of their own; the list's order is that of `names`.
    ListedFiles(std::map<std::wstring, std::string> files, const std::wstring& general,
                const std::vector<std::wstring>& names)
        : files_(std::move(files)) {
        Program::Formats(nullptr, nullptr);
        WriteTextFile(
            program_.Settings(),
            L"[General]\nLoadLastState=1\n" + general +
                L"\n[P]\nZEL_INPUT_FORMAT=STEP\nZEL_OUTPUT_FORMAT=STL,STEP\nZEL_CONFIG_FILE=p.zel\n");
        CreateDirectoryW(Folder().c_str(), nullptr);
        for (const auto& [name, bytes] : files_) WriteFileBytes(Input(name), bytes);
        List(names, L"STL (*.stl)");
    }

    // What the window has in its list when it opens, and the format that it converts to.
    void List(const std::vector<std::wstring>& names, const std::wstring& format) const {
        std::wstring list = std::wstring(L"morvex_list\n") + kStep + L"\n" + format + L"\n";
        for (const std::wstring& name : names) list += Input(name) + L"\n";
        WriteTextFile(program_.UserFolder() + L"\\zel_last_state.ini", list);
    }

    // The test has taken or changed this source itself.
    void Forget(const std::wstring& name) { files_.erase(name); }

    const Program& InProgram() const { return program_; }
    std::wstring Folder() const { return program_.Folder() + L"\\in"; }
    std::wstring Input(const std::wstring& name) const { return Folder() + L"\\" + name; }
    std::wstring Output(const std::wstring& name) const {
        return Folder() + L"\\" + name.substr(0, name.rfind(L'.')) + L".stl";
    }
    // Everything in the folder but the sources, which must be as they were.
    std::set<std::wstring> FilesBeside() const {
        std::set<std::wstring> beside;
        for (const auto& entry : std::filesystem::directory_iterator(Folder()))
            beside.insert(entry.path().wstring());
        for (const auto& [name, bytes] : files_) {
            EXPECT_TRUE(ReadFileBytes(Input(name)) == bytes) << testing::PrintToString(name);
            beside.erase(Input(name));
        }
        return beside;
    }

  private:
    static std::map<std::wstring, std::string> WithBytes(const std::vector<std::wstring>& names) {
        std::map<std::wstring, std::string> files;
        for (const std::wstring& name : names) files[name] = "source";
        return files;
    }

    Program program_;
    std::map<std::wstring, std::string> files_;
};

// The processes that made these calls have ended.
inline void ExpectGone(const std::vector<LibraryCall>& calls) {
    for (const LibraryCall& call : calls) {
        const UniqueHandle child(OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(call.process)));
        if (child) {
            EXPECT_EQ(WaitForSingleObject(child.get(), 20000), WAIT_OBJECT_0);
        }
    }
}

}  // namespace morvex::test

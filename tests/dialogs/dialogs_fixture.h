#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "core/conversion_config.h"
#include "dialogs/cfg_dialogs.h"
#include "tests/dialogs/config_file.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/temp_folder.h"

namespace morvex::test {

// A program with folders of its own and a configuration file with the default content, chosen by the user.
// Questions to the user are answered from, and kept in, plain members.
class SettingsTest : public testing::Test {
  protected:
    SettingsTest()
        : context_(MakeProgramFolders(folder_.Path(), folder_.Path())), file_(folder_ / L"own.zel") {
        WriteFileBytes(context_.folders.userSettings, Utf16Bytes(L""));  // as the program's start leaves it
        WriteDefaultConfig(file_);
        context_.settings.configFilePath.Set(file_);
        prompts_.message = [this](HWND, const std::wstring& text, const wchar_t* caption, UINT) {
            messages_.push_back(std::wstring(caption) + L": " + text);
            return IDOK;
        };
        prompts_.openFiles = [this](HWND, const FileDialog& dialog) {
            fileDialogs_.push_back(dialog);
            return chosenFiles_;
        };
    }

    // Shows the dialog and runs the script on it.
    template <class Dialog, class... Arguments>
    void Show(const DialogScript& script, Arguments... arguments) {
        Drive([&] { Dialog(context_, arguments..., prompts_).Run(nullptr); }, script);
    }

    TempFolder folder_;
    AppContext context_;
    std::wstring file_;
    Prompts prompts_;
    std::vector<std::wstring> messages_;
    std::vector<FileDialog> fileDialogs_;
    std::vector<std::wstring> chosenFiles_;
};

}  // namespace morvex::test

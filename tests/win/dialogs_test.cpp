#include <gtest/gtest.h>
#include <stdexcept>
#include <system_error>

#include "tests/support/dialog_driver.h"
#include "tests/support/temp_folder.h"
#include "win/dialog.h"
#include "win/file_dialogs.h"

namespace morvex::test {
namespace {

constexpr int kTemplate = 100;  // any one of the program's

enum class ThrowIn { Init, Command, Message };

template <class Kind>
class Throwing : public Kind {
  public:
    explicit Throwing(ThrowIn place) : place_(place) {}

  protected:
    bool OnInit() override { return Throw(ThrowIn::Init); }
    void OnOk() override { Throw(ThrowIn::Command); }
    bool OnMessage(UINT message, WPARAM, LPARAM, INT_PTR&) override {
        return message == WM_APP && Throw(ThrowIn::Message);
    }

  private:
    bool Throw(ThrowIn place) const {
        if (place == place_) throw std::runtime_error("on purpose");
        return true;
    }
    ThrowIn place_;
};

TEST(DialogTest, WhatLeavesAFunctionReachesTheCaller) {
    for (const ThrowIn place : {ThrowIn::Init, ThrowIn::Command, ThrowIn::Message}) {
        const auto provoke = [place](HWND window) {
            if (place == ThrowIn::Command) SendMessageW(window, WM_COMMAND, IDOK, 0);
            if (place == ThrowIn::Message) SendMessageW(window, WM_APP, 0, 0);
        };
        Throwing<ModalDialog> modal(place);
        const auto show = [&] { EXPECT_THROW(modal.Run(kTemplate, nullptr), std::runtime_error); };
        if (place == ThrowIn::Init)
            show();
        else
            Drive(show, [&](const ShownDialog& dialog) { provoke(dialog.Window()); });
        Throwing<ModelessDialog> modeless(place);
        if (place == ThrowIn::Init) {
            EXPECT_THROW(modeless.Create(kTemplate, nullptr), std::runtime_error);
            continue;
        }
        modeless.Create(kTemplate, nullptr);
        provoke(modeless.Handle());
        EXPECT_TRUE(modeless.Failure());
        EXPECT_FALSE(modeless.Handle());
    }
}

TEST(DialogTest, ADialogThatCannotBeMadeIsNoCancel) {
    constexpr int kNoTemplate = 9999;
    Throwing<ModalDialog> modal(ThrowIn::Message);
    EXPECT_THROW(modal.Run(kNoTemplate, nullptr), std::system_error);
    Throwing<ModelessDialog> modeless(ThrowIn::Message);
    EXPECT_THROW(modeless.Create(kNoTemplate, nullptr), std::system_error);
}

// The system's own dialogs, driven by the numbers of their controls.
void TypeName(const ShownDialog& dialog, const std::wstring& name) {
    constexpr int kNameEdit = 0x480, kNameBox = 0x47C;
    dialog.Type(dialog.Item(kNameEdit) ? kNameEdit : kNameBox, name);
}

TEST(FileDialogsTest, AnswerWithEveryFileThatWasChosen) {
    const TempFolder folder;
    for (const wchar_t* name : {L"a.txt", L"b c.txt", L"d.txt"}) WriteFileBytes(folder / name, "x");
    FileDialog request{.filter = L"Text|*.txt|", .initialFolder = folder.Path(), .multiple = true};
    std::vector<std::wstring> paths;
    const auto choose = [&](const std::wstring& names) {
        Drive([&] { paths = OpenFiles(nullptr, request); },
              [&](const ShownDialog& dialog) {
                  TypeName(dialog, names);
                  dialog.Click(IDOK);
              });
        return paths;
    };
    EXPECT_EQ(choose(L"\"a.txt\" \"b c.txt\" \"d.txt\""),
              (std::vector{folder / L"a.txt", folder / L"b c.txt", folder / L"d.txt"}));
    EXPECT_EQ(choose(L"d.txt"), std::vector{folder / L"d.txt"});
}

TEST(FileDialogsTest, AskBeforeAFileIsReplaced) {
    const TempFolder folder;
    WriteFileBytes(folder / L"old.csv", "x");
    const FileDialog request{
        .filter = L"List|*.csv|", .initialFolder = folder.Path(), .defaultExtension = L"csv"};
    for (const int answer : {IDNO, IDYES}) {
        std::optional<std::wstring> path;
        bool asked = false;
        Drive([&] { path = SaveFile(nullptr, request); },
              [&](const ShownDialog& dialog) {
                  TypeName(dialog, L"old");
                  Drive([&] { dialog.Click(IDOK); },
                        [&](const ShownDialog& question) {
                            asked = question.Window() != dialog.Window();
                            SendMessageW(question.Window(), WM_COMMAND, static_cast<WPARAM>(answer), 0);
                        });
              });
        EXPECT_TRUE(asked);
        EXPECT_EQ(path, answer == IDYES ? std::optional(folder / L"old.csv") : std::nullopt);
    }
}

}  // namespace
}  // namespace morvex::test

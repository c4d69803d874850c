#include "tests/support/real_input.h"
#include "tests/ui/main_window_fixture.h"

namespace morvex::test {
namespace {

// The window in front, worked with real keys and the real wheel.
class KeyboardTest : public MainWindowTest {
  protected:
    void OpenInFront() {
        Open();
        ShowWindow(window_->Handle(), SW_SHOW);
        SetForegroundWindow(window_->Handle());
        ASSERT_TRUE(WaitFor([&] { return GetForegroundWindow() == window_->Handle(); }));
    }
    bool ListOpen(int combo) const { return ComboBox(Item(combo)).Send(CB_GETDROPPEDSTATE) != 0; }
    // Opens the combo box's list by the keyboard and goes one entry down in it.
    void LookThrough(int combo) {
        SetFocus(Item(combo));
        PressKeys({VK_MENU, VK_DOWN});
        ASSERT_TRUE(WaitFor([&] { return ListOpen(combo); }));
        const int before = ComboBox(Item(combo)).Selected();
        PressKeys({VK_UP});
        ASSERT_TRUE(WaitFor([&] { return ComboBox(Item(combo)).Selected() == before - 1; }));
    }
};

TEST_F(KeyboardTest, TheWheelScrollsTheListAndPassesClosedComboBoxes) {
    OpenInFront();
    AddFiles(Texts(100, L"a.stp"));
    for (const int combo : {IDC_INPUT_FORMAT, IDC_OUTPUT_FORMAT}) {
        SetFocus(Item(combo));
        TurnWheelOver(Item(combo));
    }
    LetItWork();
    SetFocus(Item(IDC_LIST));
    TurnWheelOver(Item(IDC_LIST));
    EXPECT_TRUE(WaitFor([&] { return View().FirstVisible() > 0; }));
    EXPECT_EQ(List().Count(), 100u);
    EXPECT_EQ(ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText(), kStepIn);
    EXPECT_EQ(ComboBox(Item(IDC_OUTPUT_FORMAT)).SelectedText(), L"STL (*.stl)");
}

TEST_F(KeyboardTest, AFormatCountsWhenItIsChosen) {
    OpenInFront();
    AddFiles({L"a.stp"});
    LookThrough(IDC_INPUT_FORMAT);
    PressKeys({VK_ESCAPE});
    ASSERT_TRUE(WaitFor([&] { return !ListOpen(IDC_INPUT_FORMAT); }));
    LetItWork();
    EXPECT_EQ(ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText(), kStepIn);
    EXPECT_EQ(List().Count(), 1u);
    for (const bool byEnter : {true, false}) {
        LookThrough(IDC_INPUT_FORMAT);
        EXPECT_EQ(Chosen(L"Format_in"), byEnter ? kStepIn : kIgesIn);
        if (byEnter)
            PressKeys({VK_RETURN});
        else
            PressKeys({VK_MENU, VK_UP});
        EXPECT_TRUE(WaitFor([&] { return Chosen(L"Format_in") == (byEnter ? kIgesIn : L"ALL (*.*)"); }));
        EXPECT_TRUE(List().Empty());
    }
    PressKeys({VK_DOWN});  // with the list closed
    EXPECT_TRUE(WaitFor([&] { return Chosen(L"Format_in") == kIgesIn; }));
}

TEST_F(KeyboardTest, ShortCutsInTheList) {
    const LibraryLog log;
    OpenInFront();
    AddFiles({L"a.stp", L"b.stp", L"c.stp"});
    SetFocus(Item(IDC_LIST));
    const auto press = [&](std::initializer_list<WORD> keys, const std::function<bool()>& done) {
        PressKeys(keys);
        return WaitFor(done);
    };
    EXPECT_TRUE(press({VK_CONTROL, 'A'}, [&] { return View().SelectedCount() == 3; }));
    EXPECT_TRUE(WaitFor([&] { return StatusLine() == L"Files: 3, selected: 3"; }));
    EXPECT_TRUE(press({VK_CONTROL, 'C'}, [&] {
        return Clipboard() == parts_ + L"\\a.stp\r\n" + parts_ + L"\\b.stp\r\n" + parts_ + L"\\c.stp";
    }));
    EXPECT_TRUE(press({VK_DELETE}, [&] { return List().Empty(); }));
    EXPECT_TRUE(press({VK_CONTROL, 'Z'}, [&] { return List().Count() == 3; }));
    Select({0});
    EXPECT_TRUE(press({VK_MENU, VK_DOWN}, [&] { return Names() == Texts{L"b.stp", L"a.stp", L"c.stp"}; }));
    EXPECT_TRUE(press({VK_MENU, VK_DOWN}, [&] { return Names() == Texts{L"b.stp", L"c.stp", L"a.stp"}; }));
    EXPECT_TRUE(press({VK_MENU, VK_UP}, [&] { return Names() == Texts{L"b.stp", L"a.stp", L"c.stp"}; }));
    EXPECT_TRUE(press({VK_F5}, [&] { return window_->State() == RunState::Finished; }));
    EXPECT_TRUE(press({VK_RETURN}, [&] { return opened_ == Texts{parts_ + L"\\a.stl"}; }));
}

TEST_F(KeyboardTest, EnterStartsARunOnlyFromItsButton) {
    const LibraryLog log;
    OpenInFront();
    AddFiles({L"a.stp"});
    for (const int id : {IDC_LIST, IDC_INPUT_FORMAT, IDS_WRITE_INTO_INPUT_FOLDER}) {
        SetFocus(Item(id));
        PressKeys({VK_RETURN});
        PressKeys({VK_TAB});  // comes after it
        ASSERT_TRUE(WaitFor([&] { return GetFocus() != Item(id); }));
        ASSERT_EQ(window_->State(), RunState::Idle) << id;
    }
    EXPECT_EQ(List().Count(), 1u);  // nor does it press another button
    SetFocus(Item(IDS_RUN_CONVERSION));
    PressKeys({VK_RETURN});
    EXPECT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(log.Calls().size(), 1u);
}

// The access key takes the focus from the edit, F5 leaves it there.
TEST_F(KeyboardTest, AKeyThatStartsARunIntoAWrongFolderWarnsInstead) {
    const LibraryLog log;
    Choose(L"SameFolderAsInput", L"0");
    Choose(L"Output_folder", parts_.c_str());
    OpenInFront();
    AddFiles({L"a.stp"});
    const std::wstring run = Text(IDS_RUN_CONVERSION);
    const auto accessKey = static_cast<WORD>(towupper(run[run.find(L'&') + 1]));
    const std::function<void()> keys[] = {[&] {
                                              PressKeys({VK_MENU, accessKey});
                                          },
                                          [] { PressKeys({VK_F5}); }};
    for (const auto& start : keys) {
        messages_.clear();
        const size_t before = Text(IDC_OUTPUT_FOLDER).size();
        SetFocus(Item(IDC_OUTPUT_FOLDER));
        PressKeys({VK_END});
        PressKeys({'Q'});
        ASSERT_TRUE(WaitFor([&] { return Text(IDC_OUTPUT_FOLDER).size() == before + 1; }));
        start();
        ASSERT_TRUE(WaitFor([&] { return !messages_.empty(); }));
        LetItWork();
        EXPECT_EQ(messages_, Texts{L"Output folder is not valid!"});
        EXPECT_EQ(window_->State(), RunState::Idle);
    }
    EXPECT_TRUE(log.Calls().empty());
}

}  // namespace
}  // namespace morvex::test

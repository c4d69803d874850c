#include "tests/ui/main_window_fixture.h"

namespace morvex::test {
namespace {

// The button at the right end of the status line.
class ActionTest : public MainWindowTest {
  protected:
    std::wstring Offered() const {
        const bool shown = (GetWindowLongW(Item(IDC_ACTION), GWL_STYLE) & WS_VISIBLE) != 0;
        return shown ? Text(IDC_ACTION) : L"";
    }
    void TakeIt() { Click(IDC_ACTION); }
};

TEST_F(ActionTest, UndoBringsRowsBack) {
    const LibraryLog log;
    const Texts all = {L"a.stp", L"b.stp", L"c.stp", L"d.stp"};
    Open();
    AddFiles(all);
    EXPECT_EQ(Offered(), L"");
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    const auto expectUndone = [&] {
        ASSERT_EQ(Offered(), L"Undo");
        TakeIt();
        EXPECT_EQ(Names(), all);
        EXPECT_EQ(Statuses(), Texts(4, L"OK"));
        EXPECT_EQ(window_->State(), RunState::Finished);
        EXPECT_EQ(StatusLine(), L"4 of 4 converted, 0 failed");
        EXPECT_EQ(ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText(), kStepIn);
        EXPECT_EQ(Chosen(L"Format_out"), L"STL (*.stl)");
        EXPECT_EQ(Offered(), L"");
    };
    Select({0, 2});
    Command(IDS_REMOVE_FROM_LIST);
    EXPECT_EQ(StatusLine(), L"2 of 2 converted, 0 failed");
    expectUndone();
    Click(IDS_EMPTY_LIST);
    EXPECT_EQ(StatusLine(), L"");
    expectUndone();
    ChooseFormat(IDC_INPUT_FORMAT, kIgesIn);
    ChooseFormat(IDC_INPUT_FORMAT, L"ALL (*.*)");
    expectUndone();
    Click(IDS_EMPTY_LIST);
    AddFiles({L"e.stp"});
    EXPECT_EQ(Offered(), L"");
    EXPECT_EQ(Names(), Texts{L"e.stp"});
}

TEST_F(ActionTest, ConvertsAgainWhatFailed) {
    const LibraryLog log;
    Open();
    AddFiles({L"a.stp", L"b{result=-5}.stp", L"c.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    ASSERT_EQ(Offered(), L"Convert again: 1 failed");
    TakeIt();
    EXPECT_EQ(Statuses().front(), L"OK");  // kept
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(Statuses(), (Texts{L"OK", L"Corrupted File", L"OK"}));
    ASSERT_EQ(log.Calls().size(), 4u);
    EXPECT_EQ(log.Calls().back().input, parts_ + L"\\b{result=-5}.stp");
    EXPECT_EQ(StatusLine(), L"2 of 3 converted, 1 failed");
    Select({1});
    Command(IDS_REMOVE_FROM_LIST);
    EXPECT_EQ(StatusLine(), L"2 of 2 converted, 0 failed");
}

// Both rows go to one folder under one name; only the second one fails.
TEST_F(ActionTest, ConvertingAgainKeepsWhatOtherRowsMade) {
    const LibraryLog log;
    CreateDirectoryW((parts_ + L"\\{result=-5}").c_str(), nullptr);
    Choose(L"SameFolderAsInput", L"0");
    Choose(L"Output_folder", user_.c_str());
    Open();
    AddFiles({L"a.stp", L"{result=-5}\\a.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    TakeIt();
    ASSERT_TRUE(WaitForState(RunState::Finished));
    ASSERT_EQ(log.Calls().size(), 3u);
    EXPECT_EQ(log.Calls().back().output, user_ + L"\\a (2).stl");
}

TEST_F(ActionTest, StopsARunAndConvertsTheRest) {
    const LibraryLog log(L"sleep=300");
    Open();
    AddFiles({L"a.stp", L"b.stp", L"c.stp", L"d.stp", L"e.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitFor([&] { return Statuses().front() == L"In progress..."; }));
    ASSERT_EQ(Offered(), L"Stop");
    Click(IDS_QUIT);  // asks; the answer is not yes
    EXPECT_EQ(messages_, Texts{L"Files are still being converted. Stop and quit?"});
    ASSERT_TRUE(window_->Handle());
    TakeIt();
    EXPECT_EQ(Offered(), L"Stopping...");
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(Statuses().back(), L"Not converted");
    const size_t done = log.Calls().size();
    EXPECT_LT(done, 5u);
    const size_t rest =
        List().RowsIn(RowState::NotConverted).size() + List().RowsIn(RowState::Stopped).size();
    ASSERT_EQ(Offered(), L"Convert the rest: " + std::to_wstring(rest));
    TakeIt();
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(Statuses(), Texts(5, L"OK"));
    EXPECT_EQ(log.Calls().size(), done + rest);
    EXPECT_EQ(Offered(), L"");
}

TEST_F(ActionTest, ChangesToTheFormatThatTheFilesHave) {
    MakeFile(L"b.igs");
    MakeFile(L"c.iges");
    MakeFile(L"c.stl-zel.xml");  // a report is not asked for its format
    chosenFolder_ = parts_;
    Install(L"D", L"ZEL_INPUT_FORMAT", L"STL,IFC");  // which accept every file
    Install(L"D", L"ZEL_OUTPUT_FORMAT", L"OBJ");
    Open();
    Command(IDS_ADD_FOLDER);
    ASSERT_TRUE(WaitForAdded());
    ASSERT_EQ(messages_, Texts{L"Only STEP files can be added!"});
    ASSERT_EQ(Offered(), L"Change to IGES 3D and add");
    TakeIt();
    ASSERT_TRUE(WaitForAdded());
    Texts names = Names();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Texts{L"b.igs", L"c.iges"}));
    EXPECT_EQ(Chosen(L"Format_in"), kIgesIn);
    EXPECT_EQ(ComboBox(Item(IDC_INPUT_FORMAT)).SelectedText(), kIgesIn);
    EXPECT_EQ(Offered(), L"");

    ChooseFormat(IDC_INPUT_FORMAT, kStepIn);
    MakeFile(L"readme.txt");
    Click(IDS_EMPTY_LIST);
    Command(IDS_ADD_FOLDER);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(Offered().find(L"Change"), std::wstring::npos);  // not all of them

    DeleteFileW((parts_ + L"\\readme.txt").c_str());
    Install(L"C", L"ZEL_INPUT_FORMAT", L"IGES 2D");
    Install(L"C", L"ZEL_OUTPUT_FORMAT", L"OBJ");
    Open();
    Command(IDS_ADD_FOLDER);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(messages_.size(), 3u);
    EXPECT_EQ(Offered(), L"");  // two formats fit
}

TEST_F(ActionTest, AddFolderLeavesOutWhatRunsWrote) {
    const LibraryLog log;
    Choose(L"Format_in", L"ALL (*.*)");
    Open();
    AddFiles({L"a.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    ASSERT_EQ(List().Row(0).status.output, parts_ + L"\\a.stl");
    MakeFile(L"A.STL");  // as the file system takes it for the result
    MakeFile(L"b.obj-zel.xml");
    MakeFile(L"b.dat");
    chosenFolder_ = parts_;
    Command(IDS_ADD_FOLDER);
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(List().Count(), 3u);
    EXPECT_EQ(StatusLine(), L"Files added: 2   Left out (reports and results): 2");
}

}  // namespace
}  // namespace morvex::test

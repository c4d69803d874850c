#include "tests/ui/main_window_fixture.h"
#include "win/environment.h"
#include "win/window_device.h"

namespace morvex::test {
namespace {

constexpr int kFrozen[] = {IDS_RUN_CONVERSION, IDS_OPTIONS,    IDC_INPUT_FORMAT, IDC_OUTPUT_FORMAT,
                           IDC_BROWSE,         IDS_EMPTY_LIST, IDS_ADD_FILES,    IDS_WRITE_INTO_INPUT_FOLDER,
                           IDS_CONFIGURE,      IDS_HEALING,    IDS_MULTIPROCESS, IDS_OVERRIDE};

TEST_F(MainWindowTest, RunsAndShowsEveryResult) {
    const LibraryLog log;
    Open();
    AddFiles({L"a.stp", L"b{result=-5}.stp", L"c{read}.stp", L"d{picture}.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(Statuses(), (Texts{L"OK", L"Corrupted File", L"KO", L"OK"}));
    EXPECT_EQ(StatusLine(), L"2 of 4 converted, 2 failed");
    for (const int id : kFrozen) EXPECT_TRUE(Enabled(id)) << id;
    EXPECT_EQ(log.Calls().size(), 4u);
    EXPECT_EQ(EnvironmentText(L"MORVEX_PREVIEW"), L"");  // was asked for the run alone
    EXPECT_TRUE(messages_.empty());
    ASSERT_GE(taskbar_.states.size(), 2u);
    EXPECT_EQ(taskbar_.states.front(), TBPF_NORMAL);
    EXPECT_EQ(taskbar_.states.back(), TBPF_ERROR);
    AddFiles({L"e.stp"});
    EXPECT_EQ(window_->State(), RunState::Idle);
    EXPECT_EQ(Statuses().front(), L"OK");  // the results stay
}

TEST_F(MainWindowTest, StatusesThatDoNotFitWidenTheirColumn) {
    const LibraryLog log;
    profile::WriteText(user_ + L"\\zel_morvex.ini", L"Options", L"Language", L"Deutsch");
    Open();
    AddFiles({L"a{result=-23}.stp", L"b{result=-27}.stp", L"c{result=-5}.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    const WindowDevice device(Item(IDC_LIST));
    int columns = 0;
    for (int i = 0; i < kListColumns; ++i) columns += View().ColumnWidth(i);
    for (const std::wstring& status : Statuses()) {
        SIZE size{};
        GetTextExtentPoint32W(device.Get(), status.c_str(), static_cast<int>(status.size()), &size);
        EXPECT_LT(size.cx, View().ColumnWidth(3));
    }
    RECT room{};
    GetClientRect(Item(IDC_LIST), &room);
    EXPECT_EQ(columns, room.right);
}

TEST_F(MainWindowTest, ARunFreezesItsControlsAndRefusesEveryCommand) {
    const LibraryLog log(L"sleep=700");
    Open();
    AddFiles({L"a.stp", L"b.stp"});
    chosenFolder_ = parts_;
    savePath_ = folder_ / L"saved.csv";
    Click(IDS_RUN_CONVERSION);
    EXPECT_EQ(window_->State(), RunState::Running);
    for (const int id : kFrozen) EXPECT_FALSE(Enabled(id)) << id;
    ASSERT_TRUE(WaitFor([&] { return Statuses().front() == L"In progress..."; }));
    EXPECT_TRUE(StatusLine().starts_with(L"0 of 2 done"));
    EXPECT_EQ(Statuses().back(), L"-");
    Select({0});
    for (const int id : {IDS_ADD_FILES,
                         IDS_ADD_FILES_RECURSIVE,
                         IDS_REPLACE_FILES,
                         IDS_REPLACE_FILES_RECURSIVE,
                         IDS_ADD_FOLDER,
                         IDS_ADD_FOLDER_RECURSIVE,
                         IDS_EMPTY_LIST,
                         IDS_REMOVE_FROM_LIST,
                         IDS_MOVE_DOWN,
                         IDS_COPY_FILE_PATH,
                         IDS_OPEN_CONTAINING_FOLDER,
                         IDS_OPEN_OUTPUT_FOLDER,
                         IDS_SAVE_RESULTS_REPORT,
                         IDS_LOAD_LIST,
                         IDS_SAVE_LIST,
                         IDS_SAVE_LIST_PYTHON,
                         4001,
                         IDS_RUN_CONVERSION,
                         IDC_BROWSE,
                         IDS_CONFIGURE,
                         IDS_OPTIONS}) {
        Command(id);
    }
    ClickHeader(0);
    PressInList(VK_DELETE);
    DoubleClick(0, 5);
    EXPECT_EQ(MenuNow(), Ids{IDS_QUIT});
    EXPECT_EQ(window_->State(), RunState::Running);
    EXPECT_EQ(Names(), (Texts{L"a.stp", L"b.stp"}));
    EXPECT_TRUE(opened_.empty());
    EXPECT_TRUE(messages_.empty());
    EXPECT_FALSE(PathExists(savePath_));
    EXPECT_FALSE(window_->Adding());
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(Statuses(), (Texts{L"OK", L"OK"}));
}

TEST_F(MainWindowTest, ARunWithChildProcesses) {
    const LibraryLog log;
    Install(L"General", L"Multiprocess", L"1");
    Open();
    AddFiles({L"a.stp", L"b{fastfail}.stp", L"c{result=-27}.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(Statuses(), (Texts{L"OK", L"KO", L"File version Not Supported"}));
    for (const LibraryCall& call : log.Calls())
        EXPECT_NE(call.process, static_cast<int>(GetCurrentProcessId()));
}

TEST_F(MainWindowTest, DoubleClickOpensWhatTheRunWrote) {
    const LibraryLog log;
    Open();
    CreateDirectoryW((parts_ + L"\\sub").c_str(), nullptr);
    AddFiles({L"a.stp", L"a.step"});
    const int folder = View().ColumnWidth(0) + View().ColumnWidth(1) + 5;
    const int status = folder + View().ColumnWidth(2);
    DoubleClick(0, 5);
    EXPECT_TRUE(opened_.empty());  // no result yet
    DoubleClick(0, folder);
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    DoubleClick(1, 5);
    DoubleClick(1, View().ColumnWidth(0) + 5);
    DoubleClick(1, status);
    DoubleClick(0, status);
    const std::wstring second = parts_ + L"\\a (2).stl";
    EXPECT_EQ(opened_, (Texts{parts_, second, second, second + L"-zel.xml", parts_ + L"\\a.stl-zel.xml"}));
    ASSERT_EQ(log.Calls().size(), 2u);
    EXPECT_EQ(log.Calls()[1].output, second);
}

TEST_F(MainWindowTest, AMissingLibraryIsSaidAfterTheRun) {
    library_ = folder_ / L"Polyvane_x64.dll";
    Open();
    EXPECT_EQ(Control(window_->Handle()).Text(), L"Morvex 2024 64-bit        (24.4)");
    AddFiles({L"a.stp", L"b.stp"});
    RunState during = RunState::Idle;
    whileMessage_ = [&] { during = window_->State(); };
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitFor([&] { return !messages_.empty(); }));
    EXPECT_EQ(messages_, Texts{L"A component is missing : " + library_});
    EXPECT_EQ(during, RunState::Finished);
    EXPECT_EQ(Statuses(), (Texts{L"Not converted", L"Not converted"}));
    for (const int id : kFrozen) EXPECT_TRUE(Enabled(id)) << id;
}

TEST_F(MainWindowTest, ProgressDialogOfTheProgressGroup) {
    const LibraryLog log(L"progress,sleep=600");
    Choose(L"Format_out", L"VDAFS (*.vda)");
    Open();
    AddFiles({L"a.stp", L"b.stp"});
    const auto dialog = [&] { return FindWindowW(L"#32770", L"Translation in progress..."); };
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(dialog());
    const auto text = [&](int id) { return Control(GetDlgItem(dialog(), id)).Text(); };
    const auto position = [&](int id) { return SendMessageW(GetDlgItem(dialog(), id), PBM_GETPOS, 0, 0); };
    ASSERT_TRUE(
        WaitFor([&] { return text(IDC_FILE_NAME) == L"b.stp" && text(IDC_FILE_PERCENT) == L"100%"; }));
    EXPECT_EQ(text(IDC_RUN_COUNTER), L"1/2");
    EXPECT_EQ(position(IDC_FILE_PROGRESS), 100);
    EXPECT_EQ(position(IDC_RUN_PROGRESS), 1);
    EXPECT_EQ(text(IDS_FILES_CONVERTED), L"Files converted :");
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_FALSE(dialog());
}

TEST_F(MainWindowTest, ConvertsAtStartUpInDeveloperMode) {
    const LibraryLog log;
    Open();
    AddFiles({L"a.stp", L"b.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitForState(RunState::Finished));
    Install(L"General", L"LoadLastState", L"1");
    Install(L"General", L"ConvertAtStartup", L"1");
    Open();
    ASSERT_TRUE(WaitForAdded());
    EXPECT_EQ(window_->State(), RunState::Idle);
    Install(L"General", L"DeveloperMode", L"1");
    Open();
    ASSERT_TRUE(WaitForState(RunState::Finished));
    EXPECT_EQ(Statuses(), (Texts{L"OK [0.00 sec]", L"OK [0.00 sec]"}));
    EXPECT_EQ(log.Calls().size(), 4u);
}

TEST_F(MainWindowTest, ClosingInARunEndsItBeforeItsNextFile) {
    const LibraryLog log(L"sleep=300");
    Open();
    AddFiles({L"a.stp", L"b.stp", L"c.stp"});
    Click(IDS_RUN_CONVERSION);
    ASSERT_TRUE(WaitFor([&] { return Statuses().front() == L"In progress..."; }));
    answer_ = IDYES;
    Click(IDS_QUIT);
    EXPECT_EQ(messages_.size(), 1u);
    EXPECT_FALSE(window_->Handle());
    EXPECT_TRUE(window_->Converting());
    window_.reset();
    EXPECT_EQ(log.Calls().size(), 1u);
}

}  // namespace
}  // namespace morvex::test

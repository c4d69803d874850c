#include "ui/result_card.h"

#include "convert/conversion_report.h"
#include "tests/support/dialog_driver.h"
#include "tests/ui/main_window_fixture.h"

namespace morvex::test {
namespace {

// As the open engine writes it; the picture is one of 4 x 2 red points.
constexpr char kReport[] =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<conversion result="0" status="ok with warnings">
  <input format="STEP" bytes="88552">/in/a &lt;1&gt;.step</input>
  <announced faces="11" solids="1"/>
  <read parts="2" solids="1" faces="10" triangles="0" box="-27.5 -10 -34.5 -7.5 9.25 7.75"/>
  <written triangles="1344" box="-27.5 -10 -34.5 -7.5 9.25 7.25"/>
  <missing>1 of 11 faces</missing>
  <warning>a &amp;&#10;b</warning>
  <warning>c</warning>
  <preview type="image/png" encoding="base64">iVBORw0KGgoAAAANSUhEUgAAAAQAAAACCAIAAADwyuo0AAAA
EElEQVR42mM4ocEFRwzIHABrmgfRDUJqtAAAAABJRU5ErkJggg==</preview>
  <time seconds="0.237" read="0.164"/>
</conversion>
)";

class ResultCardTest : public MainWindowTest {
  protected:
    // Two rows that were converted; only the first one's library left a report.
    void OpenWithResults() {
        Open();
        AddFiles({L"a.stp", L"b{result=-5}.stp"});
        Click(IDS_RUN_CONVERSION);
        ASSERT_TRUE(WaitForState(RunState::Finished));
        WriteFileBytes(List().Row(0).status.output, std::string(2000, 'x'));
        WriteFileBytes(List().Row(0).status.output + kReportSuffix, kReport);
        View().SelectAll(false);
        View().FocusRow(0);
        LetItWork();
    }
    static HWND Card() {
        HWND card = nullptr;
        EnumThreadWindows(
            GetCurrentThreadId(),
            [](HWND window, LPARAM found) -> BOOL {
                if (IsWindowVisible(window) && GetDlgItem(window, IDC_CARD_FACTS))
                    *reinterpret_cast<HWND*>(found) = window;
                return TRUE;
            },
            reinterpret_cast<LPARAM>(&card));
        return card;
    }
    static std::wstring Facts() { return Control(GetDlgItem(Card(), IDC_CARD_FACTS)).Text(); }

    const LibraryLog log_;
};

TEST_F(ResultCardTest, FollowsTheRowWithTheFocus) {
    OpenWithResults();
    EXPECT_FALSE(Card());
    PressInList(VK_SPACE);
    ASSERT_TRUE(Card());
    EXPECT_EQ(Control(Card()).Text(), L"a.stp");
    EXPECT_EQ(Facts(),
              L"Status\tOK\r\nSize\t10 b \u2192 2 KB\r\nDimensions\t20 \u00D7 19.25 \u00D7 41.75 mm\r\n"
              L"Parts\t2\r\nSolids\t1\r\nFaces\t10\r\nTriangles\t1344\r\nTime\t0.237 s\r\n"
              L"Missing\t1 of 11 faces\r\nWarning\ta & b\r\nWarning\tc");
    PressInList(VK_DOWN);
    LetItWork();
    EXPECT_EQ(Control(Card()).Text(), L"b{result=-5}.stp");
    EXPECT_EQ(Facts(), L"Status\tCorrupted File\r\nSize\t10 b");
    Select({1});
    Command(IDS_REMOVE_FROM_LIST);
    LetItWork();
    EXPECT_EQ(Control(Card()).Text(), L"a.stp");
    Click(IDS_EMPTY_LIST);
    LetItWork();
    EXPECT_FALSE(Card());
}

TEST_F(ResultCardTest, ClosesBySpaceAndEscapeHereAndThere) {
    OpenWithResults();
    struct {
        bool inCard;
        WORD key;
    } const cases[] = {{false, VK_SPACE}, {false, VK_ESCAPE}, {true, VK_SPACE}, {true, VK_ESCAPE}};
    for (const auto& c : cases) {
        PressInList(VK_SPACE);
        ASSERT_TRUE(Card());
        PostMessageW(c.inCard ? GetDlgItem(Card(), IDC_CARD_FACTS) : Item(IDC_LIST), WM_KEYDOWN, c.key, 0);
        LetItWork();
        EXPECT_FALSE(Card()) << c.inCard << c.key;
    }
    Select({0});
    Ids menu = MenuNow();
    EXPECT_TRUE(std::ranges::count(menu, IDS_PREVIEW) == 1);
    Select({1});  // this one failed
    menu = MenuNow();
    EXPECT_EQ(std::ranges::count(menu, IDS_PREVIEW), 0);
}

TEST_F(ResultCardTest, CoversNoDialog) {
    OpenWithResults();
    PressInList(VK_SPACE);
    ASSERT_TRUE(Card());
    Drive([&] { Command(IDS_OPTIONS); },
          [](const ShownDialog& options) {
              EXPECT_FALSE(Card());
              ComboBox(options.Item(1030)).SelectText(L"Deutsch");
              SendMessageW(options.Window(), WM_COMMAND, MAKEWPARAM(1030, CBN_SELCHANGE), 0);
              EXPECT_FALSE(Card());
          });
    ASSERT_TRUE(Card());
    EXPECT_TRUE(Facts().starts_with(L"Status\tOK\r\nGr\u00F6\u00DFe\t"));
}

TEST_F(ResultCardTest, LeavesTheStatusesInSight) {
    OpenWithResults();
    RECT window{};
    GetWindowRect(window_->Handle(), &window);
    const int screen = GetSystemMetrics(SM_CXSCREEN), width = screen * 3 / 4;  // in the middle no room beside
    for (const int left : {0, (screen - width) / 2, screen - width}) {
        SetWindowPos(window_->Handle(), nullptr, left, window.top, width, window.bottom - window.top,
                     SWP_NOZORDER);
        PressInList(VK_SPACE);
        ASSERT_TRUE(Card());
        RECT card{}, statuses{};
        GetWindowRect(Card(), &card);
        GetWindowRect(Item(IDC_LIST), &statuses);
        statuses.left = statuses.right - View().ColumnWidth(3);
        EXPECT_TRUE(card.right <= statuses.left || card.left >= statuses.right) << left;
        EXPECT_TRUE(card.left >= 0 && card.right <= screen) << left;
        PressInList(VK_SPACE);
    }
}

TEST_F(ResultCardTest, ResultsAreSavedAsAPageToo) {
    OpenWithResults();
    savePath_ = parts_ + L"\\results.html";
    Command(IDS_SAVE_RESULTS_REPORT);
    const std::string page = ReadFileBytes(savePath_);
    for (const char* const expected :
         {"<td>1 of 11 faces<br>a &amp; b<br>c</td>", "<td>20 \u00D7 19.25 \u00D7 41.75 mm</td>",
          "<td class=\"n\">0.237</td>", "<td class=\"n\">1344</td>", "data:image/png;base64,iVBORw0KGgo",
          "<tr class=\"failed\">", "<th class=\"n\">Triangles</th>", "<p>1 of 2 converted, 1 failed</p>"})
        EXPECT_NE(page.find(expected), std::string::npos) << expected;
    EXPECT_EQ(page.find("http"), std::string::npos);  // readable without a network
    savePath_ = parts_ + L"\\results.csv";
    Command(IDS_SAVE_RESULTS_REPORT);
    EXPECT_EQ(ReadFileBytes(savePath_).substr(0, 2), "\xFF\xFE");
}

TEST_F(ResultCardTest, ReportsOfAnyKindAreTaken) {
    const auto read = [&](const std::string& text) {
        WriteFileBytes(parts_ + L"\\x" + kReportSuffix, text);
        return ReadConversionReport(parts_ + L"\\x").value_or(ConversionReport{});
    };
    const ConversionReport whole = read(kReport);
    EXPECT_EQ(whole.read.at(L"faces"), L"10");
    EXPECT_EQ(whole.picture.substr(1, 3), "PNG");
    EXPECT_EQ(whole.picture.size(), 73u);
    EXPECT_EQ(whole.seconds, L"0.237");
    EXPECT_FALSE(ReadConversionReport(parts_ + L"\\y").has_value());
    const std::string text = kReport;
    for (size_t length = 0; length < text.size(); length += 7) read(text.substr(0, length));  // cut off
    EXPECT_EQ(read("<readers a=\"1\"/><read faces=\"7/>").Fact(L"faces"), L"");
    EXPECT_EQ(read("no report").reason, L"");
    EXPECT_EQ(read("<reason>1 &lt; 2</reason>").reason, L"1 < 2");
}

}  // namespace
}  // namespace morvex::test

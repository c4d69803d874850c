// Every window of the settings in every language: access keys, and captions that fit.
#include <gtest/gtest.h>
#include <map>

#include "dialogs/about_dlg.h"
#include "dialogs/options_dlg.h"
#include "tests/dialogs/dialogs_fixture.h"
#include "win/access_keys.h"

namespace morvex::test {
namespace {

std::vector<HWND> Children(HWND dialog) {
    std::vector<HWND> children;
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        if (IsWindowVisible(child)) children.push_back(child);
    }
    return children;
}

std::wstring ClassOf(HWND control) {
    wchar_t name[32] = {};
    GetClassNameW(control, name, ARRAYSIZE(name));
    return name;
}

bool IsButton(HWND control, LONG type) {
    return ClassOf(control) == L"Button" && (GetWindowLongW(control, GWL_STYLE) & BS_TYPEMASK) == type;
}

bool IsGroup(HWND control) {
    return IsButton(control, BS_GROUPBOX);
}

std::wstring WithText(HWND control) {
    return L"\"" + Control(control).Text() + L"\"";
}

// The letter after the mark, upper case; 0 when there is none.
wchar_t KeyOf(const std::wstring& text) {
    const size_t mark = text.find(L'&');
    return mark == text.npos ? L'\0' : static_cast<wchar_t>(towupper(text[mark + 1]));
}

RECT Place(HWND control) {
    RECT place;
    GetWindowRect(control, &place);
    return place;
}

// Pixels that the caption takes in its control's font, with the button's own mark.
int NeededWidth(HWND control) {
    const HDC dc = GetDC(control);
    const HGDIOBJ old = SelectObject(dc, reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0)));
    RECT text{};
    DrawTextW(dc, Control(control).Text().c_str(), -1, &text, DT_CALCRECT | DT_SINGLELINE);
    SelectObject(dc, old);
    ReleaseDC(control, dc);
    constexpr int kMark = 18,
                  kFrame = 8;  // check mark with its gap; edges of a push button or group box, at 96 dpi
    if (ClassOf(control) != L"Button") return text.right;
    const bool pushed =
        IsGroup(control) || IsButton(control, BS_PUSHBUTTON) || IsButton(control, BS_DEFPUSHBUTTON);
    return text.right + (pushed ? kFrame : kMark);
}

void ExpectCaptionsFit(HWND dialog) {
    RECT whole;
    GetWindowRect(dialog, &whole);
    for (const HWND control : Children(dialog)) {
        const RECT place = Place(control);
        EXPECT_TRUE(place.right <= whole.right && place.bottom <= whole.bottom) << GetDlgCtrlID(control);
        const bool caption = ClassOf(control) == L"Button" || ClassOf(control) == L"Static";
        if (!caption || Control(control).Text().find(L'\n') != std::wstring::npos) continue;
        EXPECT_LE(NeededWidth(control), place.right - place.left)
            << testing::PrintToString(WithText(control));
    }
}

void ExpectNoOverlap(HWND dialog) {
    const std::vector<HWND> children = Children(dialog);
    for (size_t i = 0; i < children.size(); ++i) {
        for (size_t j = i + 1; j < children.size(); ++j) {
            if (IsGroup(children[i]) || IsGroup(children[j])) continue;
            const RECT a = Place(children[i]), b = Place(children[j]);
            RECT common;
            EXPECT_FALSE(IntersectRect(&common, &a, &b))
                << GetDlgCtrlID(children[i]) << " and " << GetDlgCtrlID(children[j]);
        }
    }
}

void ExpectUniqueKeys(HWND dialog) {
    std::map<wchar_t, std::wstring> holders;
    for (const HWND control : Children(dialog)) {
        const std::wstring text = Control(control).Text();
        const wchar_t key =
            ClassOf(control) == L"Button" || ClassOf(control) == L"Static" ? KeyOf(text) : L'\0';
        if (!key) continue;
        const auto [holder, added] = holders.emplace(key, text);
        EXPECT_TRUE(added) << testing::PrintToString(text) << " and "
                           << testing::PrintToString(holder->second);
    }
    EXPECT_FALSE(holders.empty());
    std::vector<std::wstring> before, after;
    for (const HWND control : Children(dialog)) before.push_back(Control(control).Text());
    AssignAccessKeys(dialog);
    for (const HWND control : Children(dialog)) after.push_back(Control(control).Text());
    EXPECT_EQ(before, after);
}

class CaptionsTest : public SettingsTest, public testing::WithParamInterface<Language> {};

TEST_P(CaptionsTest, FitAndHaveKeysOfTheirOwn) {
    context_.text.SetLanguage(GetParam().name);
    context_.settings.developerMode.Set(true);
    const auto look = [](const ShownDialog& dialog) {
        SCOPED_TRACE(testing::PrintToString(Control(dialog.Window()).Text()));
        ExpectCaptionsFit(dialog.Window());
        ExpectNoOverlap(dialog.Window());
        ExpectUniqueKeys(dialog.Window());
    };
    Show<CfgHealingDlg>(look);
    Show<CfgRobcadDlg>(look);
    Show<CfgNoHealingXmtDlg>(look);
    Show<CfgNoHealingDefaultDlg>(look);
    Show<CfgNoHealingSTLDlg>(look);
    Show<CfgNoHealingPDFDlg>(look, PdfVariant::Pdf);
    Show<CfgPdfAdvancedDlg>(look);
    Drive([&] { OptionsDlg(context_, nullptr).Run(nullptr); }, look);
    Drive([&] { CAboutDlg(context_.text).Run(nullptr); }, look);
}

INSTANTIATE_TEST_SUITE_P(, CaptionsTest, testing::ValuesIn(Languages()),
                         [](const auto& info) { return std::to_string(info.param.offset); });

// Controls in a window of the test's own.
class AccessKeysTest : public testing::Test {
  protected:
    AccessKeysTest()
        : window_(
              CreateWindowW(L"Static", L"", WS_POPUP, 0, 0, 400, 400, nullptr, nullptr, nullptr, nullptr)) {}
    ~AccessKeysTest() override { DestroyWindow(window_); }

    HWND Add(const wchar_t* type, const wchar_t* text, LONG style = 0, int id = 100, bool visible = true) {
        return CreateWindowW(type, text, static_cast<DWORD>(WS_CHILD | (visible ? WS_VISIBLE : 0) | style), 0,
                             0, 50, 20, window_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr,
                             nullptr);
    }

    HWND window_;
};

TEST_F(AccessKeysTest, GoToWhatCanTakeThem) {
    const struct {
        const wchar_t *type, *text;
        LONG style;
        int id;
        bool visible;
        const wchar_t* expected;
    } cases[] = {
        {L"Button", L"OK", BS_DEFPUSHBUTTON, IDOK, true, L"OK"},
        {L"Button", L"Cancel", BS_PUSHBUTTON, IDCANCEL, true, L"Cancel"},
        {L"Button", L"...", BS_PUSHBUTTON, 100, true, L"..."},
        {L"Button", L"Save", BS_PUSHBUTTON, 100, true, L"&Save"},
        {L"Button", L"Hidden", BS_PUSHBUTTON, 100, false, L"Hidden"},
        {L"Button", L"Cut && paste", BS_AUTOCHECKBOX, 100, true, L"&Cut && paste"},
        {L"Button", L"S&ave as", BS_AUTORADIOBUTTON, 100, true, L"Sa&ve as"},
        {L"Static", L"Caption", 0, 100, true, L"Caption"},
        {L"Static", L"Path :", 0, 100, true, L"&Path :"},
        {L"Edit", L"S & T", 0, 100, true, L"S & T"},
        {L"Button", L"保存...", BS_PUSHBUTTON, 100, true, L"保存(&A)..."},
        {L"Button", L"Файл", BS_AUTOCHECKBOX, 100, true, L"&Файл"},
    };
    std::vector<HWND> controls;
    for (const auto& c : cases) controls.push_back(Add(c.type, c.text, c.style, c.id, c.visible));
    for (int times = 0; times < 2; ++times) {
        AssignAccessKeys(window_);
        for (size_t i = 0; i < controls.size(); ++i)
            EXPECT_EQ(Control(controls[i]).Text(), cases[i].expected);
    }
    EXPECT_EQ(EscapeAmpersands(L"R&D & co"), L"R&&D && co");
}

TEST_F(AccessKeysTest, GiveWayToTextsWithFewerLetters) {
    const HWND first = Add(L"Button", L"ab"), second = Add(L"Button", L"aab"), third = Add(L"Button", L"aac");
    AssignAccessKeys(window_);
    EXPECT_EQ(KeyOf(Control(first).Text()), L'A');
    EXPECT_EQ(KeyOf(Control(second).Text()), L'B');
    EXPECT_EQ(KeyOf(Control(third).Text()), L'C');
    const HWND late = Add(L"Button", L"a");
    AssignAccessKeys(window_);
    EXPECT_EQ(KeyOf(Control(late).Text()), L'\0');  // three letters for four texts
    DestroyWindow(third);
    AssignAccessKeys(window_);
    EXPECT_EQ(KeyOf(Control(late).Text()), L'\0');
    DestroyWindow(second);
    AssignAccessKeys(window_);
    EXPECT_EQ(KeyOf(Control(late).Text()), L'A');
    EXPECT_EQ(KeyOf(Control(first).Text()), L'B');
}

}  // namespace
}  // namespace morvex::test

#include <windows.h>

#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "tests/support/fake_taskbar.h"
#include "win/mailbox.h"
#include "win/ole_session.h"
#include "win/taskbar.h"
#include "win/theme.h"

namespace morvex::test {
namespace {

double Light(COLORREF colour) {
    double light = 0.05;
    const double weights[] = {0.2126, 0.7152, 0.0722};
    for (int i = 0; i < 3; ++i) {
        const double value = static_cast<double>(colour >> 8 * i & 0xFF) / 255;
        light += weights[i] * (value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
    }
    return light;
}

double Contrast(COLORREF a, COLORREF b) {
    const double first = Light(a), second = Light(b);
    return first > second ? first / second : second / first;
}

TEST(WindowThemeTest, TextIsReadableOnEveryBackground) {
    const HWND label =
        CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    const HDC device = GetDC(label);
    for (int red = 0; red <= 255; red += 51) {
        for (int green = 0; green <= 255; green += 17) {
            const COLORREF background = RGB(red, green, 255 - red);
            const WindowTheme theme(background);
            ASSERT_TRUE(theme.Answer(WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(device),
                                     reinterpret_cast<LPARAM>(label)));
            EXPECT_EQ(GetBkColor(device), background);
            EXPECT_GE(Contrast(GetTextColor(device), background), 4.5) << std::hex << background;
        }
    }
    ReleaseDC(label, device);
    DestroyWindow(label);
}

TEST(TaskbarProgressTest, FailuresTakeTheErrorColour) {
    const OleSession ole;
    FakeTaskbar taskbar;
    TaskbarProgress progress;
    progress.Attach(nullptr);
    progress.Show(1, 3, false);
    progress.Show(2, 3, true);
    progress.Clear();
    EXPECT_EQ(taskbar.states, (std::vector{TBPF_NORMAL, TBPF_ERROR, TBPF_NOPROGRESS}));
}

class MailboxTest : public testing::Test {
  protected:
    ~MailboxTest() override { DestroyWindow(window_); }
    int Announcements() const {
        int count = 0;
        MSG message;
        while (PeekMessageW(&message, window_, kNews, kNews, PM_REMOVE)) ++count;
        return count;
    }
    static void AddOne(Mailbox<int>& mailbox) {
        mailbox.Tell([](int& news) { ++news; });
    }

    static constexpr UINT kNews = WM_APP + 1;
    HWND window_ = CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
};

TEST_F(MailboxTest, AnnouncesNewsOnceUntilTheyAreTaken) {
    Mailbox<int> mailbox;
    mailbox.Open(window_, kNews);
    for (int round = 0; round < 2; ++round) {
        std::thread([&] {
            for (int i = 0; i < 3; ++i) AddOne(mailbox);
        }).join();
        EXPECT_EQ(Announcements(), 1);
        EXPECT_EQ(mailbox.Take(), 3);
    }
    EXPECT_EQ(mailbox.Take(), 0);
    DestroyWindow(window_);
    AddOne(mailbox);  // nobody is there: it must not wait
}

// As when the window's queue is full: an announcement that got lost would leave the window waiting for ever.
TEST_F(MailboxTest, KeepsOnAnnouncingUntilClosed) {
    constexpr UINT kNeverPosted = WM_SETTEXT;  // the system refuses to post it, since it carries a pointer
    ASSERT_FALSE(PostMessageW(window_, kNeverPosted, 0, 0));
    Mailbox<int> mailbox;
    mailbox.Open(window_, kNeverPosted);
    std::atomic<bool> told = false, announced = false;
    std::thread teller([&] {
        mailbox.Tell([&](int&) { told = true; });
        announced = true;
    });
    while (!told) Sleep(1);
    Sleep(100);
    EXPECT_FALSE(announced);
    mailbox.Close();
    teller.join();
}

}  // namespace
}  // namespace morvex::test

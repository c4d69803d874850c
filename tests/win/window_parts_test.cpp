#include <windows.h>

#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "tests/support/fake_taskbar.h"
#include "win/mailbox.h"
#include "win/ole_session.h"
#include "win/picture.h"
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

TEST(PictureTest, IsDrawnAsLargeAsItFits) {
    const OleSession ole;
    constexpr unsigned char kRedPng[] = {
        // 4 x 2 points of 200, 40, 10
        0x89, 'P',  'N',  'G',  0x0D, 0x0A, 0x1A, 0x0A, 0,    0,    0,    13,   'I',  'H',  'D',
        'R',  0,    0,    0,    4,    0,    0,    0,    2,    8,    2,    0,    0,    0,    0xF0,
        0xCA, 0xEA, 0x34, 0,    0,    0,    16,   'I',  'D',  'A',  'T',  0x78, 0xDA, 0x63, 0x38,
        0xA1, 0xC1, 0x05, 0x47, 0x0C, 0xC8, 0x1C, 0x00, 0x6B, 0x9A, 0x07, 0xD1, 0x0D, 0x42, 0x6A,
        0xB4, 0,    0,    0,    0,    'I',  'E',  'N',  'D',  0xAE, 0x42, 0x60, 0x82};
    const std::string bytes(std::begin(kRedPng), std::end(kRedPng));
    const HDC device = CreateCompatibleDC(nullptr);
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, 20, 20, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    const HBITMAP bitmap = CreateDIBSection(device, &info, DIB_RGB_COLORS, nullptr, nullptr, 0);
    const HGDIOBJ old = SelectObject(device, bitmap);
    Picture(bytes).Draw(device, {0, 0, 20, 20});
    EXPECT_EQ(GetPixel(device, 1, 6), RGB(200, 40, 10));
    EXPECT_EQ(GetPixel(device, 18, 13), RGB(200, 40, 10));
    EXPECT_EQ(GetPixel(device, 10, 3), RGB(0, 0, 0));  // twice as wide as high
    EXPECT_EQ(GetPixel(device, 10, 16), RGB(0, 0, 0));
    SelectObject(device, old);
    DeleteObject(bitmap);
    DeleteDC(device);
    EXPECT_TRUE(Picture(bytes.substr(0, 40)).Empty());
    EXPECT_TRUE(Picture("GIF?").Empty());
    EXPECT_TRUE(Picture(std::string()).Empty());
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

#pragma once

#include <windows.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace morvex {

// Carries what threads tell to a window: news are collected under a lock and announced by one posted message
// until the window takes them. `News` is a plain struct whose default value means that nothing happened.
template <class News>
class Mailbox {
  public:
    // Names the receiver. On the window's thread, before any other thread tells something.
    void Open(HWND window, UINT message) {
        window_ = window;
        message_ = message;
        open_ = true;
    }
    // What is told from here on is announced to nobody, and no thread waits to announce it.
    void Close() { open_ = false; }

    // Any thread: `change` is called with the news under the lock.
    template <class Change>
    void Tell(Change change) {
        {
            const std::lock_guard lock(mutex_);
            change(news_);
            if (std::exchange(announced_, true)) return;
        }
        Announce();
    }
    // The window's thread: everything told since the last time.
    News Take() {
        const std::lock_guard lock(mutex_);
        announced_ = false;
        return std::exchange(news_, {});
    }

  private:
    // The system refuses a message while the window's queue is full; one that got lost would leave the window
    // waiting for ever.
    void Announce() const {
        constexpr DWORD kRetryMilliseconds = 10;
        while (open_ && !PostMessageW(window_, message_, 0, 0) && IsWindow(window_))
            Sleep(kRetryMilliseconds);
    }

    HWND window_ = nullptr;
    UINT message_ = 0;
    std::atomic<bool> open_ = false;
    std::mutex mutex_;  // guards what follows
    News news_{};
    bool announced_ = false;
};

}  // namespace morvex
